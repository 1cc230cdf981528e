#include "cli/LVHeadlessSession.h"

#include "catalogue/VMInstalledVersions.h"
#include "engines/LVProductBatch.h"
#include "engines/LVProductOperation.h"

#include <QEventLoop>

namespace {
// Runs the event loop until the run has ended.
void runToTheEnd(LVProductBatch& run)
{
    QEventLoop loop;
    QObject::connect(&run, &LVProductBatch::ended, &loop, &QEventLoop::quit);
    run.start();
    if (!run.hasEnded())
        loop.exec();
}
} // namespace

LVHeadlessSession::LVHeadlessSession(QObject* parent) : QObject(parent) {}

LVHeadlessSession::~LVHeadlessSession() = default;

QString LVHeadlessSession::detectInstalledVersion(const VMSingleProductItem& product)
{
    VMInstalledVersions::clearBundleIdentifierCache();
    return product.checkInstalledPluginVersion();
}

QList<LVHeadlessSession::Result> LVHeadlessSession::install(const QList<Target>& targets)
{
    QList<LVProductBatch::Item> items;
    for (const Target& target : targets)
        items.append({target.product, target.version, QString()});
    LVProductBatch::Policy policy;
    // Every product gets its own result: a failed download leaves the others to go on.
    policy.downloadFailure = LVProductBatch::Policy::OnFailure::GoOn;
    policy.authorizesOnlyWhenNeeded = true;
    // Ours to judge: the version asked for found installed is a success, whatever the words.
    policy.judgesByOutcome = true;
    policy.authorization = _authorization;
    policy.holderTitle = QStringLiteral("the command line");
    LVProductBatch run(LVProductBatch::Kind::Install, items, policy);
    if (_progress) {
        connect(&run, &LVProductBatch::progressChanged, this, [this, &run] {
            const qsizetype index = run.downloadingIndex();
            LVProductOperation* operation = index >= 0 ? run.operation(index) : nullptr;
            if (!operation || !operation->isDownloading())
                return;
            const qint64 expected = operation->expectedBytes();
            const QString percent =
                expected > 0 ? QStringLiteral("%1% — ").arg(operation->receivedBytes() * 100 / expected) : QString();
            _progress(*operation->productItem(), percent + operation->progressDescription());
        });
    }
    runToTheEnd(run);

    QList<Result> results;
    for (qsizetype index = 0; index < run.count(); ++index) {
        const Target& target = targets.at(index);
        Result result{target.product->productID(),
                      target.product->title(),
                      QStringLiteral("install"),
                      QStringLiteral("failed"),
                      target.version ? target.version->productVersion() : QString(),
                      run.detail(index)};
        if (run.state(index) == LVProductBatch::State::Installed) {
            const QString installed = detectInstalledVersion(*target.product);
            result.outcome = QStringLiteral("succeeded");
            result.detail.clear();
            if (installed.isNull())
                result.detail = QStringLiteral("Installed, but no installed version is detected.");
            else
                result.version = installed;
        }
        results.append(result);
    }
    return results;
}

QList<LVHeadlessSession::Result> LVHeadlessSession::uninstall(const QList<VMSingleProductItemPtr>& products)
{
    QList<Result> results;
    QList<LVProductBatch::Item> items;
    QList<qsizetype> itemResults;
    for (const VMSingleProductItemPtr& product : products) {
        Result result{product->productID(),
                      product->title(),
                      QStringLiteral("uninstall"),
                      QString(),
                      detectInstalledVersion(*product),
                      QString()};
        if (LVProductOperation::uninstallScriptURLs(*product).isEmpty()) {
            result.outcome = QStringLiteral("failed");
            result.detail = QStringLiteral("The catalogue names no uninstall script for this product.");
        } else if (result.version.isNull()) {
            result.outcome = QStringLiteral("skipped");
            result.detail = QStringLiteral("Not installed.");
        } else {
            items.append({product, nullptr, QString()});
            itemResults.append(results.size());
        }
        results.append(result);
    }
    if (items.isEmpty())
        return results;

    LVProductBatch::Policy policy;
    policy.authorization = _authorization;
    policy.holderTitle = QStringLiteral("the command line");
    LVProductBatch run(LVProductBatch::Kind::Uninstall, items, policy);
    runToTheEnd(run);
    for (qsizetype index = 0; index < run.count(); ++index) {
        Result& result = results[itemResults.at(index)];
        const QString remaining = detectInstalledVersion(*run.item(index).product);
        if (run.state(index) != LVProductBatch::State::Uninstalled) {
            result.outcome = QStringLiteral("failed");
            result.detail = run.detail(index);
        } else if (!remaining.isNull()) {
            result.outcome = QStringLiteral("failed");
            result.detail = QStringLiteral("The scripts ran, but version %1 is still detected.").arg(remaining);
        } else {
            result.outcome = QStringLiteral("succeeded");
        }
    }
    return results;
}
