#pragma once

#include "catalogue/VMProductItem.h"
#include "foundation/VMPropertyList.h"

class VMBundleProductItem;
using VMBundleProductItemPtr = std::shared_ptr<VMBundleProductItem>;

// A bundle of single products. What it holds is found by resolving bundleIncludedProductIDs
// against the products collection; it has no versions, identifier or download of its own.
class VMBundleProductItem : public VMProductItem
{
public:
    // A new bundle: "Untitled Bundle", not discontinued.
    VMBundleProductItem();
    ~VMBundleProductItem() override;

    // Built from an empty bundle, so absent keys stay null. A value of the wrong type is logged
    // and ends the reading; the bundle read so far is returned. Never null.
    static VMBundleProductItemPtr initWithDict(const QVariantMap& dict);
    // The same from a dictionary node of a parsed catalogue.
    static VMBundleProductItemPtr initWithNode(plist_t dict);

    // "title" posts "reloadItemInNodeTable"; an unknown key goes to the system log.
    bool setValue(const QVariant& value, const QString& key) override;

    QString title() const override { return _title; }
    void setTitle(const QString& title) { _title = title; }
    bool titleEditable() const override { return true; }
    bool isExpandable() const override { return false; }

    // Product IDs separated by single spaces.
    QString bundleIncludedProductIDs() const { return _bundleIncludedProductIDs; }
    void setBundleIncludedProductIDs(const QString& ids) { _bundleIncludedProductIDs = ids; }
    QString bundleDescription() const { return _bundleDescription; }
    void setBundleDescription(const QString& text) { _bundleDescription = text; }
    QString bundleIconURL() const { return _bundleIconURL; }
    void setBundleIconURL(const QString& url) { _bundleIconURL = url; }
    QString bundleInfoURL() const { return _bundleInfoURL; }
    void setBundleInfoURL(const QString& url) { _bundleInfoURL = url; }
    QString bundleDocsURL() const { return _bundleDocsURL; }
    void setBundleDocsURL(const QString& url) { _bundleDocsURL = url; }
    QString bundleBuyURL() const { return _bundleBuyURL; }
    void setBundleBuyURL(const QString& url) { _bundleBuyURL = url; }
    bool bundleDiscontinued() const { return _bundleDiscontinued; }
    void setBundleDiscontinued(bool flag) { _bundleDiscontinued = flag; }

private:
    struct Empty
    {
    };
    explicit VMBundleProductItem(Empty) {}

    bool _bundleDiscontinued = false;
    QString _title;
    QString _bundleDescription;
    QString _bundleIncludedProductIDs;
    QString _bundleIconURL;
    QString _bundleDocsURL;
    QString _bundleInfoURL;
    QString _bundleBuyURL;
};

Q_DECLARE_METATYPE(VMBundleProductItemPtr)
