#pragma once

#include "platform/PrivilegedExecution.h"

// Administrator runs through the Security framework: the system's own password dialog, the
// right "system.privilege.admin" with flags 19, the tool's output through a communications pipe.
class MacPrivilegedExecution : public PrivilegedExecution
{
public:
    AuthorizationRef create(int* status) override;
    int copyRights(const AuthorizationRef& authorization, const QString& right, bool interactionAllowed) override;
    int executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool, const QStringList& arguments,
                              const OutputHandler& output, int* exitCode = nullptr,
                              QByteArray* standardError = nullptr) override;
    void free(const AuthorizationRef& authorization) override;
};
