#include "MacLaunchServices.h"

#if LV_MAC_APPLICATIONS_FROM_WORKSPACE

#import <AppKit/AppKit.h>

namespace MacLaunchServices {

std::vector<std::string> applicationPathsForBundleIdentifier(const std::string& identifier)
{
    std::vector<std::string> paths;
    @autoreleasepool {
        NSString* bundleIdentifier = [NSString stringWithUTF8String:identifier.c_str()];
        if (!bundleIdentifier)
            return paths;
        for (NSURL* url in [NSWorkspace.sharedWorkspace URLsForApplicationsWithBundleIdentifier:bundleIdentifier]) {
            if (url.fileURL && url.fileSystemRepresentation)
                paths.emplace_back(url.fileSystemRepresentation);
        }
    }
    return paths;
}

} // namespace MacLaunchServices

#endif
