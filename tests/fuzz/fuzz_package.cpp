// Any bytes offered to the portable installer as a flat package: as the whole xar file, as the
// PackageInfo of an otherwise sound package, as its cpio payload, or as the Distribution of a
// product archive around it. Nothing may crash, and
// nothing may land outside the system root, whatever the entries and links say.
#include "FuzzSeeds.h"
#include "PackageBuilder.h"
#include "PackageInstaller.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>

namespace {

struct State
{
    QTemporaryDir dir;
    QString root;
    QString outside;
    QString package;
    QByteArray payload;
    QByteArray packageInfo;
};

State* state = nullptr;

bool insideRoot(const QString& path)
{
    const QString root = QFileInfo(state->root).canonicalFilePath();
    return path == root || path.startsWith(root + QLatin1Char('/'));
}

// Every file and link the install left must stay inside the root.
void checkNothingEscaped()
{
    if (!QDir(state->outside).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        std::abort();
    QDirIterator it(state->root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo entry(it.next());
        const QString resolved = entry.canonicalFilePath();
        if (!resolved.isEmpty() && !insideRoot(resolved))
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static int appArgc = 1;
    static char name[] = "fuzz_package";
    static char* appArgv[] = {name, nullptr};
    static QCoreApplication app(appArgc, appArgv);
    static State storage; // removed at exit, with its folder
    state = &storage;
    state->root = state->dir.filePath(QStringLiteral("root"));
    state->outside = state->dir.filePath(QStringLiteral("outside"));
    state->package = state->dir.filePath(QStringLiteral("Glow.pkg"));
    QDir().mkpath(state->outside);
    qputenv("LV_SYSTEM_ROOT", QFile::encodeName(state->root));

    // A small sound package: a plug-in wrapper with a file, a folder and a link inside it.
    const QString content = state->dir.filePath(QStringLiteral("content"));
    QDir().mkpath(content + QStringLiteral("/Glow.app/Contents/MacOS"));
    QFile info(content + QStringLiteral("/Glow.app/Contents/Info.plist"));
    if (info.open(QIODevice::WriteOnly))
        info.write("<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>g</string></dict></plist>");
    info.close();
    QFile::link(QStringLiteral("Contents/Info.plist"), content + QStringLiteral("/Glow.app/Info"));
    PackageBuilder builder;
    builder.root = content;
    builder.identifier = QStringLiteral("com.quarnet.pkg.Glow");
    builder.installLocation = QStringLiteral("/Applications/Lumivane");
    int files = 0;
    qint64 bytes = 0;
    state->payload = builder.payload(&files, &bytes, nullptr);
    state->packageInfo = builder.packageInfo(files, bytes);
    QDir(content).removeRecursively();

    QList<QByteArray> seeds{QByteArray(1, '\1') + state->packageInfo, QByteArray(1, '\2') + state->payload,
                            QByteArray(1, '\3') + PackageBuilder::distribution(QStringLiteral("Glow"),
                                                                               {QStringLiteral("com.quarnet.pkg.Glow")},
                                                                               {QStringLiteral("Glow.pkg")})};
    if (PackageBuilder::writeXar(
            state->package,
            {{QStringLiteral("PackageInfo"), state->packageInfo}, {QStringLiteral("Payload"), state->payload}},
            nullptr)) {
        QFile whole(state->package);
        if (whole.open(QIODevice::ReadOnly))
            seeds.append(QByteArray(1, '\0') + whole.readAll());
    }
    writeSeeds(*argc, *argv, seeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char*>(data) + 1, qsizetype(size - 1));
    QFile::remove(state->package);
    bool written = false;
    switch (data[0] % 4) {
    case 0: {
        QFile file(state->package);
        written = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
        break;
    }
    case 1:
        written = PackageBuilder::writeXar(
            state->package, {{QStringLiteral("PackageInfo"), bytes}, {QStringLiteral("Payload"), state->payload}},
            nullptr);
        break;
    case 2:
        written = PackageBuilder::writeXar(
            state->package, {{QStringLiteral("PackageInfo"), state->packageInfo}, {QStringLiteral("Payload"), bytes}},
            nullptr);
        break;
    default:
        written = PackageBuilder::writeXar(state->package,
                                           {{QStringLiteral("Distribution"), bytes},
                                            {QStringLiteral("Glow.pkg/PackageInfo"), state->packageInfo},
                                            {QStringLiteral("Glow.pkg/Payload"), state->payload}},
                                           nullptr);
        break;
    }
    if (written) {
        PackageInstaller installer([](const QString&) {});
        (void)installer.install(state->package, QStringLiteral("/"));
        checkNothingEscaped();
    }
    QDir(state->root).removeRecursively();
    return 0;
}
