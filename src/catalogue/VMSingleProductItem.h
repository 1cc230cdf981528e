#pragma once

#include "catalogue/VMProductItem.h"
#include "catalogue/VMVersionItem.h"
#include "foundation/VMPropertyList.h"

#include <QList>
#include <QStringList>
#include <optional>

class VMSingleProductItem;
using VMSingleProductItemPtr = std::shared_ptr<VMSingleProductItem>;

// An installable plug-in and its released versions, held in ascending version order.
class VMSingleProductItem : public VMProductItem
{
public:
    // A new product: "Untitled Product", requires authentication, one default version.
    VMSingleProductItem();
    ~VMSingleProductItem() override;

    // Built from an empty product, so absent keys stay null. A value of the wrong type is logged
    // and read as absent; the other keys are still read. A version entry that is not a dictionary
    // ends the versions: those before it are kept. Never null.
    static VMSingleProductItemPtr initWithDict(const QVariantMap& dict);
    // The same from a dictionary node of a parsed catalogue.
    static VMSingleProductItemPtr initWithNode(plist_t dict);
    // The same from any thread, with the extended-logging preference read beforehand.
    static VMSingleProductItemPtr initWithNode(plist_t dict, bool extendedLogging);

    QList<VMVersionItemPtr> versionItems() const { return _versionItems; }
    // Lets the old versions go (their productItem cleared) and takes the new ones as given.
    void setVersionItems(const QList<VMVersionItemPtr>& versionItems);

    // The highest version number, or null without versions.
    VMVersionItemPtr latestVersionItem() const;
    // Where the latest version's installer comes from: the latest version's download URL unless
    // that is nil, else the product's.
    QString latestVersionInstallerURL() const;
    // The first version, in ascending order, whose number equals `versionString` (so 2.1 finds
    // 2.1.0); null when there is none.
    VMVersionItemPtr versionItemForVersionString(const QString& versionString) const;
    QList<VMVersionItemPtr> versionItemsWithTag(const QString& tag) const;
    // The product's identifier (if set) followed by each version's (if set); duplicates kept.
    QStringList allProductIdentifiers() const;

    // The installed version: the product's own plug-in (when its check directory, if any, exists)
    // or any version's own one, whichever is newest; null when none is installed.
    QString checkInstalledPluginVersion() const;

    // "downloadURL", "arguments" (only when set) and "requiresAuthentication"; none only when the
    // download URL is null (an empty URL still gives settings).
    std::optional<QVariantMap> installerSettings() const;
    // The version's settings, else the product's.
    std::optional<QVariantMap> installerSettingsForVersionItem(const VMVersionItem* versionItem) const;

    // "title" posts "reloadItemInNodeTable", "versionItems" (a QList<VMVersionItemPtr>)
    // "reloadNodeTable"; an unknown key goes to the system log.
    bool setValue(const QVariant& value, const QString& key) override;

    QString title() const override { return _title; }
    void setTitle(const QString& title) { _title = title; }
    bool titleEditable() const override { return true; }
    bool isExpandable() const override { return true; }
    // The versions in ascending order.
    QList<VMNodePtr> children() const override;

    QString productIdentifier() const override { return _productIdentifier; }
    void setProductIdentifier(const QString& identifier) { _productIdentifier = identifier; }
    QString productCheckInstalledDirectory() const override { return _productCheckInstalledDirectory; }
    void setProductCheckInstalledDirectory(const QString& path) { _productCheckInstalledDirectory = path; }
    QString productDescription() const { return _productDescription; }
    void setProductDescription(const QString& text) { _productDescription = text; }
    QString productInfoURL() const { return _productInfoURL; }
    void setProductInfoURL(const QString& url) { _productInfoURL = url; }
    QString productDocsURL() const { return _productDocsURL; }
    void setProductDocsURL(const QString& url) { _productDocsURL = url; }
    QString productBuyURL() const { return _productBuyURL; }
    void setProductBuyURL(const QString& url) { _productBuyURL = url; }
    QString productDownloadURL() const { return _productDownloadURL; }
    void setProductDownloadURL(const QString& url) { _productDownloadURL = url; }
    // "Download SHA256": the hex SHA-256 of the package at productDownloadURL(); null when not given.
    QString downloadSHA256() const { return _downloadSHA256; }
    bool productInstallerRequiresAuthentication() const { return _productInstallerRequiresAuthentication; }
    void setProductInstallerRequiresAuthentication(bool flag) { _productInstallerRequiresAuthentication = flag; }
    QString productInstallerArguments() const { return _productInstallerArguments; }
    void setProductInstallerArguments(const QString& arguments) { _productInstallerArguments = arguments; }
    QString productIconURL() const { return _productIconURL; }
    void setProductIconURL(const QString& url) { _productIconURL = url; }
    QString productUninstallScriptURL() const { return _productUninstallScriptURL; }
    void setProductUninstallScriptURL(const QString& url) { _productUninstallScriptURL = url; }
    bool productDiscontinued() const { return _productDiscontinued; }
    void setProductDiscontinued(bool flag) { _productDiscontinued = flag; }

private:
    struct Empty
    {
    };
    explicit VMSingleProductItem(Empty);
    void detachVersions();

    bool _productInstallerRequiresAuthentication = false;
    bool _productDiscontinued = false;
    QString _title;
    QList<VMVersionItemPtr> _versionItems;
    QString _productDescription;
    QString _productIdentifier;
    QString _productInfoURL;
    QString _productDocsURL;
    QString _productBuyURL;
    QString _productDownloadURL;
    QString _downloadSHA256;
    QString _productCheckInstalledDirectory;
    QString _productInstallerArguments;
    QString _productIconURL;
    QString _productUninstallScriptURL;
};

Q_DECLARE_METATYPE(VMSingleProductItemPtr)
