#include "LVDownloader.h"

#include "LVDownloadFolder.h"
#include "LVDownloadSession.h"
#include "LVDownloadSessionDelegate.h"
#include "LVDownloadTask.h"
#include "catalogue/LVServers.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "platform/InterruptCleanup.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMutexLocker>
#include <QTimer>

#include <algorithm>

namespace {

// Downloaders by task identifier. The map holds no ownership; a downloader removes itself when
// it is destroyed, after any delivery running for it on the main thread has finished.
struct DownloaderRegistry
{
    QMutex lock;
    QWaitCondition deliveryFinished;
    QHash<quint64, LVDownloader*> downloaders;
};

DownloaderRegistry& registry()
{
    static auto* instance = new DownloaderRegistry;
    return *instance;
}

// The session reports to the class, not to an instance.
class ClassSessionDelegate : public LVDownloadSessionDelegate
{
public:
    void URLSession(LVDownloadSession* session, LVDownloadTask* dataTask, const QByteArray& data) override
    {
        LVDownloader::URLSession(session, dataTask, data);
    }
    void URLSessionDidWriteData(LVDownloadSession* session, LVDownloadTask* dataTask) override
    {
        LVDownloader::URLSessionDidWriteData(session, dataTask);
    }
    void URLSession(LVDownloadSession* session, LVDownloadTask* task, const VMError& error) override
    {
        LVDownloader::URLSession(session, task, error);
    }
    void URLSession(LVDownloadSession* session, const VMError& error) override
    {
        LVDownloader::URLSession(session, error);
    }
};

bool usesExtendedLogging()
{
    return LVPreferences::sharedPreferences()->usesExtendedLogging();
}

// Chatty lines are written only with extended logging on; the preference is read on the main thread.
void logExtended(const QString& line)
{
    if (VMDispatch::isMainThread()) {
        if (usesExtendedLogging())
            VMLogger::logMessage(line);
        return;
    }
    VMDispatch::performOnMainThread([line] { logExtended(line); });
}

QString urlDescription(const QUrl& url)
{
    return QString::fromUtf8(url.toEncoded());
}

} // namespace

LVDownloader::LVDownloader(QObject* parent) : QObject(parent) {}

LVDownloader* LVDownloader::downloaderWithURL(const QUrl& url, QObject* parent)
{
    return initWithURL(url, parent);
}

LVDownloader* LVDownloader::initWithURL(const QUrl& givenURL, QObject* parent)
{
    if (givenURL.isEmpty() || !givenURL.isValid()) {
        VM_LOG_MESSAGE(QStringLiteral("url = nil"));
        return nullptr;
    }
    // A path alone (a mirror's catalogue) is on the download server, so that one mirror serves
    // machines whatever address they reach it by; every request goes over plain HTTP.
    return create(LVServers::resolvedPackageURL(givenURL), parent);
}

LVDownloader* LVDownloader::initWithURLKeepingScheme(const QUrl& url, QObject* parent)
{
    if (url.isEmpty() || !url.isValid()) {
        VM_LOG_MESSAGE(QStringLiteral("url = nil"));
        return nullptr;
    }
    return create(url, parent);
}

LVDownloader* LVDownloader::create(const QUrl& requestURL, QObject* parent)
{
    if (!requestURL.isValid()) {
        VM_LOG_MESSAGE(QStringLiteral("theRequest = nil"));
        return nullptr;
    }
    std::shared_ptr<LVDownloadTask> task = sharedSession()->dataTaskWithURL(requestURL, requestTimeoutInterval());
    if (!task) {
        VM_LOG_MESSAGE(QStringLiteral("_downloadTask = nil"));
        return nullptr;
    }
    auto* downloader = new LVDownloader(parent);
    downloader->_url = requestURL;
    downloader->_downloadTask = std::move(task);
    downloader->_registeredTaskIdentifier = downloader->_downloadTask->taskIdentifier();
    DownloaderRegistry& reg = registry();
    QMutexLocker locker(&reg.lock);
    reg.downloaders.insert(downloader->_registeredTaskIdentifier, downloader);
    return downloader;
}

LVDownloader::~LVDownloader()
{
    DownloaderRegistry& reg = registry();
    {
        QMutexLocker locker(&reg.lock);
        reg.downloaders.remove(_registeredTaskIdentifier);
        // Destroyed on another thread while the main thread delivers to it: wait for that delivery.
        // On the main thread a delivery in progress is the caller itself (deleted from a callback).
        if (!VMDispatch::isMainThread()) {
            while (_deliveries > 0)
                reg.deliveryFinished.wait(&reg.lock);
        }
    }
    _delegate = nullptr;
    _delegateObject = nullptr;
    closeDownloadFileHandle();
    if (_downloadTask) {
        _downloadTask->cancel();
        _downloadTask.reset();
    }
    cleanUp();
    InterruptCleanup::remove(_interruptSlot);
}

template <typename Handler> void LVDownloader::deliver(quint64 taskIdentifier, Handler&& handler)
{
    DownloaderRegistry& reg = registry();
    LVDownloader* downloader = nullptr;
    {
        QMutexLocker locker(&reg.lock);
        downloader = reg.downloaders.value(taskIdentifier);
        if (!downloader)
            return;
        ++downloader->_deliveries;
    }
    QPointer<LVDownloader> alive(downloader);
    handler(downloader);
    if (!alive)
        return; // deleted by its delegate during the callback
    QMutexLocker locker(&reg.lock);
    --downloader->_deliveries;
    reg.deliveryFinished.wakeAll();
}

QString LVDownloader::downloadFilePathWithSuggestedFileName(const QString& fileName)
{
    if (fileName.isEmpty())
        return QString();
    const QString directory = LVDownloadFolder::path();
    if (directory.isEmpty())
        return QString();
    // "Setup.pkg" -> "Setup" + "pkg"; a leading dot (".profile") is part of the stem.
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    const QString stem = dot > 0 ? fileName.left(dot) : fileName;
    const QString extension = dot > 0 ? fileName.mid(dot + 1) : QString();
    const QDir folder(directory);
    auto candidate = [&](const QString& name) {
        return folder.filePath(extension.isEmpty() ? name : name + QLatin1Char('.') + extension);
    };
    QString path = candidate(stem);
    for (qint64 number = 1; QFileInfo::exists(path); ++number)
        path = candidate(QStringLiteral("%1 %2").arg(stem, QString::number(number)));
    return path;
}

QByteArray LVDownloader::downloadDataWithURL(const QUrl& url, VMError* error)
{
    if (error)
        *error = VMError();
    if (VMDispatch::isMainThread()) {
        VM_LOG_MESSAGE(QStringLiteral("downloadDataWithURL called on the main thread: %1").arg(urlDescription(url)));
        if (error)
            *error = VMError(QStringLiteral("NSURLErrorDomain"), -1,
                             QStringLiteral("A synchronous download can't be made on the main thread."));
        return QByteArray();
    }
    std::unique_ptr<LVDownloader> downloader(downloaderWithURL(url));
    if (!downloader)
        return QByteArray();
    downloader->start();
    if (!downloader->waitUntilComplete(timeoutInterval)) {
        if (error)
            *error = LVDownloadSession::timedOutError();
        return QByteArray();
    }
    // The main thread is done with the downloader once it has signalled.
    if (error)
        *error = downloader->error();
    return downloader->data();
}

LVDownloadSession* LVDownloader::sharedSession()
{
    static LVDownloadSession* session = [] {
        static ClassSessionDelegate delegate;
        auto* created = new LVDownloadSession(&delegate);
        // Kept for the life of the process; its thread stops with the application object, before
        // anything it could post to is gone.
        qAddPostRoutine([] { sharedSession()->shutdown(); });
        return created;
    }();
    return session;
}

LVDownloader* LVDownloader::downloaderWithID(quint64 taskIdentifier)
{
    DownloaderRegistry& reg = registry();
    QMutexLocker locker(&reg.lock);
    return reg.downloaders.value(taskIdentifier);
}

double LVDownloader::requestTimeoutInterval()
{
    return std::max(1.0, timeoutInterval * VMDispatch::delayScale());
}

void LVDownloader::URLSession(LVDownloadSession*, LVDownloadTask* dataTask, const QByteArray& data)
{
    VMDispatch::performOnMainThread([task = dataTask->shared_from_this(), data] {
        deliver(task->taskIdentifier(), [&](LVDownloader* downloader) { downloader->didReceiveData(data); });
        // Only now may the session read more for this task: memory stays flat when the main
        // thread falls behind the network.
        task->didConsumeBytes(data.size());
    });
}

void LVDownloader::URLSessionDidWriteData(LVDownloadSession*, LVDownloadTask* dataTask)
{
    VMDispatch::performOnMainThread([task = dataTask->shared_from_this()] {
        const qint64 written = task->takeWriteNotice();
        deliver(task->taskIdentifier(), [&](LVDownloader* downloader) { downloader->didWriteData(written); });
        // As with chunks in memory: the session goes on once the main thread has kept up.
        task->didConsumeWrittenBytes(written);
    });
}

void LVDownloader::URLSession(LVDownloadSession*, LVDownloadTask* task, const VMError& error)
{
    const quint64 identifier = task->taskIdentifier();
    const int status = task->statusCode();
    VMDispatch::performOnMainThread([identifier, error, status] {
        deliver(identifier, [&](LVDownloader* d) {
            d->_statusCode = status;
            d->didCompleteWithError(error);
        });
    });
    if (error) {
        VM_LOG_MESSAGE(error.description());
    } else {
        logExtended(VM_CALL_SITE(QStringLiteral("Download completed: %1").arg(QString::fromUtf8(task->url()))));
    }
}

void LVDownloader::URLSession(LVDownloadSession*, const VMError& error)
{
    if (error)
        VM_LOG_MESSAGE(error.description());
    QList<quint64> identifiers;
    {
        DownloaderRegistry& reg = registry();
        QMutexLocker locker(&reg.lock);
        identifiers = reg.downloaders.keys();
    }
    for (quint64 identifier : identifiers) {
        VMDispatch::performOnMainThread([identifier, error] {
            deliver(identifier, [&](LVDownloader* d) { d->didBecomeInvalidWithError(error); });
        });
    }
}

qint64 LVDownloader::expectedDataSize() const
{
    return _downloadTask ? _downloadTask->countOfBytesExpectedToReceive() : 0;
}

LVDownloaderDelegate* LVDownloader::delegate() const
{
    return _delegateObject ? _delegate : nullptr;
}

void LVDownloader::setDelegate(LVDownloaderDelegate* delegate)
{
    auto* object = dynamic_cast<QObject*>(delegate);
    if (delegate && !object)
        qWarning("LVDownloader: a delegate must be a QObject; it is ignored");
    _delegate = object ? delegate : nullptr;
    _delegateObject = object;
}

bool LVDownloader::start()
{
    if (!_downloadTask || !_downloadTask->resume())
        return false;
    logExtended(VM_CALL_SITE(QStringLiteral("Start download from: %1").arg(urlDescription(_url))));
    return true;
}

bool LVDownloader::startWithDownloadFilePath(const QString& path)
{
    if (path.isNull() || !_downloadTask || _downloadTask->state() != LVDownloadTask::Suspended)
        return false;
    // The file is handed to the task before it starts, so every chunk goes into it; when the
    // file can't be made the download starts all the same and the body arrives in memory.
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
        _downloadTask->resume();
        VM_LOG_MESSAGE(QStringLiteral("Couldn't create download file at: %1").arg(path));
        return false;
    }
    _downloadFilePath = path;
    _interruptSlot = InterruptCleanup::add(path);
    _downloadFileHandle = std::move(file);
    const bool positioned = _downloadFileHandle->seek(0);
    _downloadTask->setDownloadFile(_downloadFileHandle.get());
    _downloadTask->resume();
    logExtended(VM_CALL_SITE(QStringLiteral("Start download from: %1 to file: %2").arg(urlDescription(_url), path)));
    return positioned;
}

void LVDownloader::cancel()
{
    _deleteDownloadFile = true;
    if (_downloadTask)
        _downloadTask->cancel();
}

bool LVDownloader::waitUntilComplete(double seconds)
{
    QDeadlineTimer deadline(static_cast<qint64>(seconds * 1000.0));
    QMutexLocker locker(&_downloadCompleteConditionLock);
    // The end is remembered, so a wait that begins after it returns at once.
    while (!_downloadComplete && !deadline.hasExpired())
        _downloadCompleteCondition.wait(&_downloadCompleteConditionLock, deadline);
    return _downloadComplete;
}

void LVDownloader::cleanUp()
{
    if (_deleteDownloadFile && !_downloadFilePath.isNull())
        QFile::remove(_downloadFilePath);
}

void LVDownloader::didReceiveData(const QByteArray& data)
{
    if (data.isEmpty())
        return;
    receive(data.size(), &data);
}

void LVDownloader::didWriteData(qint64 written)
{
    if (written > qint64(_downloadDataSize))
        receive(written - qint64(_downloadDataSize), nullptr);
}

void LVDownloader::receive(qint64 count, const QByteArray* data)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const double sinceLastUpdate =
        _lastProgressUpdateDate.isNull() ? 0.0 : now.msecsTo(_lastProgressUpdateDate) / 1000.0;
    if (_ended)
        return;
    QPointer<LVDownloader> alive(this);
    if (_downloadDataSize == 0) {
        if (LVDownloaderDelegate* d = delegate())
            d->downloadStarted(this);
        if (!alive)
            return;
    }
    _downloadDataSize += static_cast<quint64>(count);
    if (data) {
        if (_downloadFileHandle) {
            _downloadFileHandle->write(*data); // a write error shows up in the file, not here
        } else {
            if (_downloadData.isNull())
                _downloadData.reserve(1000000);
            _downloadData.append(*data);
        }
    }
    if (!_lastProgressUpdateDate.isNull() && sinceLastUpdate >= -1.0) {
        // Without a later chunk (a server that sends a burst, then pauses) the bytes held back
        // would never be shown: they are reported when the second is over.
        if (!_reportDue && delegate()) {
            _reportDue = true;
            const qint64 wait = 1000 - _lastProgressUpdateDate.msecsTo(now);
            QTimer::singleShot(int(std::max<qint64>(wait, 0)), Qt::PreciseTimer, this, [this] {
                if (_reportDue && !_ended)
                    reportProgress();
            });
        }
        return;
    }
    reportProgress();
}

void LVDownloader::reportProgress()
{
    _reportDue = false;
    const qint64 expected = expectedDataSize();
    const double progress = expected > 0 ? static_cast<double>(_downloadDataSize) * 100.0 / expected : -1.0;
    _lastProgressUpdateDate = QDateTime::currentDateTimeUtc();
    if (LVDownloaderDelegate* d = delegate())
        d->downloadProgress(progress, this);
}

void LVDownloader::didCompleteWithError(const VMError& error)
{
    if (_ended)
        return;
    _ended = true;
    closeDownloadFileHandle();
    _downloadTask.reset();
    _error = error;
    QPointer<LVDownloader> alive(this);
    if (LVDownloaderDelegate* d = delegate()) {
        if (error)
            d->downloadFailed(this);
        else
            d->downloadCompleted(this);
    }
    if (alive)
        signalCompletion();
}

void LVDownloader::didBecomeInvalidWithError(const VMError& error)
{
    closeDownloadFileHandle();
    _deleteDownloadFile = true;
    // A downloader that has already ended has had its one final callback.
    if (_ended)
        return;
    _ended = true;
    _downloadTask.reset();
    _error = error;
    QPointer<LVDownloader> alive(this);
    if (LVDownloaderDelegate* d = delegate())
        d->downloadFailed(this);
    if (alive)
        signalCompletion();
}

void LVDownloader::closeDownloadFileHandle()
{
    if (_downloadTask)
        _downloadTask->detachDownloadFile();
    if (_downloadFileHandle) {
        _downloadFileHandle->close();
        _downloadFileHandle.reset();
    }
}

void LVDownloader::signalCompletion()
{
    QMutexLocker locker(&_downloadCompleteConditionLock);
    _downloadComplete = true;
    _downloadCompleteCondition.wakeAll();
}
