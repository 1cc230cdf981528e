#include "PosixWorkspace.h"
#include "PosixPlist.h"

#include "platform/Platform.h"

#include <QDesktopServices>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>

#include <cerrno>
#include <csignal>
#include <sys/types.h>
#include <unistd.h>

namespace {

constexpr int kMaxSearchDepth = 3;

QString findBundle(const QString& folder, const QString& identifier, int depth)
{
    QDir dir(folder);
    const QFileInfoList entries = dir.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.fileName().endsWith(QLatin1String(".app"))) {
            const QVariantMap info = PosixPlist::readStrings(entry.filePath() + QStringLiteral("/Contents/Info.plist"));
            if (info.value(QStringLiteral("CFBundleIdentifier")).toString() == identifier)
                return entry.absoluteFilePath();
            continue; // applications are not searched inside
        }
        if (depth < kMaxSearchDepth) {
            const QString found = findBundle(entry.filePath(), identifier, depth + 1);
            if (!found.isNull())
                return found;
        }
    }
    return QString();
}

// Deep enough for ~/.local/share/Trash/files/X.app and <root>/Volumes/Disk/Applications/Lumivane/X.app.
constexpr int kMaxCopySearchDepth = 8;

// `skipped`: the desktop's trash, whose applications the system no longer counts as installed.
void findAllBundles(const QString& folder, const QString& identifier, int depth, const QString& skipped,
                    QSet<QString>& seen, QList<QUrl>& found)
{
    if (folder == skipped)
        return;
    QDir dir(folder);
    const QFileInfoList entries =
        dir.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::NoSymLinks, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.fileName().endsWith(QLatin1String(".app"))) {
            const QVariantMap info = PosixPlist::readStrings(entry.filePath() + QStringLiteral("/Contents/Info.plist"));
            const QString canonical = entry.canonicalFilePath();
            if (info.value(QStringLiteral("CFBundleIdentifier")).toString() == identifier &&
                !seen.contains(canonical)) {
                seen.insert(canonical);
                found.append(QUrl::fromLocalFile(entry.absoluteFilePath()));
            }
            continue;
        }
        if (depth < kMaxCopySearchDepth)
            findAllBundles(entry.filePath(), identifier, depth + 1, skipped, seen, found);
    }
}

} // namespace

bool PosixWorkspace::openUrl(const QUrl& url)
{
    return QDesktopServices::openUrl(url);
}

bool PosixWorkspace::revealFile(const QString& path)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

QStringList PosixWorkspace::applicationFolders() const
{
    const SystemInfo& system = Platform::systemInfo();
    return {system.localApplicationsDirectory(), system.homeDirectory() + QStringLiteral("/Applications"),
            system.pathInSystemRoot(QStringLiteral("/System/Applications"))};
}

QString PosixWorkspace::absolutePathForAppBundleWithIdentifier(const QString& identifier) const
{
    if (identifier.isEmpty())
        return QString();
    for (const QString& folder : applicationFolders()) {
        const QString found = findBundle(folder, identifier, 1);
        if (!found.isNull())
            return found;
    }
    return QString();
}

QStringList PosixWorkspace::applicationSearchRoots() const
{
    const SystemInfo& system = Platform::systemInfo();
    const QString root = system.systemRoot();
    QStringList roots;
    if (root == QLatin1String("/")) {
        // The real root: only the folders a Mac keeps applications in, never /proc and the like.
        for (const char* folder : {"/Applications", "/Users", "/Volumes", "/Library"})
            roots.append(QString::fromLatin1(folder));
    } else {
        roots.append(root);
    }
    roots.append(system.homeDirectory());
    return roots;
}

QList<QUrl> PosixWorkspace::URLsForApplicationsWithBundleIdentifier(const QString& identifier) const
{
    QList<QUrl> found;
    if (identifier.isEmpty())
        return found;
    QSet<QString> seen; // the default system root lies inside the home folder
    const QString trash = QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                                          QStringLiteral("/Trash"));
    for (const QString& folder : applicationSearchRoots())
        findAllBundles(QDir::cleanPath(folder), identifier, 1, trash, seen, found);
    return found;
}

void PosixWorkspace::openApplication(const QString& path, const OpenConfiguration& configuration,
                                     OpenCompletion completion)
{
    const QVariantMap info = PosixPlist::readStrings(path + QStringLiteral("/Contents/Info.plist"));
    const QString executableName = info.value(QStringLiteral("CFBundleExecutable")).toString();
    const QString executable = path + QStringLiteral("/Contents/MacOS/") + executableName;
    RunningApplication application{0, path};
    QString error;
    if (executableName.isEmpty() || !QFileInfo(executable).isExecutable()) {
        error = QStringLiteral("The application \"%1\" can't be opened.").arg(QFileInfo(path).fileName());
    } else {
        QProcess process;
        process.setProgram(executable);
        process.setArguments(configuration.arguments);
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        if (!process.startDetached(&application.pid))
            error = QStringLiteral("The application \"%1\" could not be launched.").arg(QFileInfo(path).fileName());
    }
    if (completion)
        completion(application, error);
}

bool PosixWorkspace::terminateApplication(const RunningApplication& application)
{
    if (application.pid <= 0)
        return false;
    return ::kill(static_cast<pid_t>(application.pid), SIGTERM) == 0;
}

bool PosixWorkspace::moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink()) {
        if (error)
            *error = QStringLiteral("The file \u201c%1\u201d couldn\u2019t be found.").arg(info.fileName());
        if (errorCode)
            *errorCode = TrashNoSuchFile;
        return false;
    }
    // Qt's trash needs the XDG data folder to exist.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    QFile file(path);
    QString newPath;
    errno = 0;
    if (!file.moveToTrash()) {
        const int cause = errno;
        if (error)
            *error = file.errorString();
        if (errorCode) {
            // Moving needs write access to the folder holding the file.
            const bool permission = cause == EACCES || cause == EPERM || cause == EROFS ||
                                    ::access(QFile::encodeName(info.absolutePath()).constData(), W_OK) != 0;
            *errorCode = permission ? TrashNoPermission : TrashUnknownError;
        }
        return false;
    }
    newPath = file.fileName();
    if (trashedPath)
        *trashedPath = newPath;
    return true;
}
