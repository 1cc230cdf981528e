#include "VMNewsItem.h"

#include "catalogue/VMCatalogueReader.h"
#include "catalogue/VMReleaseDate.h"
#include "catalogue/VMUtils.h"
#include "foundation/VMLog.h"

VMNewsItem::VMNewsItem()
    : VMPropertyTable("VMNewsItem"), _title(QStringLiteral("Untitled News")), _releaseDate(VMUtils::currentDate())
{}

VMNewsItem::~VMNewsItem() = default;

VMNewsItemPtr VMNewsItem::initWithDict(const QVariantMap& dict)
{
    return initWithNode(VMPropertyList::treeFromVariant(dict).root());
}

VMNewsItemPtr VMNewsItem::initWithNode(plist_t dict)
{
    auto item = std::make_shared<VMNewsItem>();
    VMCatalogueReader reader(dict);
    reader.readString("Title", item->_title);
    reader.readInteger("Show Days", item->_showDays, 0);
    reader.readString("Headline", item->_headlineText);
    QString releaseDate;
    reader.readString("Release Date", releaseDate);
    if (!releaseDate.isNull())
        item->_releaseDate = VMReleaseDate::fromString(releaseDate);
    if (reader.contains("News Image URL"))
        reader.readString("News Image URL", item->_newsImageURL);
    else
        reader.readString("Announcement Image URL", item->_newsImageURL);
    reader.readString("Internal Comment", item->_internalComment);
    reader.readString("More Info URL", item->_moreInfoURL);
    QVariantMap properties;
    reader.readDictionary("Properties", properties);
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        item->_properties.insert(it.key(), it.value());
    for (const QString& problem : reader.problems())
        VM_LOG_MESSAGE(problem);
    return item;
}

bool VMNewsItem::setValue(const QVariant& value, const QString& key)
{
    const auto text = [&value] { return value.isValid() ? value.toString() : QString(); };
    if (key == QLatin1String("title")) {
        _title = text();
        postNotification(QStringLiteral("reloadItemInNodeTable"));
    } else if (key == QLatin1String("releaseDate")) {
        _releaseDate = value.toDateTime();
    } else if (key == QLatin1String("showDays")) {
        _showDays = value.toLongLong();
    } else if (key == QLatin1String("headlineText")) {
        _headlineText = text();
    } else if (key == QLatin1String("newsImageURL")) {
        _newsImageURL = text();
    } else if (key == QLatin1String("internalComment")) {
        _internalComment = text();
    } else if (key == QLatin1String("moreInfoURL")) {
        _moreInfoURL = text();
    } else {
        return false;
    }
    return true;
}
