#pragma once

#include "catalogue/VMNode.h"
#include "catalogue/VMProductItem.h"
#include "catalogue/VMPropertyTable.h"
#include "foundation/VMPropertyList.h"

#include <QList>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class VMBundleProductItem;
class VMSingleProductItem;

class VMProductsCollection;
using VMProductsCollectionPtr = std::shared_ptr<VMProductsCollection>;

// The catalogue's products and bundles, in catalogue order.
class VMProductsCollection : public VMNode, public VMPropertyTable
{
public:
    VMProductsCollection();
    // Lets every product go first, so no product is left pointing at a dead collection.
    ~VMProductsCollection() override;

    // From the root's "Products" section: its "Products" array (a product whose "Bundle" is true
    // becomes a VMBundleProductItem, any other a VMSingleProductItem), then its "Properties".
    // Bad input (a section or entry of the wrong type) is logged and ends the reading; the
    // products read before it are kept. Never null.
    static VMProductsCollectionPtr initWithDict(const QVariant& section);
    // The same from a section node of a parsed catalogue.
    static VMProductsCollectionPtr initWithNode(plist_t section);

    QList<VMProductItemPtr> productItems() const { return _productItems; }
    // Detaches the old products (their collection cleared) and attaches the new ones.
    void setProductItems(const QList<VMProductItemPtr>& productItems);

    // Products whose productID equals one of `productIDs`, in the order of the IDs (an ID asked
    // twice gives its product twice; two products with one ID both appear).
    QList<VMProductItemPtr> productItemsWithProductIDs(const QStringList& productIDs) const;
    // The single products a bundle names (its IDs separated by single blanks), in its order;
    // unknown IDs and empty pieces drop out.
    QList<std::shared_ptr<VMSingleProductItem>> bundleMembers(const VMBundleProductItem& bundle) const;

    // "productItems" (a QList<VMProductItemPtr>) posts "reloadNodeTable". Answers whether the key
    // was recognised.
    bool setValue(const QVariant& value, const QString& key);

    QString title() const override { return QStringLiteral("Root"); }
    bool titleEditable() const override { return false; }
    bool isExpandable() const override { return true; }
    QList<VMNodePtr> children() const override;

private:
    QList<VMProductItemPtr> _productItems;
};

Q_DECLARE_METATYPE(VMProductsCollectionPtr)
