#include "VMBundleProductItem.h"

#include "catalogue/VMCatalogueReader.h"
#include "foundation/VMLog.h"

VMBundleProductItem::VMBundleProductItem() : _title(QStringLiteral("Untitled Bundle")) {}

VMBundleProductItem::~VMBundleProductItem() = default;

VMBundleProductItemPtr VMBundleProductItem::initWithDict(const QVariantMap& dict)
{
    return initWithNode(VMPropertyList::treeFromVariant(dict).root());
}

VMBundleProductItemPtr VMBundleProductItem::initWithNode(plist_t dict)
{
    VMBundleProductItemPtr item(new VMBundleProductItem(Empty{}));
    VMCatalogueReader reader(dict);
    item->readBase(reader);
    reader.readString("Title", item->_title);
    reader.readString("Included Product IDs", item->_bundleIncludedProductIDs);
    reader.readString("Description", item->_bundleDescription);
    reader.readString("Icon URL", item->_bundleIconURL);
    reader.readString("Info URL", item->_bundleInfoURL);
    reader.readString("Docs URL", item->_bundleDocsURL);
    reader.readString("Buy URL", item->_bundleBuyURL);
    reader.readBool("Discontinued", item->_bundleDiscontinued, false);
    for (const QString& problem : reader.problems())
        VM_LOG_MESSAGE(problem);
    return item;
}

bool VMBundleProductItem::setValue(const QVariant& value, const QString& key)
{
    const auto text = [&value] { return value.isValid() ? value.toString() : QString(); };
    if (key == QLatin1String("title")) {
        _title = text();
        postNotification(QStringLiteral("reloadItemInNodeTable"));
    } else if (key == QLatin1String("bundleIncludedProductIDs")) {
        _bundleIncludedProductIDs = text();
    } else if (key == QLatin1String("bundleDescription")) {
        _bundleDescription = text();
    } else if (key == QLatin1String("bundleIconURL")) {
        _bundleIconURL = text();
    } else if (key == QLatin1String("bundleInfoURL")) {
        _bundleInfoURL = text();
    } else if (key == QLatin1String("bundleDocsURL")) {
        _bundleDocsURL = text();
    } else if (key == QLatin1String("bundleBuyURL")) {
        _bundleBuyURL = text();
    } else if (key == QLatin1String("bundleDiscontinued")) {
        _bundleDiscontinued = value.toBool();
    } else {
        return VMProductItem::setValue(value, key);
    }
    return true;
}
