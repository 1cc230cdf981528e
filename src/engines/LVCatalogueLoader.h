#pragma once

#include "catalogue/VMHelpItemsCollection.h"
#include "catalogue/VMNewsCollection.h"
#include "catalogue/VMProductsCollection.h"
#include "engines/LVDownloaderDelegate.h"
#include "foundation/VMError.h"
#include "platform/SystemInfo.h"

#include <QByteArray>
#include <QDateTime>
#include <QObject>
#include <QString>

// Obtains the catalogue: the override file in the home folder or else a download from the
// catalogue CDN, parses it and hands the collections on. Products go out at once; news and help
// follow a second later together with the end of the load, so the busy overlay stays up at least
// that long. No widgets: the install manager listens to the signals.
class LVCatalogueLoader : public QObject, public LVDownloaderDelegate
{
    Q_OBJECT
public:
    static constexpr double refreshInterval = 86400.0;

    explicit LVCatalogueLoader(QObject* parent = nullptr);
    ~LVCatalogueLoader() override;

    // "Product Versions.plist" in the home directory: when present it replaces the remote catalogue.
    static QString localVersionsFilePath();
    // The override file's bytes; a null array when it can't be read.
    static QByteArray getLocalUpdatesConfigData(QString* error = nullptr);
    // Whether showing the window refreshes: never loaded, loaded more than a day before now, or
    // Option held.
    static bool shouldRefresh(const QDateTime& lastLoad, const QDateTime& now, SystemInfo::ModifierKeys modifiers);
    // The rule above for this moment and the keys held now.
    bool needsRefresh() const;

    // Reads the override file or starts the download.
    void update();
    // Parses and hands on one catalogue; null data is logged and changes nothing.
    void updateWithConfigData(const QByteArray& data);
    // Stamps the end of a load.
    void endUpdate();
    // Writes the bytes to "Remote Product Versions.plist" in the home directory.
    static void saveRemoteConfigData(const QByteArray& data);

    QDateTime lastUpdateDate() const { return _lastUpdateDate; }
    void setLastUpdateDate(const QDateTime& date) { _lastUpdateDate = date; }
    QString licenseAgreementURL() const { return _licenseAgreementURL; }
    void setLicenseAgreementURL(const QString& url) { _licenseAgreementURL = url; }
    bool usingLocalConfig() const { return _usingLocalConfig; }

    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;

signals:
    // The override file was (true) or was not (false) found by a refresh.
    void usingLocalConfigChanged(bool usingLocalConfig);
    // Non-null data arrived and is about to be parsed.
    void updateStarted();
    // The catalogue had a "Products" section.
    void productsReady(const VMProductsCollectionPtr& collection);
    // Products and licence URL are applied; news and help follow.
    void configDataLoaded();
    // A second after the start; either collection is null when its section was missing.
    void newsAndHelpReady(const VMNewsCollectionPtr& news, const VMHelpItemsCollectionPtr& help);
    // Right after newsAndHelpReady, with lastUpdateDate stamped.
    void updateEnded();
    // The download failed; nothing changed.
    void failed(const VMError& error);

private:
    void setUsingLocalConfig(bool flag);

    QDateTime _lastUpdateDate;
    QString _licenseAgreementURL;
    bool _usingLocalConfig = false;
};
