#pragma once

#include "catalogue/VMCollection.h"
#include "catalogue/VMProductItem.h"

#include <QList>
#include <QStringList>
#include <memory>

class VMBundleProductItem;
class VMSingleProductItem;

class VMProductsCollection;
using VMProductsCollectionPtr = std::shared_ptr<VMProductsCollection>;

// The catalogue's products and bundles, in catalogue order: from the root's "Products" section,
// its "Products" array (a product whose "Bundle" is true becomes a VMBundleProductItem, any other a
// VMSingleProductItem), then its "Properties".
class VMProductsCollection final : public VMCollection<VMProductsCollection, VMProductItem>
{
public:
    VMProductsCollection() : VMCollection(this) {}

    QList<VMProductItemPtr> productItems() const { return items(); }
    void setProductItems(const QList<VMProductItemPtr>& productItems) { setItems(productItems); }

    // Products whose productID equals one of `productIDs`, in the order of the IDs (an ID asked
    // twice gives its product twice; two products with one ID both appear).
    QList<VMProductItemPtr> productItemsWithProductIDs(const QStringList& productIDs) const;
    // The single products a bundle names (its IDs separated by single blanks), in its order;
    // unknown IDs and empty pieces drop out.
    QList<std::shared_ptr<VMSingleProductItem>> bundleMembers(const VMBundleProductItem& bundle) const;

private:
    friend VMCollection;
    static constexpr VMCollectionNames names{.className = "VMProductsCollection",
                                             .section = "Products",
                                             .entry = "Product",
                                             .arrayKey = "Products",
                                             .fallbackArrayKey = nullptr,
                                             .itemsKey = "productItems"};
    static VMProductItemPtr itemWithNode(plist_t entry, bool extendedLogging, QStringList& problems);
};

Q_DECLARE_METATYPE(VMProductsCollectionPtr)
