#include "VMProductsCollection.h"

#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMCatalogueReader.h"
#include "catalogue/VMSingleProductItem.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"
#include "platform/PlistApi.h"

VMProductsCollection::VMProductsCollection() : VMPropertyTable("VMProductsCollection") {}

VMProductsCollection::~VMProductsCollection()
{
    setProductItems({});
}

VMProductsCollectionPtr VMProductsCollection::initWithDict(const QVariant& section)
{
    if (section.typeId() != QMetaType::QVariantMap) {
        VM_LOG_MESSAGE(
            QStringLiteral("Products section is %1, not a dictionary").arg(VMCatalogueReader::typeName(section)));
        return std::make_shared<VMProductsCollection>();
    }
    return initWithNode(VMPropertyList::treeFromVariant(section).root());
}

VMProductsCollectionPtr VMProductsCollection::initWithNode(plist_t section)
{
    auto collection = std::make_shared<VMProductsCollection>();
    if (!VMCatalogueReader::isDictionary(section)) {
        VM_LOG_MESSAGE(
            QStringLiteral("Products section is %1, not a dictionary").arg(VMCatalogueReader::typeName(section)));
        return collection;
    }
    VMCatalogueReader reader(section);
    const std::vector<plist_t> entries = reader.readArray("Products");
    QList<VMProductItemPtr> items;
    items.reserve(static_cast<qsizetype>(entries.size()));
    // A bad entry ends the walk: what was built before it is kept, and nothing after it is read.
    bool walked = true;
    for (plist_t entry : entries) {
        if (!VMCatalogueReader::isDictionary(entry)) {
            reader.fail(
                QStringLiteral("Product entry is %1, not a dictionary").arg(VMCatalogueReader::typeName(entry)));
            walked = false;
            break;
        }
        bool bundle = false;
        if (const plist_t bundleValue = plist_dict_get_item(entry, "Bundle")) {
            bool valid = false;
            bundle = VMCatalogueReader::boolValue(bundleValue, &valid);
            // A bad flag is lost alone: the entry is read as a single product.
            if (!valid)
                reader.fail(QStringLiteral("Value for key \"Bundle\" is %1, not a boolean")
                                .arg(VMCatalogueReader::typeName(bundleValue)));
        }
        VMProductItemPtr item;
        if (bundle)
            item = VMBundleProductItem::initWithNode(entry);
        else
            item = VMSingleProductItem::initWithNode(entry);
        if (item)
            items.append(std::move(item));
    }
    collection->setProductItems(items);

    if (walked) {
        QVariantMap properties;
        reader.readDictionary("Properties", properties);
        for (auto it = properties.cbegin(); it != properties.cend(); ++it)
            collection->_properties.insert(it.key(), it.value());
    }
    for (const QString& problem : reader.problems())
        VM_LOG_MESSAGE(problem);
    return collection;
}

void VMProductsCollection::setProductItems(const QList<VMProductItemPtr>& productItems)
{
    for (const VMProductItemPtr& item : std::as_const(_productItems)) {
        // A product handed on to another collection keeps its new owner.
        if (item && item->collection() == this)
            item->setCollection(nullptr);
    }
    _productItems = productItems;
    _productItems.removeAll(nullptr);
    for (const VMProductItemPtr& item : std::as_const(_productItems))
        item->setCollection(this);
}

QList<VMProductItemPtr> VMProductsCollection::productItemsWithProductIDs(const QStringList& productIDs) const
{
    QList<VMProductItemPtr> found;
    for (const QString& productID : productIDs) {
        for (const VMProductItemPtr& item : _productItems) {
            if (!item->productID().isNull() && item->productID() == productID)
                found.append(item);
        }
    }
    return found;
}

bool VMProductsCollection::setValue(const QVariant& value, const QString& key)
{
    if (key != QLatin1String("productItems")) {
        Platform::systemLog().write(QStringLiteral("setValue: key '%1' not recognized").arg(key));
        return false;
    }
    setProductItems(value.value<QList<VMProductItemPtr>>());
    postNotification(QStringLiteral("reloadNodeTable"));
    return true;
}

QList<VMNodePtr> VMProductsCollection::children() const
{
    QList<VMNodePtr> nodes;
    nodes.reserve(_productItems.size());
    for (const VMProductItemPtr& item : _productItems)
        nodes.append(item);
    return nodes;
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
