#include "MacPrivilegedExecution.h"

#include "api/MacAuthorization.h"

#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QTemporaryDir>

namespace {

class MacAuthorizationState : public PrivilegedExecution::Authorization
{
public:
    QMutex lock;
    MacAuthorization::Handle handle = nullptr;
};

MacAuthorizationState* state(const PrivilegedExecution::AuthorizationRef& authorization)
{
    return dynamic_cast<MacAuthorizationState*>(authorization.get());
}

} // namespace

PrivilegedExecution::AuthorizationRef MacPrivilegedExecution::create(int* status)
{
    auto authorization = std::make_shared<MacAuthorizationState>();
    const int created = MacAuthorization::create(&authorization->handle);
    if (status)
        *status = created;
    return created == Success ? authorization : nullptr;
}

int MacPrivilegedExecution::copyRights(const AuthorizationRef& authorization, const QString& right,
                                       bool interactionAllowed)
{
    MacAuthorizationState* held = state(authorization);
    if (!held)
        return InvalidRef;
    QMutexLocker locker(&held->lock);
    if (!held->handle)
        return InvalidRef;
    return MacAuthorization::copyRight(held->handle, right.toStdString(), interactionAllowed);
}

int MacPrivilegedExecution::executeWithPrivileges(const AuthorizationRef& authorization, const QString& tool,
                                                  const QStringList& arguments, const OutputHandler& output,
                                                  int* exitCode, QByteArray* standardError)
{
    if (exitCode)
        *exitCode = -1;
    const int rights = copyRights(authorization, QString::fromLatin1(adminRight), true);
    if (rights != Success)
        return rights;
    MacAuthorization::Handle handle = nullptr;
    {
        QMutexLocker locker(&state(authorization)->lock);
        handle = state(authorization)->handle;
    }
    std::vector<std::string> argv;
    for (const QString& argument : arguments)
        argv.push_back(argument.toStdString());
    // The tool's standard error goes to a file in a folder only this user can enter.
    QTemporaryDir errorFolder;
    const QString errorPath =
        standardError && errorFolder.isValid() ? errorFolder.filePath(QStringLiteral("stderr")) : QString();
    int code = -1;
    const int status = MacAuthorization::execute(
        handle, QFile::encodeName(tool).toStdString(), argv,
        [&](const char* data, std::size_t length) {
            if (output)
                output(QByteArray(data, qsizetype(length)));
        },
        QFile::encodeName(errorPath).toStdString(), &code);
    if (exitCode)
        *exitCode = code;
    if (standardError) {
        QFile errors(errorPath);
        *standardError = errors.open(QIODevice::ReadOnly) ? errors.read(1024 * 1024) : QByteArray();
    }
    return status;
}

void MacPrivilegedExecution::free(const AuthorizationRef& authorization)
{
    if (MacAuthorizationState* held = state(authorization)) {
        QMutexLocker locker(&held->lock);
        MacAuthorization::free(held->handle);
        held->handle = nullptr;
    }
}
