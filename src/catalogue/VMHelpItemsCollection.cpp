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
    auto collection = std::make_shared<VMHelpItemsCollection>();
    if (section.typeId() != QMetaType::QVariantMap) {
        VM_LOG_MESSAGE(
            QStringLiteral("Help Items section is %1, not a dictionary").arg(VMCatalogueReader::typeName(section)));
        return collection;
    }
    VMCatalogueReader reader(section.toMap());
    QVariantList helpDicts;
    reader.readArray(QStringLiteral("Help Items"), helpDicts);
    QList<VMHelpItemPtr> items;
    items.reserve(helpDicts.size());
    for (const QVariant& entry : std::as_const(helpDicts)) {
        if (entry.typeId() != QMetaType::QVariantMap) {
            reader.fail(QStringLiteral("Help entry is %1, not a dictionary").arg(VMCatalogueReader::typeName(entry)));
            break;
        }
        if (auto item = VMHelpItem::initWithDict(entry.toMap()))
            items.append(std::move(item));
    }
    collection->setHelpItems(items);

    QVariantMap properties;
    reader.readDictionary(QStringLiteral("Properties"), properties);
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        collection->_properties.insert(it.key(), it.value());
    if (!reader.ok())
        VM_LOG_MESSAGE(reader.problem());
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
