#pragma once

#include <QByteArray>
#include <QFile>
#include <QMutex>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>

class LVDownloadSession;
typedef void CURL;

// One HTTP GET of the shared session. Created suspended; resume() hands it to the session thread,
// cancel() ends it with a cancellation error. Safe to call from any thread.
class LVDownloadTask : public std::enable_shared_from_this<LVDownloadTask>
{
public:
    // What a task asks of the session that runs it: each request is queued for the session's
    // thread, so these may be called from any thread.
    class Runner
    {
    public:
        virtual void resumeTask(std::shared_ptr<LVDownloadTask> task) = 0;
        virtual void cancelTask(std::shared_ptr<LVDownloadTask> task) = 0;
        // The receiver has caught up: a paused transfer may go on.
        virtual void unpauseTask(std::shared_ptr<LVDownloadTask> task) = 0;

    protected:
        ~Runner() = default;
    };

    enum State { Running = 0, Suspended = 1, Canceling = 2, Completed = 3 };

    // How far the receiver may fall behind the network before the transfer is paused: enough for
    // full-speed streaming, small enough that memory stays flat for any download size.
    static constexpr qint64 maximumUnconsumedBytes = 4 * 1024 * 1024;

    ~LVDownloadTask();
    LVDownloadTask(const LVDownloadTask&) = delete;
    LVDownloadTask& operator=(const LVDownloadTask&) = delete;

    quint64 taskIdentifier() const { return _taskIdentifier; }
    QByteArray url() const { return _url; }
    State state() const { return static_cast<State>(_state.load()); }
    // The body size the server announced; 0 before the response, -1 when it announced none.
    qint64 countOfBytesExpectedToReceive() const { return _countOfBytesExpectedToReceive.load(); }
    // The HTTP status of the response once the task has ended; 0 when there was none.
    int statusCode() const { return _statusCode.load(); }

    // Starts a suspended task; false when it was not suspended.
    bool resume();
    void cancel();

    // The receiver has dealt with `count` bytes of delivered data; may let a paused transfer go on.
    void didConsumeBytes(qint64 count);

    // The body goes straight into `file` (owned by the caller) on the session thread, chunk by
    // chunk as it arrives, and the receiver is only told how far it got. Set before resume().
    void setDownloadFile(QFile* file);
    // Stops writing into the file; waits for a write in progress. Before the caller closes it.
    void detachDownloadFile();
    // Receiver: takes the notice that more was written and answers how much is written in all.
    qint64 takeWriteNotice();
    // Receiver: has dealt with everything up to `written` bytes; may let a paused transfer go on.
    void didConsumeWrittenBytes(qint64 written);

private:
    friend class LVDownloadSession;
    LVDownloadTask(Runner* runner, quint64 identifier, const QByteArray& url, double timeoutInterval, CURL* easy);

    // Session thread: whether a chunk of `count` bytes may be taken now; when not, the transfer pauses.
    bool admitBytes(qint64 count);
    // Session thread: clears the pause; false when there was none.
    bool clearPause();
    bool isPaused() const;
    // Session thread: writes a chunk into the download file; false when there is none.
    bool writeToDownloadFile(const char* data, qint64 length);
    // Session thread: true when the receiver has no notice of a write pending and must get one.
    bool postWriteNotice() { return !_writeNoticePending.exchange(true); }

    Runner* const _runner;
    const quint64 _taskIdentifier;
    const QByteArray _url;
    const double _timeoutInterval;
    std::atomic<int> _state{Suspended};
    std::atomic<qint64> _countOfBytesExpectedToReceive{0};
    std::atomic<qint64> _countOfBytesReceived{0};
    std::atomic<int> _statusCode{0};

    // Session thread only.
    CURL* _easy = nullptr;
    std::chrono::steady_clock::time_point _lastActivity;
    std::array<char, 256> _errorBuffer{}; // CURL_ERROR_SIZE
    qint64 _maximumBodySize = 0;
    bool _tooLarge = false;

    mutable QMutex _flowLock;
    qint64 _unconsumedBytes = 0;
    bool _paused = false;
    bool _resumeRequested = false;

    QMutex _fileLock;
    QFile* _downloadFile = nullptr; // guarded by _fileLock
    std::atomic<qint64> _bytesWritten{0};
    std::atomic<bool> _writeNoticePending{false};
    qint64 _writtenBytesConsumed = 0; // receiver only
};
