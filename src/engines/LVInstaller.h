#pragma once

#include "engines/LVInstallerDelegate.h"
#include "foundation/VMError.h"
#include "platform/PrivilegedExecution.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>

// Installs one downloaded installer package with the system's package installer: as the user into
// the home folder, or as administrator onto "/". One-shot: create, set the delegate, start (usually
// on a background thread), drop it after the final callback. A run keeps the installer alive until
// its last callback has been delivered, so the owner may drop it at any time.
class LVInstaller : public QObject, public std::enable_shared_from_this<LVInstaller>
{
    Q_OBJECT
public:
    // Option keys. The authorization is a PrivilegedExecution::AuthorizationRef in a QVariant;
    // the installer uses it and leaves freeing it to its owner.
    static constexpr const char* requiresAuthenticationKey = "requiresAuthentication";
    static constexpr const char* optionAuthorizationRef = "optionAuthorizationRef";
    static constexpr const char* argumentsKey = "arguments";

    // Interaction allowed (1) + extend rights (2) + pre-authorize (16).
    static int defaultAuthorizationFlags() { return 19; }

    // Null for a null path (logged as "filePath = nil").
    static std::shared_ptr<LVInstaller> installerWithFilePath(const QString& filePath, const QVariantMap& options);
    static std::shared_ptr<LVInstaller> iniWithFilePath(const QString& filePath, const QVariantMap& options);

    ~LVInstaller() override;

    // Runs the installation on the calling thread; answers whether the package file existed.
    bool start();
    // Runs start() on a background thread.
    void startInBackground();

    void runInstaller(const QString& path);
    void runAuthenticatedInstaller(const QString& path);

    // Main-thread steps of a run.
    void installStarted();
    void installFinishedWithError(const VMError& error);
    void _installFinishedWithError(const VMError& error);

    QString filePath() const { return _filePath; }
    // Null once the delegate is destroyed.
    LVInstallerDelegate* delegate() const;
    void setDelegate(LVInstallerDelegate* delegate);
    VMError error() const { return _error; }
    void setError(const VMError& error) { _error = error; }
    bool deleteFileAfterInstallation() const { return _deleteFileAfterInstallation; }
    void setDeleteFileAfterInstallation(bool flag) { _deleteFileAfterInstallation = flag; }
    QVariant representedObject() const { return _representedObject; }
    void setRepresentedObject(const QVariant& object) { _representedObject = object; }
    QVariantMap options() const { return _options; }
    void setOptions(const QVariantMap& options) { _options = options; }

    PrivilegedExecution::AuthorizationRef authorizationRef() const { return _authorizationRef; }

private:
    LVInstaller(const QString& filePath, const QVariantMap& options);
    static void release(LVInstaller* installer);
    VMError internalError(const QString& reason) const;
    // Checks a path for a run; logs and describes the first problem found.
    bool checkPackagePath(const QString& path, VMError* error) const;

    PrivilegedExecution::AuthorizationRef _authorizationRef;
    bool _deleteFileAfterInstallation = false;
    QString _filePath;
    LVInstallerDelegate* _delegate = nullptr;
    QPointer<QObject> _delegateObject;
    VMError _error;
    QVariant _representedObject;
    QVariantMap _options;
};
