#pragma once

#include "catalogue/VMNode.h"
#include "catalogue/VMPropertyTable.h"
#include "foundation/VMLog.h"
#include "foundation/VMPropertyList.h"

#include <QList>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <memory>

class VMCatalogueReader;

// What one kind of collection calls things.
struct VMCollectionNames
{
    const char* className;        // names the property table's log lines
    const char* section;          // "<section> section is ..., not a dictionary"
    const char* entry;            // "<entry> entry is ..., not a dictionary"
    const char* arrayKey;         // the section's item array
    const char* fallbackArrayKey; // read instead when the section has no `arrayKey`; may be null
    const char* itemsKey;         // the key-value key of the items
};

// The half of every collection that does not depend on its item type.
class VMCollectionBase : public VMNode, public VMPropertyTable
{
public:
    QString title() const override { return QStringLiteral("Root"); }
    bool titleEditable() const override { return false; }
    bool isExpandable() const override { return true; }

protected:
    // One entry made an item (null for none). It may run on any thread: what it needs of the
    // preferences comes in `extendedLogging`, and what is wrong goes to `problems`.
    using EntryReader = std::function<VMNodePtr(plist_t entry, bool extendedLogging, QStringList& problems)>;

    explicit VMCollectionBase(const VMCollectionNames& names);

    // Null when `section` is a dictionary; otherwise what is wrong with it.
    static QString sectionProblem(const QVariant& section, const VMCollectionNames& names);
    // Makes an item of each entry of the section's item array, in order, until one that is not a
    // dictionary ends the walk; when the walk got through, copies the section's "Properties" into
    // the property table. Answers what was wrong on the way. A long array is made in pieces side
    // by side; the items, their log lines and the problems still come out in catalogue order.
    QStringList readSection(plist_t section, const EntryReader& readEntry, QList<VMNodePtr>* items);
    // Whether `key` is the items' key-value key; any other goes to the system log.
    bool isItemsKey(const QString& key) const;

private:
    const VMCollectionNames& _names;
};

// The catalogue's products, news and help share one shape: their items in catalogue order, each
// pointing back at its collection without owning it, a property table and the outline's node
// answers. A kind adds its names, how an entry becomes an item, and accessors named after it.
template <typename Kind, typename Item> class VMCollection : public VMCollectionBase
{
public:
    using ItemPtr = std::shared_ptr<Item>;

    // Lets every item go first, so no item is left pointing at a dead collection.
    ~VMCollection() override { setItems({}); }

    // From the kind's catalogue section: its item array, then its "Properties". Bad input (a
    // section or entry of the wrong type) is logged and ends the reading; the items read before
    // it are kept. Never null.
    static std::shared_ptr<Kind> initWithDict(const QVariant& section)
    {
        const QString problem = sectionProblem(section, Kind::names);
        if (!problem.isNull()) {
            VM_LOG_MESSAGE(problem);
            return std::make_shared<Kind>();
        }
        return initWithNode(VMPropertyList::treeFromVariant(section).root());
    }

    // The same from a section node of a parsed catalogue.
    static std::shared_ptr<Kind> initWithNode(plist_t section)
    {
        auto collection = std::make_shared<Kind>();
        QList<VMNodePtr> nodes;
        const QStringList problems = collection->readSection(
            section,
            [](plist_t entry, bool extendedLogging, QStringList& problems) -> VMNodePtr {
                return Kind::itemWithNode(entry, extendedLogging, problems);
            },
            &nodes);
        QList<ItemPtr> items;
        items.reserve(nodes.size());
        for (VMNodePtr& node : nodes)
            items.append(std::static_pointer_cast<Item>(std::move(node)));
        collection->setItems(items);
        for (const QString& problem : problems)
            VM_LOG_MESSAGE(problem);
        return collection;
    }

    // The items' key (a QList<ItemPtr>) sets them and posts "reloadNodeTable". Answers whether the
    // key was recognised.
    bool setValue(const QVariant& value, const QString& key)
    {
        if (!isItemsKey(key))
            return false;
        setItems(value.value<QList<ItemPtr>>());
        postNotification(QStringLiteral("reloadNodeTable"));
        return true;
    }

    QList<VMNodePtr> children() const override
    {
        QList<VMNodePtr> nodes;
        nodes.reserve(_items.size());
        for (const ItemPtr& item : _items)
            nodes.append(item);
        return nodes;
    }

protected:
    explicit VMCollection(Kind* self) : VMCollectionBase(Kind::names), _self(self) {}

    QList<ItemPtr> items() const { return _items; }

    // Detaches the old items (their collection cleared) and attaches the new ones; nulls drop out.
    void setItems(const QList<ItemPtr>& items)
    {
        for (const ItemPtr& item : std::as_const(_items)) {
            // An item handed on to another collection keeps its new owner.
            if (item->collection() == _self)
                item->setCollection(nullptr);
        }
        _items = items;
        _items.removeAll(nullptr);
        for (const ItemPtr& item : std::as_const(_items))
            item->setCollection(_self);
    }

private:
    // What the items point back at. Kept from construction: by the time this destructor lets the
    // items go, the kind's part of the object is gone and `this` can no longer be cast to it.
    Kind* const _self;
    QList<ItemPtr> _items;
};
