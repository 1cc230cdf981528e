#include "TestPrivilegedExecution.h"

#include <QMutexLocker>
#include <QProcess>

namespace {
class TestAuthorization : public PrivilegedExecution::Authorization
{
public:
    std::atomic<bool> holdsAdminRight{false};
};
} // namespace

PrivilegedExecution::AuthorizationRef TestPrivilegedExecution::create(int* status)
{
    ++creates;
    *status = createStatus.load();
    if (*status != Success)
        return nullptr;
    return std::make_shared<TestAuthorization>();
}

int TestPrivilegedExecution::copyRights(const AuthorizationRef& authorization, const QString& right,
                                        bool interactionAllowed)
{
    auto* held = dynamic_cast<TestAuthorization*>(authorization.get());
    if (!held || right != QLatin1String(adminRight))
        return InvalidRef;
    if (held->holdsAdminRight)
        return Success;
    if (!interactionAllowed)
        return InteractionNotAllowed;
    ++prompts;
    switch (consent.load()) {
    case Grant:
        held->holdsAdminRight = true;
        return Success;
    case Refuse:
        return Denied;
    case Cancel:
        break;
    }
    return Canceled;
}

int TestPrivilegedExecution::executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool,
                                                   const QStringList& arguments,
                                                   const std::function<void(const QByteArray&)>& output)
{
    auto* held = dynamic_cast<TestAuthorization*>(authorization.get());
    if (!held || !held->holdsAdminRight)
        return Denied;
    {
        QMutexLocker locker(&_lock);
        _executions.append((QStringList{tool} + arguments).join(QLatin1Char(' ')));
    }
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(tool, arguments);
    if (!process.waitForStarted(-1))
        return ToolExecuteFailure;
    // Handed over in small pieces, as a pipe would give them.
    while (process.state() != QProcess::NotRunning || process.bytesAvailable() > 0) {
        if (process.bytesAvailable() == 0)
            process.waitForReadyRead(100);
        const QByteArray piece = process.read(7);
        if (!piece.isEmpty())
            output(piece);
    }
    return Success;
}

void TestPrivilegedExecution::free(const AuthorizationRef& authorization)
{
    ++frees;
    QMutexLocker locker(&_lock);
    _freed.append(authorization.get());
}

QStringList TestPrivilegedExecution::executions() const
{
    QMutexLocker locker(&_lock);
    return _executions;
}

bool TestPrivilegedExecution::wasFreed(const AuthorizationRef& authorization) const
{
    QMutexLocker locker(&_lock);
    return _freed.contains(authorization.get());
}
