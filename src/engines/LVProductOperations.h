#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "engines/LVProductBatch.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QStringList>

class LVProductOperation;

// The application's product model: one operation per product ID, living as long as the
// application, with the product's state (installed version, work under way, the run holding it).
// Rows, tools and the command line ask it for work and observe a product's operation by its
// signals; a row made by a catalogue refresh finds the operation that is running for its product,
// and a row that goes away only stops observing. The installed versions follow the announcements:
// a confirmed version ("temporaryVersionStr") is taken as it is, anything else is looked up again,
// so that every view reads the same value after any kind of run.
class LVProductOperations : public QObject
{
    Q_OBJECT
public:
    // The one owner, a child of the application object.
    static LVProductOperations& shared();

    // The product's operation, made on first request. A newer record of the same product (a
    // refreshed catalogue) becomes the operation's record, so the confirmation reaches it.
    LVProductOperation* operationForProduct(const VMSingleProductItemPtr& product);
    // No product is busy and no run is under way (a stalled run waits for nothing).
    bool isIdle() const;
    // What needs an update, for "update all", --check and --update-all alike: the indexes of the
    // products installed and not at their latest by what the model has detected, once per installer
    // (products sharing an installer update once), in the given order.
    QList<qsizetype> updatesToInstall(const QList<VMSingleProductItemPtr>& products);
    // Whether the model has detected an installed version of any of `products`.
    bool isAnyInstalled(const QList<VMSingleProductItemPtr>& products);

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

    // The update-all run, under the key `updateAllRun`: updatesToInstall() of `products`, every
    // download one after another, then every installation as administrator, 2.0 s apart; a failed
    // download or a refused password stalls it. Once it has ended, after its observers, each entry
    // is confirmed with "reloadLVUpdateItem" (the product's operation as sender), then
    // "productInstallCompleted" with the product, and nothing else (no temporary version, no
    // plug-in registration, no wrapper launch); the model looks the versions up again. Null when
    // nothing needs an update or such a run is under way; a run whose first download cannot start
    // is returned stalled.
    static constexpr const char* updateAllRun = "update-all";
    LVProductBatch* startUpdateAll(const QList<VMSingleProductItemPtr>& products, const QString& holderTitle);

signals:
    // A run was made under `key`, before it starts: its observers connect here.
    void batchMade(const QString& key, LVProductBatch* batch);

private:
    explicit LVProductOperations(QObject* parent);
    void installAnnounced(const QVariant& object);
    void uninstallAnnounced(const QVariant& object);

    QHash<QString, QPointer<LVProductOperation>> _operations;
    QHash<QString, QPointer<LVProductBatch>> _batches;
};
