#pragma once

#include "platform/PrivilegedExecution.h"

#include <QMutex>
#include <QProcessEnvironment>

// Administrator runs on the Mac inside a folder: nothing there needs root, so the user is asked
// through the consent provider and the tool runs as the user, on the same system root.
//
// Without a provider, consent is granted only when LV_AUTO_CONSENT=1 (demos, scripted runs) and
// refused otherwise, so that nothing runs "as administrator" unasked.
class EmulatedPrivilegedExecution : public PrivilegedExecution
{
public:
    AuthorizationRef create(int* status) override;
    int copyRights(const AuthorizationRef& authorization, const QString& right, bool interactionAllowed) override;
    int executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool, const QStringList& arguments,
                              const OutputHandler& output, int* exitCode = nullptr,
                              QByteArray* standardError = nullptr) override;
    void free(const AuthorizationRef& authorization) override;
    void setConsentProvider(ConsentProvider provider) override;

    // The answer when no provider is set.
    static int defaultConsent(const QString& right);

protected:
    // Asks for the right (Success, Denied or Canceled).
    virtual int acquireRight(const QString& right);
    // Runs the tool with the right held; the status tells whether it could be started.
    virtual int runWithRight(const QString& tool, const QStringList& arguments, const OutputHandler& output,
                             int* exitCode, QByteArray* standardError);
    // An empty environment: this process's own. Without `standardError`, the program's goes where
    // this process's goes.
    static int runProcess(const QString& program, const QStringList& arguments, const OutputHandler& output,
                          int* exitCode, QByteArray* standardError = nullptr,
                          const QProcessEnvironment& environment = QProcessEnvironment());

private:
    QMutex _lock;
    ConsentProvider _consentProvider;
};
