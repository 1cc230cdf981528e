#include "PackageInstaller.h"
#include "FlatPackage.h"
#include "PlistFile.h"
#include "ToolPaths.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <archive.h>
#include <archive_entry.h>
#include <memory>
#include <sys/stat.h>

namespace {

struct ArchiveWriteFree
{
    void operator()(archive* a) const { archive_write_free(a); }
};

// Seconds between the Unix epoch and the Mac's reference date (2001-01-01).
constexpr qint64 kMacEpochOffset = 978307200;

bool isLink(const QString& path)
{
    struct stat status;
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool isInside(const QString& path, const QString& folder)
{
    return !folder.isEmpty() &&
           (path == folder || path.startsWith(folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/')));
}

// The current directory for the time of an extraction, so entries can stay relative.
class DirectoryChange
{
public:
    explicit DirectoryChange(const QString& directory) : _previous(QDir::currentPath())
    {
        _changed = QDir::setCurrent(directory);
    }
    ~DirectoryChange() { QDir::setCurrent(_previous); }
    bool changed() const { return _changed; }

private:
    QString _previous;
    bool _changed = false;
};

} // namespace

PackageInstaller::PackageInstaller(Printer print) : _print(std::move(print)) {}

QString PackageInstaller::relativePath(const QString& name)
{
    QStringList kept;
    for (const QString& part : name.split(QLatin1Char('/'))) {
        if (!part.isEmpty() && part != QLatin1String("."))
            kept << part;
    }
    return kept.join(QLatin1Char('/'));
}

QString PackageInstaller::entryProblem(const QString& name, const QString& linkTarget)
{
    if (name.isEmpty())
        return QStringLiteral("it has no name");
    if (name.startsWith(QLatin1Char('/')))
        return QStringLiteral("its path is absolute");
    if (name.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return QStringLiteral("its path leads out of the install location");
    if (linkTarget.isNull())
        return QString();

    // A link may climb no higher than its own folder's depth, and only before it descends, so it
    // cannot leave the install location whatever the links it passes through.
    if (linkTarget.isEmpty())
        return QStringLiteral("it links to nothing");
    if (linkTarget.startsWith(QLatin1Char('/')))
        return QStringLiteral("it links to the absolute path '%1'").arg(linkTarget);
    const int depth = int(relativePath(name).count(QLatin1Char('/')));
    int climbs = 0;
    bool descended = false;
    for (const QString& part : linkTarget.split(QLatin1Char('/'))) {
        if (part.isEmpty() || part == QLatin1String("."))
            continue;
        if (part == QLatin1String("..")) {
            if (descended || ++climbs > depth)
                return QStringLiteral("it links to '%1', outside the install location").arg(linkTarget);
        } else {
            descended = true;
        }
    }
    return QString();
}

int PackageInstaller::fail(const QString& message)
{
    _print(QStringLiteral("installer: Error - %1").arg(message));
    return 1;
}

QString PackageInstaller::targetDirectory(const QString& target, QString* basePath) const
{
    if (target == QLatin1String("/")) {
        *basePath = target;
        const QString root = ToolPaths::systemRoot();
        QDir().mkpath(root);
        return root;
    }
    if (target == QLatin1String("CurrentUserHomeDirectory")) {
        *basePath = QDir::homePath();
        return QDir::homePath();
    }
    if (!target.startsWith(QLatin1Char('/')) || target.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return QString();
    *basePath = QDir::cleanPath(target);
    const QString directory = ToolPaths::inRoot(ToolPaths::systemRoot(), target);
    return QFileInfo(directory).isDir() ? directory : QString();
}

int PackageInstaller::install(const QString& packagePath, const QString& target)
{
    if (packagePath.isEmpty() || !QFileInfo(packagePath).isFile())
        return fail(QStringLiteral("the package path specified was invalid: '%1'.").arg(packagePath));
    QString basePath;
    const QString targetDir = targetDirectory(target, &basePath);
    if (targetDir.isEmpty())
        return fail(QStringLiteral("the target specified was invalid: '%1'.").arg(target));

    FlatPackage package(packagePath);
    QString error;
    if (!package.open(&error))
        return fail(
            QStringLiteral("the package '%1' could not be read: %2.").arg(QFileInfo(packagePath).fileName(), error));

    const QString receiptPath =
        (target == QLatin1String("CurrentUserHomeDirectory") ? targetDir + QStringLiteral("/Library/Receipts/")
                                                             : targetDir + QStringLiteral("/var/db/receipts/")) +
        package.identifier() + QStringLiteral(".plist");
    const bool upgrade = QFileInfo::exists(receiptPath);
    _print(QStringLiteral("installer: Package name is %1").arg(QFileInfo(packagePath).completeBaseName()));
    _print(QStringLiteral("installer: %1 at base path %2")
               .arg(upgrade ? QStringLiteral("Upgrading") : QStringLiteral("Installing"), basePath));
    const QString failed =
        upgrade ? QStringLiteral("installer: The upgrade failed.") : QStringLiteral("installer: The install failed.");

    const QString location = package.installLocation();
    if (!location.startsWith(QLatin1Char('/')) || location.split(QLatin1Char('/')).contains(QStringLiteral(".."))) {
        fail(QStringLiteral("the install location '%1' is not usable.").arg(location));
        _print(failed);
        return 1;
    }
    const QString destination = ToolPaths::inRoot(targetDir, location);
    QString problem = checkEntries(package, destination);
    if (problem.isNull()) {
        // Only now, once the payload is known to be sound, does anything appear on disk.
        // A link already in the target must not carry even the install location's folders outside.
        QString existing = destination;
        while (!QFileInfo::exists(existing) && existing != targetDir)
            existing = QFileInfo(existing).absolutePath();
        const QString canonicalTarget = QFileInfo(targetDir).canonicalFilePath();
        if (!isInside(QFileInfo(existing).canonicalFilePath(), canonicalTarget))
            problem = QStringLiteral("the install location '%1' leads outside the target.").arg(location);
        else if (!QDir().mkpath(destination))
            problem = QStringLiteral("could not create '%1'.").arg(location);
        else if (!isInside(QFileInfo(destination).canonicalFilePath(), canonicalTarget))
            problem = QStringLiteral("the install location '%1' leads outside the target.").arg(location);
        else
            problem = extract(package, destination);
    }
    if (problem.isNull() && !writeReceipt(package, receiptPath, packagePath, &error))
        problem = QStringLiteral("could not write the receipt: %1.").arg(error);
    if (!problem.isNull()) {
        fail(problem);
        _print(failed);
        return 1;
    }
    _print(upgrade ? QStringLiteral("installer: The upgrade was successful.")
                   : QStringLiteral("installer: The install was successful."));
    return 0;
}

QString PackageInstaller::checkEntries(const FlatPackage& package, const QString& destination) const
{
    QString problem;
    QSet<QString> links;
    QString error;
    const bool read = package.readPayload(
        [&](archive*, archive_entry* entry) {
            const QString name =
                QString::fromUtf8(archive_entry_pathname_utf8(entry) ? archive_entry_pathname_utf8(entry)
                                                                     : archive_entry_pathname(entry));
            const mode_t type = archive_entry_filetype(entry);
            const char* symlink = archive_entry_symlink(entry);
            const char* hardlink = archive_entry_hardlink(entry);
            QString why;
            if (type != AE_IFREG && type != AE_IFDIR && type != AE_IFLNK)
                why = QStringLiteral("it is neither a file, a folder nor a link");
            else
                why = entryProblem(name, type == AE_IFLNK ? QString::fromUtf8(symlink ? symlink : "") : QString());
            if (why.isNull() && hardlink)
                why = entryProblem(QString::fromUtf8(hardlink), QString()).isNull()
                          ? QString()
                          : QStringLiteral("it is a hard link to '%1', outside the install location")
                                .arg(QString::fromUtf8(hardlink));
            const QString relative = relativePath(name);
            if (why.isNull() && relative.isEmpty() && type != AE_IFDIR)
                why = QStringLiteral("it would replace the install location itself");
            // Nothing may be written through a link, whether this payload or an earlier install
            // put it there.
            for (qsizetype slash = relative.indexOf(QLatin1Char('/')); why.isNull() && slash > 0;
                 slash = relative.indexOf(QLatin1Char('/'), slash + 1)) {
                const QString folder = relative.left(slash);
                if (links.contains(folder) || isLink(destination + QLatin1Char('/') + folder))
                    why = QStringLiteral("it goes through the link '%1'").arg(folder);
            }
            if (!why.isNull()) {
                problem = QStringLiteral("refused payload entry '%1': %2.").arg(name, why);
                return false;
            }
            if (type == AE_IFLNK)
                links.insert(relative);
            else
                links.remove(relative);
            return true;
        },
        &error);
    if (!problem.isNull())
        return problem;
    if (!read)
        return QStringLiteral("the package could not be read: %1.").arg(error);
    return QString();
}

QString PackageInstaller::extract(const FlatPackage& package, const QString& destination) const
{
    DirectoryChange change(destination);
    if (!change.changed())
        return QStringLiteral("could not enter '%1'.").arg(destination);
    std::unique_ptr<archive, ArchiveWriteFree> disk(archive_write_disk_new());
    archive_write_disk_set_options(disk.get(), ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_PERM |
                                                   ARCHIVE_EXTRACT_SECURE_NODOTDOT | ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                                                   ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS);
    QString problem;
    QString error;
    const bool read = package.readPayload(
        [&](archive* payload, archive_entry* entry) {
            const QString name = QString::fromUtf8(archive_entry_pathname(entry));
            const QString relative = relativePath(name);
            // The install location exists already and keeps its own permissions.
            if (relative.isEmpty())
                return true;
            archive_entry_set_pathname(entry, QFile::encodeName(QStringLiteral("./") + relative).constData());
            if (const char* hardlink = archive_entry_hardlink(entry))
                archive_entry_set_hardlink(
                    entry,
                    QFile::encodeName(QStringLiteral("./") + relativePath(QString::fromUtf8(hardlink))).constData());
            if (archive_read_extract2(payload, entry, disk.get()) < ARCHIVE_WARN) {
                const char* text = archive_error_string(disk.get());
                problem = QStringLiteral("could not install '%1': %2.")
                              .arg(name, text ? QString::fromLocal8Bit(text) : QStringLiteral("write error"));
                return false;
            }
            return true;
        },
        &error);
    if (archive_write_close(disk.get()) < ARCHIVE_WARN && problem.isNull())
        problem = QStringLiteral("could not finish the install: %1.")
                      .arg(QString::fromLocal8Bit(archive_error_string(disk.get())));
    if (!problem.isNull())
        return problem;
    if (!read)
        return QStringLiteral("the package could not be read: %1.").arg(error);
    return QString();
}

bool PackageInstaller::writeReceipt(const FlatPackage& package, const QString& receiptPath, const QString& packagePath,
                                    QString* error) const
{
    PlistFile::Node receipt(plist_new_dict());
    plist_dict_set_item(receipt.get(), "PackageIdentifier",
                        plist_new_string(package.identifier().toUtf8().constData()));
    plist_dict_set_item(receipt.get(), "PackageVersion", plist_new_string(package.version().toUtf8().constData()));
    QString prefix = package.installLocation();
    while (prefix.startsWith(QLatin1Char('/')))
        prefix.remove(0, 1);
    plist_dict_set_item(receipt.get(), "InstallPrefixPath", plist_new_string(prefix.toUtf8().constData()));
    plist_dict_set_item(receipt.get(), "PackageFileName",
                        plist_new_string(QFileInfo(packagePath).fileName().toUtf8().constData()));
    plist_dict_set_item(receipt.get(), "InstallProcessName", plist_new_string("installer"));
    const qint64 now = QDateTime::currentSecsSinceEpoch() - kMacEpochOffset;
    plist_dict_set_item(receipt.get(), "InstallDate", plist_new_date(int32_t(now), 0));
    return PlistFile::write(receiptPath, receipt.get(), error);
}
