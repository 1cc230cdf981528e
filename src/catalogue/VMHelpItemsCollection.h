#pragma once

#include "catalogue/VMHelpItem.h"
#include "catalogue/VMNode.h"
#include "catalogue/VMPropertyTable.h"
#include "foundation/VMPropertyList.h"

#include <QList>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class VMHelpItemsCollection;
using VMHelpItemsCollectionPtr = std::shared_ptr<VMHelpItemsCollection>;

// The catalogue's help items, in catalogue order.
class VMHelpItemsCollection : public VMNode, public VMPropertyTable
{
public:
    VMHelpItemsCollection();
    // Lets every item go first, so no item is left pointing at a dead collection.
    ~VMHelpItemsCollection() override;

    // From the root's "Help Items" section: its "Help Items" array of VMHelpItem, then its "Properties".
    // Bad input (a section or entry of the wrong type) is logged and ends the reading; the items
    // read before it are kept. Never null.
    static VMHelpItemsCollectionPtr initWithDict(const QVariant& section);
    // The same from a section node of a parsed catalogue.
    static VMHelpItemsCollectionPtr initWithNode(plist_t section);

    QList<VMHelpItemPtr> helpItems() const { return _helpItems; }
    // Detaches the old items (their collection cleared) and attaches the new ones.
    void setHelpItems(const QList<VMHelpItemPtr>& helpItems);

    // "helpItems" (a QList<VMHelpItemPtr>) posts "reloadNodeTable". Answers whether the key
    // was recognised.
    bool setValue(const QVariant& value, const QString& key);

    QString title() const override { return QStringLiteral("Root"); }
    bool titleEditable() const override { return false; }
    bool isExpandable() const override { return true; }
    QList<VMNodePtr> children() const override;

private:
    QList<VMHelpItemPtr> _helpItems;
};

Q_DECLARE_METATYPE(VMHelpItemsCollectionPtr)
