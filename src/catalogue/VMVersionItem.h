#pragma once

#include "catalogue/VMCatalogueReader.h"
#include "catalogue/VMNode.h"
#include "foundation/VMPropertyList.h"

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <optional>

class VMSingleProductItem;
class VMVersionItem;

using VMVersionItemPtr = std::shared_ptr<VMVersionItem>;

// One released version of a single product.
class VMVersionItem : public VMNode
{
public:
    // A new version: released now, 1.0, for macOS 10.15, FCP X 10.1 and Motion 5.5.
    VMVersionItem();
    ~VMVersionItem() override;

    // Starts from the defaults above, then every key overwrites its field, absent or not (only the
    // release date keeps its default). A value of the wrong type is logged and read as absent; the
    // other keys are still read. Never null.
    static VMVersionItemPtr initWithDict(const QVariantMap& dict);
    // The same from a dictionary node of a parsed catalogue.
    static VMVersionItemPtr initWithNode(plist_t dict);
    // What the versions of one product share while they are read.
    struct Reading
    {
        bool extendedLogging = false;
        VMCatalogueKeyTexts hostNames;
    };
    static VMVersionItemPtr initWithNode(plist_t dict, Reading& reading);

    // Ascending by version number: -1 when this version is older than `other`, 1 when newer, 0 when
    // the numbers are equal.
    int compare(const VMVersionItem& other) const;

    // Whether `tag` is one of the words of versionTags (split at commas and spaces; case-sensitive).
    bool containsTag(const QString& tag) const;

    // "downloadURL", "arguments" (only when set) and "requiresAuthentication"; none when the
    // version's download URL is null or empty.
    std::optional<QVariantMap> installerSettings() const;

    // The version installed through this version's own plug-in identifier or check directory (the
    // missing one taken from its product); null when it names neither or nothing is found.
    QString checkInstalledPluginVersion() const;

    // The single product that holds this version; null once the product lets it go.
    VMSingleProductItem* productItem() const { return _productItem; }
    void setProductItem(VMSingleProductItem* productItem) { _productItem = productItem; }

    // Key-value setting by property name; "productVersion" posts "reloadNodeTable" and
    // "internalComment" "reloadItemInNodeTable". Answers whether the key was recognised.
    bool setValue(const QVariant& value, const QString& key);

    // The version number, with the internal comment in parentheses when there is one.
    QString title() const override;
    bool titleEditable() const override { return false; }
    bool isExpandable() const override { return false; }
    QList<VMNodePtr> children() const override { return {}; }

    QDateTime releaseDate() const;
    void setReleaseDate(const QDateTime& date)
    {
        _releaseDate = date;
        _releaseDay = QDate();
    }
    QString productVersion() const { return _productVersion; }
    void setProductVersion(const QString& version) { _productVersion = version; }
    QString osXVersion() const { return _osXVersion; }
    void setOsXVersion(const QString& version) { _osXVersion = version; }
    // Host-application name ("FCP X", "Motion") to the minimum host version.
    QVariantMap hostVersions() const { return VMCatalogueReader::toMap(_hostVersions); }
    void setHostVersions(const QVariantMap& versions) { _hostVersions = VMCatalogueReader::toEntries(versions); }
    qint64 newFeatures() const { return _newFeatures; }
    void setNewFeatures(qint64 level) { _newFeatures = level; }
    qint64 bugFixes() const { return _bugFixes; }
    void setBugFixes(qint64 level) { _bugFixes = level; }
    QString featuresText() const { return _featuresText; }
    void setFeaturesText(const QString& text) { _featuresText = text; }
    QString bugFixesText() const { return _bugFixesText; }
    void setBugFixesText(const QString& text) { _bugFixesText = text; }
    QString internalComment() const { return _internalComment; }
    void setInternalComment(const QString& comment) { _internalComment = comment; }
    QString versionDownloadURL() const { return _versionDownloadURL; }
    void setVersionDownloadURL(const QString& url) { _versionDownloadURL = url; }
    // "Download SHA256": the hex SHA-256 of the package at versionDownloadURL(); null when not given.
    QString downloadSHA256() const { return _downloadSHA256; }
    bool versionInstallerRequiresAuthentication() const { return _versionInstallerRequiresAuthentication; }
    void setVersionInstallerRequiresAuthentication(bool flag) { _versionInstallerRequiresAuthentication = flag; }
    QString versionInstallerArguments() const { return _versionInstallerArguments; }
    void setVersionInstallerArguments(const QString& arguments) { _versionInstallerArguments = arguments; }
    // These three override the product's own when set.
    QString productIdentifier() const { return _productIdentifier; }
    void setProductIdentifier(const QString& identifier) { _productIdentifier = identifier; }
    QString productCheckInstalledDirectory() const { return _productCheckInstalledDirectory; }
    void setProductCheckInstalledDirectory(const QString& path) { _productCheckInstalledDirectory = path; }
    QString productUninstallScriptURL() const { return _productUninstallScriptURL; }
    void setProductUninstallScriptURL(const QString& url) { _productUninstallScriptURL = url; }
    QString versionTags() const { return _versionTags; }
    void setVersionTags(const QString& tags) { _versionTags = tags; }

private:
    struct Parsing
    {
    };

public:
    // What parsing starts from: only the defaults that a missing key leaves in place. Public for
    // std::make_shared; only this class can make a Parsing.
    explicit VMVersionItem(Parsing);

private:
    bool _versionInstallerRequiresAuthentication = true;
    VMSingleProductItem* _productItem = nullptr;
    QDateTime _releaseDate;
    // A day read from the catalogue, made a QDateTime only when asked (few ever are); when valid,
    // it stands for _releaseDate.
    QDate _releaseDay;
    QString _productVersion;
    QString _osXVersion;
    // Kept as read (a map only when asked: few are).
    VMCatalogueEntries _hostVersions;
    qint64 _newFeatures = 0;
    qint64 _bugFixes = 0;
    QString _featuresText;
    QString _bugFixesText;
    QString _internalComment;
    QString _versionDownloadURL;
    QString _downloadSHA256;
    QString _versionInstallerArguments;
    QString _productIdentifier;
    QString _productCheckInstalledDirectory;
    QString _productUninstallScriptURL;
    QString _versionTags;
};

Q_DECLARE_METATYPE(VMVersionItemPtr)
