#include "VMProductEvents.h"

#include "catalogue/VMNode.h"
#include "catalogue/VMSingleProductItem.h"

std::shared_ptr<VMProductItem> VMProductEvents::productOf(const QVariant& object)
{
    if (object.canConvert<VMSingleProductItemPtr>())
        if (auto single = object.value<VMSingleProductItemPtr>())
            return single;
    if (object.canConvert<VMProductItemPtr>())
        if (auto product = object.value<VMProductItemPtr>())
            return product;
    if (object.canConvert<VMNodePtr>())
        return std::dynamic_pointer_cast<VMProductItem>(object.value<VMNodePtr>());
    return nullptr;
}
