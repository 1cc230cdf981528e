#pragma once

#include "catalogue/VMNewsItem.h"
#include "catalogue/VMNode.h"
#include "catalogue/VMPropertyTable.h"
#include "foundation/VMPropertyList.h"

#include <QDateTime>
#include <QList>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class VMNewsCollection;
using VMNewsCollectionPtr = std::shared_ptr<VMNewsCollection>;

// The catalogue's news items, in catalogue order.
class VMNewsCollection : public VMNode, public VMPropertyTable
{
public:
    VMNewsCollection();
    // Lets every item go first, so no item is left pointing at a dead collection.
    ~VMNewsCollection() override;

    // From the root's "News" (or "Announcements") section: its "News" array (or,
    // without one, its "Announcements" array) of VMNewsItem, then its "Properties".
    // Bad input (a section or entry of the wrong type) is logged and ends the reading; the items
    // read before it are kept. Never null.
    static VMNewsCollectionPtr initWithDict(const QVariant& section);
    // The same from a section node of a parsed catalogue.
    static VMNewsCollectionPtr initWithNode(plist_t section);

    QList<VMNewsItemPtr> newsItems() const { return _newsItems; }
    // Whether the item is shown at `now`: it has a release date, at least one show day, and `now`
    // lies before the release date plus that many days. Holds for any number of days.
    static bool isNewsItemCurrent(const VMNewsItem& item, const QDateTime& now);
    // The items shown at `now`, in catalogue order; the others are appended to `expired`.
    QList<VMNewsItemPtr> currentNewsItems(const QDateTime& now, QList<VMNewsItemPtr>* expired = nullptr) const;

    // Detaches the old items (their collection cleared) and attaches the new ones.
    void setNewsItems(const QList<VMNewsItemPtr>& newsItems);

    // "newsItems" (a QList<VMNewsItemPtr>) posts "reloadNodeTable". Answers whether the key
    // was recognised.
    bool setValue(const QVariant& value, const QString& key);

    QString title() const override { return QStringLiteral("Root"); }
    bool titleEditable() const override { return false; }
    bool isExpandable() const override { return true; }
    QList<VMNodePtr> children() const override;

private:
    QList<VMNewsItemPtr> _newsItems;
};

Q_DECLARE_METATYPE(VMNewsCollectionPtr)
