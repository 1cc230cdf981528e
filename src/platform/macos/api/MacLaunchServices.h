#pragma once

#include <string>
#include <vector>

// Apple's clang states the deployment target (120000 for macOS 12). From macOS 12 LaunchServices'
// look-up by bundle identifier is deprecated: NSWorkspace answers it (MacLaunchServices.mm);
// below, LaunchServices does (MacLaunchServices.cpp). Exactly one of the two files defines it.
#if defined(__ENVIRONMENT_MAC_OS_X_VERSION_MIN_REQUIRED__) && __ENVIRONMENT_MAC_OS_X_VERSION_MIN_REQUIRED__ >= 120000
#define LV_MAC_APPLICATIONS_FROM_WORKSPACE 1
#else
#define LV_MAC_APPLICATIONS_FROM_WORKSPACE 0
#endif

// The system's look-up of applications, in plain C++.
namespace MacLaunchServices {

// The paths of every application with this bundle identifier that the system knows of, best
// first; empty when there is none.
std::vector<std::string> applicationPathsForBundleIdentifier(const std::string& identifier);

} // namespace MacLaunchServices
