#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

// Running a tool as administrator under an authorization, the way the Mac's Security framework
// does it: create an authorization, acquire a right for it, execute tools with it, free it.
class PrivilegedExecution
{
public:
    // The statuses of the Mac's authorization services that this system tells apart.
    enum Status : int {
        Success = 0,
        InvalidSet = -60001,
        InvalidRef = -60002,
        Denied = -60005,
        Canceled = -60006,
        InteractionNotAllowed = -60007,
        ToolExecuteFailure = -60031,
    };

    // An authorization: opaque to its users; each implementation keeps its own state in it.
    class Authorization
    {
    public:
        virtual ~Authorization() = default;
    };
    using AuthorizationRef = std::shared_ptr<Authorization>;

    static constexpr const char* adminRight = "system.privilege.admin";

    virtual ~PrivilegedExecution() = default;

    // Creates an empty authorization; `status` receives the result. Null on failure.
    virtual AuthorizationRef create(int* status)
    {
        if (status)
            *status = InvalidSet;
        return nullptr;
    }
    // Acquires `right` for the authorization, asking the user when interaction is allowed.
    virtual int copyRights(const AuthorizationRef&, const QString& /*right*/, bool /*interactionAllowed*/)
    {
        return Denied;
    }
    // Runs `tool` with `arguments` as administrator, feeding what it prints to `output` as it
    // arrives, and returns when it ends. The status tells whether it could be started.
    virtual int executeWithPrivileges(const AuthorizationRef&, const QString& /*tool*/, const QStringList& /*arguments*/,
                                      const std::function<void(const QByteArray&)>& /*output*/)
    {
        return ToolExecuteFailure;
    }
    virtual void free(const AuthorizationRef&) {}
};
