#include "LinuxPrivilegedExecution.h"

namespace {

// pkexec's own exit codes when it did not run the command.
constexpr int kElevatorDismissed = 126;
constexpr int kElevatorNotAuthorized = 127;

} // namespace

LinuxPrivilegedExecution::LinuxPrivilegedExecution(const QString& elevator) : _elevator(elevator) {}

int LinuxPrivilegedExecution::acquireRight(const QString&)
{
    // Authenticating once here lets polkit keep the answer for the runs that follow, the way
    // the Mac asks for the password when the right is acquired, not at every run.
    int exitCode = -1;
    const int started = runProcess(_elevator, {QStringLiteral("/bin/true")}, nullptr, &exitCode);
    if (started == Success && exitCode == 0)
        return Success;
    if (started == Success && exitCode == kElevatorDismissed)
        return Canceled;
    return Denied;
}

int LinuxPrivilegedExecution::runWithRight(const QString& tool, const QStringList& arguments,
                                           const OutputHandler& output, int* exitCode, QByteArray* standardError)
{
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
        &code, standardError);
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
