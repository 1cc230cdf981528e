#include "PosixWorkspace.h"
#include "PosixPlist.h"

#include "platform/Platform.h"

#include <QDesktopServices>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <csignal>
#include <sys/types.h>

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

bool PosixWorkspace::moveToTrash(const QString& path, QString* trashedPath, QString* error)
{
    // Qt's trash needs the XDG data folder to exist.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    QFile file(path);
    QString newPath;
    if (!file.moveToTrash()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    newPath = file.fileName();
    if (trashedPath)
        *trashedPath = newPath;
    return true;
}
