#include "LVInstaller.h"

#include "catalogue/VMInstalledVersions.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVPackageChecksum.h"
#include "engines/LVPrivilegedPackageCheck.h"
#include "engines/LVPrivilegedRunLog.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStringDecoder>
#include <QThread>
#include <optional>

namespace {
constexpr int kInteractionAllowed = 1;
constexpr qsizetype kMaxCStringBytes = 1023;
constexpr double kFinishDelay = 2.0;
} // namespace

std::shared_ptr<LVInstaller> LVInstaller::installerWithFilePath(const QString& filePath, const QVariantMap& options)
{
    return iniWithFilePath(filePath, options);
}

std::shared_ptr<LVInstaller> LVInstaller::iniWithFilePath(const QString& filePath, const QVariantMap& options)
{
    if (filePath.isNull()) {
        VM_LOG_MESSAGE(QStringLiteral("filePath = nil"));
        return nullptr;
    }
    return std::shared_ptr<LVInstaller>(new LVInstaller(filePath, options), &LVInstaller::release);
}

LVInstaller::LVInstaller(const QString& filePath, const QVariantMap& options)
    : _authorizationRef(
          options.value(QLatin1String(optionAuthorizationRef)).value<PrivilegedExecution::AuthorizationRef>()),
      _filePath(filePath), _options(options)
{
    // Its callbacks are delivered on the main thread, whichever thread created it.
    if (auto* app = QCoreApplication::instance(); app && thread() != app->thread())
        moveToThread(app->thread());
}

void LVInstaller::release(LVInstaller* installer)
{
    // The last reference may go on the run's thread; the object itself belongs to the main thread.
    if (!QCoreApplication::instance() || installer->thread() == QThread::currentThread())
        delete installer;
    else
        installer->deleteLater();
}

LVInstaller::~LVInstaller()
{
    if (_deleteFileAfterInstallation && !_filePath.isEmpty())
        QFile::remove(_filePath);
}

LVInstallerDelegate* LVInstaller::delegate() const
{
    return _delegateObject ? _delegate : nullptr;
}

void LVInstaller::setDelegate(LVInstallerDelegate* delegate)
{
    auto* object = dynamic_cast<QObject*>(delegate);
    if (delegate && !object)
        qWarning("LVInstaller: a delegate must be a QObject; it is ignored");
    _delegate = object ? delegate : nullptr;
    _delegateObject = object;
}

bool LVInstaller::start()
{
    // A package the catalogue gave a digest for runs only when it matches; otherwise it is gone.
    if (const VMError mismatch = LVPackageChecksum::verify(_filePath, _options); !mismatch.isNull()) {
        VMDispatch::performOnMainThread(
            this, [self = shared_from_this(), mismatch] { self->installFinishedWithError(mismatch); });
        return false;
    }
    const bool fileExists = !_filePath.isEmpty() && QFileInfo::exists(_filePath);
    if (_options.value(QLatin1String(requiresAuthenticationKey)).toBool())
        runAuthenticatedInstaller(_filePath);
    else
        runInstaller(_filePath);
    return fileExists;
}

void LVInstaller::startInBackground()
{
    VMDispatch::performInBackground([self = shared_from_this()] { self->start(); });
}

VMError LVInstaller::internalError(const QString& reason) const
{
    return VMError(QString::fromLatin1(metaObject()->className()), 0,
                   QStringLiteral("An internal Error occured: '%1'").arg(reason));
}

bool LVInstaller::checkPackagePath(const QString& path, VMError* error) const
{
    if (path.isNull()) {
        VM_LOG_MESSAGE(QStringLiteral("No src file path"));
        *error = internalError(QStringLiteral("No src file path"));
        return false;
    }
    if (QFileInfo(path).suffix() != QLatin1String("pkg")) {
        VM_LOG_MESSAGE(QStringLiteral("Not a pkg file"));
        *error = internalError(QStringLiteral("Not a pkg file"));
        return false;
    }
    if (!QFileInfo::exists(path)) {
        VM_LOG_MESSAGE(QStringLiteral("File does not exist: %1").arg(path));
        *error = internalError(QStringLiteral("file does not exists"));
        return false;
    }
    return true;
}

void LVInstaller::runInstaller(const QString& path)
{
    auto self = shared_from_this();
    VMError error;
    if (checkPackagePath(path, &error)) {
        VMDispatch::performOnMainThread(this, [self] { self->installStarted(); });

        QStringList arguments = {QStringLiteral("-pkg"), path, QStringLiteral("-target"),
                                 QStringLiteral("CurrentUserHomeDirectory")};
        const QVariant extra = _options.value(QLatin1String(argumentsKey));
        if (extra.typeId() == QMetaType::QString && !extra.toString().isEmpty())
            arguments.append(extra.toString());

        QProcess task;
        task.setProgram(Platform::commandLineTools().installerPath());
        task.setArguments(arguments);
        task.setStandardInputFile(QProcess::nullDevice());
        task.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        task.start();
        if (task.waitForStarted(-1)) {
            // The installer's verdict is not judged here: one that ran counts as a success.
            task.waitForFinished(-1);
            const QString output = QString::fromUtf8(task.readAllStandardOutput());
            Platform::systemLog().write(QStringLiteral("installer output: %1").arg(output));
        } else {
            error = VMError(QString::fromLatin1(metaObject()->className()), task.error(), task.errorString());
        }
    }
    VMDispatch::performOnMainThread(this, [self, error] { self->installFinishedWithError(error); });
}

void LVInstaller::runAuthenticatedInstaller(const QString& path)
{
    auto self = shared_from_this();
    VMDispatch::performOnMainThread(this, [self] { self->installStarted(); });

    QString output;
    int lastStatus = PrivilegedExecution::Success;
    const auto record = [&lastStatus](int status) {
        if (status != PrivilegedExecution::Success)
            lastStatus = status;
    };

    // Any problem before the run only ends up in the log: the verdict below reads the output.
    VMError pathError;
    bool ready = checkPackagePath(path, &pathError);
    if (ready && path.toUtf8().size() > kMaxCStringBytes) {
        VM_LOG_MESSAGE(QStringLiteral("getCString failed"));
        ready = false;
    }

    if (ready) {
        PrivilegedExecution& privileged = Platform::privilegedExecution();
        // Without one from the caller, an authorization of its own for this run.
        std::optional<LVAdminAuthorization> own;
        PrivilegedExecution::AuthorizationRef authorization = _authorizationRef;
        int rights = PrivilegedExecution::Success;
        if (!authorization) {
            own.emplace(defaultAuthorizationFlags(), LVAdminAuthorization::CreateFailureLog::Never);
            if (!own->created())
                VM_LOG_MESSAGE(QStringLiteral("AuthorizationCreate failed"));
            authorization = own->authorizationRef();
            rights = own->status();
        } else {
            rights = privileged.copyRights(authorization, QLatin1String(PrivilegedExecution::adminRight),
                                           defaultAuthorizationFlags() & kInteractionAllowed);
        }
        record(rights);
        if (authorization && rights == PrivilegedExecution::Success) {
            QStringDecoder decoder(QStringDecoder::Utf8);
            // A package with a digest is checked again by the administrator step itself, on the
            // copy it installs: the user's file could change after the check above.
            const QString expected = _options.value(QLatin1String(LVPackageChecksum::expectedKey)).toString();
            const bool checked = !expected.isEmpty();
            int exitCode = -1;
            QByteArray errors;
            const int status = privileged.executeWithPrivileges(
                authorization,
                checked ? Platform::commandLineTools().shellPath() : Platform::commandLineTools().installerPath(),
                checked ? LVPrivilegedPackageCheck::shellArguments(path, expected)
                        : QStringList{QStringLiteral("-pkg"), path, QStringLiteral("-target"), QStringLiteral("/")},
                [&output, &decoder](const QByteArray& chunk) { output.append(decoder.decode(chunk)); }, &exitCode,
                &errors);
            if (status != PrivilegedExecution::Success) {
                VM_LOG_MESSAGE_CODE(QStringLiteral("Installer Execution failed"), status);
                record(status);
            } else {
                LVPrivilegedRunLog::write(QStringLiteral("Installer"), exitCode, errors);
            }
        }
    }

    VMLog::logExtended(VMLogger::Message, VM_CALL_SITE(output));

    // Only an upgrade message counts; a fresh install reported in other words is a failure too.
    VMError error;
    if (output.contains(QLatin1String(LVPrivilegedPackageCheck::mismatchMarker))) {
        QFile::remove(path);
        error = LVPackageChecksum::mismatchError(_options);
        VM_LOG_MESSAGE(QStringLiteral("%1 (found by the administrator step)").arg(error.localizedFailureReason()));
    } else if (!output.contains(QLatin1String("The upgrade was successful"))) {
        error = VMError(QString::fromLatin1(metaObject()->className()),
                        lastStatus != PrivilegedExecution::Success ? lastStatus : -1,
                        QStringLiteral("Installation Failed"), output);
    }
    VMDispatch::performOnMainThread(this, [self, error] { self->installFinishedWithError(error); });
}

void LVInstaller::installStarted()
{
    if (auto* target = delegate())
        target->installStarted(this);
}

void LVInstaller::installFinishedWithError(const VMError& error)
{
    // The delay gives the system time to register new plug-ins before anyone scans again.
    VMDispatch::performAfterDelay(this, kFinishDelay,
                                  [self = shared_from_this(), error] { self->_installFinishedWithError(error); });
}

void LVInstaller::_installFinishedWithError(const VMError& error)
{
    VMInstalledVersions::clearBundleIdentifierCache();
    if (error)
        _error = error;
    if (auto* target = delegate()) {
        if (error)
            target->installFailed(this);
        else
            target->installCompleted(this);
    }
}
