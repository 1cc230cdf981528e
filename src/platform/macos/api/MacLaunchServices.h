#pragma once

#include <string>
#include <vector>

// LaunchServices' look-up of applications, in plain C++.
namespace MacLaunchServices {

// The paths of every application with this bundle identifier that LaunchServices knows of, best
// first (LSCopyApplicationURLsForBundleIdentifier); empty when there is none.
std::vector<std::string> applicationPathsForBundleIdentifier(const std::string& identifier);

} // namespace MacLaunchServices
