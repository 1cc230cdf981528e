#include "LVProductOperations.h"

#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMProductEvents.h"
#include "catalogue/VMVersionItem.h"
#include "engines/LVProductOperation.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMNotificationCenter.h"

#include <QCoreApplication>
#include <algorithm>
#include <utility>

LVProductOperations::LVProductOperations(QObject* parent) : QObject(parent)
{
    // Made before any row observes: the rows hear an announcement after the model has taken it.
    VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
    center.addObserver(this, VMProductEvents::installCompleted,
                       [this](const VMNotification& notification) { installAnnounced(notification.object); });
    center.addObserver(this, VMProductEvents::uninstallCompleted,
                       [this](const VMNotification& notification) { uninstallAnnounced(notification.object); });
}

void LVProductOperations::installAnnounced(const QVariant& object)
{
    const std::shared_ptr<VMProductItem> announced = VMProductEvents::productOf(object);
    if (!announced)
        return;
    bool cacheCleared = false;
    // A copy: the rows that hear the new versions may ask for operations meanwhile.
    const auto operations = _operations;
    for (const QPointer<LVProductOperation>& operation : operations) {
        const VMSingleProductItemPtr product = operation ? operation->productItem() : nullptr;
        if (!product)
            continue;
        const bool same = product->productID() == announced->productID();
        // A product built from the same installer shares the announced plug-in.
        const bool sharing = !announced->productIdentifier().isNull() &&
                             product->allProductIdentifiers().contains(announced->productIdentifier());
        if (!same && !sharing)
            continue;
        // A version just confirmed for the product is taken as it is; otherwise it is looked up.
        const QVariant confirmed = product->propertyForKey(VMProductEvents::temporaryVersionKey);
        if (confirmed.isValid() && !confirmed.isNull()) {
            operation->setInstalledVersion(confirmed.toString());
            continue;
        }
        if (!std::exchange(cacheCleared, true))
            VMInstalledVersions::clearBundleIdentifierCache();
        operation->detectInstalledVersion();
    }
}

void LVProductOperations::uninstallAnnounced(const QVariant& object)
{
    const std::shared_ptr<VMProductItem> announced = VMProductEvents::productOf(object);
    if (!announced)
        return;
    VMInstalledVersions::clearBundleIdentifierCache();
    // A copy: the rows that hear the new versions may ask for operations meanwhile.
    const auto operations = _operations;
    for (const QPointer<LVProductOperation>& operation : operations) {
        const VMSingleProductItemPtr product = operation ? operation->productItem() : nullptr;
        if (product && (product->productID() == announced->productID() ||
                        (!announced->productIdentifier().isNull() &&
                         product->allProductIdentifiers().contains(announced->productIdentifier()))))
            operation->detectInstalledVersion();
    }
}

LVProductBatch* LVProductOperations::startUpdateAll(const QList<VMSingleProductItemPtr>& products,
                                                    const QString& holderTitle)
{
    QList<LVProductBatch::Item> items;
    for (const qsizetype index : updatesToInstall(products)) {
        const VMSingleProductItemPtr& product = products.at(index);
        const QString installer = product->latestVersionInstallerURL();
        // The version is known only when the installer is the latest version's own.
        const VMVersionItemPtr latest = product->latestVersionItem();
        items.append({product, latest && latest->versionDownloadURL() == installer ? latest : nullptr, installer});
    }
    if (items.isEmpty() || batch(QLatin1String(updateAllRun)))
        return nullptr;
    LVProductBatch::Policy policy;
    policy.downloadFailure = LVProductBatch::Policy::OnFailure::Stall;
    policy.refusedAuthorization = LVProductBatch::Policy::OnFailure::Stall;
    policy.installsAsAdministrator = true;
    policy.secondsBetweenInstallations = 2.0;
    // Every entry is confirmed when the whole run has ended.
    policy.secondsBeforeAnnouncement = -1.0;
    policy.createFailureLog = LVAdminAuthorization::CreateFailureLog::ExtendedLoggingOnly;
    policy.holderTitle = holderTitle;
    LVProductBatch* run = makeBatch(QLatin1String(updateAllRun), LVProductBatch::Kind::Install, items, policy);
    connect(run, &LVProductBatch::ended, this, [this, items] {
        // After every observer of the ending, the summary's alert included.
        VMDispatch::performOnMainThread(this, [this, items] {
            VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
            for (const LVProductBatch::Item& item : items) {
                // Looked up, not asked for: a catalogue refreshed meanwhile keeps its newer record.
                QObject* operation = _operations.value(item.product->productID());
                center.postNotification(VMProductEvents::reloadUpdateItem, QVariant::fromValue(operation));
                center.postNotification(VMProductEvents::installCompleted, QVariant::fromValue(item.product));
            }
        });
    });
    emit batchMade(QLatin1String(updateAllRun), run);
    run->start();
    return run;
}

LVProductOperations& LVProductOperations::shared()
{
    static QPointer<LVProductOperations> instance;
    if (!instance)
        instance = new LVProductOperations(QCoreApplication::instance());
    return *instance;
}

LVProductOperation* LVProductOperations::operationForProduct(const VMSingleProductItemPtr& product)
{
    if (!product)
        return nullptr;
    QPointer<LVProductOperation>& operation = _operations[product->productID()];
    if (!operation)
        operation = new LVProductOperation(product, this);
    else if (operation->productItem() != product) {
        operation->setProductItem(product);
        // A refreshed catalogue looks again at what is installed, unless work on it is under way.
        if (operation->phase() == LVProductOperation::Phase::Idle && !operation->isHeld())
            operation->detectInstalledVersion();
    }
    return operation;
}

QList<qsizetype> LVProductOperations::updatesToInstall(const QList<VMSingleProductItemPtr>& products)
{
    QList<VMInstallStatus::UpdateCandidate> candidates;
    for (const VMSingleProductItemPtr& product : products) {
        LVProductOperation* operation = operationForProduct(product);
        candidates.append({VMInstallStatus::singleProductStatus(*product, operation->installedVersion()),
                           product->latestVersionInstallerURL()});
    }
    return VMInstallStatus::updatesToInstall(candidates);
}

bool LVProductOperations::isAnyInstalled(const QList<VMSingleProductItemPtr>& products)
{
    return std::any_of(products.begin(), products.end(), [this](const VMSingleProductItemPtr& product) {
        return !operationForProduct(product)->installedVersion().isEmpty();
    });
}

bool LVProductOperations::isIdle() const
{
    for (const QPointer<LVProductOperation>& operation : _operations) {
        if (operation && (operation->phase() != LVProductOperation::Phase::Idle || operation->manualDownloader()))
            return false;
    }
    for (const QPointer<LVProductBatch>& run : _batches) {
        if (run && !run->hasEnded() && !run->isStalled())
            return false;
    }
    return true;
}

LVProductOperation* LVProductOperations::install(const VMSingleProductItemPtr& product, const VMVersionItemPtr& version)
{
    LVProductOperation* operation = operationForProduct(product);
    return operation && operation->requestInstallation(version) ? operation : nullptr;
}

LVProductOperation* LVProductOperations::uninstall(const VMSingleProductItemPtr& product, const QStringList& scriptURLs)
{
    LVProductOperation* operation = operationForProduct(product);
    // A run holds the product: its row may not take it away meanwhile.
    if (operation && operation->isHeld())
        return nullptr;
    return operation && operation->requestUninstallation(scriptURLs) ? operation : nullptr;
}

LVProductBatch* LVProductOperations::makeBatch(const QString& key, LVProductBatch::Kind kind,
                                               const QList<LVProductBatch::Item>& items,
                                               const LVProductBatch::Policy& policy)
{
    if (batch(key))
        return nullptr;
    auto* made = new LVProductBatch(kind, items, policy, this);
    // Its observers hear the ending first; it goes once they have returned.
    connect(made, &LVProductBatch::ended, made, &QObject::deleteLater, Qt::QueuedConnection);
    _batches.insert(key, made);
    return made;
}

LVProductBatch* LVProductOperations::batch(const QString& key) const
{
    LVProductBatch* running = _batches.value(key);
    return running && !running->hasEnded() ? running : nullptr;
}
