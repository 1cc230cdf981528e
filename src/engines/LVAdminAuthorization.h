#pragma once

#include "platform/PrivilegedExecution.h"

#include <QVariant>

// An authorization that holds "system.privilege.admin" for as long as the object lives: created and
// the right acquired on construction (asking the user when the flags allow interaction), freed on
// destruction. One per operation that needs administrator rights (a single uninstall, a bundle's
// installation or uninstallation, an update-all run, a total uninstall, a privileged move to the Trash).
// May be made and destroyed on any thread.
class LVAdminAuthorization
{
public:
    // Never: the caller writes its own line (the runners keep their call sites).
    enum class CreateFailureLog { Always, ExtendedLoggingOnly, Never };

    // `flags`: the installer's default authorization flags (interaction allowed, extend rights,
    // pre-authorize). A creation failure logs "AuthorizationCreate failed" with its status in the
    // "'%@': %d in %s line %d" format.
    explicit LVAdminAuthorization(int flags = 19, CreateFailureLog log = CreateFailureLog::Always);
    ~LVAdminAuthorization();
    LVAdminAuthorization(const LVAdminAuthorization&) = delete;
    LVAdminAuthorization& operator=(const LVAdminAuthorization&) = delete;

    // Created and the right granted.
    bool isGranted() const { return _status == PrivilegedExecution::Success && _authorization; }
    // 0 when granted; otherwise the creation status or the right's status (-60006 cancelled,
    // -60005 denied).
    int status() const { return _status; }
    bool created() const { return _authorization != nullptr; }
    PrivilegedExecution::AuthorizationRef authorizationRef() const { return _authorization; }
    // The value to put under "optionAuthorizationRef" in an installer's or uninstaller's options.
    QVariant optionValue() const { return QVariant::fromValue(_authorization); }

private:
    PrivilegedExecution::AuthorizationRef _authorization;
    int _status = PrivilegedExecution::InvalidSet;
};
