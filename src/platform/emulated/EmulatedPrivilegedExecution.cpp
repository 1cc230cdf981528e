#include "EmulatedPrivilegedExecution.h"

#include "platform/Platform.h"

#include <QMutexLocker>
#include <QProcess>
#include <QSet>

namespace {

class EmulatedAuthorization : public PrivilegedExecution::Authorization
{
public:
    QMutex lock;
    QSet<QString> rights;
    bool freed = false;
};

EmulatedAuthorization* emulatedAuthorization(const PrivilegedExecution::AuthorizationRef& authorization)
{
    return dynamic_cast<EmulatedAuthorization*>(authorization.get());
}

} // namespace

PrivilegedExecution::AuthorizationRef EmulatedPrivilegedExecution::create(int* status)
{
    if (status)
        *status = Success;
    return std::make_shared<EmulatedAuthorization>();
}

int EmulatedPrivilegedExecution::copyRights(const AuthorizationRef& authorization, const QString& right,
                                            bool interactionAllowed)
{
    EmulatedAuthorization* state = emulatedAuthorization(authorization);
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

    const int status = acquireRight(right);
    if (status == Success) {
        QMutexLocker locker(&state->lock);
        if (state->freed)
            return InvalidRef;
        state->rights.insert(right);
    }
    return status;
}

int EmulatedPrivilegedExecution::executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool,
                                                       const QStringList& arguments, const OutputHandler& output,
                                                       int* exitCode, QByteArray* standardError)
{
    if (exitCode)
        *exitCode = -1;
    const int rights = copyRights(authorization, QString::fromLatin1(adminRight), true);
    if (rights != Success)
        return rights;
    return runWithRight(tool, arguments, output, exitCode, standardError);
}

int EmulatedPrivilegedExecution::runWithRight(const QString& tool, const QStringList& arguments,
                                              const OutputHandler& output, int* exitCode, QByteArray* standardError)
{
    // The tool works on the emulated root, whether or not the environment named it.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LV_SYSTEM_ROOT"), Platform::systemInfo().systemRoot());
    return runProcess(tool, arguments, output, exitCode, standardError, environment);
}

void EmulatedPrivilegedExecution::free(const AuthorizationRef& authorization)
{
    if (EmulatedAuthorization* state = emulatedAuthorization(authorization)) {
        QMutexLocker locker(&state->lock);
        state->freed = true;
        state->rights.clear();
    }
}

void EmulatedPrivilegedExecution::setConsentProvider(ConsentProvider provider)
{
    QMutexLocker locker(&_lock);
    _consentProvider = std::move(provider);
}

int EmulatedPrivilegedExecution::defaultConsent(const QString& right)
{
    if (qEnvironmentVariable("LV_AUTO_CONSENT") == QLatin1String("1"))
        return Success;
    qWarning("No one to ask for the right %s; refused (set LV_AUTO_CONSENT=1 to grant it unasked)", qPrintable(right));
    return Denied;
}

int EmulatedPrivilegedExecution::acquireRight(const QString& right)
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

int EmulatedPrivilegedExecution::runProcess(const QString& program, const QStringList& arguments,
                                            const OutputHandler& output, int* exitCode, QByteArray* standardError,
                                            const QProcessEnvironment& environment)
{
    QProcess process;
    if (!environment.isEmpty())
        process.setProcessEnvironment(environment);
    process.setProcessChannelMode(standardError ? QProcess::SeparateChannels : QProcess::ForwardedErrorChannel);
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
    if (standardError)
        *standardError = process.readAllStandardError();
    if (exitCode)
        *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return Success;
}
