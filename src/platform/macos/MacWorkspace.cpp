#include "MacWorkspace.h"
#include "MacProgramRunner.h"

#include "platform/emulated/EmulatedPlist.h"

#include <QDesktopServices>
#include <QFileInfo>

namespace {

// The text as an extended regular expression (pkill's) that matches it literally.
QString escapedForPattern(const QString& text)
{
    QString escaped;
    for (const QChar c : text) {
        if (QStringLiteral(".[]{}()\\*+?^$|").contains(c))
            escaped += QLatin1Char('\\');
        escaped += c;
    }
    return escaped;
}

} // namespace

MacWorkspace::MacWorkspace(ApplicationFinder finder, Programs programs)
    : _finder(std::move(finder)), _programs(std::move(programs))
{}

bool MacWorkspace::openUrl(const QUrl& url)
{
    return QDesktopServices::openUrl(url);
}

bool MacWorkspace::revealFile(const QString& path)
{
    return MacProgramRunner::run(_programs.open, {QStringLiteral("-R"), path}, QByteArray(), 30000).succeeded();
}

QString MacWorkspace::absolutePathForAppBundleWithIdentifier(const QString& identifier) const
{
    if (identifier.isEmpty() || !_finder)
        return QString();
    const QStringList found = _finder(identifier);
    return found.isEmpty() ? QString() : found.first();
}

QList<QUrl> MacWorkspace::URLsForApplicationsWithBundleIdentifier(const QString& identifier) const
{
    QList<QUrl> urls;
    if (identifier.isEmpty() || !_finder)
        return urls;
    for (const QString& path : _finder(identifier))
        urls.append(QUrl::fromLocalFile(path));
    return urls;
}

void MacWorkspace::openApplication(const QString& path, const OpenConfiguration& configuration,
                                   OpenCompletion completion)
{
    // -g: stays in the background; -j: launched hidden; --args: the rest goes to the application.
    QStringList arguments;
    if (configuration.hides)
        arguments << QStringLiteral("-g") << QStringLiteral("-j");
    arguments << QStringLiteral("-a") << path;
    if (!configuration.arguments.isEmpty())
        arguments << QStringLiteral("--args") << configuration.arguments;
    const MacProgramResult result = MacProgramRunner::run(_programs.open, arguments, QByteArray(), 60000);
    QString error;
    if (!result.succeeded()) {
        const QString said = QString::fromUtf8(result.standardError).trimmed();
        error = said.isEmpty()
                    ? QStringLiteral("The application \"%1\" could not be launched.").arg(QFileInfo(path).fileName())
                    : said;
    }
    if (completion)
        completion(RunningApplication{0, path}, error);
}

bool MacWorkspace::terminateApplication(const RunningApplication& application)
{
    if (application.path.isEmpty())
        return false;
    // `open` gives no process id: the processes running the bundle's executable are asked to quit.
    const QString name = EmulatedPlist::readStrings(application.path + QStringLiteral("/Contents/Info.plist"))
                             .value(QStringLiteral("CFBundleExecutable"))
                             .toString();
    if (name.isEmpty())
        return false;
    const QString executable = application.path + QStringLiteral("/Contents/MacOS/") + name;
    const QString pattern = QLatin1Char('^') + escapedForPattern(executable) + QStringLiteral("( |$)");
    return MacProgramRunner::run(_programs.pkill, {QStringLiteral("-TERM"), QStringLiteral("-f"), pattern},
                                 QByteArray(), 10000)
        .succeeded();
}

bool MacWorkspace::moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode)
{
    // Qt moves it to the Finder's Trash on a Mac.
    return moveToSystemTrash(path, trashedPath, error, errorCode);
}
