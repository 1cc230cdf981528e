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
    auto item = std::make_shared<VMNewsItem>();
    VMCatalogueReader reader(dict);
    reader.readString(QStringLiteral("Title"), item->_title);
    reader.readInteger(QStringLiteral("Show Days"), item->_showDays, 0);
    reader.readString(QStringLiteral("Headline"), item->_headlineText);
    QString releaseDate;
    reader.readString(QStringLiteral("Release Date"), releaseDate);
    if (reader.ok() && dict.contains(QStringLiteral("Release Date")))
        item->_releaseDate = VMReleaseDate::fromString(releaseDate);
    if (reader.contains(QStringLiteral("News Image URL")))
        reader.readString(QStringLiteral("News Image URL"), item->_newsImageURL);
    else
        reader.readString(QStringLiteral("Announcement Image URL"), item->_newsImageURL);
    reader.readString(QStringLiteral("Internal Comment"), item->_internalComment);
    reader.readString(QStringLiteral("More Info URL"), item->_moreInfoURL);
    QVariantMap properties;
    reader.readDictionary(QStringLiteral("Properties"), properties);
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        item->_properties.insert(it.key(), it.value());
    if (!reader.ok())
        VM_LOG_MESSAGE(reader.problem());
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
