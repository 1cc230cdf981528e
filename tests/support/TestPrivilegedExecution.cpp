#include "TestPrivilegedExecution.h"

#include "platform/Platform.h"

#include <QMutexLocker>

TestPrivilegedExecution::TestPrivilegedExecution() : _native(NativePlatform::createPrivilegedExecution())
{
    _native->setConsentProvider([this](const QString&) {
        ++prompts;
        switch (consent.load()) {
        case Grant:
            return int(Success);
        case Refuse:
            return int(Denied);
        case Cancel:
            break;
        }
        return int(Canceled);
    });
}

PrivilegedExecution::AuthorizationRef TestPrivilegedExecution::create(int* status)
{
    ++creates;
    if (createStatus.load() != Success) {
        *status = createStatus.load();
        return nullptr;
    }
    return _native->create(status);
}

int TestPrivilegedExecution::copyRights(const AuthorizationRef& authorization, const QString& right,
                                        bool interactionAllowed)
{
    return _native->copyRights(authorization, right, interactionAllowed);
}

int TestPrivilegedExecution::executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool,
                                                   const QStringList& arguments, const OutputHandler& output,
                                                   int* exitCode, QByteArray* standardError)
{
    {
        QMutexLocker locker(&_lock);
        _executions.append((QStringList{tool} + arguments).join(QLatin1Char(' ')));
    }
    return _native->executeWithPrivileges(authorization, tool, arguments, output, exitCode, standardError);
}

void TestPrivilegedExecution::free(const AuthorizationRef& authorization)
{
    ++frees;
    _native->free(authorization);
}

void TestPrivilegedExecution::setConsentProvider(ConsentProvider provider)
{
    _native->setConsentProvider(std::move(provider));
}

QStringList TestPrivilegedExecution::executions() const
{
    QMutexLocker locker(&_lock);
    return _executions;
}
