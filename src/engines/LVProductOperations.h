#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "engines/LVProductBatch.h"

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

    // No product is busy and no run is under way.
    bool isIdle() const;

    // Download -> install -> confirm of `version`, whoever observes it. A request for a product
    // that is already downloading or installing joins that run. Null when the product is being
    // uninstalled or the download cannot start.
    LVProductOperation* install(const VMSingleProductItemPtr& product, const VMVersionItemPtr& version);
    // Downloads the scripts and runs them under one authorization, then confirms. A request for
    // a product that is uninstalling joins; null when it is busy otherwise or nothing can start.
    LVProductOperation* uninstall(const VMSingleProductItemPtr& product, const QStringList& scriptURLs);

    // A run over several products, kept under `key` (a bundle's ID) until it ends so that a row
    // made by a refresh finds it. Not yet started: connect, then start(). Null while a run under
    // that key is under way.
    LVProductBatch* makeBatch(const QString& key, LVProductBatch::Kind kind, const QList<LVProductBatch::Item>& items,
                              const LVProductBatch::Policy& policy);
    // The run under way under `key`, or null.
    LVProductBatch* batch(const QString& key) const;

private:
    explicit LVProductOperations(QObject* parent);

    QHash<QString, QPointer<LVProductOperation>> _operations;
    QHash<QString, QPointer<LVProductBatch>> _batches;
};
