// Linux: the emulated Mac's folders and tools, with the desktop's own services (D-Bus, the XDG
// Trash, syslog, pandoc) and, when the system root is "/", pkexec for administrator runs.
#include "LinuxDistributedNotifications.h"
#include "LinuxPrivilegedExecution.h"
#include "LinuxRichTextConverter.h"
#include "LinuxSystemInfo.h"
#include "LinuxWorkspace.h"

#include "platform/Platform.h"
#include "platform/UpdateInstaller.h"
#include "platform/UserDefaults.h"

#include "platform/PosixStandardStreams.h"
#include "platform/emulated/EmulatedPlatform.h"
#include <QSettings>

#include <QByteArray>

#include <syslog.h>

namespace {

class LinuxSystemLog : public SystemLog
{
public:
    LinuxSystemLog() { openlog("lumivane-manager", LOG_PID, LOG_USER); }
    void write(const QString& message) override { syslog(LOG_NOTICE, "%s", message.toUtf8().constData()); }
};

} // namespace

namespace NativePlatform {

std::shared_ptr<SystemInfo> createSystemInfo()
{
    return std::make_shared<LinuxSystemInfo>();
}
std::shared_ptr<Workspace> createWorkspace()
{
    return std::make_shared<LinuxWorkspace>();
}
std::shared_ptr<SystemLog> createSystemLog()
{
    return std::make_shared<LinuxSystemLog>();
}
std::shared_ptr<StandardStreams> createStandardStreams()
{
    return std::make_shared<PosixStandardStreams>();
}
std::shared_ptr<PrivilegedExecution> createPrivilegedExecution()
{
    if (EmulatedPlatform::usesRealRoot())
        return std::make_shared<LinuxPrivilegedExecution>();
    return EmulatedPlatform::createPrivilegedExecution();
}
std::shared_ptr<CommandLineTools> createCommandLineTools()
{
    // Linux has no Mac package tools: the portable ones serve the real root too.
    return EmulatedPlatform::createCommandLineTools();
}
std::shared_ptr<DistributedNotifications> createDistributedNotifications()
{
    if (EmulatedPlatform::isChosen())
        return EmulatedPlatform::createDistributedNotifications();
    return std::make_shared<LinuxDistributedNotifications>();
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
    return std::make_shared<LinuxRichTextConverter>();
}
QSettings* createUserDefaults()
{
    if (EmulatedPlatform::isChosen())
        return EmulatedPlatform::createUserDefaults();
    return new QSettings;
}

} // namespace NativePlatform
