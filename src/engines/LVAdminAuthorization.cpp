#include "LVAdminAuthorization.h"

#include "foundation/VMLog.h"
#include "platform/Platform.h"

namespace {
constexpr int kInteractionAllowed = 1;
} // namespace

LVAdminAuthorization::LVAdminAuthorization(int flags, CreateFailureLog log)
{
    PrivilegedExecution& privileged = Platform::privilegedExecution();
    int status = PrivilegedExecution::Success;
    PrivilegedExecution::AuthorizationRef authorization = privileged.create(&status);
    if (status != PrivilegedExecution::Success || !authorization) {
        _status = status != PrivilegedExecution::Success ? status : int(PrivilegedExecution::InvalidRef);
        if (authorization)
            privileged.free(authorization);
        const QString line = VM_CALL_SITE_CODE(QStringLiteral("AuthorizationCreate failed"), _status);
        if (log == CreateFailureLog::Always)
            VMLogger::logMessage(line);
        else if (log == CreateFailureLog::ExtendedLoggingOnly)
            VMLog::logExtended(VMLogger::Message, line);
        return;
    }
    _authorization = authorization;
    _status = privileged.copyRights(_authorization, QLatin1String(PrivilegedExecution::adminRight),
                                    flags & kInteractionAllowed);
}

LVAdminAuthorization::~LVAdminAuthorization()
{
    if (_authorization)
        Platform::privilegedExecution().free(_authorization);
}
