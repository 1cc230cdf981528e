#include "MacBundleUpdater.h"
#include "MacProgramRunner.h"

#include "platform/emulated/EmulatedPlist.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

QString bundleIdentifier(const QString& bundle)
{
    return EmulatedPlist::readStrings(bundle + QStringLiteral("/Contents/Info.plist"))
        .value(QStringLiteral("CFBundleIdentifier"))
        .toString();
}

} // namespace

MacBundleUpdater::MacBundleUpdater(const QString& runningBundle, qint64 runningProcessId, Programs programs)
    : _runningBundle(QDir::cleanPath(runningBundle)), _runningProcessId(runningProcessId),
      _programs(std::move(programs))
{}

bool MacBundleUpdater::fail(QString* reason, const QString& why) const
{
    if (reason)
        *reason = QStringLiteral("The update was not installed. %1").arg(why);
    return false;
}

QString MacBundleUpdater::teamIdentifier(const QString& bundle) const
{
    // codesign -dv describes the signature on standard error, one "Key=value" a line.
    const MacProgramResult result =
        MacProgramRunner::run(_programs.codesign, {QStringLiteral("-dv"), QStringLiteral("--verbose=2"), bundle});
    if (!result.succeeded())
        return QString();
    static const QRegularExpression team(QStringLiteral("^TeamIdentifier=(.+)$"), QRegularExpression::MultilineOption);
    const QString found =
        team.match(QString::fromUtf8(result.standardError + result.standardOutput)).captured(1).trimmed();
    return found == QLatin1String("not set") ? QString() : found;
}

QString MacBundleUpdater::unpackedBundle(const QString& folder) const
{
    const QStringList bundles = QDir(folder).entryList({QStringLiteral("*.app")}, QDir::Dirs | QDir::NoDotAndDotDot);
    return bundles.size() == 1 ? folder + QLatin1Char('/') + bundles.first() : QString();
}

bool MacBundleUpdater::install(const QString& archivePath, QString* reason)
{
    const QFileInfo running(_runningBundle);
    const QString identifier = bundleIdentifier(_runningBundle);
    if (!running.isDir() || !_runningBundle.endsWith(QLatin1String(".app")) || identifier.isEmpty())
        return fail(reason, QStringLiteral("The running application is not an application bundle."));
    const QString runningTeam = teamIdentifier(_runningBundle);
    if (runningTeam.isEmpty())
        return fail(reason, QStringLiteral("The running application is not signed by a developer."));

    // Unpacked beside the running bundle, so that the swap is a rename on one volume.
    QTemporaryDir staging(running.absolutePath() + QStringLiteral("/.Lumivane Manager update-XXXXXX"));
    if (!staging.isValid())
        return fail(reason,
                    QStringLiteral("Its files can't be written to \u201c%1\u201d.").arg(running.absolutePath()));
    const QString unpacked = staging.path() + QStringLiteral("/new");
    if (!MacProgramRunner::run(_programs.ditto, {QStringLiteral("-x"), QStringLiteral("-k"), archivePath, unpacked})
             .succeeded())
        return fail(reason, QStringLiteral("The archive could not be unpacked."));
    const QString candidate = unpackedBundle(unpacked);
    if (candidate.isEmpty())
        return fail(reason, QStringLiteral("The archive does not hold one application."));
    if (!MacProgramRunner::run(_programs.codesign, {QStringLiteral("--verify"), QStringLiteral("--deep"),
                                                    QStringLiteral("--strict"), candidate})
             .succeeded())
        return fail(reason, QStringLiteral("The new application's code signature is not valid."));
    if (teamIdentifier(candidate) != runningTeam)
        return fail(reason, QStringLiteral("The new application is not signed by the same developer."));
    if (bundleIdentifier(candidate) != identifier)
        return fail(reason, QStringLiteral("The archive holds another application."));

    // The old bundle stays whole until the new one is in its place, and comes back on any failure.
    const QString kept = staging.path() + QStringLiteral("/old.app");
    if (!QDir().rename(_runningBundle, kept))
        return fail(reason, QStringLiteral("The running application could not be moved aside."));
    if (!QDir().rename(candidate, _runningBundle)) {
        QDir().rename(kept, _runningBundle);
        return fail(reason, QStringLiteral("The new application could not be put in place."));
    }
    if (!relaunch()) {
        QDir(_runningBundle).removeRecursively();
        QDir().rename(kept, _runningBundle);
        return fail(reason, QStringLiteral("The new application could not be started."));
    }
    // The staging folder, with the old bundle in it, goes when this function returns.
    return true;
}

bool MacBundleUpdater::relaunch() const
{
    // A detached helper waits for this process to end (the new copy would find the old one still
    // holding the operation lock), then opens the new bundle.
    const QString script = QStringLiteral("while kill -0 \"$1\" 2>/dev/null; do sleep 0.2; done; exec \"$2\" \"$3\"");
    return QProcess::startDetached(_programs.shell,
                                   {QStringLiteral("-c"), script, QStringLiteral("lv-relaunch"),
                                    QString::number(_runningProcessId), _programs.open, _runningBundle});
}
