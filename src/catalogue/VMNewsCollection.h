#pragma once

#include "catalogue/VMCollection.h"
#include "catalogue/VMNewsItem.h"

#include <QDateTime>
#include <QList>
#include <memory>

class VMNewsCollection;
using VMNewsCollectionPtr = std::shared_ptr<VMNewsCollection>;

// The catalogue's news items, in catalogue order: from the root's "News" (or "Announcements")
// section, its "News" array (or, without one, its "Announcements" array), then its "Properties".
class VMNewsCollection final : public VMCollection<VMNewsCollection, VMNewsItem>
{
public:
    VMNewsCollection() : VMCollection(this) {}

    QList<VMNewsItemPtr> newsItems() const { return items(); }
    void setNewsItems(const QList<VMNewsItemPtr>& newsItems) { setItems(newsItems); }

    // Whether the item is shown at `now`: it has a release date, at least one show day, and `now`
    // lies before the release date plus that many days. Holds for any number of days.
    static bool isNewsItemCurrent(const VMNewsItem& item, const QDateTime& now);

private:
    friend VMCollection;
    static constexpr VMCollectionNames names{.className = "VMNewsCollection",
                                             .section = "News",
                                             .entry = "News",
                                             .arrayKey = "News",
                                             .fallbackArrayKey = "Announcements",
                                             .itemsKey = "newsItems"};
    static VMNewsItemPtr itemWithNode(plist_t entry, bool, QStringList&) { return VMNewsItem::initWithNode(entry); }
};

Q_DECLARE_METATYPE(VMNewsCollectionPtr)
