#pragma once

#include "items/LVInstallItemFactory.h"

// The application's rows of the installs tab. The product, bundle and "update all installed" rows
// are made here and nowhere else.
class LVApplicationItemFactory : public LVInstallItemFactory
{
public:
    LVInstallItem* singleInstallItem(const std::shared_ptr<VMSingleProductItem>& product) override;
    LVInstallItem* bundleInstallItem(const std::shared_ptr<VMBundleProductItem>& bundle,
                                     const std::shared_ptr<VMProductsCollection>& collection) override;
    LVInstallItem* updateAllInstalledItem() override;
};
