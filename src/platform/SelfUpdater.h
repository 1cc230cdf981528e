#pragma once

#include <QString>
#include <QUrl>

// Keeping the application itself up to date from an appcast.
class SelfUpdater
{
public:
    virtual ~SelfUpdater() = default;
    virtual void setFeedUrl(const QUrl&) {}
    virtual void setAutomaticallyChecksForUpdates(bool) {}
    virtual void setUpdateCheckInterval(double /*seconds*/) {}
    virtual void checkForUpdatesInBackground() {}
    virtual void checkForUpdates() {}
};
