#pragma once

#include <memory>

class LVInstallItem;
class VMBundleProductItem;
class VMProductsCollection;
class VMSingleProductItem;

// Makes the rows of the installs tab. The application hands one to the install manager; tests
// hand in their own. A row answered for a product or bundle belongs to the tab from then on; the
// "update all installed" row stays the factory's. Null leaves the entry out.
class LVInstallItemFactory
{
public:
    virtual ~LVInstallItemFactory() = default;

    virtual LVInstallItem* singleInstallItem(const std::shared_ptr<VMSingleProductItem>&) { return nullptr; }
    virtual LVInstallItem* bundleInstallItem(const std::shared_ptr<VMBundleProductItem>&,
                                             const std::shared_ptr<VMProductsCollection>&)
    {
        return nullptr;
    }
    // Shown first on both sub-tabs; asked each time the list is shown again.
    virtual LVInstallItem* updateAllInstalledItem() { return nullptr; }
};
