#pragma once

#include "catalogue/VMNode.h"
#include "foundation/VMPropertyList.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class VMHelpItemsCollection;
class VMHelpItem;
using VMHelpItemPtr = std::shared_ptr<VMHelpItem>;

// A titled link to a page of the support site. It has no property table.
class VMHelpItem : public VMNode
{
public:
    // A new item: "Untitled Help".
    VMHelpItem();
    ~VMHelpItem() override;

    // Reads "Title" and "Help URL" only, from an empty item. A value of the wrong type is logged
    // and ends the reading; the item read so far is returned. Never null.
    static VMHelpItemPtr initWithDict(const QVariantMap& dict);
    // The same from a dictionary node of a parsed catalogue.
    static VMHelpItemPtr initWithNode(plist_t dict);

    VMHelpItemsCollection* collection() const { return _collection; }
    void setCollection(VMHelpItemsCollection* collection) { _collection = collection; }

    // "title" posts "reloadItemInNodeTable"; an unknown key goes to the system log.
    bool setValue(const QVariant& value, const QString& key);

    QString title() const override { return _title; }
    void setTitle(const QString& title) { _title = title; }
    bool titleEditable() const override { return true; }
    bool isExpandable() const override { return false; }
    QList<VMNodePtr> children() const override { return {}; }

    QString helpURL() const { return _helpURL; }
    void setHelpURL(const QString& url) { _helpURL = url; }

private:
    struct Empty
    {
    };
    explicit VMHelpItem(Empty) {}

    QString _title;
    QString _helpURL;
    VMHelpItemsCollection* _collection = nullptr;
};

Q_DECLARE_METATYPE(VMHelpItemPtr)
