#include "VMSingleProductItem.h"

#include "catalogue/VMCatalogueReader.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMUtils.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMLog.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

// Ascending by version number; versions with equal numbers keep their order. Each number is
// worked out once, not once per comparison.
QList<VMVersionItemPtr> sortedVersions(const QList<VMVersionItemPtr>& versions)
{
    std::vector<std::pair<qint64, VMVersionItemPtr>> keyed;
    keyed.reserve(versions.size());
    for (const VMVersionItemPtr& version : versions)
        keyed.emplace_back(VMUtils::versionNumber(VMUtils::versionInfoFromString(version->productVersion())), version);
    std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    QList<VMVersionItemPtr> sorted;
    sorted.reserve(versions.size());
    for (auto& entry : keyed)
        sorted.append(std::move(entry.second));
    return sorted;
}

constexpr const char* kKeyNames[] = {
    "Buy URL",
    "Check Installed Directory",
    "Description",
    "Discontinued",
    "Docs URL",
    "Download SHA256",
    "Download URL",
    "Icon URL",
    "Identifier",
    "Info URL",
    "Installer Arguments",
    "Installer Requires Authentication",
    "Product ID",
    "Properties",
    "Title",
    "Uninstall Script",
    "Versions",
};
constexpr VMCatalogueKeys kKeys(kKeyNames);

} // namespace

VMSingleProductItem::VMSingleProductItem()
    : _productInstallerRequiresAuthentication(true), _title(QStringLiteral("Untitled Product"))
{
    setVersionItems({std::make_shared<VMVersionItem>()});
}

VMSingleProductItem::VMSingleProductItem(Empty) {}

VMSingleProductItem::~VMSingleProductItem()
{
    detachVersions();
}

VMSingleProductItemPtr VMSingleProductItem::initWithDict(const QVariantMap& dict)
{
    return initWithNode(VMPropertyList::treeFromVariant(dict).root());
}

VMSingleProductItemPtr VMSingleProductItem::initWithNode(plist_t dict)
{
    return initWithNode(dict, LVPreferences::sharedPreferences()->usesExtendedLogging());
}

VMSingleProductItemPtr VMSingleProductItem::initWithNode(plist_t dict, bool extendedLogging)
{
    VMSingleProductItemPtr item(new VMSingleProductItem(Empty{}));
    VMCatalogueReader reader(dict, kKeys);
    item->readBase(reader);
    reader.readString(kKeys["Title"], item->_title);
    reader.readString(kKeys["Identifier"], item->_productIdentifier);
    reader.readString(kKeys["Description"], item->_productDescription);
    reader.readString(kKeys["Info URL"], item->_productInfoURL);
    reader.readString(kKeys["Docs URL"], item->_productDocsURL);
    reader.readString(kKeys["Buy URL"], item->_productBuyURL);
    reader.readString(kKeys["Download URL"], item->_productDownloadURL);
    reader.readString(kKeys["Download SHA256"], item->_downloadSHA256);
    reader.readString(kKeys["Check Installed Directory"], item->_productCheckInstalledDirectory);
    reader.readBool(kKeys["Installer Requires Authentication"], item->_productInstallerRequiresAuthentication, true);
    reader.readString(kKeys["Installer Arguments"], item->_productInstallerArguments);
    reader.readString(kKeys["Icon URL"], item->_productIconURL);
    reader.readString(kKeys["Uninstall Script"], item->_productUninstallScriptURL);

    const std::vector<plist_t> versionDicts = reader.readArray(kKeys["Versions"]);
    QList<VMVersionItemPtr> versions;
    versions.reserve(static_cast<qsizetype>(versionDicts.size()));
    VMVersionItem::Reading reading;
    reading.extendedLogging = extendedLogging;
    for (plist_t versionDict : versionDicts) {
        if (!VMCatalogueReader::isDictionary(versionDict)) {
            reader.fail(
                QStringLiteral("Version entry is %1, not a dictionary").arg(VMCatalogueReader::typeName(versionDict)));
            break;
        }
        if (auto version = VMVersionItem::initWithNode(versionDict, reading))
            versions.append(std::move(version));
    }
    // Whatever was read before a bad entry is kept.
    item->setVersionItems(sortedVersions(std::move(versions)));
    reader.readBool(kKeys["Discontinued"], item->_productDiscontinued, false);
    for (const QString& problem : reader.problems())
        VM_LOG_MESSAGE(problem);
    return item;
}

void VMSingleProductItem::detachVersions()
{
    for (const VMVersionItemPtr& version : std::as_const(_versionItems)) {
        // A version handed on to another product keeps its new owner.
        if (version && version->productItem() == this)
            version->setProductItem(nullptr);
    }
}

void VMSingleProductItem::setVersionItems(const QList<VMVersionItemPtr>& versionItems)
{
    detachVersions();
    _versionItems = versionItems;
    _versionItems.removeAll(nullptr);
    for (const VMVersionItemPtr& version : std::as_const(_versionItems))
        version->setProductItem(this);
}

VMVersionItemPtr VMSingleProductItem::latestVersionItem() const
{
    const QList<VMVersionItemPtr> versions = sortedVersions(_versionItems);
    return versions.isEmpty() ? nullptr : versions.last();
}

VMVersionItemPtr VMSingleProductItem::versionItemForVersionString(const QString& versionString) const
{
    if (versionString.isNull())
        return nullptr;
    for (const VMVersionItemPtr& version : sortedVersions(_versionItems)) {
        if (VMUtils::compareVersion(version->productVersion(), versionString) == 0)
            return version;
    }
    if (LVPreferences::sharedPreferences()->usesExtendedLogging())
        VM_LOG_ERROR(
            QStringLiteral("No Version Item found for version string '%1' in product '%2'").arg(versionString, _title));
    return nullptr;
}

QList<VMVersionItemPtr> VMSingleProductItem::versionItemsWithTag(const QString& tag) const
{
    QList<VMVersionItemPtr> tagged;
    for (const VMVersionItemPtr& version : sortedVersions(_versionItems)) {
        if (version->containsTag(tag))
            tagged.append(version);
    }
    return tagged;
}

QStringList VMSingleProductItem::allProductIdentifiers() const
{
    QStringList identifiers;
    if (!_productIdentifier.isNull())
        identifiers.append(_productIdentifier);
    for (const VMVersionItemPtr& version : sortedVersions(_versionItems)) {
        if (!version->productIdentifier().isNull())
            identifiers.append(version->productIdentifier());
    }
    return identifiers;
}

std::optional<QVariantMap> VMSingleProductItem::installerSettings() const
{
    if (_productDownloadURL.isNull())
        return std::nullopt;
    QVariantMap settings;
    settings.insert(QStringLiteral("downloadURL"), _productDownloadURL);
    if (!_productInstallerArguments.isNull())
        settings.insert(QStringLiteral("arguments"), _productInstallerArguments);
    settings.insert(QStringLiteral("requiresAuthentication"), _productInstallerRequiresAuthentication);
    return settings;
}

std::optional<QVariantMap> VMSingleProductItem::installerSettingsForVersionItem(const VMVersionItem* versionItem) const
{
    if (versionItem) {
        if (auto settings = versionItem->installerSettings())
            return settings;
    }
    return installerSettings();
}

QList<VMNodePtr> VMSingleProductItem::children() const
{
    QList<VMNodePtr> nodes;
    for (const VMVersionItemPtr& version : sortedVersions(_versionItems))
        nodes.append(version);
    return nodes;
}

bool VMSingleProductItem::setValue(const QVariant& value, const QString& key)
{
    const auto text = [&value] { return value.isValid() ? value.toString() : QString(); };
    if (key == QLatin1String("title")) {
        _title = text();
        postNotification(QStringLiteral("reloadItemInNodeTable"));
    } else if (key == QLatin1String("versionItems")) {
        setVersionItems(value.value<QList<VMVersionItemPtr>>());
        postNotification(QStringLiteral("reloadNodeTable"));
    } else if (key == QLatin1String("productIdentifier")) {
        _productIdentifier = text();
    } else if (key == QLatin1String("productDescription")) {
        _productDescription = text();
    } else if (key == QLatin1String("productInfoURL")) {
        _productInfoURL = text();
    } else if (key == QLatin1String("productDocsURL")) {
        _productDocsURL = text();
    } else if (key == QLatin1String("productBuyURL")) {
        _productBuyURL = text();
    } else if (key == QLatin1String("productDownloadURL")) {
        _productDownloadURL = text();
    } else if (key == QLatin1String("productUninstallScriptURL")) {
        _productUninstallScriptURL = text();
    } else if (key == QLatin1String("productCheckInstalledDirectory")) {
        _productCheckInstalledDirectory = text();
    } else if (key == QLatin1String("productInstallerArguments")) {
        _productInstallerArguments = text();
    } else if (key == QLatin1String("productIconURL")) {
        _productIconURL = text();
    } else if (key == QLatin1String("productInstallerRequiresAuthentication")) {
        _productInstallerRequiresAuthentication = value.toBool();
    } else if (key == QLatin1String("productDiscontinued")) {
        _productDiscontinued = value.toBool();
    } else {
        return VMProductItem::setValue(value, key);
    }
    return true;
}

QString VMSingleProductItem::checkInstalledPluginVersion() const
{
    QString installed = VMInstalledVersions::installedVersionForProduct(productID(), _productIdentifier,
                                                                        _productCheckInstalledDirectory);
    for (const VMVersionItemPtr& versionItem : _versionItems)
        installed = VMInstalledVersions::newerInstalledVersion(installed, versionItem->checkInstalledPluginVersion());
    return installed;
}

QString VMSingleProductItem::latestVersionInstallerURL() const
{
    const VMVersionItemPtr latest = latestVersionItem();
    if (latest && !latest->versionDownloadURL().isNull())
        return latest->versionDownloadURL();
    return productDownloadURL();
}
