#pragma once

#include "catalogue/VMCollection.h"
#include "catalogue/VMHelpItem.h"

#include <QList>
#include <memory>

class VMHelpItemsCollection;
using VMHelpItemsCollectionPtr = std::shared_ptr<VMHelpItemsCollection>;

// The catalogue's help items, in catalogue order: from the root's "Help Items" section, its
// "Help Items" array, then its "Properties".
class VMHelpItemsCollection final : public VMCollection<VMHelpItemsCollection, VMHelpItem>
{
public:
    VMHelpItemsCollection() : VMCollection(this) {}

    QList<VMHelpItemPtr> helpItems() const { return items(); }
    void setHelpItems(const QList<VMHelpItemPtr>& helpItems) { setItems(helpItems); }

private:
    friend VMCollection;
    static constexpr VMCollectionNames names{.className = "VMHelpItemsCollection",
                                             .section = "Help Items",
                                             .entry = "Help",
                                             .arrayKey = "Help Items",
                                             .fallbackArrayKey = nullptr,
                                             .itemsKey = "helpItems"};
    static VMHelpItemPtr itemWithNode(plist_t entry, bool, QStringList&) { return VMHelpItem::initWithNode(entry); }
};

Q_DECLARE_METATYPE(VMHelpItemsCollectionPtr)
