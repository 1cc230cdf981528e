// The plain services for a platform without a folder of its own: every interface's own defaults,
// so that the application builds and runs (without the operating system's help) anywhere.
#include "platform/Platform.h"
#include "platform/UpdateInstaller.h"
#include "platform/UserDefaults.h"

#include <QSettings>

namespace NativePlatform {

std::shared_ptr<SystemInfo> createSystemInfo()
{
    return std::make_shared<SystemInfo>();
}
std::shared_ptr<Workspace> createWorkspace()
{
    return std::make_shared<Workspace>();
}
std::shared_ptr<SystemLog> createSystemLog()
{
    return std::make_shared<SystemLog>();
}
std::shared_ptr<StandardStreams> createStandardStreams()
{
    return std::make_shared<StandardStreams>();
}
std::shared_ptr<PrivilegedExecution> createPrivilegedExecution()
{
    return std::make_shared<PrivilegedExecution>();
}
std::shared_ptr<CommandLineTools> createCommandLineTools()
{
    return std::make_shared<CommandLineTools>();
}
std::shared_ptr<DistributedNotifications> createDistributedNotifications()
{
    return std::make_shared<DistributedNotifications>();
}
std::shared_ptr<SelfUpdater> createSelfUpdater()
{
    return std::make_shared<SelfUpdater>();
}
std::shared_ptr<UpdateInstaller> createUpdateInstaller()
{
    return std::make_shared<UpdateInstaller>();
}
std::shared_ptr<RichTextConverter> createRichTextConverter()
{
    return std::make_shared<RichTextConverter>();
}
QSettings* createUserDefaults()
{
    return new QSettings;
}

} // namespace NativePlatform
