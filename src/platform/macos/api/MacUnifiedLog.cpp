#include "MacUnifiedLog.h"

#include <os/log.h>

namespace MacUnifiedLog {

void write(const std::string& message)
{
    static const os_log_t log = os_log_create("com.quarnet.Lumivane-Manager", "log");
    os_log_with_type(log, OS_LOG_TYPE_DEFAULT, "%{public}s", message.c_str());
}

} // namespace MacUnifiedLog
