#include "LVApplicationItemFactory.h"

// Not written yet: LVSingleInstallItem, LVBundleInstallItem and the "update all installed" row
// plug in here. Until then the installs tab stays empty.

LVInstallItem* LVApplicationItemFactory::singleInstallItem(const std::shared_ptr<VMSingleProductItem>&)
{
    return nullptr;
}

LVInstallItem* LVApplicationItemFactory::bundleInstallItem(const std::shared_ptr<VMBundleProductItem>&,
                                                           const std::shared_ptr<VMProductsCollection>&)
{
    return nullptr;
}

LVInstallItem* LVApplicationItemFactory::updateAllInstalledItem()
{
    return nullptr;
}
