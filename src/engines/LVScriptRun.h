#pragma once

#include "engines/LVUninstallerDelegate.h"
#include "platform/PrivilegedExecution.h"

#include <QByteArray>
#include <QObject>

// One ready-made script (a tool's, not a product's own) through the uninstall-script runner. The
// runner asks for the administrator right itself unless it is given one. started() and ended()
// arrive on the main thread, ended() after the runner's own wait.
class LVScriptRun : public QObject, public LVUninstallerDelegate
{
    Q_OBJECT
public:
    explicit LVScriptRun(QObject* parent = nullptr);

    // Runs on the calling thread, any thread, and returns when the script has ended. False when
    // nothing could run (then no signal follows).
    bool run(const QByteArray& script, const PrivilegedExecution::AuthorizationRef& authorization = nullptr);

signals:
    void started();
    void ended(bool succeeded);

private:
    void uninstallStarted(LVUninstaller*) override;
    void uninstallCompleted(LVUninstaller*) override;
    void uninstallFailed(LVUninstaller*) override;
};
