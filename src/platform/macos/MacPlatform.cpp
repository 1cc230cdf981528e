// The Mac: the real one with the system root "/", or the emulated Mac inside a folder when a test
// or the demo names one (LV_SYSTEM_ROOT other than "/", or LV_PLATFORM=emulated).
#include "MacBundleUpdater.h"
#include "MacDistributedNotifications.h"
#include "MacPrivilegedExecution.h"
#include "MacRichTextConverter.h"
#include "MacSystemInfo.h"
#include "MacUserDefaults.h"
#include "MacWorkspace.h"
#include "api/MacHardware.h"
#include "api/MacLaunchServices.h"
#include "api/MacUnifiedLog.h"

#include "platform/Platform.h"
#include "platform/PosixStandardStreams.h"
#include "platform/UpdateInstaller.h"
#include "platform/UserDefaults.h"
#include "platform/emulated/EmulatedPlatform.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>

namespace {

class MacSystemLog : public SystemLog
{
public:
    void write(const QString& message) override { MacUnifiedLog::write(message.toStdString()); }
};

QStringList launchServicesPaths(const QString& identifier)
{
    QStringList paths;
    for (const std::string& path : MacLaunchServices::applicationPathsForBundleIdentifier(identifier.toStdString()))
        paths.append(QString::fromStdString(path));
    return paths;
}

// The bundle this program runs from: <bundle>.app/Contents/MacOS/<program>.
QString runningBundle()
{
    if (!QCoreApplication::instance())
        return QString();
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../.."));
}

} // namespace

namespace NativePlatform {

std::shared_ptr<SystemInfo> createSystemInfo()
{
    if (EmulatedPlatform::isChosen())
        return EmulatedPlatform::createSystemInfo();
    return std::make_shared<MacSystemInfo>(&MacHardware::isAppleSilicon);
}
std::shared_ptr<Workspace> createWorkspace()
{
    if (EmulatedPlatform::isChosen())
        return EmulatedPlatform::createWorkspace();
    return std::make_shared<MacWorkspace>(&launchServicesPaths);
}
std::shared_ptr<SystemLog> createSystemLog()
{
    return std::make_shared<MacSystemLog>();
}
std::shared_ptr<StandardStreams> createStandardStreams()
{
    return std::make_shared<PosixStandardStreams>();
}
std::shared_ptr<PrivilegedExecution> createPrivilegedExecution()
{
    if (EmulatedPlatform::isChosen())
        return EmulatedPlatform::createPrivilegedExecution();
    return std::make_shared<MacPrivilegedExecution>();
}
std::shared_ptr<CommandLineTools> createCommandLineTools()
{
    if (EmulatedPlatform::isChosen())
        return EmulatedPlatform::createCommandLineTools();
    return std::make_shared<CommandLineTools>(); // /usr/sbin/installer, /usr/bin/pluginkit, /bin/sh
}
std::shared_ptr<DistributedNotifications> createDistributedNotifications()
{
    if (EmulatedPlatform::isChosen())
        return EmulatedPlatform::createDistributedNotifications();
    return std::make_shared<MacDistributedNotifications>();
}
std::shared_ptr<SelfUpdater> createSelfUpdater()
{
    return std::make_shared<SelfUpdater>();
}
std::shared_ptr<UpdateInstaller> createUpdateInstaller()
{
    // The emulated Mac's application is no installed bundle: its updates are only saved.
    if (EmulatedPlatform::isChosen())
        return std::make_shared<UpdateInstaller>();
    return std::make_shared<MacBundleUpdater>(runningBundle(), QCoreApplication::applicationPid());
}
std::shared_ptr<RichTextConverter> createRichTextConverter()
{
    return std::make_shared<MacRichTextConverter>();
}
QSettings* createUserDefaults()
{
    if (EmulatedPlatform::isChosen())
        return EmulatedPlatform::createUserDefaults();
    return MacUserDefaults::open(QStringLiteral(LV_BUNDLE_IDENTIFIER));
}

} // namespace NativePlatform
