#pragma once

#include "catalogue/VMNode.h"
#include "catalogue/VMPropertyTable.h"
#include "foundation/VMPropertyList.h"

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class VMNewsCollection;
class VMNewsItem;
using VMNewsItemPtr = std::shared_ptr<VMNewsItem>;

// A dated announcement of the catalogue's news section.
class VMNewsItem : public VMNode, public VMPropertyTable
{
public:
    // Property-table key: the height of the downloaded news image (a double).
    static constexpr const char* imageHeight = "imageHeight";

    // A new item: "Untitled News", released now.
    VMNewsItem();
    ~VMNewsItem() override;

    // Starts from the defaults above; "Title" is always assigned. A value of the wrong type is
    // logged and ends the reading; the item read so far is returned. Never null.
    static VMNewsItemPtr initWithDict(const QVariantMap& dict);
    // The same from a dictionary node of a parsed catalogue.
    static VMNewsItemPtr initWithNode(plist_t dict);

    VMNewsCollection* collection() const { return _collection; }
    void setCollection(VMNewsCollection* collection) { _collection = collection; }

    // Key-value setting by property name; "title" posts "reloadItemInNodeTable".
    bool setValue(const QVariant& value, const QString& key);

    QString title() const override { return _title; }
    void setTitle(const QString& title) { _title = title; }
    bool titleEditable() const override { return true; }
    bool isExpandable() const override { return false; }
    QList<VMNodePtr> children() const override { return {}; }

    QDateTime releaseDate() const { return _releaseDate; }
    void setReleaseDate(const QDateTime& date) { _releaseDate = date; }
    // Days after the release date during which the item is shown.
    qint64 showDays() const { return _showDays; }
    void setShowDays(qint64 days) { _showDays = days; }
    QString headlineText() const { return _headlineText; }
    void setHeadlineText(const QString& text) { _headlineText = text; }
    QString newsImageURL() const { return _newsImageURL; }
    void setNewsImageURL(const QString& url) { _newsImageURL = url; }
    QString internalComment() const { return _internalComment; }
    void setInternalComment(const QString& comment) { _internalComment = comment; }
    QString moreInfoURL() const { return _moreInfoURL; }
    void setMoreInfoURL(const QString& url) { _moreInfoURL = url; }

private:
    QString _title;
    QDateTime _releaseDate;
    qint64 _showDays = 0;
    QString _headlineText;
    QString _newsImageURL;
    QString _internalComment;
    QString _moreInfoURL;
    VMNewsCollection* _collection = nullptr;
};

Q_DECLARE_METATYPE(VMNewsItemPtr)
