#pragma once

#include "platform/PrivilegedExecution.h"

#include <QMutex>
#include <QProcessEnvironment>

// Administrator runs on Linux. With a system root of "/" the tools really run as root through
// pkexec, whose polkit agent asks for the password. Under any other system root nothing needs
// root: the user is asked through the consent provider and the tool runs as the user.
//
// Without a provider, consent is granted only when LV_AUTO_CONSENT=1 (demos, scripted runs) and
// refused otherwise, so that nothing runs "as administrator" unasked.
class PosixPrivilegedExecution : public PrivilegedExecution
{
public:
    // `elevator` is the program that runs a command as root (pkexec unless a test says otherwise).
    explicit PosixPrivilegedExecution(const QString& elevator = QStringLiteral("pkexec"));

    AuthorizationRef create(int* status) override;
    int copyRights(const AuthorizationRef& authorization, const QString& right, bool interactionAllowed) override;
    int executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool, const QStringList& arguments,
                              const OutputHandler& output, int* exitCode = nullptr) override;
    void free(const AuthorizationRef& authorization) override;
    void setConsentProvider(ConsentProvider provider) override;

    // The answer when no provider is set.
    static int defaultConsent(const QString& right);

private:
    bool runsAsRoot() const;
    int askUser(const QString& right);
    // An empty environment: this process's own.
    int runProcess(const QString& program, const QStringList& arguments, const OutputHandler& output, int* exitCode,
                   const QProcessEnvironment& environment = QProcessEnvironment()) const;

    QString _elevator;
    QMutex _lock;
    ConsentProvider _consentProvider;
};
