#include "VMHelpItemsCollection.h"

#include "catalogue/VMCatalogueReader.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

VMHelpItemsCollection::VMHelpItemsCollection() : VMPropertyTable("VMHelpItemsCollection") {}

VMHelpItemsCollection::~VMHelpItemsCollection()
{
    setHelpItems({});
}

VMHelpItemsCollectionPtr VMHelpItemsCollection::initWithDict(const QVariant& section)
{
    if (section.typeId() != QMetaType::QVariantMap) {
        VM_LOG_MESSAGE(
            QStringLiteral("Help Items section is %1, not a dictionary").arg(VMCatalogueReader::typeName(section)));
        return std::make_shared<VMHelpItemsCollection>();
    }
    return initWithNode(VMPropertyList::treeFromVariant(section).root());
}

VMHelpItemsCollectionPtr VMHelpItemsCollection::initWithNode(plist_t section)
{
    auto collection = std::make_shared<VMHelpItemsCollection>();
    if (!VMCatalogueReader::isDictionary(section)) {
        VM_LOG_MESSAGE(
            QStringLiteral("Help Items section is %1, not a dictionary").arg(VMCatalogueReader::typeName(section)));
        return collection;
    }
    VMCatalogueReader reader(section);
    const std::vector<plist_t> entries = reader.readArray("Help Items");
    QList<VMHelpItemPtr> items;
    items.reserve(static_cast<qsizetype>(entries.size()));
    // A bad entry ends the walk: what was built before it is kept, and nothing after it is read.
    bool walked = true;
    for (plist_t entry : entries) {
        if (!VMCatalogueReader::isDictionary(entry)) {
            reader.fail(QStringLiteral("Help entry is %1, not a dictionary").arg(VMCatalogueReader::typeName(entry)));
            walked = false;
            break;
        }
        if (auto item = VMHelpItem::initWithNode(entry))
            items.append(std::move(item));
    }
    collection->setHelpItems(items);

    if (walked) {
        QVariantMap properties;
        reader.readDictionary("Properties", properties);
        for (auto it = properties.cbegin(); it != properties.cend(); ++it)
            collection->_properties.insert(it.key(), it.value());
    }
    for (const QString& problem : reader.problems())
        VM_LOG_MESSAGE(problem);
    return collection;
}

void VMHelpItemsCollection::setHelpItems(const QList<VMHelpItemPtr>& helpItems)
{
    for (const VMHelpItemPtr& item : std::as_const(_helpItems)) {
        // An item handed on to another collection keeps its new owner.
        if (item && item->collection() == this)
            item->setCollection(nullptr);
    }
    _helpItems = helpItems;
    _helpItems.removeAll(nullptr);
    for (const VMHelpItemPtr& item : std::as_const(_helpItems))
        item->setCollection(this);
}

bool VMHelpItemsCollection::setValue(const QVariant& value, const QString& key)
{
    if (key != QLatin1String("helpItems")) {
        Platform::systemLog().write(QStringLiteral("setValue: key '%1' not recognized").arg(key));
        return false;
    }
    setHelpItems(value.value<QList<VMHelpItemPtr>>());
    postNotification(QStringLiteral("reloadNodeTable"));
    return true;
}

QList<VMNodePtr> VMHelpItemsCollection::children() const
{
    QList<VMNodePtr> nodes;
    nodes.reserve(_helpItems.size());
    for (const VMHelpItemPtr& item : _helpItems)
        nodes.append(item);
    return nodes;
}
