#include "cli/LVHeadlessSession.h"

#include "catalogue/VMInstalledVersions.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "engines/LVProductOperation.h"
#include "engines/LVUninstaller.h"
#include "foundation/VMDispatch.h"

#include <QEventLoop>
#include <QPointer>
#include <memory>

namespace {

// Hears one operation's engine callbacks and remembers how its current step ended.
class StepWaiter : public QObject, public LVDownloaderDelegate, public LVInstallerDelegate, public LVUninstallerDelegate
{
    Q_OBJECT
public:
    void begin()
    {
        _ended = false;
        _failed = false;
        _detail.clear();
    }
    bool failed() const { return _failed; }
    QString detail() const { return _detail; }
    // Runs the event loop until the step has ended.
    void wait()
    {
        if (_ended)
            return;
        QEventLoop loop;
        connect(this, &StepWaiter::ended, &loop, &QEventLoop::quit);
        loop.exec();
    }
    void end(bool failed, const QString& detail = QString())
    {
        _failed = _failed || failed;
        if (_detail.isEmpty())
            _detail = detail;
        _ended = true;
        emit ended();
    }

    void downloadCompleted(LVDownloader* downloader) override
    {
        if (downloader->identifier() == LVProductOperation::installerDownload)
            end(false);
    }
    void downloadFailed(LVDownloader* downloader) override
    {
        if (downloader->identifier() == LVProductOperation::uninstallScriptDownload)
            end(true, QStringLiteral("An uninstall script could not be downloaded: %1")
                          .arg(downloader->error().description()));
        else
            end(true, downloader->error().description());
    }
    void installCompleted(LVInstaller*) override { end(false); }
    void installFailed(LVInstaller* installer) override { end(true, installer->error().description()); }
    // An uninstall may run one uninstaller per script; the operation's return to idle ends it.
    void uninstallFailed(LVUninstaller* uninstaller) override
    {
        _failed = true;
        if (_detail.isEmpty())
            _detail = uninstaller->error().description();
    }

signals:
    void ended();

private:
    bool _ended = false;
    bool _failed = false;
    QString _detail;
};

struct Job
{
    LVHeadlessSession::Target target;
    std::unique_ptr<LVProductOperation> operation;
    std::unique_ptr<StepWaiter> waiter;
    LVHeadlessSession::Result result;
};

QString authorizationText(int status)
{
    return status == PrivilegedExecution::Canceled
               ? QStringLiteral("Administrator rights were not granted (cancelled).")
               : QStringLiteral("Administrator rights were not granted (%1).").arg(status);
}

// Runs `work` on a background thread and keeps the event loop turning until it has returned.
void runInBackgroundAndWait(const std::function<void()>& work)
{
    QEventLoop loop;
    QPointer<QEventLoop> guard(&loop);
    bool done = false;
    VMDispatch::performInBackground([&work, &done, guard] {
        work();
        VMDispatch::performOnMainThread([&done, guard] {
            done = true;
            if (guard)
                guard->quit();
        });
    });
    if (!done)
        loop.exec();
}

} // namespace

LVHeadlessSession::LVHeadlessSession(QObject* parent) : QObject(parent) {}

LVHeadlessSession::~LVHeadlessSession() = default;

QList<VMSingleProductItemPtr> LVHeadlessSession::bundleMembers(const VMBundleProductItem& bundle,
                                                               const VMProductsCollection& collection)
{
    QList<VMSingleProductItemPtr> members;
    const QStringList ids = bundle.bundleIncludedProductIDs().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const VMProductItemPtr& item : collection.productItemsWithProductIDs(ids)) {
        if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(item))
            members.append(single);
    }
    return members;
}

QString LVHeadlessSession::detectInstalledVersion(const VMSingleProductItem& product)
{
    VMInstalledVersions::clearBundleIdentifierCache();
    return product.checkInstalledPluginVersion();
}

QList<LVHeadlessSession::Result> LVHeadlessSession::install(const QList<Target>& targets)
{
    std::vector<std::unique_ptr<Job>> jobs;
    for (const Target& target : targets) {
        auto job = std::make_unique<Job>();
        job->target = target;
        job->operation = std::make_unique<LVProductOperation>(target.product);
        // Ours to judge: the version asked for found installed is a success, whatever the words.
        job->operation->setJudgesByOutcome(true);
        job->waiter = std::make_unique<StepWaiter>();
        job->operation->setDelegate(job->waiter.get());
        job->result = {target.product->productID(),
                       target.product->title(),
                       QStringLiteral("install"),
                       QString(),
                       target.version ? target.version->productVersion() : QString(),
                       QString()};
        jobs.push_back(std::move(job));
    }

    // Downloads, one at a time.
    bool needsAdministrator = false;
    for (const auto& job : jobs) {
        LVProductOperation* operation = job->operation.get();
        QMetaObject::Connection progress;
        if (_progress) {
            progress = connect(operation, &LVProductOperation::progressChanged, this, [this, operation] {
                if (!operation->isDownloading())
                    return;
                const qint64 expected = operation->expectedBytes();
                const QString percent = expected > 0
                                            ? QStringLiteral("%1% — ").arg(operation->receivedBytes() * 100 / expected)
                                            : QString();
                _progress(*operation->productItem(), percent + operation->progressDescription());
            });
        }
        job->waiter->begin();
        if (!operation->startDownload(job->target.version)) {
            job->result.outcome = QStringLiteral("failed");
            job->result.detail =
                QStringLiteral("The installer could not be downloaded: the version has no download URL.");
            continue;
        }
        job->waiter->wait();
        disconnect(progress);
        if (job->waiter->failed()) {
            job->result.outcome = QStringLiteral("failed");
            job->result.detail = job->waiter->detail();
        } else if (operation->installerSettings()
                       .value(QLatin1String(LVInstaller::requiresAuthenticationKey))
                       .toBool()) {
            needsAdministrator = true;
        }
    }

    // Installations, in order, under one authorization when any of them needs one.
    std::vector<Job*> ready;
    for (const auto& job : jobs) {
        if (job->result.outcome.isEmpty())
            ready.push_back(job.get());
    }
    if (!ready.empty()) {
        int authorizationStatus = PrivilegedExecution::Success;
        for (Job* job : ready)
            job->waiter->begin();
        runInBackgroundAndWait([&] {
            std::shared_ptr<LVAdminAuthorization> authorization;
            if (needsAdministrator) {
                authorization = _authorization
                                    ? _authorization
                                    : std::make_shared<LVAdminAuthorization>(LVInstaller::defaultAuthorizationFlags());
                authorizationStatus = authorization->status();
                if (!authorization->isGranted())
                    return;
            }
            for (Job* job : ready)
                job->operation->install(authorization ? authorization->authorizationRef() : nullptr,
                                        LVProductOperation::Execution::Synchronous);
        });
        for (Job* job : ready) {
            if (authorizationStatus != PrivilegedExecution::Success) {
                job->operation->cleanUp();
                job->result.outcome = QStringLiteral("failed");
                job->result.detail = authorizationText(authorizationStatus);
                continue;
            }
            job->waiter->wait();
            if (job->waiter->failed()) {
                job->result.outcome = QStringLiteral("failed");
                job->result.detail = job->waiter->detail();
                continue;
            }
            job->operation->beginConfirmation(job->target.version);
            job->operation->announceInstallation();
            const QString installed = detectInstalledVersion(*job->target.product);
            job->result.outcome = QStringLiteral("succeeded");
            if (installed.isNull())
                job->result.detail = QStringLiteral("Installed, but no installed version is detected.");
            else
                job->result.version = installed;
        }
    }

    QList<Result> results;
    for (const auto& job : jobs)
        results.append(job->result);
    return results;
}

QList<LVHeadlessSession::Result> LVHeadlessSession::uninstall(const QList<VMSingleProductItemPtr>& products)
{
    std::vector<std::unique_ptr<Job>> jobs;
    for (const VMSingleProductItemPtr& product : products) {
        auto job = std::make_unique<Job>();
        job->target = {product, nullptr};
        job->operation = std::make_unique<LVProductOperation>(product);
        job->waiter = std::make_unique<StepWaiter>();
        job->operation->setDelegate(job->waiter.get());
        job->result = {product->productID(),
                       product->title(),
                       QStringLiteral("uninstall"),
                       QString(),
                       detectInstalledVersion(*product),
                       QString()};
        if (LVProductOperation::uninstallScriptURLs(*product).isEmpty()) {
            job->result.outcome = QStringLiteral("failed");
            job->result.detail = QStringLiteral("The catalogue names no uninstall script for this product.");
        } else if (job->result.version.isNull()) {
            job->result.outcome = QStringLiteral("skipped");
            job->result.detail = QStringLiteral("Not installed.");
        }
        jobs.push_back(std::move(job));
    }

    std::vector<Job*> pending;
    for (const auto& job : jobs) {
        if (job->result.outcome.isEmpty())
            pending.push_back(job.get());
    }
    if (pending.empty())
        return [&] {
            QList<Result> results;
            for (const auto& job : jobs)
                results.append(job->result);
            return results;
        }();

    int authorizationStatus = PrivilegedExecution::Success;
    QList<bool> started(static_cast<qsizetype>(pending.size()), false);
    runInBackgroundAndWait([&] {
        const std::shared_ptr<LVAdminAuthorization> authorization =
            _authorization ? _authorization
                           : std::make_shared<LVAdminAuthorization>(LVUninstaller::defaultAuthorizationFlags());
        authorizationStatus = authorization->status();
        if (!authorization->isGranted())
            return;
        for (size_t i = 0; i < pending.size(); ++i) {
            pending[i]->waiter->begin();
            started[static_cast<qsizetype>(i)] =
                pending[i]->operation->runUninstallSynchronously(authorization->authorizationRef());
        }
    });
    for (size_t i = 0; i < pending.size(); ++i) {
        Job* job = pending[i];
        if (authorizationStatus != PrivilegedExecution::Success) {
            job->result.outcome = QStringLiteral("failed");
            job->result.detail = authorizationText(authorizationStatus);
            continue;
        }
        if (!started[static_cast<qsizetype>(i)]) {
            job->result.outcome = QStringLiteral("failed");
            job->result.detail = QStringLiteral("The uninstall scripts could not be downloaded.");
            continue;
        }
        // The runners report on the main thread after their run; the operation returns to idle
        // after the last one.
        LVProductOperation* operation = job->operation.get();
        if (operation->phase() == LVProductOperation::Phase::Uninstalling || operation->uninstaller()) {
            QEventLoop loop;
            connect(operation, &LVProductOperation::phaseChanged, &loop, [&loop](LVProductOperation::Phase phase) {
                if (phase != LVProductOperation::Phase::Uninstalling)
                    loop.quit();
            });
            loop.exec();
        }
        const QString remaining = detectInstalledVersion(*job->target.product);
        if (job->waiter->failed()) {
            job->result.outcome = QStringLiteral("failed");
            job->result.detail = job->waiter->detail();
        } else if (!remaining.isNull()) {
            job->result.outcome = QStringLiteral("failed");
            job->result.detail = QStringLiteral("The scripts ran, but version %1 is still detected.").arg(remaining);
        } else {
            job->result.outcome = QStringLiteral("succeeded");
        }
    }
    QList<Result> results;
    for (const auto& job : jobs)
        results.append(job->result);
    return results;
}

#include "LVHeadlessSession.moc"
