#include "MacLaunchServices.h"

#if !LV_MAC_APPLICATIONS_FROM_WORKSPACE

#include <CoreServices/CoreServices.h>

#include <climits>

namespace MacLaunchServices {

std::vector<std::string> applicationPathsForBundleIdentifier(const std::string& identifier)
{
    std::vector<std::string> paths;
    CFStringRef cfIdentifier =
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(identifier.data()),
                                CFIndex(identifier.size()), kCFStringEncodingUTF8, false);
    if (!cfIdentifier)
        return paths;
    CFErrorRef error = nullptr;
    CFArrayRef urls = LSCopyApplicationURLsForBundleIdentifier(cfIdentifier, &error);
    CFRelease(cfIdentifier);
    if (error)
        CFRelease(error);
    if (!urls)
        return paths;
    for (CFIndex i = 0; i < CFArrayGetCount(urls); ++i) {
        const auto url = static_cast<CFURLRef>(CFArrayGetValueAtIndex(urls, i));
        UInt8 path[PATH_MAX];
        if (url && CFURLGetFileSystemRepresentation(url, true, path, sizeof path))
            paths.emplace_back(reinterpret_cast<const char*>(path));
    }
    CFRelease(urls);
    return paths;
}

} // namespace MacLaunchServices

#endif
