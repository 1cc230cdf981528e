#include "EmulatedWorkspace.h"
#include "EmulatedPlist.h"

#include "platform/Platform.h"

#include <QDesktopServices>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QSet>

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
            const QVariantMap info =
                EmulatedPlist::readStrings(entry.filePath() + QStringLiteral("/Contents/Info.plist"));
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

// `skipped`: the Trash, whose applications the system no longer counts as installed.
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
            const QVariantMap info =
                EmulatedPlist::readStrings(entry.filePath() + QStringLiteral("/Contents/Info.plist"));
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

bool EmulatedWorkspace::openUrl(const QUrl& url)
{
    return QDesktopServices::openUrl(url);
}

bool EmulatedWorkspace::revealFile(const QString& path)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

QStringList EmulatedWorkspace::applicationFolders() const
{
    const SystemInfo& system = Platform::systemInfo();
    return {system.localApplicationsDirectory(), system.homeDirectory() + QStringLiteral("/Applications"),
            system.pathInSystemRoot(QStringLiteral("/System/Applications"))};
}

QString EmulatedWorkspace::absolutePathForAppBundleWithIdentifier(const QString& identifier) const
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

QStringList EmulatedWorkspace::applicationSearchRoots() const
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

QList<QUrl> EmulatedWorkspace::URLsForApplicationsWithBundleIdentifier(const QString& identifier) const
{
    QList<QUrl> found;
    if (identifier.isEmpty())
        return found;
    QSet<QString> seen; // the default system root lies inside the home folder
    const QString trash = QDir::cleanPath(Platform::systemInfo().trashDirectory());
    for (const QString& folder : applicationSearchRoots())
        findAllBundles(QDir::cleanPath(folder), identifier, 1, trash, seen, found);
    return found;
}

void EmulatedWorkspace::openApplication(const QString& path, const OpenConfiguration& configuration,
                                        OpenCompletion completion)
{
    const QVariantMap info = EmulatedPlist::readStrings(path + QStringLiteral("/Contents/Info.plist"));
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

bool EmulatedWorkspace::terminateApplication(const RunningApplication& application)
{
    if (application.pid <= 0)
        return false;
    return ::kill(static_cast<pid_t>(application.pid), SIGTERM) == 0;
}

bool EmulatedWorkspace::moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink()) {
        if (error)
            *error = QStringLiteral("The file \u201c%1\u201d couldn\u2019t be found.").arg(info.fileName());
        if (errorCode)
            *errorCode = TrashNoSuchFile;
        return false;
    }
    // The Trash of the home folder, as the Finder keeps it: a name already there gets a number.
    const QString trash = Platform::systemInfo().trashDirectory();
    QDir().mkpath(trash);
    QString target = trash + QLatin1Char('/') + info.fileName();
    for (int n = 2; QFileInfo::exists(target) || QFileInfo(target).isSymLink(); ++n)
        target = trash + QStringLiteral("/%1 %2").arg(info.completeBaseName()).arg(n) +
                 (info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix());
    if (!QFile::rename(path, target)) {
        if (error)
            *error = QStringLiteral("\u201c%1\u201d couldn\u2019t be moved to the Trash.").arg(info.fileName());
        if (errorCode) {
            // Moving needs write access to the folder holding the file.
            const bool permission = ::access(QFile::encodeName(info.absolutePath()).constData(), W_OK) != 0;
            *errorCode = permission ? TrashNoPermission : TrashUnknownError;
        }
        return false;
    }
    if (trashedPath)
        *trashedPath = target;
    return true;
}
