#include "LVCatalogueLoader.h"

#include "catalogue/LVServers.h"
#include "catalogue/VMCatalogue.h"
#include "engines/LVDownloader.h"
#include "foundation/VMClock.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace {
// The downloader identifier of the catalogue.
constexpr qint64 catalogueDownload = 1;
} // namespace

LVCatalogueLoader::LVCatalogueLoader(QObject* parent) : QObject(parent) {}

LVCatalogueLoader::~LVCatalogueLoader() = default;

QString LVCatalogueLoader::localVersionsFilePath()
{
    const QString home = Platform::systemInfo().homeDirectory();
    if (home.isEmpty())
        return QString();
    return QDir(home).filePath(QStringLiteral("Product Versions.plist"));
}

QByteArray LVCatalogueLoader::getLocalUpdatesConfigData(QString*)
{
    const QString path = localVersionsFilePath();
    if (path.isNull())
        return QByteArray();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    QByteArray data = file.readAll();
    // An empty file is still data (that does not parse), not a missing file.
    if (data.isNull())
        data = QByteArray("");
    return data;
}

bool LVCatalogueLoader::shouldRefresh(const QDateTime& lastLoad, const QDateTime& now,
                                      SystemInfo::ModifierKeys modifiers)
{
    if (lastLoad.isNull() || modifiers.testFlag(SystemInfo::Option))
        return true;
    return now.msecsTo(lastLoad) / 1000.0 < -refreshInterval;
}

bool LVCatalogueLoader::needsRefresh() const
{
    return shouldRefresh(_lastUpdateDate, VMClock::currentDate(), Platform::systemInfo().heldModifierKeys());
}

void LVCatalogueLoader::setUsingLocalConfig(bool flag)
{
    _usingLocalConfig = flag;
    emit usingLocalConfigChanged(flag);
}

void LVCatalogueLoader::update()
{
    const QByteArray localData = getLocalUpdatesConfigData();
    if (!localData.isNull()) {
        updateWithConfigData(localData);
        setUsingLocalConfig(true);
        return;
    }
    setUsingLocalConfig(false);
    LVDownloader* downloader = LVDownloader::initWithURL(LVServers::remoteCatalogueURL(), this);
    if (!downloader)
        return;
    downloader->setIdentifier(catalogueDownload);
    downloader->setDelegate(this);
    downloader->start();
}

void LVCatalogueLoader::downloadCompleted(LVDownloader* downloader)
{
    if (downloader->identifier() == catalogueDownload && !downloader->data().isNull())
        updateWithConfigData(downloader->data());
    downloader->deleteLater();
}

void LVCatalogueLoader::downloadFailed(LVDownloader* downloader)
{
    if (downloader->identifier() == catalogueDownload)
        emit failed(downloader->error());
    downloader->deleteLater();
}

void LVCatalogueLoader::updateWithConfigData(const QByteArray& data)
{
    if (data.isNull()) {
        VM_LOG_MESSAGE(QStringLiteral("configData = nil"));
        return;
    }
    emit updateStarted();

    // Parsing logs its own problems (and, with extended logging, the catalogue's version number).
    const VMCatalogue catalogue = VMCatalogue::initWithData(data);
    VMNewsCollectionPtr news;
    VMHelpItemsCollectionPtr help;
    if (catalogue.isValid()) {
        // "Indicate Product as New Period" is read by the catalogue and deliberately not applied.
        _licenseAgreementURL = catalogue.licenseAgreementURL();
        if (catalogue.productsCollection())
            emit productsReady(catalogue.productsCollection());
        news = catalogue.newsCollection();
        help = catalogue.helpItemsCollection();
    }

    VMDispatch::performAfterDelay(this, 1.0, [this, news, help] {
        emit newsAndHelpReady(news, help);
        endUpdate();
    });

    emit configDataLoaded();
}

void LVCatalogueLoader::endUpdate()
{
    _lastUpdateDate = VMClock::currentDate();
    emit updateEnded();
}

void LVCatalogueLoader::saveRemoteConfigData(const QByteArray& data)
{
    if (data.isNull())
        return;
    QSaveFile file(
        QDir(Platform::systemInfo().homeDirectory()).filePath(QStringLiteral("Remote Product Versions.plist")));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(data);
        file.commit();
    }
}
