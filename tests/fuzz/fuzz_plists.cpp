// Any bytes offered as each property list the platform reads from the system root: the
// SystemVersion.plist the macOS version comes from, an application's Info.plist (bundle search),
// a plug-in's Info.plist and the plug-in registry (pluginkit). Nothing may crash, leak or hang,
// and the registry must stay readable after a plug-in is registered over it.
#include "FuzzSeeds.h"
#include "PluginRegistry.h"
#include "platform/Platform.h"
#include "platform/PlistApi.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>

namespace {

struct State
{
    QTemporaryDir dir;
    QString systemVersion;
    QString applicationInfo;
    QString pluginBundle;
    QString registry;
};

State* state = nullptr;

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

QByteArray xmlPlist(const QByteArray& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body + "</plist>\n";
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static int appArgc = 1;
    static char name[] = "fuzz_plists";
    static char* appArgv[] = {name, nullptr};
    static QCoreApplication app(appArgc, appArgv);
    static State storage; // removed at exit, with its folder
    state = &storage;
    const QString root = state->dir.filePath(QStringLiteral("root"));
    qputenv("LV_SYSTEM_ROOT", QFile::encodeName(root));
    Platform::setSystemLog(std::make_shared<SystemLog>());
    state->systemVersion = root + QStringLiteral("/System/Library/CoreServices/SystemVersion.plist");
    state->applicationInfo = root + QStringLiteral("/Applications/Glow.app/Contents/Info.plist");
    state->pluginBundle = root + QStringLiteral("/Applications/Lumivane/Glow.app/Contents/PlugIns/Glow.pluginkit");
    state->registry = root + QStringLiteral("/var/db/pluginkit/registry.plist");
    for (const QString& file : {state->systemVersion, state->applicationInfo, state->registry,
                                state->pluginBundle + QStringLiteral("/Contents/Info.plist")})
        QDir().mkpath(QFileInfo(file).absolutePath());

    const QList<QByteArray> seeds{
        xmlPlist("<dict><key>ProductName</key><string>macOS</string><key>ProductVersion</key>"
                 "<string>14.4.1</string></dict>"),
        xmlPlist("<dict><key>CFBundleIdentifier</key><string>com.quarnet.Glow</string><key>CFBundleVersion</key>"
                 "<string>2.0 (10)</string><key>CFBundleExecutable</key><string>Glow</string></dict>"),
        xmlPlist(
            "<array><dict><key>CFBundleIdentifier</key><string>com.quarnet.Glow</string>"
            "<key>CFBundleVersion</key><string>2.0</string><key>Path</key><string>/Applications/Gl\\u00f6w</string>"
            "<key>UUID</key><string>0A</string><key>RegistrationDate</key><date>2024-01-02T03:04:05Z</date>"
            "</dict></array>"),
    };
    QList<QByteArray> all = seeds;
    // The binary form of each, as the Mac writes them.
    for (const QByteArray& xml : seeds) {
        plist_t node = nullptr;
        plist_from_xml(xml.constData(), uint32_t(xml.size()), &node);
        const PlistApi::Node owned(node);
        const QByteArray binary = node ? PlistApi::toBinary<QByteArray>(node) : QByteArray();
        if (!binary.isEmpty())
            all.append(binary);
    }
    writeSeeds(*argc, *argv, all);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    write(state->systemVersion, bytes);
    write(state->applicationInfo, bytes);
    write(state->pluginBundle + QStringLiteral("/Contents/Info.plist"), bytes);
    write(state->registry, bytes);

    (void)Platform::systemInfo().operatingSystemVersion();
    (void)Platform::workspace().absolutePathForAppBundleWithIdentifier(QStringLiteral("com.quarnet.Glow"));

    PluginRegistry registry(state->registry);
    for (const PluginRegistry::Plugin& plugin : registry.match(QString()))
        (void)PluginRegistry::nonLossyASCII(PluginRegistry::line(plugin, true));
    // Registering rewrites the registry: what was readable in it must still be there after.
    const qsizetype before = registry.match(QString()).size();
    if (registry.add(state->pluginBundle, nullptr)) {
        const QList<PluginRegistry::Plugin> after = registry.match(QString());
        if (after.size() < before || after.size() > before + 1)
            std::abort();
        registry.remove(state->pluginBundle, nullptr);
    }
    return 0;
}
