#include "EmulatedPlatform.h"
#include "EmulatedCommandLineTools.h"
#include "EmulatedPrivilegedExecution.h"
#include "EmulatedSystemInfo.h"
#include "EmulatedWorkspace.h"

#include <QDir>

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

} // namespace EmulatedPlatform
