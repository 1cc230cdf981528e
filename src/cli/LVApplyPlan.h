#pragma once

#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"

#include <QList>
#include <QString>
#include <QVariantMap>
#include <functional>

// What makes this machine look like a desired-state file says: for every product the file names
// (directly, through its bundle or through its plug-in's bundle identifier), the version it must
// have ("latest", a version) or "absent", set against what is installed.
class LVApplyPlan
{
public:
    enum class Action { None, Install, Update, Downgrade, Uninstall };
    struct Step
    {
        VMSingleProductItemPtr product;
        QString wanted;           // "latest", "absent" or the version the file names
        QString installedVersion; // null when not installed
        VMVersionItemPtr target;  // the version to install; null for None and Uninstall
        Action action = Action::None;
    };
    using VersionDetector = std::function<QString(const VMSingleProductItem&)>;

    LVApplyPlan() = delete;

    // The largest desired-state file read.
    static constexpr qint64 maximumFileSize = 1024 * 1024;

    // A regular file of at most maximumFileSize bytes holding a JSON object (each key once) or a
    // property-list dictionary (XML or binary). Empty map and `error` set (naming the file and,
    // where there is one, the key) otherwise.
    static QVariantMap readFile(const QString& path, QString* error);
    // The same, from the file's bytes; `name` names it in errors.
    static QVariantMap readData(const QByteArray& data, const QString& name, QString* error);
    // The product's version whose version string is exactly `version`; null when none is.
    static VMVersionItemPtr exactVersion(const VMSingleProductItem& product, const QString& version);
    // A key or value as errors show it: short enough for a terminal line.
    static QString shown(const QString& text);
    // One step per product named, in catalogue order. An ID, version or value the catalogue does
    // not know gives no steps and `error` says which.
    static QList<Step> make(const QVariantMap& desired, const VMProductsCollection& collection,
                            const VersionDetector& installed, QString* error);
    // "none", "install", "update", "downgrade", "uninstall".
    static QString actionName(Action action);
};
