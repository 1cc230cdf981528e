#include "LVFetch.h"

#include "engines/LVDownloader.h"

LVFetch::LVFetch(QObject* context, Done done) : QObject(context), _done(std::move(done)) {}

LVFetch* LVFetch::data(const QUrl& url, QObject* context, Done done)
{
    return start(url, QString(), context, std::move(done));
}

LVFetch* LVFetch::file(const QUrl& url, const QString& filePath, QObject* context, Done done)
{
    return start(url, filePath, context, std::move(done));
}

LVFetch* LVFetch::start(const QUrl& url, const QString& filePath, QObject* context, Done done)
{
    auto* fetch = new LVFetch(context, std::move(done));
    LVDownloader* downloader = LVDownloader::initWithURL(url, fetch);
    if (downloader) {
        downloader->setDelegate(fetch);
        if (filePath.isEmpty() ? downloader->start() : downloader->startWithDownloadFilePath(filePath))
            return fetch;
    }
    delete fetch;
    return nullptr;
}

void LVFetch::downloadStarted(LVDownloader*)
{
    emit started();
}

void LVFetch::downloadCompleted(LVDownloader* downloader)
{
    finish(downloader, true);
}

void LVFetch::downloadFailed(LVDownloader* downloader)
{
    finish(downloader, false);
}

void LVFetch::finish(LVDownloader* downloader, bool succeeded)
{
    Result result;
    result.succeeded = succeeded;
    if (succeeded) {
        result.data = downloader->data();
        result.filePath = downloader->downloadFilePath();
    }
    // The callback may delete the context, and this fetch with it.
    const Done done = std::move(_done);
    deleteLater();
    if (done)
        done(result);
}
