#include "DemoTools.h"

#include "foundation/VMPropertyList.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <ctime>

#include <archive.h>
#include <archive_entry.h>

namespace DemoTools {
namespace {

bool writeFile(const QString& path, const QByteArray& data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

QByteArray shellQuoted(const QString& text)
{
    return "'" + text.toUtf8().replace("'", "'\\''") + "'";
}

// Removes the wrappers and their receipts; the last line prints the status, as the uninstall
// runner expects. Every demo product is an FxPlug 3 one, so both scripts remove them all.
QByteArray uninstallScript(const QString& systemRoot, const QByteArray& title)
{
    return "#!/bin/sh\n# Demo: " + title + ", inside the emulated system root.\nroot=" + shellQuoted(systemRoot) +
           "\n"
           "rm -rf \"$root/Applications/Lumivane/\"*.app\n"
           "rm -f \"$root/var/db/receipts/\"com.quarnet.*\n"
           "echo $?\n";
}

QByteArray zipArchive(const QList<QPair<QString, QByteArray>>& files)
{
    QByteArray zipped;
    archive* writer = archive_write_new();
    archive_write_set_format_zip(writer);
    const auto write = [](archive*, void* context, const void* buffer, size_t length) -> la_ssize_t {
        static_cast<QByteArray*>(context)->append(static_cast<const char*>(buffer), qsizetype(length));
        return la_ssize_t(length);
    };
    archive_write_set_bytes_in_last_block(writer, 1);
    if (archive_write_open(writer, &zipped, nullptr, write, nullptr) != ARCHIVE_OK) {
        archive_write_free(writer);
        return QByteArray();
    }
    for (const auto& [name, data] : files) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, name.toUtf8().constData());
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_mtime(entry, std::time(nullptr), 0);
        archive_entry_set_size(entry, data.size());
        archive_write_header(writer, entry);
        archive_write_data(writer, data.constData(), size_t(data.size()));
        archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    return zipped;
}

} // namespace

bool writeToolFiles(const QString& siteFolder, const QString& systemRoot)
{
    const QDir site(siteFolder);
    bool ok = writeFile(site.filePath("VM_installers/uninstallers/TotalRemoveAllProducts.bash"),
                        uninstallScript(systemRoot, "remove all products"));
    ok = ok && writeFile(site.filePath("VM_installers/uninstallers/TotalRemoveAllFxPlug3.bash"),
                         uninstallScript(systemRoot, "remove the FxPlug 3 products"));
    const QByteArray info = VMPropertyList::toXmlData(QVariantMap{
        {"CFBundleIdentifier", "com.quarnet.LV-GatherDiagnostics"},
        {"CFBundleName", "LV_GatherDiagnostics"},
        {"CFBundleShortVersionString", "1.0"},
    });
    const QByteArray zip = zipArchive({
        {"LV_GatherDiagnostics.app/Contents/Info.plist", info},
        {"LV_GatherDiagnostics.app/Contents/Resources/ReadMe.txt",
         "Demo diagnostic tool: it would gather logs and system details for the support team.\n"},
    });
    return ok && !zip.isEmpty() && writeFile(site.filePath("VM_installers/LV_GatherDiagnostics.app.zip"), zip);
}

bool placeStrayCopy(const QString& systemRoot)
{
    const QString app = QDir(systemRoot).filePath("Users/Shared/Old Installers/Hollin.app");
    const QString infoPath = app + "/Contents/Info.plist";
    if (QFileInfo::exists(infoPath))
        return true;
    const QVariantMap info{{"CFBundleIdentifier", "com.quarnet.FxPlug.Hollin"},
                           {"CFBundleName", "Hollin"},
                           {"CFBundleShortVersionString", "1.4"}};
    return writeFile(infoPath, VMPropertyList::toXmlData(info));
}

bool ensureSystemVersion(const QString& systemRoot)
{
    const QString path = QDir(systemRoot).filePath("System/Library/CoreServices/SystemVersion.plist");
    if (QFileInfo::exists(path))
        return true;
    return writeFile(path,
                     VMPropertyList::toXmlData(QVariantMap{
                         {"ProductName", "macOS"}, {"ProductVersion", "13.6"}, {"ProductBuildVersion", "22G120"}}));
}

} // namespace DemoTools
