#include "VMNewsCollection.h"

#include "catalogue/VMCatalogueReader.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

VMNewsCollection::VMNewsCollection() : VMPropertyTable("VMNewsCollection") {}

VMNewsCollection::~VMNewsCollection()
{
    setNewsItems({});
}

VMNewsCollectionPtr VMNewsCollection::initWithDict(const QVariant& section)
{
    if (section.typeId() != QMetaType::QVariantMap) {
        VM_LOG_MESSAGE(
            QStringLiteral("News section is %1, not a dictionary").arg(VMCatalogueReader::typeName(section)));
        return std::make_shared<VMNewsCollection>();
    }
    return initWithNode(VMPropertyList::treeFromVariant(section).root());
}

VMNewsCollectionPtr VMNewsCollection::initWithNode(plist_t section)
{
    auto collection = std::make_shared<VMNewsCollection>();
    if (!VMCatalogueReader::isDictionary(section)) {
        VM_LOG_MESSAGE(
            QStringLiteral("News section is %1, not a dictionary").arg(VMCatalogueReader::typeName(section)));
        return collection;
    }
    VMCatalogueReader reader(section);
    const std::vector<plist_t> entries = reader.readArray(reader.contains("News") ? "News" : "Announcements");
    QList<VMNewsItemPtr> items;
    items.reserve(static_cast<qsizetype>(entries.size()));
    // A bad entry ends the walk: what was built before it is kept, and nothing after it is read.
    bool walked = true;
    for (plist_t entry : entries) {
        if (!VMCatalogueReader::isDictionary(entry)) {
            reader.fail(QStringLiteral("News entry is %1, not a dictionary").arg(VMCatalogueReader::typeName(entry)));
            walked = false;
            break;
        }
        if (auto item = VMNewsItem::initWithNode(entry))
            items.append(std::move(item));
    }
    collection->setNewsItems(items);

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

bool VMNewsCollection::isNewsItemCurrent(const VMNewsItem& item, const QDateTime& now)
{
    const QDateTime released = item.releaseDate();
    const qint64 showDays = item.showDays();
    if (!released.isValid() || showDays < 1 || !now.isValid())
        return false;
    // Compared in whole days since the release rather than by adding showDays × 86400 seconds to
    // the date, which overflows for the large values a catalogue may hold.
    const qint64 secondsSinceRelease = released.secsTo(now);
    if (secondsSinceRelease < 0)
        return true;
    return secondsSinceRelease / 86400 < showDays;
}

QList<VMNewsItemPtr> VMNewsCollection::currentNewsItems(const QDateTime& now, QList<VMNewsItemPtr>* expired) const
{
    QList<VMNewsItemPtr> current;
    for (const VMNewsItemPtr& item : _newsItems) {
        if (isNewsItemCurrent(*item, now))
            current.append(item);
        else if (expired)
            expired->append(item);
    }
    return current;
}

void VMNewsCollection::setNewsItems(const QList<VMNewsItemPtr>& newsItems)
{
    for (const VMNewsItemPtr& item : std::as_const(_newsItems)) {
        // An item handed on to another collection keeps its new owner.
        if (item && item->collection() == this)
            item->setCollection(nullptr);
    }
    _newsItems = newsItems;
    _newsItems.removeAll(nullptr);
    for (const VMNewsItemPtr& item : std::as_const(_newsItems))
        item->setCollection(this);
}

bool VMNewsCollection::setValue(const QVariant& value, const QString& key)
{
    if (key != QLatin1String("newsItems")) {
        Platform::systemLog().write(QStringLiteral("setValue: key '%1' not recognized").arg(key));
        return false;
    }
    setNewsItems(value.value<QList<VMNewsItemPtr>>());
    postNotification(QStringLiteral("reloadNodeTable"));
    return true;
}

QList<VMNodePtr> VMNewsCollection::children() const
{
    QList<VMNodePtr> nodes;
    nodes.reserve(_newsItems.size());
    for (const VMNewsItemPtr& item : _newsItems)
        nodes.append(item);
    return nodes;
}
