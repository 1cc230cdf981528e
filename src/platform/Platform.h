#pragma once

#include "CommandLineTools.h"
#include "DistributedNotifications.h"
#include "PrivilegedExecution.h"
#include "RichTextConverter.h"
#include "SelfUpdater.h"
#include "StandardStreams.h"
#include "SystemInfo.h"
#include "SystemLog.h"
#include "Workspace.h"

#include <memory>

// The one way to reach the operating system. Each service starts as this machine's native
// implementation; tests may put their own in place (and must before starting threads that use it).
namespace Platform {

SystemInfo& systemInfo();
Workspace& workspace();
SystemLog& systemLog();
StandardStreams& standardStreams();
PrivilegedExecution& privilegedExecution();
CommandLineTools& commandLineTools();
DistributedNotifications& distributedNotifications();
SelfUpdater& selfUpdater();
RichTextConverter& richTextConverter();

void setSystemInfo(std::shared_ptr<SystemInfo>);
void setWorkspace(std::shared_ptr<Workspace>);
void setSystemLog(std::shared_ptr<SystemLog>);
void setPrivilegedExecution(std::shared_ptr<PrivilegedExecution>);
void setCommandLineTools(std::shared_ptr<CommandLineTools>);
void setDistributedNotifications(std::shared_ptr<DistributedNotifications>);
void setSelfUpdater(std::shared_ptr<SelfUpdater>);
void setRichTextConverter(std::shared_ptr<RichTextConverter>);

// Puts every service back to the native implementation.
void reset();

} // namespace Platform

// Implemented once per platform (linux/, macos/, default/): the native services of this machine,
// the emulated Mac (emulated/) where it stands in for the machine's own.
namespace NativePlatform {
std::shared_ptr<SystemInfo> createSystemInfo();
std::shared_ptr<Workspace> createWorkspace();
std::shared_ptr<SystemLog> createSystemLog();
std::shared_ptr<StandardStreams> createStandardStreams();
std::shared_ptr<PrivilegedExecution> createPrivilegedExecution();
std::shared_ptr<CommandLineTools> createCommandLineTools();
std::shared_ptr<DistributedNotifications> createDistributedNotifications();
std::shared_ptr<SelfUpdater> createSelfUpdater();
std::shared_ptr<RichTextConverter> createRichTextConverter();
} // namespace NativePlatform
