#pragma once

#include "catalogue/VMSingleProductItem.h"

#include <QList>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>

class LVAdminAuthorization;

// Installs and uninstalls products without a window, as one run (LVProductBatch) of the same
// per-product operations the rows use, and reports per product: every download first (one at a
// time), then every installation under one administrator authorization; uninstalls likewise.
class LVHeadlessSession : public QObject
{
    Q_OBJECT
public:
    struct Target
    {
        VMSingleProductItemPtr product;
        VMVersionItemPtr version; // the version to install; null for an uninstall
    };
    struct Result
    {
        QString productID;
        QString title;
        QString action;  // "install", "uninstall"
        QString outcome; // "succeeded", "failed", "skipped"
        QString version; // installed afterwards (install) or removed (uninstall)
        QString detail;
    };
    // Called while a download runs: the product and "45% — 12.4 of 80.0 MB — ...".
    using ProgressHandler = std::function<void(const VMSingleProductItem&, const QString&)>;

    explicit LVHeadlessSession(QObject* parent = nullptr);
    ~LVHeadlessSession() override;

    void setProgressHandler(ProgressHandler handler) { _progress = std::move(handler); }
    // Every later install and uninstall runs under this authorization, held by the caller for a
    // whole run, instead of acquiring one of its own.
    void setAuthorization(std::shared_ptr<LVAdminAuthorization> authorization)
    {
        _authorization = std::move(authorization);
    }

    QList<Result> install(const QList<Target>& targets);
    QList<Result> uninstall(const QList<VMSingleProductItemPtr>& products);

    // The installed version as detected now, after dropping what detection had cached.
    static QString detectInstalledVersion(const VMSingleProductItem& product);

private:
    ProgressHandler _progress;
    std::shared_ptr<LVAdminAuthorization> _authorization;
};
