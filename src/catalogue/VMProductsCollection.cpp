#include "VMProductsCollection.h"

#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMCatalogueReader.h"
#include "catalogue/VMSingleProductItem.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

VMProductsCollection::VMProductsCollection() : VMPropertyTable("VMProductsCollection") {}

VMProductsCollection::~VMProductsCollection()
{
    setProductItems({});
}

VMProductsCollectionPtr VMProductsCollection::initWithDict(const QVariant& section)
{
    auto collection = std::make_shared<VMProductsCollection>();
    if (section.typeId() != QMetaType::QVariantMap) {
        VM_LOG_MESSAGE(
            QStringLiteral("Products section is %1, not a dictionary").arg(VMCatalogueReader::typeName(section)));
        return collection;
    }
    VMCatalogueReader reader(section.toMap());
    QVariantList productDicts;
    reader.readArray(QStringLiteral("Products"), productDicts);
    QList<VMProductItemPtr> items;
    items.reserve(productDicts.size());
    for (const QVariant& entry : std::as_const(productDicts)) {
        if (entry.typeId() != QMetaType::QVariantMap) {
            reader.fail(
                QStringLiteral("Product entry is %1, not a dictionary").arg(VMCatalogueReader::typeName(entry)));
            break;
        }
        const QVariantMap productDict = entry.toMap();
        bool bundle = false;
        const auto bundleValue = productDict.constFind(QStringLiteral("Bundle"));
        if (bundleValue != productDict.constEnd()) {
            bool valid = false;
            bundle = VMCatalogueReader::boolValue(*bundleValue, &valid);
            if (!valid) {
                reader.fail(QStringLiteral("Value for key \"Bundle\" is %1, not a boolean")
                                .arg(VMCatalogueReader::typeName(*bundleValue)));
                break;
            }
        }
        VMProductItemPtr item;
        if (bundle)
            item = VMBundleProductItem::initWithDict(productDict);
        else
            item = VMSingleProductItem::initWithDict(productDict);
        if (item)
            items.append(std::move(item));
    }
    collection->setProductItems(items);

    QVariantMap properties;
    reader.readDictionary(QStringLiteral("Properties"), properties);
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        collection->_properties.insert(it.key(), it.value());
    if (!reader.ok())
        VM_LOG_MESSAGE(reader.problem());
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
