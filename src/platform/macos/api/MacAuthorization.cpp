#include "MacAuthorization.h"

#include <Security/Authorization.h>
#include <Security/AuthorizationTags.h>

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Looked up by name at run time: the SDK may stop declaring it (deprecated since macOS 10.7), and
// the type is the one it has always had.
using ExecuteWithPrivileges = OSStatus (*)(AuthorizationRef, const char*, AuthorizationFlags, char* const*, FILE**);

ExecuteWithPrivileges executeFunction()
{
    static const ExecuteWithPrivileges function =
        reinterpret_cast<ExecuteWithPrivileges>(dlsym(RTLD_DEFAULT, "AuthorizationExecuteWithPrivileges"));
    return function;
}

} // namespace

namespace MacAuthorization {

int create(Handle* handle)
{
    AuthorizationRef reference = nullptr;
    const OSStatus status =
        AuthorizationCreate(nullptr, kAuthorizationEmptyEnvironment, AuthorizationFlags(defaultFlags), &reference);
    *handle = status == errAuthorizationSuccess ? reference : nullptr;
    return status;
}

int copyRight(Handle handle, const std::string& right, bool interactionAllowed)
{
    if (!handle)
        return errAuthorizationInvalidRef;
    AuthorizationItem item = {right.c_str(), 0, nullptr, 0};
    AuthorizationRights rights = {1, &item};
    AuthorizationFlags flags = AuthorizationFlags(defaultFlags);
    if (!interactionAllowed)
        flags &= ~AuthorizationFlags(kAuthorizationFlagInteractionAllowed);
    return AuthorizationCopyRights(static_cast<AuthorizationRef>(handle), &rights, kAuthorizationEmptyEnvironment,
                                   flags, nullptr);
}

int execute(Handle handle, const std::string& tool, const std::vector<std::string>& arguments,
            const std::function<void(const char* data, std::size_t length)>& output, const std::string& errorPath,
            int* exitCode)
{
    *exitCode = -1;
    if (!handle)
        return errAuthorizationInvalidRef;
    const ExecuteWithPrivileges function = executeFunction();
    if (!function)
        return errAuthorizationToolExecuteFailure;
    // The pipe carries standard output only: for standard error, a shell sends it to the file and
    // then becomes the tool (exec), so the process is the tool's all along.
    std::vector<std::string> command;
    std::string program = tool;
    if (!errorPath.empty()) {
        program = "/bin/sh";
        command = {"-c", "error=$1; shift; exec \"$@\" 2>\"$error\"", "sh", errorPath, tool};
    }
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(command.size() + 1);
    for (const std::string& argument : command)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    FILE* pipe = nullptr;
    const OSStatus status = function(static_cast<AuthorizationRef>(handle), program.c_str(), kAuthorizationFlagDefaults,
                                     argv.data(), &pipe);
    if (status != errAuthorizationSuccess || !pipe)
        return status;
    // The started process owns the pipe's socket: its identifier, to reap exactly that process
    // (waiting for any child would take the application's other children).
    const pid_t pid = fcntl(fileno(pipe), F_GETOWN, 0);
    // Block by block as the tool prints, until it closes its end.
    char buffer[4096];
    for (;;) {
        const ssize_t length = ::read(fileno(pipe), buffer, sizeof buffer);
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            break;
        if (output)
            output(buffer, static_cast<std::size_t>(length));
    }
    std::fclose(pipe);
    if (pid > 0) {
        int waitStatus = 0;
        pid_t reaped = -1;
        do
            reaped = ::waitpid(pid, &waitStatus, 0);
        while (reaped < 0 && errno == EINTR);
        if (reaped == pid && WIFEXITED(waitStatus))
            *exitCode = WEXITSTATUS(waitStatus);
    }
    return status;
}

void free(Handle handle)
{
    if (handle)
        AuthorizationFree(static_cast<AuthorizationRef>(handle), kAuthorizationFlagDefaults);
}

} // namespace MacAuthorization
