#include "LVApplicationItemFactory.h"

#include "items/LVBundleInstallItem.h"
#include "items/LVSingleInstallItem.h"

LVInstallItem* LVApplicationItemFactory::singleInstallItem(const std::shared_ptr<VMSingleProductItem>& product)
{
    return LVSingleInstallItem::installItemWithSingleProductItem(product);
}

LVInstallItem* LVApplicationItemFactory::bundleInstallItem(const std::shared_ptr<VMBundleProductItem>& bundle,
                                                           const std::shared_ptr<VMProductsCollection>& collection)
{
    return LVBundleInstallItem::installItemWithBundleProductItem(bundle, collection);
}

// Not written yet: the "update all installed" row plugs in here.
LVInstallItem* LVApplicationItemFactory::updateAllInstalledItem()
{
    return nullptr;
}
