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
