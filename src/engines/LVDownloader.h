#pragma once

#include "engines/LVDownloaderDelegate.h"
#include "foundation/VMError.h"

#include <QByteArray>
#include <QDateTime>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariant>
#include <QWaitCondition>

#include <memory>

class LVDownloadSession;
class LVDownloadTask;
class QFile;

// Fetches one URL over HTTP into memory or into a file. All downloaders share one session; its
// events are routed by task identifier to the owning downloader and handed to the main thread, so
// every delegate callback arrives there. One-shot: create, set the delegate, start, and release
// after the final callback. Deleting a downloader mid-transfer cancels it without any callback.
class LVDownloader : public QObject
{
    Q_OBJECT
public:
    // Seconds without any data before a transfer fails; tests shrink it with the delay scale.
    static constexpr double timeoutInterval = 10.0;

    // Null (and "url = nil" logged) for an empty or invalid URL. The caller owns the result.
    static LVDownloader* initWithURL(const QUrl& url, QObject* parent = nullptr);
    static LVDownloader* downloaderWithURL(const QUrl& url, QObject* parent = nullptr);
    // The URL as given, its scheme kept: for the application's own update, which must not take
    // the catalogue downloads' plain-HTTP path.
    static LVDownloader* initWithURLKeepingScheme(const QUrl& url, QObject* parent = nullptr);

    // A path in the download folder that no file has yet: "Setup.pkg", "Setup 1.pkg", ...
    static QString downloadFilePathWithSuggestedFileName(const QString& fileName);

    // Downloads synchronously, waiting at most 10 s. For background threads only: on the main
    // thread it gives null at once, as the completion could never arrive there.
    static QByteArray downloadDataWithURL(const QUrl& url, VMError* error = nullptr);

    static LVDownloadSession* sharedSession();
    static LVDownloader* downloaderWithID(quint64 taskIdentifier);

    // The request timeout in effect: timeoutInterval × the delay scale, never under one second.
    static double requestTimeoutInterval();

    // The shared session's events (session thread): each is routed to its downloader on the main thread.
    static void URLSession(LVDownloadSession* session, LVDownloadTask* dataTask, const QByteArray& data);
    static void URLSessionDidWriteData(LVDownloadSession* session, LVDownloadTask* dataTask);
    static void URLSession(LVDownloadSession* session, LVDownloadTask* task, const VMError& error);
    static void URLSession(LVDownloadSession* session, const VMError& error);

    ~LVDownloader() override;

    // The URL actually requested: every "https:" of the given one turned into "http:" (unless
    // made with initWithURLKeepingScheme).
    QUrl url() const { return _url; }
    // The body when downloading into memory; null before the first chunk or when writing a file.
    QByteArray data() const { return _downloadData; }
    QString downloadFilePath() const { return _downloadFilePath; }
    VMError error() const { return _error; }
    // What the server announced: 0 before the response and once the task has ended, -1 when unknown.
    qint64 expectedDataSize() const;
    quint64 currentDownloadDataSize() const { return _downloadDataSize; }
    // The HTTP status of the response once the download has ended (200, 404, ...); 0 without one.
    int statusCode() const { return _statusCode; }

    // Null once the delegate object is destroyed. The delegate must be a QObject.
    LVDownloaderDelegate* delegate() const;
    void setDelegate(LVDownloaderDelegate* delegate);
    qint64 identifier() const { return _identifier; }
    void setIdentifier(qint64 identifier) { _identifier = identifier; }
    QVariant representedObject() const { return _representedObject; }
    void setRepresentedObject(const QVariant& object) { _representedObject = object; }
    bool deleteDownloadFile() const { return _deleteDownloadFile; }
    void setDeleteDownloadFile(bool flag) { _deleteDownloadFile = flag; }
    // Kept for callers that read it; the downloader never sets it, so it stays 0.
    quint64 downloadTaskIdentifier() const { return _downloadTaskIdentifier; }

    // Into memory. False when the download was started before or has ended.
    bool start();
    // Into a file, created empty (replacing one that is there). The task is started before the
    // file is made, so when the file can't be made the download still runs, into memory.
    bool startWithDownloadFilePath(const QString& path);
    // Marks the file for deletion and cancels; ends with downloadFailed.
    void cancel();
    // Blocks until the download has ended or `seconds` have passed; true when it has ended.
    // Must not be called on the main thread, where the end is delivered.
    bool waitUntilComplete(double seconds);
    // Removes the download file when deleteDownloadFile is set.
    void cleanUp();

    // Main thread: the session's events for this downloader.
    void didReceiveData(const QByteArray& data);
    // The session has written the body into the download file up to `written` bytes.
    void didWriteData(qint64 written);
    void didCompleteWithError(const VMError& error);
    void didBecomeInvalidWithError(const VMError& error);

private:
    explicit LVDownloader(QObject* parent);
    static LVDownloader* create(const QUrl& requestURL, QObject* parent);
    template <typename Handler> static void deliver(quint64 taskIdentifier, Handler&& handler);
    void closeDownloadFileHandle();
    // Counts `count` more bytes received (appending `data` when it is given) and reports.
    void receive(qint64 count, const QByteArray* data);
    void reportProgress();
    void signalCompletion();

    QUrl _url;
    std::shared_ptr<LVDownloadTask> _downloadTask;
    QString _downloadFilePath;
    std::unique_ptr<QFile> _downloadFileHandle;
    // The download file's registration for removal when the process is interrupted.
    int _interruptSlot = -1;
    QByteArray _downloadData;
    quint64 _downloadDataSize = 0;
    QDateTime _lastProgressUpdateDate;
    VMError _error;
    bool _deleteDownloadFile = false;
    LVDownloaderDelegate* _delegate = nullptr;
    QPointer<QObject> _delegateObject;
    qint64 _identifier = 0;
    int _statusCode = 0;
    QVariant _representedObject;
    quint64 _downloadTaskIdentifier = 0;
    QMutex _downloadCompleteConditionLock;
    QWaitCondition _downloadCompleteCondition;
    bool _downloadComplete = false; // guarded by _downloadCompleteConditionLock

    // The registry key, kept after the task is released.
    quint64 _registeredTaskIdentifier = 0;
    bool _ended = false;
    // A report held back by the once-a-second limit is due when that second is over.
    bool _reportDue = false;
    // Main-thread deliveries in progress; guarded by the registry lock.
    int _deliveries = 0;
};
