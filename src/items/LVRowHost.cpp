#include "LVRowHost.h"

#include "items/LVInstallItem.h"
#include "items/LVProductRowView.h"

LVRowHost::LVRowHost() : _productRowViews(std::make_unique<LVProductRowViews>()) {}

LVRowHost::~LVRowHost() = default;

QList<VMSingleProductItemPtr> LVRowHost::singleProducts() const
{
    QList<VMSingleProductItemPtr> products;
    for (LVInstallItem* row : singleProductInstallItems()) {
        if (auto product = std::dynamic_pointer_cast<VMSingleProductItem>(row->productItem()))
            products.append(product);
    }
    return products;
}
