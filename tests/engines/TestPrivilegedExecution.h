#pragma once

#include "platform/PrivilegedExecution.h"

#include <QMutex>
#include <QStringList>
#include <atomic>

// Administrator rights as this machine can give them to a test: the password prompt is answered by
// the test (grant, refuse or cancel) and the tool runs as the user. Counts what the engines ask.
class TestPrivilegedExecution : public PrivilegedExecution
{
public:
    enum Consent { Grant, Refuse, Cancel };

    AuthorizationRef create(int* status) override;
    int copyRights(const AuthorizationRef& authorization, const QString& right, bool interactionAllowed) override;
    int executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool, const QStringList& arguments,
                              const std::function<void(const QByteArray&)>& output) override;
    void free(const AuthorizationRef& authorization) override;

    std::atomic<Consent> consent{Grant};
    std::atomic<int> createStatus{Success};

    std::atomic<int> creates{0};
    std::atomic<int> prompts{0};
    std::atomic<int> frees{0};
    QStringList executions() const;
    // Whether `authorization` was handed to free().
    bool wasFreed(const AuthorizationRef& authorization) const;

private:
    mutable QMutex _lock;
    QStringList _executions;
    QList<const Authorization*> _freed;
};
