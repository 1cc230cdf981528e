#include "MacHardware.h"

#include <sys/sysctl.h>
#include <sys/types.h>

namespace MacHardware {

bool isAppleSilicon()
{
    int value = 0;
    size_t size = sizeof value;
    // Missing on Intel Macs before macOS 11: an error there means Intel.
    if (sysctlbyname("hw.optional.arm64", &value, &size, nullptr, 0) != 0)
        return false;
    return value == 1;
}

} // namespace MacHardware
