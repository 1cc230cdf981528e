#pragma once

#include "engines/LVUninstallerDelegate.h"
#include "foundation/VMError.h"
#include "platform/PrivilegedExecution.h"

#include <QByteArrayList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <atomic>
#include <memory>
#include <optional>

// Runs shell scripts one after another as administrator and judges what each prints: nothing or
// "0\n" is a clean run. One-shot, like LVInstaller: a run keeps the uninstaller alive until its
// last callback has been delivered. The scripts live in temporary files until it is released.
class LVUninstaller : public QObject, public std::enable_shared_from_this<LVUninstaller>
{
    Q_OBJECT
public:
    // Option key: a PrivilegedExecution::AuthorizationRef in a QVariant, used and not freed.
    static constexpr const char* optionAuthorizationRef = "optionAuthorizationRef";

    static int defaultAuthorizationFlags() { return 19; }

    // Null for a null script.
    static std::shared_ptr<LVUninstaller> uninstallerWithScript(const QByteArray& script, const QVariantMap& options);
    static std::shared_ptr<LVUninstaller> uninstallerWithScripts(const std::optional<QByteArrayList>& scripts,
                                                                 const QVariantMap& options);
    // No list at all is refused (logged as "scriptsData = nil"); an empty list is a run with nothing to do.
    static std::shared_ptr<LVUninstaller> initWithScripts(const std::optional<QByteArrayList>& scripts,
                                                          const QVariantMap& options);

    ~LVUninstaller() override;

    // Runs every script on the calling thread, stopping at the first failure. Answers false only
    // when a script file had vanished before its turn.
    bool start();
    void startInBackground();

    VMError runAuthenticatedUninstaller(const QString& scriptPath);

    // Main-thread steps of a run.
    void uninstallStarted();
    void uninstallFinishedWithError(const VMError& error);
    void _uninstallFinishedWithError(const VMError& error);

    QVariantMap options() const { return _options; }
    void setOptions(const QVariantMap& options) { _options = options; }
    LVUninstallerDelegate* delegate() const;
    void setDelegate(LVUninstallerDelegate* delegate);
    VMError error() const { return _error; }
    void setError(const VMError& error) { _error = error; }
    QVariant representedObject() const { return _representedObject; }
    void setRepresentedObject(const QVariant& object) { _representedObject = object; }

    QStringList scriptFilePaths() const { return _scriptFilePaths; }
    // How many scripts ran cleanly before the run ended: what a failed run still removed.
    int completedScripts() const { return _completedScripts.load(); }

private:
    LVUninstaller(const QByteArrayList& scripts, const QVariantMap& options);
    static void release(LVUninstaller* uninstaller);
    VMError makeError(qint64 code, const QString& description, const QString& reason = QString()) const;

    PrivilegedExecution::AuthorizationRef _authorizationRef;
    QStringList _scriptFilePaths;
    LVUninstallerDelegate* _delegate = nullptr;
    QPointer<QObject> _delegateObject;
    VMError _error;
    std::atomic<int> _completedScripts{0};
    QVariant _representedObject;
    QVariantMap _options;
};
