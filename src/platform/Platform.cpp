#include "Platform.h"
#include "UpdateInstaller.h"
#include "UserDefaults.h"

#include <QMutex>
#include <QMutexLocker>

namespace {

// A service slot: created natively on first use, replaceable by tests.
template <typename T> class Slot
{
public:
    using Factory = std::shared_ptr<T> (*)();
    explicit Slot(Factory factory) : _factory(factory) {}

    T& get()
    {
        QMutexLocker locker(&_lock);
        if (!_service)
            _service = _factory();
        return *_service;
    }
    void set(std::shared_ptr<T> service)
    {
        QMutexLocker locker(&_lock);
        // Keep the previous one alive: callers may still hold a reference from get().
        if (_service)
            _retired.push_back(_service);
        _service = service ? std::move(service) : _factory();
    }

private:
    Factory _factory;
    QMutex _lock;
    std::shared_ptr<T> _service;
    std::vector<std::shared_ptr<T>> _retired;
};

Slot<SystemInfo> s_systemInfo(&NativePlatform::createSystemInfo);
Slot<Workspace> s_workspace(&NativePlatform::createWorkspace);
Slot<SystemLog> s_systemLog(&NativePlatform::createSystemLog);
Slot<StandardStreams> s_standardStreams(&NativePlatform::createStandardStreams);
Slot<PrivilegedExecution> s_privilegedExecution(&NativePlatform::createPrivilegedExecution);
Slot<CommandLineTools> s_commandLineTools(&NativePlatform::createCommandLineTools);
Slot<DistributedNotifications> s_distributedNotifications(&NativePlatform::createDistributedNotifications);
Slot<SelfUpdater> s_selfUpdater(&NativePlatform::createSelfUpdater);
Slot<UpdateInstaller> s_updateInstaller(&NativePlatform::createUpdateInstaller);
Slot<RichTextConverter> s_richTextConverter(&NativePlatform::createRichTextConverter);

} // namespace

namespace Platform {

SystemInfo& systemInfo()
{
    return s_systemInfo.get();
}
Workspace& workspace()
{
    return s_workspace.get();
}
SystemLog& systemLog()
{
    return s_systemLog.get();
}
StandardStreams& standardStreams()
{
    return s_standardStreams.get();
}
PrivilegedExecution& privilegedExecution()
{
    return s_privilegedExecution.get();
}
CommandLineTools& commandLineTools()
{
    return s_commandLineTools.get();
}
DistributedNotifications& distributedNotifications()
{
    return s_distributedNotifications.get();
}
SelfUpdater& selfUpdater()
{
    return s_selfUpdater.get();
}
UpdateInstaller& updateInstaller()
{
    return s_updateInstaller.get();
}
RichTextConverter& richTextConverter()
{
    return s_richTextConverter.get();
}

void setSystemInfo(std::shared_ptr<SystemInfo> s)
{
    s_systemInfo.set(std::move(s));
}
void setWorkspace(std::shared_ptr<Workspace> s)
{
    s_workspace.set(std::move(s));
}
void setSystemLog(std::shared_ptr<SystemLog> s)
{
    s_systemLog.set(std::move(s));
}
void setPrivilegedExecution(std::shared_ptr<PrivilegedExecution> s)
{
    s_privilegedExecution.set(std::move(s));
}
void setCommandLineTools(std::shared_ptr<CommandLineTools> s)
{
    s_commandLineTools.set(std::move(s));
}
void setDistributedNotifications(std::shared_ptr<DistributedNotifications> s)
{
    s_distributedNotifications.set(std::move(s));
}
void setSelfUpdater(std::shared_ptr<SelfUpdater> s)
{
    s_selfUpdater.set(std::move(s));
}
void setUpdateInstaller(std::shared_ptr<UpdateInstaller> s)
{
    s_updateInstaller.set(std::move(s));
}
void setRichTextConverter(std::shared_ptr<RichTextConverter> s)
{
    s_richTextConverter.set(std::move(s));
}

QSettings* createUserDefaults()
{
    return NativePlatform::createUserDefaults();
}

void reset()
{
    s_systemInfo.set(nullptr);
    s_workspace.set(nullptr);
    s_systemLog.set(nullptr);
    s_privilegedExecution.set(nullptr);
    s_commandLineTools.set(nullptr);
    s_distributedNotifications.set(nullptr);
    s_selfUpdater.set(nullptr);
    s_updateInstaller.set(nullptr);
    s_richTextConverter.set(nullptr);
}

} // namespace Platform
