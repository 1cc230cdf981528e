#pragma once

#include "engines/LVDownloaderDelegate.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>
#include <functional>

// Fetches what is no product's work (a row's icon, a news image, the diagnostic tool) through the
// shared downloader and reports the outcome once. A fetch is a child of its context object, so it
// is cancelled without a word when the row or tool that asked goes away.
class LVFetch : public QObject, public LVDownloaderDelegate
{
    Q_OBJECT
public:
    struct Result
    {
        bool succeeded = false;
        QByteArray data;  // a fetch into memory
        QString filePath; // a fetch into a file
    };
    using Done = std::function<void(const Result&)>;

    // Into memory. Null, and `done` never called, when the URL is unusable or nothing starts.
    static LVFetch* data(const QUrl& url, QObject* context, Done done);
    // Into `filePath`; started() is emitted when the transfer begins.
    static LVFetch* file(const QUrl& url, const QString& filePath, QObject* context, Done done);

signals:
    void started();

private:
    LVFetch(QObject* context, Done done);
    static LVFetch* start(const QUrl& url, const QString& filePath, QObject* context, Done done);
    void finish(LVDownloader* downloader, bool succeeded);

    void downloadStarted(LVDownloader*) override;
    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;

    Done _done;
};
