#pragma once

#include "platform/CommandLineTools.h"
#include "platform/DistributedNotifications.h"
#include "platform/PrivilegedExecution.h"
#include "platform/SystemInfo.h"
#include "platform/Workspace.h"

#include <memory>

class QSettings;

// The Mac inside a folder, on any operating system: the services that touch the Mac's file system
// work inside the system root, so that a test or a demo never reaches this machine's own "/".
namespace EmulatedPlatform {

// LV_PLATFORM=emulated asks for the emulated Mac whatever the system root says (tests, the demo).
bool isForced();
// Whether LV_SYSTEM_ROOT names the machine's own "/" (and the emulated Mac is not forced).
bool usesRealRoot();
// Whether a system root other than "/" is named, or the emulated Mac is forced.
bool isChosen();

std::shared_ptr<SystemInfo> createSystemInfo();
std::shared_ptr<Workspace> createWorkspace();
std::shared_ptr<PrivilegedExecution> createPrivilegedExecution();
std::shared_ptr<CommandLineTools> createCommandLineTools();
std::shared_ptr<DistributedNotifications> createDistributedNotifications();
// The defaults in the emulated user's Library, away from a real copy's.
QSettings* createUserDefaults();

} // namespace EmulatedPlatform
