#include "VMUtils.h"

#include "foundation/LVPreferences.h"
#include "foundation/VMClock.h"
#include "foundation/VMLog.h"
#include "foundation/VMPropertyList.h"
#include "platform/Platform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QUuid>

namespace {

// The integer value of a version part: leading decimal digits after optional white space and
// sign, 0 when it starts with anything else.
qint64 leadingInteger(QStringView part)
{
    qsizetype i = 0;
    const qsizetype n = part.size();
    while (i < n && part.at(i).isSpace())
        ++i;
    bool negative = false;
    if (i < n && (part.at(i) == QLatin1Char('+') || part.at(i) == QLatin1Char('-'))) {
        negative = part.at(i) == QLatin1Char('-');
        ++i;
    }
    qint64 value = 0;
    for (; i < n; ++i) {
        const QChar c = part.at(i);
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            break;
        const int digit = c.unicode() - '0';
        if (value > (std::numeric_limits<qint64>::max() - digit) / 10)
            return negative ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
        value = value * 10 + digit;
    }
    return negative ? -value : value;
}

} // namespace

VMUtils::VersionInfo VMUtils::versionInfoFromString(const QString& string)
{
    VersionInfo info;
    if (string.isNull())
        return info;
    // The first three dot-separated parts, read in place (sorting versions asks for many of these).
    qint64* const fields[] = {&info.major, &info.minor, &info.maintenance};
    const QStringView text(string);
    qsizetype start = 0;
    for (qint64* field : fields) {
        const qsizetype dot = text.indexOf(QLatin1Char('.'), start);
        *field = leadingInteger(text.sliced(start, (dot < 0 ? text.size() : dot) - start));
        if (dot < 0)
            break;
        start = dot + 1;
    }
    return info;
}

QString VMUtils::versionStringFromInfo(const VersionInfo& info)
{
    if (info.maintenance != 0)
        return QStringLiteral("%1.%2.%3").arg(info.major).arg(info.minor).arg(info.maintenance);
    return QStringLiteral("%1.%2").arg(info.major).arg(info.minor);
}

qint64 VMUtils::versionNumber(const VersionInfo& info)
{
    // Wrapping arithmetic, as the signed 64-bit sum would on the original platform.
    const auto wrap = [](qint64 a, qint64 b) {
        return static_cast<qint64>(static_cast<quint64>(a) + static_cast<quint64>(b));
    };
    const auto mul = [](qint64 a, qint64 b) {
        return static_cast<qint64>(static_cast<quint64>(a) * static_cast<quint64>(b));
    };
    return wrap(wrap(mul(info.major, 10000), mul(info.minor, 100)), info.maintenance);
}

int VMUtils::compareVersion(const QString& a, const QString& b)
{
    const qint64 left = versionNumber(versionInfoFromString(a));
    const qint64 right = versionNumber(versionInfoFromString(b));
    if (left > right)
        return 1;
    if (left < right)
        return -1;
    return 0;
}

QString VMUtils::stringForHostApp(qint64 hostApp)
{
    switch (hostApp) {
    case HostAppFinalCutProX:
        return QStringLiteral("FCP X");
    case HostAppMotion:
        return QStringLiteral("Motion");
    default:
        VM_LOG_MESSAGE_CODE(QStringLiteral("Host App not recognized"), hostApp);
        return QString();
    }
}

bool VMUtils::isArm64()
{
    return Platform::systemInfo().machineName().contains(QLatin1String("arm64"));
}

QString VMUtils::checkOSXVersion()
{
    const QVersionNumber version = Platform::systemInfo().operatingSystemVersion();
    if (version.isNull())
        return QStringLiteral("0.0.0");
    return QStringLiteral("%1.%2.%3")
        .arg(version.majorVersion())
        .arg(version.minorVersion())
        .arg(version.microVersion());
}

QString VMUtils::checkInstalledBundleVersion(const QString& bundleIdentifier)
{
    const QString path = Platform::workspace().absolutePathForAppBundleWithIdentifier(bundleIdentifier);
    if (path.isNull())
        return QString();
    const QVariant info = VMPropertyList::fromFile(path + QStringLiteral("/Contents/Info.plist"));
    if (info.typeId() != QMetaType::QVariantMap)
        return QString();
    const QVariant version = info.toMap().value(QStringLiteral("CFBundleShortVersionString"));
    return version.typeId() == QMetaType::QString ? version.toString() : QString();
}

bool VMUtils::checkInstallDirectory(const QString& path)
{
    if (path.isNull())
        return false;
    // A plain file at the path counts as found too.
    const auto exists = [](const QString& candidate) {
        return QFileInfo::exists(candidate) || QFileInfo(candidate).isSymLink();
    };
    if (exists(path))
        return true;
    // Catalogues name the Mac's paths; where the Mac's file system lives inside a system root,
    // that is where they are.
    if (!path.startsWith(QLatin1Char('/')))
        return false;
    const QString inRoot = Platform::systemInfo().pathInSystemRoot(path);
    return inRoot != path && exists(inRoot);
}

QDateTime VMUtils::currentDate()
{
    return VMClock::currentDate();
}

void VMUtils::setCurrentDateProvider(std::function<QDateTime()> provider)
{
    VMClock::setCurrentDateProvider(std::move(provider));
}

QString VMUtils::tempFilePathWithData(const QByteArray& data, const QString& extension)
{
    if (data.isNull())
        return QString();
    QString name = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    if (!extension.isEmpty())
        name += QLatin1Char('.') + extension;
    const QString path = QDir(Platform::systemInfo().temporaryDirectory()).filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return QString();
    if (file.write(data) != data.size()) {
        file.remove();
        return QString();
    }
    return path;
}

QString VMUtils::wrapperBundleIdentifierForPlugin(const QString& pluginBundleIdentifier)
{
    if (pluginBundleIdentifier.isNull())
        return QString();
    if (pluginBundleIdentifier == QLatin1String("com.quarnet.FxPlug.Oskelo.pluginkit"))
        return QStringLiteral("com.quarnet.FxPlug.Oskelo.app");
    QString wrapper = pluginBundleIdentifier;
    wrapper.remove(QStringLiteral("XPC"), Qt::CaseSensitive);
    return wrapper;
}

QString VMUtils::pathToWrapperAppForBundleIndentifier(const QString& bundleIdentifier)
{
    if (bundleIdentifier.isNull())
        return QString();
    return Platform::workspace().absolutePathForAppBundleWithIdentifier(
        wrapperBundleIdentifierForPlugin(bundleIdentifier));
}

QString VMUtils::xpcPathForBundleIndentifier(const QString& bundleIdentifier)
{
    const QString wrapperPath = pathToWrapperAppForBundleIndentifier(bundleIdentifier);
    if (wrapperPath.isNull())
        return QString();
    const QString plugIns = QDir(wrapperPath).filePath(QStringLiteral("Contents/PlugIns"));
    QDir dir(plugIns);
    if (!dir.exists())
        return QString();
    const QStringList entries = dir.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
    for (const QString& entry : entries) {
        if (entry.contains(QLatin1String("pluginkit")))
            return dir.filePath(entry);
    }
    return QString();
}

void VMUtils::launchWrapperApp(const QVariantMap& options)
{
    const QString identifier = options.value(QLatin1String(optionBundleIdentifier)).toString();
    const QString path = pathToWrapperAppForBundleIndentifier(identifier);
    if (path.isNull()) {
        if (LVPreferences::sharedPreferences()->usesExtendedLogging())
            VMLogger::logError(QStringLiteral("Wrapper app not found: '%1'").arg(identifier));
        return;
    }
    Workspace::OpenConfiguration configuration;
    configuration.arguments = {QStringLiteral("DontShowLaunchWindow"), QStringLiteral("DontShowWindow")};
    configuration.addsToRecentItems = false;
    configuration.hides = true;
    Platform::workspace().openApplication(
        path, configuration, [identifier](const Workspace::RunningApplication& application, const QString& error) {
            // With extended logging off the wrapper is left running: that is how it has always behaved.
            if (!LVPreferences::sharedPreferences()->usesExtendedLogging())
                return;
            if (!error.isEmpty())
                VMLogger::logError(QStringLiteral("Failed to launch application: %1, %2").arg(identifier, error));
            else
                VMLogger::logMessage(QStringLiteral("Launched application: '%1' successfully").arg(identifier));
            Platform::workspace().terminateApplication(application);
        });
}
