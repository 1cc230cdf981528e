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

    // Asks the user whether `right` may be granted and answers Success, Denied or Canceled.
    // Called on the thread that acquires the right (often a background thread); it may block
    // until the user has answered.
    using ConsentProvider = std::function<int(const QString& right)>;
    // Receives what a tool prints on its standard output, block by block as it arrives.
    using OutputHandler = std::function<void(const QByteArray&)>;

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
    // Runs `tool` with `arguments` as administrator, feeding its standard output to `output` as it
    // arrives, and returns when it has ended and been reaped. The status tells whether it could be
    // started; `exitCode`, when given, receives the tool's exit code (-1 if it did not run, crashed
    // or its end could not be told). `standardError`, when given, receives what the tool wrote on
    // its standard error; without it, that goes where this process's goes. Acquires the
    // administrator right first if the authorization does not hold it yet.
    virtual int executeWithPrivileges(const AuthorizationRef&, const QString& /*tool*/,
                                      const QStringList& /*arguments*/, const OutputHandler& /*output*/,
                                      int* exitCode = nullptr, QByteArray* /*standardError*/ = nullptr)
    {
        if (exitCode)
            *exitCode = -1;
        return ToolExecuteFailure;
    }
    virtual void free(const AuthorizationRef&) {}

    // Where the user's answer comes from when this platform has no system dialog of its own.
    // A null provider puts back the platform's default. Platforms that ask by themselves ignore it.
    virtual void setConsentProvider(ConsentProvider) {}
};
