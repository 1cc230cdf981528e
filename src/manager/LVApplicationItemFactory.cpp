#include "LVApplicationItemFactory.h"

#include "items/LVBundleInstallItem.h"
#include "items/LVSingleInstallItem.h"
#include "tools/LVUpdateAllInstalledInstallItem.h"

LVInstallItem* LVApplicationItemFactory::singleInstallItem(const std::shared_ptr<VMSingleProductItem>& product)
{
    return LVSingleInstallItem::installItemWithSingleProductItem(product);
}

LVInstallItem* LVApplicationItemFactory::bundleInstallItem(const std::shared_ptr<VMBundleProductItem>& bundle,
                                                           const std::shared_ptr<VMProductsCollection>& collection)
{
    return LVBundleInstallItem::installItemWithBundleProductItem(bundle, collection);
}

LVInstallItem* LVApplicationItemFactory::updateAllInstalledItem()
{
    return LVUpdateAllInstalledInstallItem::installItem();
}
