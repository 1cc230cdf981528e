#include "LVRowHost.h"

#include "items/LVInstallItem.h"

QList<VMSingleProductItemPtr> LVRowHost::singleProducts() const
{
    QList<VMSingleProductItemPtr> products;
    for (LVInstallItem* row : singleProductInstallItems()) {
        if (auto product = std::dynamic_pointer_cast<VMSingleProductItem>(row->productItem()))
            products.append(product);
    }
    return products;
}
