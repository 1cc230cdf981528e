#include "VMVersionItem.h"

#include "catalogue/VMCatalogueReader.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMReleaseDate.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMLog.h"

VMVersionItem::VMVersionItem()
    : _releaseDate(VMUtils::currentDate()), _productVersion(QStringLiteral("1.0")),
      _osXVersion(QStringLiteral("10.15")),
      _hostVersions(VMCatalogueReader::toEntries(
          {{VMUtils::stringForHostApp(VMUtils::HostAppFinalCutProX), QStringLiteral("10.1")},
           {VMUtils::stringForHostApp(VMUtils::HostAppMotion), QStringLiteral("5.5")}}))
{}

VMVersionItem::VMVersionItem(Parsing) {}

namespace {

constexpr const char* kKeyNames[] = {
    "Bug Fixes",        "Bug Fixes Description", "Check Installed Directory",
    "Download SHA256",  "Download URL",          "Host Versions",
    "Identifier",       "Installer Arguments",   "Installer Requires Authentication",
    "Internal Comment", "New Features",          "New Features Description",
    "OSX Version",      "Product Version",       "Release Date",
    "Uninstall Script", "Version Tags",
};
constexpr VMCatalogueKeys kKeys(kKeyNames);

} // namespace

VMVersionItem::~VMVersionItem() = default;

VMVersionItemPtr VMVersionItem::initWithDict(const QVariantMap& dict)
{
    return initWithNode(VMPropertyList::treeFromVariant(dict).root());
}

VMVersionItemPtr VMVersionItem::initWithNode(plist_t dict)
{
    Reading reading;
    reading.extendedLogging = LVPreferences::sharedPreferences()->usesExtendedLogging();
    return initWithNode(dict, reading);
}

VMVersionItemPtr VMVersionItem::initWithNode(plist_t dict, Reading& reading)
{
    // Every other default is overwritten by its key, present or not.
    auto item = std::make_shared<VMVersionItem>(Parsing{});
    VMCatalogueReader reader(dict, kKeys);

    if (const auto releaseDate = reader.readStringBytes(kKeys["Release Date"]); !releaseDate) {
        item->_releaseDate = VMUtils::currentDate();
    } else {
        item->_releaseDay = VMReleaseDate::dayFromUtf8(*releaseDate);
        if (reading.extendedLogging)
            VM_LOG_MESSAGE(QStringLiteral("Release date: %1").arg(VMReleaseDate::description(item->releaseDate())));
    }
    reader.readString(kKeys["Product Version"], item->_productVersion);
    reader.readString(kKeys["OSX Version"], item->_osXVersion);
    reader.readDictionary(kKeys["Host Versions"], item->_hostVersions, reading.hostNames);
    reader.readInteger(kKeys["New Features"], item->_newFeatures, 0);
    reader.readInteger(kKeys["Bug Fixes"], item->_bugFixes, 0);
    reader.readString(kKeys["New Features Description"], item->_featuresText);
    reader.readString(kKeys["Bug Fixes Description"], item->_bugFixesText);
    reader.readString(kKeys["Internal Comment"], item->_internalComment);
    reader.readString(kKeys["Download URL"], item->_versionDownloadURL);
    reader.readString(kKeys["Download SHA256"], item->_downloadSHA256);
    reader.readBool(kKeys["Installer Requires Authentication"], item->_versionInstallerRequiresAuthentication, true);
    reader.readString(kKeys["Installer Arguments"], item->_versionInstallerArguments);
    reader.readString(kKeys["Identifier"], item->_productIdentifier);
    reader.readString(kKeys["Check Installed Directory"], item->_productCheckInstalledDirectory);
    reader.readString(kKeys["Uninstall Script"], item->_productUninstallScriptURL);
    reader.readString(kKeys["Version Tags"], item->_versionTags);
    for (const QString& problem : reader.problems())
        VM_LOG_MESSAGE(problem);
    return item;
}

QDateTime VMVersionItem::releaseDate() const
{
    return _releaseDay.isValid() ? VMReleaseDate::atMidnight(_releaseDay) : _releaseDate;
}

int VMVersionItem::compare(const VMVersionItem& other) const
{
    return VMUtils::compareVersion(_productVersion, other._productVersion);
}

bool VMVersionItem::containsTag(const QString& tag) const
{
    if (tag.isNull() || _versionTags.isNull())
        return false;
    const QStringView tags(_versionTags);
    qsizetype start = 0;
    for (qsizetype i = 0; i <= tags.size(); ++i) {
        if (i == tags.size() || tags.at(i) == QLatin1Char(',') || tags.at(i) == QLatin1Char(' ')) {
            const QStringView piece = tags.mid(start, i - start);
            if (!piece.isEmpty() && piece == tag)
                return true;
            start = i + 1;
        }
    }
    return false;
}

std::optional<QVariantMap> VMVersionItem::installerSettings() const
{
    if (_versionDownloadURL.isEmpty())
        return std::nullopt;
    QVariantMap settings;
    settings.insert(QStringLiteral("downloadURL"), _versionDownloadURL);
    if (!_versionInstallerArguments.isNull())
        settings.insert(QStringLiteral("arguments"), _versionInstallerArguments);
    settings.insert(QStringLiteral("requiresAuthentication"), _versionInstallerRequiresAuthentication);
    return settings;
}

QString VMVersionItem::title() const
{
    if (_internalComment.isEmpty())
        return _productVersion;
    return QStringLiteral("%1 (%2)").arg(_productVersion, _internalComment);
}

bool VMVersionItem::setValue(const QVariant& value, const QString& key)
{
    const auto text = [&value] { return value.isValid() ? value.toString() : QString(); };
    if (key == QLatin1String("releaseDate")) {
        setReleaseDate(value.toDateTime());
    } else if (key == QLatin1String("productVersion")) {
        _productVersion = text();
        postNotification(QStringLiteral("reloadNodeTable"));
    } else if (key == QLatin1String("osXVersion")) {
        _osXVersion = text();
    } else if (key == QLatin1String("hostVersions")) {
        setHostVersions(value.toMap());
    } else if (key == QLatin1String("newFeatures")) {
        _newFeatures = value.toLongLong();
    } else if (key == QLatin1String("bugFixes")) {
        _bugFixes = value.toLongLong();
    } else if (key == QLatin1String("featuresText")) {
        _featuresText = text();
    } else if (key == QLatin1String("bugFixesText")) {
        _bugFixesText = text();
    } else if (key == QLatin1String("internalComment")) {
        _internalComment = text();
        postNotification(QStringLiteral("reloadItemInNodeTable"));
    } else if (key == QLatin1String("versionDownloadURL")) {
        _versionDownloadURL = text();
    } else if (key == QLatin1String("versionInstallerArguments")) {
        _versionInstallerArguments = text();
    } else if (key == QLatin1String("versionInstallerRequiresAuthentication")) {
        _versionInstallerRequiresAuthentication = value.toBool();
    } else if (key == QLatin1String("productIdentifier")) {
        _productIdentifier = text();
    } else if (key == QLatin1String("productCheckInstalledDirectory")) {
        _productCheckInstalledDirectory = text();
    } else if (key == QLatin1String("productUninstallScriptURL")) {
        _productUninstallScriptURL = text();
    } else if (key == QLatin1String("versionTags")) {
        _versionTags = text();
    } else {
        return false;
    }
    return true;
}

QString VMVersionItem::checkInstalledPluginVersion() const
{
    const VMSingleProductItem* product = _productItem;
    return VMInstalledVersions::installedVersionForVersion(
        product ? product->productID() : QString(), _productIdentifier, _productCheckInstalledDirectory,
        product ? product->productIdentifier() : QString(),
        product ? product->productCheckInstalledDirectory() : QString());
}
