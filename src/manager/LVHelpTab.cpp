#include "LVHelpTab.h"

#include "catalogue/VMHelpItemsCollection.h"
#include "newshelp/LVHelpItem.h"

LVHelpTab::LVHelpTab(QWidget* parent) : LVOutlineTab(parent) {}

QList<LVOutlineItem*> LVHelpTab::rows() const
{
    return outlineItems(_helpItems);
}

LVHelpTab::~LVHelpTab()
{
    qDeleteAll(_helpItems);
}

void LVHelpTab::setUp()
{
    setUpOutline(QStringLiteral("No help topics."));
}

void LVHelpTab::setHelpItemsCollection(const std::shared_ptr<VMHelpItemsCollection>& collection)
{
    _helpItemsCollection = collection;
    const QList<LVHelpItem*> old = _helpItems;
    _helpItems.clear();
    if (collection) {
        for (const VMHelpItemPtr& record : collection->helpItems()) {
            if (LVHelpItem* row = LVHelpItem::helpItemWithVMHelpItem(record)) {
                row->setParent(this);
                _helpItems.append(row);
            }
        }
    }
    reloadData();
    for (LVHelpItem* row : old)
        row->deleteLater();
}
