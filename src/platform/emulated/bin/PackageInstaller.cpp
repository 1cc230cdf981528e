#include "PackageInstaller.h"
#include "FlatPackage.h"
#include "PlistFile.h"
#include "ProductArchive.h"
#include "ToolPaths.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>

#include <archive.h>
#include <archive_entry.h>
#include <memory>
#include <sys/stat.h>

namespace {

struct ArchiveWriteFree
{
    void operator()(archive* a) const { archive_write_free(a); }
};

constexpr int kScriptTimeoutMs = 10 * 60 * 1000;

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

QString PackageInstaller::receiptPath(const FlatPackage& package, const QString& target, const QString& targetDir) const
{
    return (target == QLatin1String("CurrentUserHomeDirectory") ? targetDir + QStringLiteral("/Library/Receipts/")
                                                                : targetDir + QStringLiteral("/var/db/receipts/")) +
           package.identifier() + QStringLiteral(".plist");
}

int PackageInstaller::install(const QString& packagePath, const QString& target)
{
    if (packagePath.isEmpty() || !QFileInfo(packagePath).isFile())
        return fail(QStringLiteral("the package path specified was invalid: '%1'.").arg(packagePath));
    QString basePath;
    const QString targetDir = targetDirectory(target, &basePath);
    if (targetDir.isEmpty())
        return fail(QStringLiteral("the target specified was invalid: '%1'.").arg(target));

    // A product archive installs the components its choices select; a component package itself.
    QString error;
    QStringList components{QString()};
    QString name = QFileInfo(packagePath).completeBaseName();
    if (ProductArchive::isProductArchive(packagePath)) {
        ProductArchive product(packagePath);
        if (!product.open(&error))
            return fail(QStringLiteral("the package '%1' could not be read: %2.")
                            .arg(QFileInfo(packagePath).fileName(), error));
        components = product.components();
        if (!product.title().isEmpty())
            name = product.title();
    }
    QList<FlatPackage> packages;
    for (const QString& component : std::as_const(components)) {
        FlatPackage package(packagePath, component);
        if (!package.open(&error))
            return fail(QStringLiteral("the package '%1' could not be read: %2.")
                            .arg(QFileInfo(packagePath).fileName() +
                                     (component.isEmpty() ? QString() : QLatin1Char('/') + component),
                                 error));
        packages << package;
    }

    const bool upgrade = std::any_of(packages.cbegin(), packages.cend(), [&](const FlatPackage& package) {
        return QFileInfo::exists(receiptPath(package, target, targetDir));
    });
    _print(QStringLiteral("installer: Package name is %1").arg(name));
    _print(QStringLiteral("installer: %1 at base path %2")
               .arg(upgrade ? QStringLiteral("Upgrading") : QStringLiteral("Installing"), basePath));
    for (const FlatPackage& package : std::as_const(packages)) {
        const QString problem = installComponent(package, packagePath, target, targetDir);
        if (!problem.isNull()) {
            fail(problem);
            _print(upgrade ? QStringLiteral("installer: The upgrade failed.")
                           : QStringLiteral("installer: The install failed."));
            return 1;
        }
    }
    _print(upgrade ? QStringLiteral("installer: The upgrade was successful.")
                   : QStringLiteral("installer: The install was successful."));
    return 0;
}

QString PackageInstaller::installComponent(const FlatPackage& package, const QString& packagePath,
                                           const QString& target, const QString& targetDir) const
{
    const QString location = package.installLocation();
    if (!location.startsWith(QLatin1Char('/')) || location.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return QStringLiteral("the install location '%1' is not usable.").arg(location);
    const QString destination = ToolPaths::inRoot(targetDir, location);
    QString problem = checkEntries(package, destination);
    if (!problem.isNull())
        return problem;

    // Only now, once the payload is known to be sound, does anything appear on disk.
    // A link already in the target must not carry even the install location's folders outside.
    QString existing = destination;
    while (!QFileInfo::exists(existing) && existing != targetDir)
        existing = QFileInfo(existing).absolutePath();
    const QString canonicalTarget = QFileInfo(targetDir).canonicalFilePath();
    if (!isInside(QFileInfo(existing).canonicalFilePath(), canonicalTarget))
        return QStringLiteral("the install location '%1' leads outside the target.").arg(location);

    // The scripts get what a Mac's installer gives them: the package, the install location and
    // the target volume (here the system root).
    QTemporaryDir scripts;
    QString error;
    if (package.hasScripts() && (!scripts.isValid() || !package.extractScripts(scripts.path(), &error)))
        return QStringLiteral("the scripts of '%1' could not be unpacked: %2.").arg(package.identifier(), error);
    const QStringList arguments{QFileInfo(packagePath).absoluteFilePath(), destination, targetDir, targetDir};
    if (package.hasScripts()) {
        problem = runScript(scripts.path(), QStringLiteral("preinstall"), arguments);
        if (!problem.isNull())
            return problem;
    }
    if (!QDir().mkpath(destination))
        return QStringLiteral("could not create '%1'.").arg(location);
    if (!isInside(QFileInfo(destination).canonicalFilePath(), canonicalTarget))
        return QStringLiteral("the install location '%1' leads outside the target.").arg(location);
    problem = extract(package, destination);
    if (!problem.isNull())
        return problem;
    if (package.hasScripts()) {
        problem = runScript(scripts.path(), QStringLiteral("postinstall"), arguments);
        if (!problem.isNull())
            return problem;
    }
    if (!writeReceipt(package, receiptPath(package, target, targetDir), packagePath, &error))
        return QStringLiteral("could not write the receipt: %1.").arg(error);
    return QString();
}

QString PackageInstaller::runScript(const QString& folder, const QString& name, const QStringList& arguments) const
{
    const QString script = folder + QLatin1Char('/') + name;
    if (!QFileInfo(script).isFile())
        return QString();
    QProcess process;
    process.setWorkingDirectory(folder);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PACKAGE_PATH"), arguments.value(0));
    environment.insert(QStringLiteral("DSTROOT"), arguments.value(1));
    environment.insert(QStringLiteral("DSTVOLUME"), arguments.value(2));
    environment.insert(QStringLiteral("INSTALLER_TEMP"), folder);
    environment.insert(QStringLiteral("SCRIPT_NAME"), name);
    process.setProcessEnvironment(environment);
    // What a script prints goes to the installer's log on a Mac, not to its output.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(script, arguments);
    if (!process.waitForStarted())
        return QStringLiteral("the %1 script could not be run: %2.").arg(name, process.errorString());
    if (!process.waitForFinished(kScriptTimeoutMs)) {
        process.kill();
        process.waitForFinished();
        return QStringLiteral("the %1 script did not finish.").arg(name);
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return QStringLiteral("the %1 script failed (exit status %2).").arg(name).arg(process.exitCode());
    return QString();
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
    plist_dict_set_item(receipt.get(), "InstallDate", PlistApi::newDate(QDateTime::currentSecsSinceEpoch()));
    return PlistFile::write(receiptPath, receipt.get(), error);
}
