#include "LVProductBatch.h"

#include "catalogue/VMVersionItem.h"
#include "engines/LVDownloadSession.h"
#include "engines/LVDownloader.h"
#include "engines/LVFetch.h"
#include "engines/LVInstaller.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "engines/LVScriptRun.h"
#include "engines/LVUninstaller.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"

#include <QFile>
#include <QThread>

namespace {
// How long the background run waits for an installation's end to reach the main thread.
constexpr int kLongestInstallationEndMs = 5 * 60 * 1000;

QString refusalText(int status)
{
    return status == PrivilegedExecution::Canceled
               ? QStringLiteral("Administrator rights were not granted (cancelled).")
               : QStringLiteral("Administrator rights were not granted (%1).").arg(status);
}

// The authorization of a background run: the caller's, or one of its own.
std::shared_ptr<LVAdminAuthorization> authorizationFor(const LVProductBatch::Policy& policy, int flags)
{
    return policy.authorization ? policy.authorization
                                : std::make_shared<LVAdminAuthorization>(flags, policy.createFailureLog);
}
} // namespace

LVProductBatch::LVProductBatch(Kind kind, const QList<Item>& items, const Policy& policy, QObject* parent)
    : QObject(parent), _kind(kind), _policy(policy)
{
    for (const Item& item : items) {
        Entry entry;
        entry.item = item;
        entry.state = kind == Kind::Install ? State::WaitingForDownload : State::WaitingForUninstall;
        entry.operation = LVProductOperations::shared().operationForProduct(item.product);
        _items.append(entry);
    }
    for (qsizetype index = 0; index < _items.size(); ++index)
        observe(index);
}

LVProductBatch::~LVProductBatch()
{
    for (Entry& entry : _items) {
        release(entry);
        if (!entry.keptPackage.isEmpty())
            QFile::remove(entry.keptPackage);
    }
}

bool LVProductBatch::isFinal(State state)
{
    switch (state) {
    case State::DownloadFailed:
    case State::Installed:
    case State::InstallFailed:
    case State::Uninstalled:
    case State::UninstallFailed:
        return true;
    default:
        return false;
    }
}

LVProductOperation* LVProductBatch::operation(qsizetype index) const
{
    return _items.at(index).operation;
}

qsizetype LVProductBatch::downloadingIndex() const
{
    for (qsizetype index = 0; index < _items.size(); ++index) {
        if (_items.at(index).state == State::Downloading && !_items.at(index).joined)
            return index;
    }
    return -1;
}

QString LVProductBatch::progressDescription() const
{
    const qsizetype index = downloadingIndex();
    if (index < 0)
        return QString();
    const VMSingleProductItemPtr& product = _items.at(index).item.product;
    QString text = QStringLiteral("Downloading '%1' (%2 of %3)")
                       .arg(product ? product->title() : QString())
                       .arg(index + 1)
                       .arg(_items.size());
    const QString bytes = _items.at(index).operation ? _items.at(index).operation->progressDescription() : QString();
    if (!bytes.isEmpty())
        text += QStringLiteral(": ") + bytes;
    return text;
}

qint64 LVProductBatch::receivedBytes() const
{
    qint64 bytes = 0;
    for (const Entry& entry : _items)
        bytes += entry.operation && entry.operation->isDownloading() ? entry.operation->receivedBytes() : 0;
    return bytes;
}

qint64 LVProductBatch::expectedBytes() const
{
    qint64 bytes = 0;
    for (const Entry& entry : _items)
        bytes += entry.operation && entry.operation->isDownloading() ? entry.operation->expectedBytes() : 0;
    return bytes;
}

void LVProductBatch::setState(qsizetype index, State state, const QString& detail)
{
    Entry& entry = _items[index];
    if (entry.state == state)
        return;
    entry.state = state;
    if (!detail.isEmpty())
        entry.detail = detail;
    if (isFinal(state))
        releaseLater(entry);
    emit stateChanged(index, state);
}

void LVProductBatch::releaseLater(const Entry& entry)
{
    // Once every observer has heard the step that ended the product's part.
    QPointer<LVProductOperation> operation = entry.joined ? nullptr : entry.operation;
    QPointer<LVProductBatch> self(this);
    VMDispatch::performOnMainThread(this, [operation, self] {
        if (operation && self && operation->isHeldBy(self))
            operation->setHolder(nullptr);
    });
}

void LVProductBatch::stall()
{
    _stalled = true;
    // The run stays as it stands and keeps its packages; its products are free for other work
    // again, and their rows read what is installed.
    for (Entry& entry : _items) {
        if (entry.joined || !entry.operation)
            continue;
        if (entry.state == State::Downloaded)
            entry.keptPackage = entry.operation->takePackage();
        release(entry);
    }
}

void LVProductBatch::release(Entry& entry)
{
    if (entry.operation && !entry.joined && entry.operation->isHeldBy(this))
        entry.operation->setHolder(nullptr);
}

void LVProductBatch::checkJoined(qsizetype index)
{
    Entry& entry = _items[index];
    if (_ended || !entry.joined || isFinal(entry.state) || !entry.operation)
        return;
    LVProductOperation* operation = entry.operation;
    if (operation->phase() != LVProductOperation::Phase::Idle || operation->isHeld())
        return;
    // The work it followed has stopped (a stalled or cancelled run): nothing will install it.
    downloadFailed(index, QStringLiteral("The product's other installation did not finish."), false);
}

void LVProductBatch::observe(qsizetype index)
{
    LVProductOperation* operation = _items.at(index).operation;
    if (!operation)
        return;
    connect(operation, &LVProductOperation::phaseChanged, this, [this, index] {
        // After the engine's own callback, which ends the entry when it can.
        if (_items.at(index).joined)
            VMDispatch::performOnMainThread(this, [this, index] { checkJoined(index); });
    });
    connect(operation, &LVProductOperation::progressChanged, this, [this, index] {
        if (_items.at(index).state == State::Downloading)
            emit progressChanged();
    });
    connect(operation, &LVProductOperation::downloadBegan, this, [this, index](LVProductOperation::Download download) {
        if (download == LVProductOperation::Download::Installer && _items.at(index).state == State::Downloading)
            emit downloadStarted(index);
    });
    connect(operation, &LVProductOperation::downloadEnded, this,
            [this, index](LVProductOperation::Download download, bool succeeded, const VMError& error) {
                if (_ended || download != LVProductOperation::Download::Installer ||
                    _items.at(index).state != State::Downloading)
                    return;
                if (!succeeded) {
                    const bool cancelled = error.code() == LVDownloadSession::cancelledError().code();
                    downloadFailed(index, cancelled ? QString() : error.description(), cancelled);
                    return;
                }
                if (_items.at(index).joined)
                    return;
                if (_items.at(index).operation->packagePath().isEmpty()) {
                    downloadFailed(index, QStringLiteral("The download gave no file."), false);
                    return;
                }
                setState(index, State::Downloaded);
                emit progressChanged();
                // After the downloader's own callbacks have returned.
                VMDispatch::performOnMainThread(this, [this] { downloadNext(); });
            });
    connect(operation, &LVProductOperation::installBegan, this, [this, index] {
        if (_items.at(index).state == State::Downloaded || _items.at(index).state == State::Downloading)
            setState(index, State::Installing);
    });
    connect(operation, &LVProductOperation::installEnded, this,
            [this, index](bool succeeded, const VMError& error, const VMVersionItemPtr& version) {
                Entry& entry = _items[index];
                // An installer that fails before it starts (a package that does not match its
                // checksum) never reports a start.
                if (entry.state != State::Installing && (entry.state != State::Downloaded || entry.joined))
                    return;
                if (!entry.joined)
                    _installationsEnded->release();
                if (!succeeded) {
                    setState(index, State::InstallFailed, error.description());
                    endIfDone();
                    return;
                }
                // Someone else's run, and a run whose owner confirms, count it as installed now.
                if (entry.joined || _policy.secondsBeforeAnnouncement < 0.0) {
                    setState(index, State::Installed);
                    endIfDone();
                    return;
                }
                entry.operation->confirmInstallation(version ? version : entry.item.version,
                                                     LVProductOperation::Confirmation::Bundle,
                                                     _policy.secondsBeforeAnnouncement);
            });
    connect(operation, &LVProductOperation::installationConfirmed, this, [this, index] {
        if (_items.at(index).state == State::Installing) {
            setState(index, State::Installed);
            endIfDone();
        }
    });
    connect(operation, &LVProductOperation::uninstallEnded, this, [this, index](bool succeeded, const VMError& error) {
        Entry& entry = _items[index];
        if (entry.state != State::Uninstalling)
            return;
        if (!succeeded && !entry.failed) {
            entry.failed = true;
            entry.detail = error.description();
        }
        // One uninstaller per script: the product has ended when its operation has.
        if (entry.operation->isUninstalling())
            return;
        setState(index, entry.failed ? State::UninstallFailed : State::Uninstalled);
        endIfDone();
    });
}

bool LVProductBatch::start()
{
    if (_started)
        return false;
    _started = true;
    if (_kind == Kind::Uninstall) {
        runUninstall();
        return true;
    }
    if (_kind == Kind::TotalUninstall)
        return fetchTotalUninstallScript();
    for (qsizetype index = 0; index < _items.size(); ++index) {
        Entry& entry = _items[index];
        LVProductOperation* operation = entry.operation;
        if (!operation)
            continue;
        if (operation->isHeld() || operation->phase() == LVProductOperation::Phase::Downloading ||
            operation->phase() == LVProductOperation::Phase::Installing ||
            operation->phase() == LVProductOperation::Phase::Confirming) {
            // Already on its way: one run per product, this one follows it.
            if (operation->requestInstallation(entry.item.version)) {
                entry.joined = true;
                setState(index, operation->isDownloading() ? State::Downloading : State::Installing);
            }
            continue;
        }
        operation->setHolder(this);
        operation->setJudgesByOutcome(_policy.judgesByOutcome);
    }
    downloadNext();
    return !_stalled && !_ended;
}

bool LVProductBatch::startDownload(Entry& entry)
{
    LVProductOperation* operation = entry.operation;
    if (!operation)
        return false;
    if (entry.item.installerURL.isEmpty())
        return operation->startDownload(entry.item.version);
    // The version as represented object, when there is one, so that the history names it.
    return operation->startDownload(QUrl(entry.item.installerURL), {},
                                    entry.item.version ? QVariant::fromValue(entry.item.version) : QVariant());
}

void LVProductBatch::downloadNext()
{
    if (_stalled || _ended || _backgroundRunning)
        return;
    for (qsizetype index = 0; index < _items.size(); ++index) {
        Entry& entry = _items[index];
        if (entry.state == State::Downloading && !entry.joined)
            return;
        if (entry.state != State::WaitingForDownload)
            continue;
        if (!startDownload(entry)) {
            VM_LOG_MESSAGE(QStringLiteral("download failed"));
            if (_policy.downloadFailure == Policy::OnFailure::Abandon) {
                // Nothing was fetched for it: the run ends without a word.
                abandon(Ending::Cancelled);
                return;
            }
            downloadFailed(index,
                           QStringLiteral("The installer could not be downloaded: the version has no download URL."),
                           false);
            return;
        }
        setState(index, State::Downloading);
        emit progressChanged();
        return;
    }
    installDownloaded();
}

void LVProductBatch::downloadFailed(qsizetype index, const QString& detail, bool cancelled)
{
    setState(index, State::DownloadFailed, detail);
    switch (_policy.downloadFailure) {
    case Policy::OnFailure::Stall:
        stall();
        return;
    case Policy::OnFailure::Abandon:
        abandon(cancelled ? Ending::Cancelled : Ending::DownloadFailed);
        return;
    case Policy::OnFailure::GoOn:
        VMDispatch::performOnMainThread(this, [this] { downloadNext(); });
        return;
    }
}

void LVProductBatch::installDownloaded()
{
    QList<QPointer<LVProductOperation>> operations;
    bool needsAdministrator = !_policy.authorizesOnlyWhenNeeded || _policy.installsAsAdministrator;
    for (const Entry& entry : std::as_const(_items)) {
        if (entry.state != State::Downloaded || !entry.operation)
            continue;
        operations.append(entry.operation);
        needsAdministrator =
            needsAdministrator ||
            entry.operation->installerSettings().value(QLatin1String(LVInstaller::requiresAuthenticationKey)).toBool();
    }
    if (operations.isEmpty()) {
        endIfDone();
        return;
    }
    _backgroundRunning = true;
    QPointer<LVProductBatch> guard(this);
    const Policy policy = _policy;
    // The operations live as long as the application; the run only reports back through `guard`.
    QList<LVProductOperation*> running;
    for (const QPointer<LVProductOperation>& operation : std::as_const(operations))
        running.append(operation.data());
    const std::shared_ptr<QSemaphore> installationEnds = _installationsEnded;
    VMDispatch::performInBackground([guard, policy, running, needsAdministrator, installationEnds] {
        int status = PrivilegedExecution::Success;
        {
            std::shared_ptr<LVAdminAuthorization> authorization;
            if (needsAdministrator) {
                authorization = authorizationFor(policy, LVInstaller::defaultAuthorizationFlags());
                status = authorization->status();
            }
            if (status == PrivilegedExecution::Success) {
                const auto reference = authorization ? authorization->authorizationRef() : nullptr;
                bool previousStarted = false;
                for (qsizetype index = 0; index < running.size(); ++index) {
                    if (previousStarted && policy.secondsBetweenInstallations > 0.0) {
                        // The wait counts from the previous installation's end as its owner hears
                        // it, which comes a while after the package installer has returned.
                        installationEnds->tryAcquire(1, kLongestInstallationEndMs);
                        QThread::msleep(ulong(VMDispatch::scaledMilliseconds(policy.secondsBetweenInstallations)));
                    }
                    previousStarted = running.at(index)->install(
                        reference, LVProductOperation::Execution::Synchronous,
                        policy.installsAsAdministrator
                            ? QVariantMap{{QLatin1String(LVInstaller::requiresAuthenticationKey), true}}
                            : QVariantMap());
                }
            }
        }
        VMDispatch::performOnMainThread([guard, status] {
            if (!guard)
                return;
            guard->_backgroundRunning = false;
            if (status != PrivilegedExecution::Success)
                guard->refused(status);
            else
                guard->endIfDone();
        });
    });
}

void LVProductBatch::refused(int status)
{
    _authorizationStatus = status;
    if (_policy.refusedAuthorization == Policy::OnFailure::Stall) {
        stall();
        return;
    }
    abandon(Ending::AuthorizationRefused, refusalText(status));
}

void LVProductBatch::runUninstall()
{
    QList<LVProductOperation*> running;
    for (qsizetype index = 0; index < _items.size(); ++index) {
        LVProductOperation* operation = _items.at(index).operation;
        if (operation && operation->phase() == LVProductOperation::Phase::Idle && !operation->isHeld()) {
            operation->setHolder(this);
            running.append(operation);
        } else {
            running.append(nullptr);
            setState(index, State::UninstallFailed, QStringLiteral("The product is busy."));
        }
    }
    _backgroundRunning = true;
    QPointer<LVProductBatch> guard(this);
    const Policy policy = _policy;
    VMDispatch::performInBackground([guard, policy, running] {
        int status = PrivilegedExecution::Success;
        QList<bool> started(running.size(), false);
        {
            const std::shared_ptr<LVAdminAuthorization> authorization =
                authorizationFor(policy, LVUninstaller::defaultAuthorizationFlags());
            status = authorization->status();
            if (authorization->isGranted()) {
                for (qsizetype index = 0; index < running.size(); ++index) {
                    if (running.at(index))
                        started[index] =
                            running.at(index)->runUninstallSynchronously(authorization->authorizationRef());
                }
            }
        }
        VMDispatch::performOnMainThread([guard, status, started] {
            if (!guard)
                return;
            guard->_backgroundRunning = false;
            if (status != PrivilegedExecution::Success) {
                guard->refused(status);
                return;
            }
            for (qsizetype index = 0; index < started.size(); ++index) {
                Entry& entry = guard->_items[index];
                if (entry.state != State::WaitingForUninstall)
                    continue;
                if (!started.at(index))
                    guard->setState(index, State::UninstallFailed,
                                    QStringLiteral("The uninstall scripts could not be downloaded."));
                else if (entry.operation && entry.operation->isUninstalling())
                    guard->setState(index, State::Uninstalling);
                else
                    // Its uninstallers have ended already.
                    guard->setState(index, State::Uninstalled);
            }
            guard->endIfDone();
        });
    });
}

bool LVProductBatch::fetchTotalUninstallScript()
{
    LVFetch* fetch = LVFetch::data(_policy.script, this, [this](const LVFetch::Result& result) {
        if (!result.succeeded) {
            emit scriptStepChanged(ScriptStep::DownloadFailed);
            stall();
            return;
        }
        emit scriptStepChanged(ScriptStep::Downloaded);
        if (!result.data.isNull())
            VMDispatch::performOnMainThread(this, [this, script = result.data] { runTotalUninstall(script); });
    });
    if (!fetch)
        return false;
    connect(fetch, &LVFetch::started, this, [this] { emit scriptStepChanged(ScriptStep::DownloadStarted); });
    return true;
}

void LVProductBatch::runTotalUninstall(const QByteArray& script)
{
    // The script removes whatever it finds; a product busy with other work is left to it.
    for (qsizetype index = 0; index < _items.size(); ++index) {
        LVProductOperation* operation = _items.at(index).operation;
        if (operation && operation->phase() == LVProductOperation::Phase::Idle && !operation->isHeld())
            operation->setHolder(this);
        setState(index, State::Uninstalling);
    }
    auto* scriptRun = new LVScriptRun(this);
    connect(scriptRun, &LVScriptRun::started, this, [this] { emit scriptStepChanged(ScriptStep::UninstallStarted); });
    connect(scriptRun, &LVScriptRun::ended, this, [this, scriptRun](bool succeeded) {
        scriptRun->deleteLater();
        endTotalUninstall(succeeded);
    });
    _backgroundRunning = true;
    QPointer<LVProductBatch> guard(this);
    QPointer<LVScriptRun> run(scriptRun);
    const Policy policy = _policy;
    VMDispatch::performInBackground([guard, run, policy, script] {
        const std::shared_ptr<LVAdminAuthorization> authorization =
            authorizationFor(policy, LVUninstaller::defaultAuthorizationFlags());
        const int status = authorization->status();
        const bool ran = authorization->isGranted() && run && run->run(script, authorization->authorizationRef());
        if (ran)
            return;
        VMDispatch::performOnMainThread([guard, status] {
            if (!guard)
                return;
            if (status != PrivilegedExecution::Success) {
                guard->_backgroundRunning = false;
                guard->refused(status);
            } else {
                guard->endTotalUninstall(false);
            }
        });
    });
}

void LVProductBatch::endTotalUninstall(bool succeeded)
{
    _backgroundRunning = false;
    for (qsizetype index = 0; index < _items.size(); ++index) {
        if (LVProductOperation* operation = _items.at(index).operation)
            operation->detectInstalledVersion();
        setState(index, succeeded ? State::Uninstalled : State::UninstallFailed);
    }
    emit scriptStepChanged(succeeded ? ScriptStep::UninstallCompleted : ScriptStep::UninstallFailed);
    endIfDone();
}

void LVProductBatch::cancel()
{
    if (_ended || _backgroundRunning)
        return;
    abandon(Ending::Cancelled);
}

void LVProductBatch::abandon(Ending ending, const QString& detail)
{
    // First, so that the failures the cancelled downloads report change nothing.
    _ended = true;
    for (qsizetype index = 0; index < _items.size(); ++index) {
        Entry& entry = _items[index];
        if (isFinal(entry.state) || entry.joined)
            continue;
        if (entry.operation)
            entry.operation->cleanUp();
        if (entry.state == State::Downloading || entry.state == State::WaitingForDownload)
            setState(index, State::DownloadFailed, detail);
        else if (entry.state == State::WaitingForUninstall || entry.state == State::Uninstalling)
            setState(index, State::UninstallFailed, detail);
        else
            setState(index, State::InstallFailed, detail);
    }
    emit ended(ending);
}

void LVProductBatch::endIfDone()
{
    if (_ended || _stalled || _backgroundRunning)
        return;
    for (const Entry& entry : std::as_const(_items)) {
        if (!isFinal(entry.state))
            return;
    }
    _ended = true;
    emit ended(Ending::Completed);
}
