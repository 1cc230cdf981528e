#include "VMProductsCollection.h"

#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMCatalogueReader.h"
#include "catalogue/VMSingleProductItem.h"
#include "platform/PlistApi.h"

VMProductItemPtr VMProductsCollection::itemWithNode(plist_t entry, bool extendedLogging, QStringList& problems)
{
    bool bundle = false;
    if (const plist_t bundleValue = plist_dict_get_item(entry, "Bundle")) {
        bool valid = false;
        bundle = VMCatalogueReader::boolValue(bundleValue, &valid);
        // A bad flag is lost alone: the entry is read as a single product.
        if (!valid)
            problems.append(QStringLiteral("Value for key \"Bundle\" is %1, not a boolean")
                                .arg(VMCatalogueReader::typeName(bundleValue)));
    }
    if (bundle)
        return VMBundleProductItem::initWithNode(entry);
    return VMSingleProductItem::initWithNode(entry, extendedLogging);
}

QList<VMProductItemPtr> VMProductsCollection::productItemsWithProductIDs(const QStringList& productIDs) const
{
    const QList<VMProductItemPtr> all = items();
    QList<VMProductItemPtr> found;
    for (const QString& productID : productIDs) {
        for (const VMProductItemPtr& item : all) {
            if (!item->productID().isNull() && item->productID() == productID)
                found.append(item);
        }
    }
    return found;
}

QList<std::shared_ptr<VMSingleProductItem>> VMProductsCollection::bundleMembers(const VMBundleProductItem& bundle) const
{
    QList<std::shared_ptr<VMSingleProductItem>> members;
    const QStringList ids = bundle.bundleIncludedProductIDs().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const VMProductItemPtr& item : productItemsWithProductIDs(ids)) {
        if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(item))
            members.append(single);
    }
    return members;
}
