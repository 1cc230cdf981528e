#include "PosixCommandLineTools.h"
#include "PosixDistributedNotifications.h"
#include "PosixPrivilegedExecution.h"
#include "PosixRichTextConverter.h"
#include "PosixSystemInfo.h"
#include "PosixWorkspace.h"

#include "platform/Platform.h"

#include <QByteArray>

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

namespace {

class PosixSystemLog : public SystemLog
{
public:
    PosixSystemLog() { openlog("lumivane-manager", LOG_PID, LOG_USER); }
    void write(const QString& message) override { syslog(LOG_NOTICE, "%s", message.toUtf8().constData()); }
};

class PosixStandardStreams : public StandardStreams
{
public:
    void silence() override
    {
        // Everything written to fd 1 and 2 from now on is accepted and dropped.
        const int null = ::open("/dev/null", O_WRONLY);
        if (null < 0)
            return;
        ::dup2(null, STDOUT_FILENO);
        ::dup2(null, STDERR_FILENO);
        ::close(null);
    }
    bool inputIsTerminal() const override { return ::isatty(STDIN_FILENO) == 1; }
    bool outputIsTerminal() const override { return ::isatty(STDOUT_FILENO) == 1; }
};

} // namespace

namespace NativePlatform {

std::shared_ptr<SystemInfo> createSystemInfo()
{
    return std::make_shared<PosixSystemInfo>();
}
std::shared_ptr<Workspace> createWorkspace()
{
    return std::make_shared<PosixWorkspace>();
}
std::shared_ptr<SystemLog> createSystemLog()
{
    return std::make_shared<PosixSystemLog>();
}
std::shared_ptr<StandardStreams> createStandardStreams()
{
    return std::make_shared<PosixStandardStreams>();
}
std::shared_ptr<PrivilegedExecution> createPrivilegedExecution()
{
    return std::make_shared<PosixPrivilegedExecution>();
}
std::shared_ptr<CommandLineTools> createCommandLineTools()
{
    return std::make_shared<PosixCommandLineTools>();
}
std::shared_ptr<DistributedNotifications> createDistributedNotifications()
{
    return std::make_shared<PosixDistributedNotifications>();
}
std::shared_ptr<SelfUpdater> createSelfUpdater()
{
    return std::make_shared<SelfUpdater>();
}
std::shared_ptr<RichTextConverter> createRichTextConverter()
{
    return std::make_shared<PosixRichTextConverter>();
}

} // namespace NativePlatform
