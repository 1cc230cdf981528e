#include "VMNode.h"

#include "foundation/VMNotificationCenter.h"

VMNodePtr VMNode::self() const
{
    return std::const_pointer_cast<VMNode>(weak_from_this().lock());
}

void VMNode::postNotification(const QString& name) const
{
    VMNotificationCenter::defaultCenter().postNotification(name, QVariant::fromValue(self()));
}
