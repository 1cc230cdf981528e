#pragma once

class LVDownloader;

// What a downloader's owner hears, always on the main thread and in the order
// downloadStarted, downloadProgress..., then exactly one of downloadCompleted / downloadFailed.
// The delegate must be a QObject: the downloader stops calling it once it is destroyed.
class LVDownloaderDelegate
{
public:
    virtual ~LVDownloaderDelegate() = default;
    virtual void downloadStarted(LVDownloader*) {}
    // A percentage 0-100, or -1.0 when the server did not say how much it will send.
    virtual void downloadProgress(double, LVDownloader*) {}
    virtual void downloadCompleted(LVDownloader*) {}
    virtual void downloadFailed(LVDownloader*) {}
};
