#include "LVScriptRun.h"

#include "engines/LVUninstaller.h"
#include "foundation/VMDispatch.h"

#include <QPointer>
#include <QThread>

LVScriptRun::LVScriptRun(QObject* parent) : QObject(parent) {}

bool LVScriptRun::run(const QByteArray& script, const PrivilegedExecution::AuthorizationRef& authorization)
{
    QVariantMap options;
    if (authorization)
        options.insert(QLatin1String(LVUninstaller::optionAuthorizationRef), QVariant::fromValue(authorization));
    const std::shared_ptr<LVUninstaller> uninstaller = LVUninstaller::uninstallerWithScript(script, options);
    if (!uninstaller)
        return false;
    if (QThread::currentThread() == thread()) {
        uninstaller->setDelegate(this);
    } else {
        // Posted before the runner posts its first step, so the delegate is in place for it.
        QPointer<LVScriptRun> guard(this);
        VMDispatch::performOnMainThread([guard, uninstaller] {
            if (guard)
                uninstaller->setDelegate(guard);
        });
    }
    uninstaller->start();
    return true;
}

void LVScriptRun::uninstallStarted(LVUninstaller*)
{
    emit started();
}

void LVScriptRun::uninstallCompleted(LVUninstaller*)
{
    emit ended(true);
}

void LVScriptRun::uninstallFailed(LVUninstaller*)
{
    emit ended(false);
}
