#pragma once

#include "platform/PrivilegedExecution.h"

#include <QMutex>
#include <QStringList>
#include <atomic>

// This machine's privileged execution with the password prompt answered by the test (grant,
// refuse or cancel), counting what the engines ask of it.
class TestPrivilegedExecution : public PrivilegedExecution
{
public:
    enum Consent { Grant, Refuse, Cancel };

    TestPrivilegedExecution();

    AuthorizationRef create(int* status) override;
    int copyRights(const AuthorizationRef& authorization, const QString& right, bool interactionAllowed) override;
    int executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool, const QStringList& arguments,
                              const OutputHandler& output, int* exitCode = nullptr,
                              QByteArray* standardError = nullptr) override;
    void free(const AuthorizationRef& authorization) override;
    void setConsentProvider(ConsentProvider provider) override;

    std::atomic<Consent> consent{Grant};
    // Anything but Success makes create() fail with it.
    std::atomic<int> createStatus{Success};

    std::atomic<int> creates{0};
    std::atomic<int> prompts{0};
    std::atomic<int> frees{0};
    QStringList executions() const;

private:
    std::shared_ptr<PrivilegedExecution> _native;
    mutable QMutex _lock;
    QStringList _executions;
};
