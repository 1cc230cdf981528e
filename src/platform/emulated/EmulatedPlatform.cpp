#include "EmulatedPlatform.h"
#include "EmulatedCommandLineTools.h"
#include "EmulatedDistributedNotifications.h"
#include "EmulatedPrivilegedExecution.h"
#include "EmulatedSystemInfo.h"
#include "EmulatedWorkspace.h"

#include "platform/Platform.h"

#include <QDir>
#include <QSettings>

namespace EmulatedPlatform {

bool isForced()
{
    return qEnvironmentVariable("LV_PLATFORM") == QLatin1String("emulated");
}

bool usesRealRoot()
{
    const QString root = qEnvironmentVariable("LV_SYSTEM_ROOT");
    return !isForced() && !root.isEmpty() && QDir::cleanPath(root) == QLatin1String("/");
}

bool isChosen()
{
    const QString root = qEnvironmentVariable("LV_SYSTEM_ROOT");
    return isForced() || (!root.isEmpty() && QDir::cleanPath(root) != QLatin1String("/"));
}

std::shared_ptr<SystemInfo> createSystemInfo()
{
    return std::make_shared<EmulatedSystemInfo>();
}
std::shared_ptr<Workspace> createWorkspace()
{
    return std::make_shared<EmulatedWorkspace>();
}
std::shared_ptr<PrivilegedExecution> createPrivilegedExecution()
{
    return std::make_shared<EmulatedPrivilegedExecution>();
}
std::shared_ptr<CommandLineTools> createCommandLineTools()
{
    return std::make_shared<EmulatedCommandLineTools>();
}
std::shared_ptr<DistributedNotifications> createDistributedNotifications()
{
    return std::make_shared<EmulatedDistributedNotifications>();
}
QSettings* createUserDefaults()
{
    return new QSettings(Platform::systemInfo().userLibraryDirectory() + QStringLiteral("/Preferences/") +
                             QStringLiteral(LV_BUNDLE_IDENTIFIER) + QStringLiteral(".ini"),
                         QSettings::IniFormat);
}

} // namespace EmulatedPlatform
