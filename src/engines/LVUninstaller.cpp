#include "LVUninstaller.h"

#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMUtils.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVPrivilegedRunLog.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QThread>
#include <optional>

namespace {
constexpr qsizetype kMaxCStringBytes = 1023;
constexpr double kFinishDelay = 2.0;
} // namespace

std::shared_ptr<LVUninstaller> LVUninstaller::uninstallerWithScript(const QByteArray& script,
                                                                    const QVariantMap& options)
{
    if (script.isNull())
        return nullptr;
    return uninstallerWithScripts(QByteArrayList{script}, options);
}

std::shared_ptr<LVUninstaller> LVUninstaller::uninstallerWithScripts(const std::optional<QByteArrayList>& scripts,
                                                                     const QVariantMap& options)
{
    return initWithScripts(scripts, options);
}

std::shared_ptr<LVUninstaller> LVUninstaller::initWithScripts(const std::optional<QByteArrayList>& scripts,
                                                              const QVariantMap& options)
{
    if (!scripts) {
        VM_LOG_MESSAGE(QStringLiteral("scriptsData = nil"));
        return nullptr;
    }
    return std::shared_ptr<LVUninstaller>(new LVUninstaller(*scripts, options), &LVUninstaller::release);
}

LVUninstaller::LVUninstaller(const QByteArrayList& scripts, const QVariantMap& options)
    : _authorizationRef(
          options.value(QLatin1String(optionAuthorizationRef)).value<PrivilegedExecution::AuthorizationRef>()),
      _options(options)
{
    for (const QByteArray& script : scripts) {
        // A script that can't be written is left out.
        const QString path = VMUtils::tempFilePathWithData(script, QString());
        if (!path.isNull())
            _scriptFilePaths.append(path);
    }
    if (auto* app = QCoreApplication::instance(); app && thread() != app->thread())
        moveToThread(app->thread());
}

void LVUninstaller::release(LVUninstaller* uninstaller)
{
    if (!QCoreApplication::instance() || uninstaller->thread() == QThread::currentThread())
        delete uninstaller;
    else
        uninstaller->deleteLater();
}

LVUninstaller::~LVUninstaller()
{
    for (const QString& path : std::as_const(_scriptFilePaths))
        QFile::remove(path);
}

LVUninstallerDelegate* LVUninstaller::delegate() const
{
    return _delegateObject ? _delegate : nullptr;
}

void LVUninstaller::setDelegate(LVUninstallerDelegate* delegate)
{
    auto* object = dynamic_cast<QObject*>(delegate);
    if (delegate && !object)
        qWarning("LVUninstaller: a delegate must be a QObject; it is ignored");
    _delegate = object ? delegate : nullptr;
    _delegateObject = object;
}

bool LVUninstaller::start()
{
    auto self = shared_from_this();
    VMDispatch::performOnMainThread(this, [self] { self->uninstallStarted(); });
    const auto finish = [this, self](const VMError& error) {
        VMDispatch::performOnMainThread(this, [self, error] { self->uninstallFinishedWithError(error); });
    };

    for (const QString& path : std::as_const(_scriptFilePaths)) {
        // A script that vanished ends the run as if everything had gone well.
        if (!QFileInfo::exists(path)) {
            finish(VMError());
            return false;
        }
        const VMError error = runAuthenticatedUninstaller(path);
        if (error) {
            finish(error);
            return true;
        }
        ++_completedScripts;
    }
    finish(VMError());
    return true;
}

void LVUninstaller::startInBackground()
{
    VMDispatch::performInBackground([self = shared_from_this()] { self->start(); });
}

VMError LVUninstaller::makeError(qint64 code, const QString& description, const QString& reason) const
{
    return VMError(QString::fromLatin1(metaObject()->className()), code, description, reason);
}

VMError LVUninstaller::runAuthenticatedUninstaller(const QString& scriptPath)
{
    VMError error;
    QString output;
    int lastStatus = PrivilegedExecution::Success;

    if (scriptPath.isNull()) {
        VM_LOG_MESSAGE(QStringLiteral("No script file path"));
        error = makeError(0, QStringLiteral("An internal Error occured: 'No src file path'"));
    } else if (!QFileInfo::exists(scriptPath)) {
        VM_LOG_MESSAGE(QStringLiteral("File does not exist: %1").arg(scriptPath));
        error = makeError(0, QStringLiteral("An internal Error occured: 'file does not exists'"));
    } else if (scriptPath.toUtf8().size() > kMaxCStringBytes) {
        VM_LOG_MESSAGE(QStringLiteral("getCString failed"));
        error = makeError(0, QStringLiteral("getCString failed"));
    } else {
        PrivilegedExecution& privileged = Platform::privilegedExecution();
        PrivilegedExecution::AuthorizationRef authorization = _authorizationRef;
        // Without one from the caller, an authorization of its own for this script.
        std::optional<LVAdminAuthorization> own;
        bool authorized = true;
        if (!authorization) {
            own.emplace(defaultAuthorizationFlags(), LVAdminAuthorization::CreateFailureLog::Never);
            authorization = own->authorizationRef();
            if (!own->created()) {
                VM_LOG_MESSAGE(QStringLiteral("AuthorizationCreate failed"));
                lastStatus = own->status();
                error = makeError(lastStatus, QStringLiteral("AuthorizationCreate failed"));
                authorized = false;
            } else if (!own->isGranted()) {
                // A refused or cancelled prompt is no error of its own: the output stays empty.
                lastStatus = own->status();
                authorized = false;
            }
        }
        if (authorized) {
            QStringDecoder decoder(QStringDecoder::Utf8);
            int exitCode = -1;
            QByteArray errors;
            const int status = privileged.executeWithPrivileges(
                authorization, Platform::commandLineTools().shellPath(), {scriptPath},
                [&output, &decoder](const QByteArray& chunk) { output.append(decoder.decode(chunk)); }, &exitCode,
                &errors);
            if (status != PrivilegedExecution::Success) {
                VM_LOG_MESSAGE_CODE(QStringLiteral("Uninstaller Execution failed"), status);
                lastStatus = status;
                error = makeError(status, QStringLiteral("Uninstaller Execution failed"));
            } else {
                LVPrivilegedRunLog::write(QStringLiteral("Uninstaller"), exitCode, errors);
            }
        }
        VMLog::logExtended(VMLogger::Message, VM_CALL_SITE(output));
    }

    // Scripts end with "echo $?": a clean run prints "0\n"; printing nothing counts as clean too.
    if (output.isEmpty() || output == QLatin1String("0\n"))
        return error;
    return makeError(lastStatus != PrivilegedExecution::Success ? lastStatus : -1,
                     QStringLiteral("Uninstallation Failed"), output);
}

void LVUninstaller::uninstallStarted()
{
    if (auto* target = delegate())
        target->uninstallStarted(this);
}

void LVUninstaller::uninstallFinishedWithError(const VMError& error)
{
    VMDispatch::performAfterDelay(this, kFinishDelay,
                                  [self = shared_from_this(), error] { self->_uninstallFinishedWithError(error); });
}

void LVUninstaller::_uninstallFinishedWithError(const VMError& error)
{
    VMInstalledVersions::clearBundleIdentifierCache();
    if (error)
        _error = error;
    if (auto* target = delegate()) {
        if (error)
            target->uninstallFailed(this);
        else
            target->uninstallCompleted(this);
    }
}
