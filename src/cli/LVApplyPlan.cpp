#include "cli/LVApplyPlan.h"

#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMUtils.h"
#include "foundation/VMPropertyList.h"

#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString kLatest = QStringLiteral("latest");
const QString kAbsent = QStringLiteral("absent");

struct Wish
{
    QString value;
    QString source; // the file's key it came from
    bool direct = false;
};

} // namespace

QVariantMap LVApplyPlan::readFile(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Cannot read %1: %2").arg(path, file.errorString());
        return {};
    }
    const QByteArray data = file.readAll();
    QJsonParseError jsonError;
    const QJsonDocument json = QJsonDocument::fromJson(data, &jsonError);
    if (jsonError.error == QJsonParseError::NoError) {
        if (!json.isObject()) {
            *error = QStringLiteral("%1 must hold one object of product IDs.").arg(path);
            return {};
        }
        return json.object().toVariantMap();
    }
    const QVariant plist = VMPropertyList::fromData(data);
    if (plist.typeId() != QMetaType::QVariantMap) {
        *error = QStringLiteral("%1 is neither a JSON object nor a property-list dictionary.").arg(path);
        return {};
    }
    return plist.toMap();
}

QList<LVApplyPlan::Step> LVApplyPlan::make(const QVariantMap& desired, const VMProductsCollection& collection,
                                           const VersionDetector& installed, QString* error)
{
    QHash<QString, Wish> wishes; // by product ID
    for (auto it = desired.cbegin(); it != desired.cend(); ++it) {
        const QString& key = it.key();
        if (it.value().typeId() != QMetaType::QString || it.value().toString().trimmed().isEmpty()) {
            *error = QStringLiteral("'%1' must be \"latest\", \"absent\" or a version string.").arg(key);
            return {};
        }
        QString value = it.value().toString().trimmed();
        if (value.compare(kLatest, Qt::CaseInsensitive) == 0)
            value = kLatest;
        else if (value.compare(kAbsent, Qt::CaseInsensitive) == 0)
            value = kAbsent;

        QList<VMSingleProductItemPtr> products;
        bool direct = true;
        const QList<VMProductItemPtr> found = collection.productItemsWithProductIDs({key});
        if (!found.isEmpty()) {
            if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(found.first())) {
                products = {single};
            } else if (auto bundle = std::dynamic_pointer_cast<VMBundleProductItem>(found.first())) {
                if (value != kLatest && value != kAbsent) {
                    *error = QStringLiteral("A bundle has no versions to choose from: '%1' is \"%2\".").arg(key, value);
                    return {};
                }
                products = collection.bundleMembers(*bundle);
                direct = false;
            }
        } else {
            // A plug-in's bundle identifier names its product too.
            for (const VMProductItemPtr& item : collection.productItems()) {
                auto single = std::dynamic_pointer_cast<VMSingleProductItem>(item);
                if (single && single->allProductIdentifiers().contains(key)) {
                    products = {single};
                    break;
                }
            }
        }
        if (products.isEmpty()) {
            *error = QStringLiteral("No product or bundle with the ID '%1' in the catalogue.").arg(key);
            return {};
        }
        for (const VMSingleProductItemPtr& product : std::as_const(products)) {
            if (value != kLatest && value != kAbsent && !product->versionItemForVersionString(value)) {
                *error = QStringLiteral("'%1' has no version %2.").arg(product->productID(), value);
                return {};
            }
            const auto previous = wishes.constFind(product->productID());
            if (previous != wishes.cend() && previous->direct && !direct)
                continue; // what the file says of the product itself beats what it says of its bundle
            if (previous != wishes.cend() && previous->direct == direct && previous->value != value) {
                *error = QStringLiteral("'%1' and '%2' ask for different things of %3.")
                             .arg(previous->source, key, product->productID());
                return {};
            }
            wishes.insert(product->productID(), Wish{value, key, direct});
        }
    }

    QList<Step> steps;
    for (const VMProductItemPtr& item : collection.productItems()) {
        auto product = std::dynamic_pointer_cast<VMSingleProductItem>(item);
        if (!product || !wishes.contains(product->productID()))
            continue;
        Step step;
        step.product = product;
        step.wanted = wishes.value(product->productID()).value;
        step.installedVersion = installed(*product);
        const bool isInstalled = !step.installedVersion.isNull();
        if (step.wanted == kAbsent) {
            step.action = isInstalled ? Action::Uninstall : Action::None;
        } else {
            step.target = step.wanted == kLatest ? product->latestVersionItem()
                                                 : product->versionItemForVersionString(step.wanted);
            if (!step.target) {
                *error = QStringLiteral("'%1' has no version at all.").arg(product->productID());
                return {};
            }
            const int order =
                isInstalled ? VMUtils::compareVersion(step.installedVersion, step.target->productVersion()) : -1;
            if (!isInstalled)
                step.action = Action::Install;
            else if (order < 0)
                step.action = Action::Update;
            // "latest" is met by a newer version too; a pinned version only by itself.
            else if (order > 0 && step.wanted != kLatest)
                step.action = Action::Downgrade;
            if (step.action == Action::None)
                step.target = nullptr;
        }
        steps.append(step);
    }
    return steps;
}

QString LVApplyPlan::actionName(Action action)
{
    switch (action) {
    case Action::None:
        return QStringLiteral("none");
    case Action::Install:
        return QStringLiteral("install");
    case Action::Update:
        return QStringLiteral("update");
    case Action::Downgrade:
        return QStringLiteral("downgrade");
    case Action::Uninstall:
        return QStringLiteral("uninstall");
    }
    return QString();
}
