#pragma once

#include "catalogue/VMSingleProductItem.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QStringList>

class LVProductOperation;

// The application's operations on products, one per product ID, living as long as the
// application. Rows, tools and the command line ask it for work and observe a product's operation
// by its signals; a row made by a catalogue refresh finds the operation that is running for its
// product, and a row that goes away only stops observing.
class LVProductOperations : public QObject
{
    Q_OBJECT
public:
    // The one owner, a child of the application object.
    static LVProductOperations& shared();

    // The product's operation, made on first request. A newer record of the same product (a
    // refreshed catalogue) becomes the operation's record, so the confirmation reaches it.
    LVProductOperation* operationForProduct(const VMSingleProductItemPtr& product);
    // Null when the product has no operation yet.
    LVProductOperation* existingOperation(const QString& productID) const;
    // Whether the product downloads, installs or uninstalls right now.
    bool isBusy(const QString& productID) const;

    // Download -> install -> confirm of `version`, whoever observes it. A request for a product
    // that is already downloading or installing joins that run. Null when the product is being
    // uninstalled or the download cannot start.
    LVProductOperation* install(const VMSingleProductItemPtr& product, const VMVersionItemPtr& version);
    // Downloads the scripts and runs them under one authorization, then confirms. A request for
    // a product that is uninstalling joins; null when it is busy otherwise or nothing can start.
    LVProductOperation* uninstall(const VMSingleProductItemPtr& product, const QStringList& scriptURLs);

private:
    explicit LVProductOperations(QObject* parent);

    QHash<QString, QPointer<LVProductOperation>> _operations;
};
