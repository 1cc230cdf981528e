#include "LVProductOperations.h"

#include "engines/LVProductOperation.h"

#include <QCoreApplication>

LVProductOperations::LVProductOperations(QObject* parent) : QObject(parent) {}

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
    else if (operation->productItem() != product)
        operation->setProductItem(product);
    return operation;
}

LVProductOperation* LVProductOperations::existingOperation(const QString& productID) const
{
    return _operations.value(productID);
}

bool LVProductOperations::isBusy(const QString& productID) const
{
    const LVProductOperation* operation = existingOperation(productID);
    return operation && operation->phase() != LVProductOperation::Phase::Idle;
}

bool LVProductOperations::isIdle() const
{
    for (const QPointer<LVProductOperation>& operation : _operations) {
        if (operation && operation->phase() != LVProductOperation::Phase::Idle)
            return false;
    }
    for (const QPointer<LVProductBatch>& run : _batches) {
        if (run && !run->hasEnded())
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
