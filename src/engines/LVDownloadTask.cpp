#include "LVDownloadTask.h"

#include <curl/curl.h>

LVDownloadTask::LVDownloadTask(Runner* runner, quint64 identifier, const QByteArray& url, double timeoutInterval,
                               CURL* easy)
    : _runner(runner), _taskIdentifier(identifier), _url(url), _timeoutInterval(timeoutInterval), _easy(easy)
{}

LVDownloadTask::~LVDownloadTask()
{
    // Only a task the session never ran still has its handle here.
    if (_easy)
        curl_easy_cleanup(_easy);
}

bool LVDownloadTask::resume()
{
    int expected = Suspended;
    if (!_state.compare_exchange_strong(expected, Running))
        return false;
    _runner->resumeTask(shared_from_this());
    return true;
}

void LVDownloadTask::cancel()
{
    int state = _state.load();
    while (state == Suspended || state == Running) {
        if (_state.compare_exchange_weak(state, Canceling)) {
            _runner->cancelTask(shared_from_this());
            return;
        }
    }
}

void LVDownloadTask::didConsumeBytes(qint64 count)
{
    bool wake = false;
    {
        QMutexLocker locker(&_flowLock);
        _unconsumedBytes -= count;
        if (_paused && !_resumeRequested && _unconsumedBytes <= maximumUnconsumedBytes / 2)
            wake = _resumeRequested = true;
    }
    if (wake)
        _runner->unpauseTask(shared_from_this());
}

void LVDownloadTask::setDownloadFile(QFile* file)
{
    QMutexLocker locker(&_fileLock);
    _downloadFile = file;
}

void LVDownloadTask::detachDownloadFile()
{
    QMutexLocker locker(&_fileLock);
    _downloadFile = nullptr;
}

bool LVDownloadTask::writeToDownloadFile(const char* data, qint64 length)
{
    QMutexLocker locker(&_fileLock);
    if (!_downloadFile)
        return false;
    _downloadFile->write(data, length); // a write error shows up in the file, not here
    _bytesWritten.fetch_add(length);
    return true;
}

qint64 LVDownloadTask::takeWriteNotice()
{
    // Cleared before reading: a write after this read posts a notice of its own.
    _writeNoticePending.store(false);
    return _bytesWritten.load();
}

void LVDownloadTask::didConsumeWrittenBytes(qint64 written)
{
    if (written <= _writtenBytesConsumed)
        return;
    const qint64 count = written - _writtenBytesConsumed;
    _writtenBytesConsumed = written;
    didConsumeBytes(count);
}

bool LVDownloadTask::admitBytes(qint64 count)
{
    QMutexLocker locker(&_flowLock);
    if (_unconsumedBytes >= maximumUnconsumedBytes) {
        _paused = true;
        return false;
    }
    _unconsumedBytes += count;
    return true;
}

bool LVDownloadTask::clearPause()
{
    QMutexLocker locker(&_flowLock);
    const bool wasPaused = _paused;
    _paused = false;
    _resumeRequested = false;
    return wasPaused;
}

bool LVDownloadTask::isPaused() const
{
    QMutexLocker locker(&_flowLock);
    return _paused;
}
