#include "PosixPrivilegedExecution.h"

#include "platform/Platform.h"

#include <QMutexLocker>
#include <QProcess>
#include <QSet>

namespace {

// pkexec's own exit codes when it did not run the command.
constexpr int kElevatorDismissed = 126;
constexpr int kElevatorNotAuthorized = 127;

class PosixAuthorization : public PrivilegedExecution::Authorization
{
public:
    QMutex lock;
    QSet<QString> rights;
    bool freed = false;
};

PosixAuthorization* posixAuthorization(const PrivilegedExecution::AuthorizationRef& authorization)
{
    return dynamic_cast<PosixAuthorization*>(authorization.get());
}

} // namespace

PosixPrivilegedExecution::PosixPrivilegedExecution(const QString& elevator) : _elevator(elevator) {}

PrivilegedExecution::AuthorizationRef PosixPrivilegedExecution::create(int* status)
{
    if (status)
        *status = Success;
    return std::make_shared<PosixAuthorization>();
}

int PosixPrivilegedExecution::copyRights(const AuthorizationRef& authorization, const QString& right,
                                         bool interactionAllowed)
{
    PosixAuthorization* state = posixAuthorization(authorization);
    if (!state)
        return InvalidRef;
    {
        QMutexLocker locker(&state->lock);
        if (state->freed)
            return InvalidRef;
        if (state->rights.contains(right))
            return Success;
    }
    if (!interactionAllowed)
        return InteractionNotAllowed;

    int status = Denied;
    if (runsAsRoot()) {
        // Authenticating once here lets polkit keep the answer for the runs that follow, the way
        // the Mac asks for the password when the right is acquired, not at every run.
        int exitCode = -1;
        const int started = runProcess(_elevator, {QStringLiteral("/bin/true")}, nullptr, &exitCode);
        if (started == Success && exitCode == 0)
            status = Success;
        else if (started == Success && exitCode == kElevatorDismissed)
            status = Canceled;
    } else {
        status = askUser(right);
    }
    if (status == Success) {
        QMutexLocker locker(&state->lock);
        if (state->freed)
            return InvalidRef;
        state->rights.insert(right);
    }
    return status;
}

int PosixPrivilegedExecution::executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool,
                                                    const QStringList& arguments, const OutputHandler& output,
                                                    int* exitCode)
{
    if (exitCode)
        *exitCode = -1;
    const int rights = copyRights(authorization, QString::fromLatin1(adminRight), true);
    if (rights != Success)
        return rights;
    if (!runsAsRoot()) {
        // The tool works on the emulated root, whether or not the environment named it.
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LV_SYSTEM_ROOT"), Platform::systemInfo().systemRoot());
        return runProcess(tool, arguments, output, exitCode, environment);
    }

    // pkexec clears the environment; the tools still have to know which root they work in.
    QStringList elevated = {QStringLiteral("/usr/bin/env"), QStringLiteral("LV_SYSTEM_ROOT=/"), tool};
    elevated += arguments;
    bool printed = false;
    int code = -1;
    const int status = runProcess(
        _elevator, elevated,
        [&](const QByteArray& block) {
            printed = true;
            if (output)
                output(block);
        },
        &code);
    if (exitCode)
        *exitCode = code;
    // pkexec answers with 126/127 when it did not run the tool at all; a tool that printed
    // something did run, whatever its exit code.
    if (status == Success && !printed && code == kElevatorDismissed)
        return Canceled;
    if (status == Success && !printed && code == kElevatorNotAuthorized)
        return Denied;
    return status;
}

void PosixPrivilegedExecution::free(const AuthorizationRef& authorization)
{
    if (PosixAuthorization* state = posixAuthorization(authorization)) {
        QMutexLocker locker(&state->lock);
        state->freed = true;
        state->rights.clear();
    }
}

void PosixPrivilegedExecution::setConsentProvider(ConsentProvider provider)
{
    QMutexLocker locker(&_lock);
    _consentProvider = std::move(provider);
}

int PosixPrivilegedExecution::defaultConsent(const QString& right)
{
    if (qEnvironmentVariable("LV_AUTO_CONSENT") == QLatin1String("1"))
        return Success;
    qWarning("No one to ask for the right %s; refused (set LV_AUTO_CONSENT=1 to grant it unasked)", qPrintable(right));
    return Denied;
}

bool PosixPrivilegedExecution::runsAsRoot() const
{
    return Platform::systemInfo().systemRoot() == QLatin1String("/");
}

int PosixPrivilegedExecution::askUser(const QString& right)
{
    ConsentProvider provider;
    {
        QMutexLocker locker(&_lock);
        provider = _consentProvider;
    }
    // The provider is called without the lock: it may wait for the user for a long time.
    const int answer = provider ? provider(right) : defaultConsent(right);
    return answer == Success || answer == Canceled ? answer : Denied;
}

int PosixPrivilegedExecution::runProcess(const QString& program, const QStringList& arguments,
                                         const OutputHandler& output, int* exitCode,
                                         const QProcessEnvironment& environment) const
{
    QProcess process;
    if (!environment.isEmpty())
        process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    if (!process.waitForStarted(-1)) {
        if (exitCode)
            *exitCode = -1;
        return ToolExecuteFailure;
    }
    process.closeWriteChannel();
    for (;;) {
        if (process.bytesAvailable() == 0 && !process.waitForReadyRead(-1))
            break;
        const QByteArray block = process.readAllStandardOutput();
        if (!block.isEmpty() && output)
            output(block);
    }
    process.waitForFinished(-1);
    const QByteArray rest = process.readAllStandardOutput();
    if (!rest.isEmpty() && output)
        output(rest);
    if (exitCode)
        *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return Success;
}
