#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

// One item of an appcast: an available version of the application.
struct SelfUpdateItem
{
    QString title;
    QString versionString;        // the build version ("sparkle:version")
    QString displayVersionString; // the version shown to people ("sparkle:shortVersionString")
    QString itemDescription;      // release notes (HTML)
    QUrl releaseNotesURL;
    QUrl fileURL;
    qint64 contentLength = 0;
    QByteArray edSignature; // base64 Ed25519 signature of the archive; empty when unsigned
};

// What the self-updater asks of the application and tells it.
class SelfUpdaterDelegate
{
public:
    virtual ~SelfUpdaterDelegate() = default;
    virtual QString feedURLStringForUpdater() = 0;
    virtual bool updaterMayCheckForUpdates() { return true; }
    virtual void updaterDidFinishLoadingAppcast(const QList<SelfUpdateItem>&) {}
    // The index of the item to offer, or -1 for none.
    virtual int bestValidUpdateInAppcast(const QList<SelfUpdateItem>& items) = 0;
    virtual void updaterDidFindValidUpdate(const SelfUpdateItem&) {}
    virtual void updaterDidNotFindUpdate() {}
};

// Keeping the application itself up to date from an appcast. The plain default does nothing; a
// platform without an updater of its own gets the application's portable one (see isAvailable).
class SelfUpdater
{
public:
    virtual ~SelfUpdater() = default;
    // False for this plain default, which does nothing.
    virtual bool isAvailable() const { return false; }
    virtual void setDelegate(SelfUpdaterDelegate*) {}
    virtual bool automaticallyChecksForUpdates() const { return false; }
    virtual void setAutomaticallyChecksForUpdates(bool) {}
    virtual double updateCheckInterval() const { return 0.0; }
    virtual void setUpdateCheckInterval(double /*seconds*/) {}
    virtual void checkForUpdatesInBackground() {}
    virtual void checkForUpdates() {}
};
