#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// The Security framework's authorization services, in plain C++ (no Qt, no Apple types).
namespace MacAuthorization {

using Handle = const void*; // an AuthorizationRef
// Interaction allowed (1) + extend rights (2) + pre-authorize (16).
constexpr unsigned defaultFlags = 19;
constexpr const char* adminRight = "system.privilege.admin";

// AuthorizationCreate with no rights and the default flags.
int create(Handle* handle);
// AuthorizationCopyRights for the one right, with the default flags (without interaction when
// `interactionAllowed` is false): 0 granted, -60006 cancelled, -60005 denied, ...
int copyRight(Handle handle, const std::string& right, bool interactionAllowed);
// AuthorizationExecuteWithPrivileges (found at run time: it is deprecated) with a communications
// pipe; `output` receives the tool's standard output until it closes it. Then the tool's process,
// and only it, is reaped: `exitCode` receives its exit code, -1 when it was killed or its process
// could not be told. With an `errorPath` (a file this process made), the tool's standard error is
// written there; without, it goes where this process's goes.
int execute(Handle handle, const std::string& tool, const std::vector<std::string>& arguments,
            const std::function<void(const char* data, std::size_t length)>& output, const std::string& errorPath,
            int* exitCode);
// AuthorizationFree: only for an authorization this process created.
void free(Handle handle);

} // namespace MacAuthorization
