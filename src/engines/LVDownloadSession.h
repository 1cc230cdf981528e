#pragma once

#include "LVDownloadTask.h"
#include "foundation/VMError.h"

#include <QByteArray>
#include <QMutex>
#include <QUrl>

#include <memory>
#include <thread>
#include <unordered_map>
#include <vector>

class LVDownloadSessionDelegate;
typedef void CURLM;

// The one HTTP session every download runs in: a libcurl multi handle driven by a thread of its
// own, up to 32 connections per host. Tasks are created suspended and reported to the delegate on
// the session thread, in order per task: data chunks, then completion.
class LVDownloadSession : private LVDownloadTask::Runner
{
public:
    static constexpr long HTTPMaximumConnectionsPerHost = 32;
    // A transfer slower than this over the speed window fails, however steadily it drips.
    static constexpr long minimumBytesPerSecond = 1024;

    // The window of the minimum speed, in seconds: 60, or LV_DOWNLOAD_SPEED_WINDOW (tests).
    static long minimumSpeedWindow();
    // The largest body any download may have, announced or sent: 4 GiB, or LV_DOWNLOAD_MAX_BYTES.
    static qint64 maximumBodySize();

    explicit LVDownloadSession(LVDownloadSessionDelegate* delegate);
    // Stops the thread without telling the delegate anything more.
    ~LVDownloadSession();
    LVDownloadSession(const LVDownloadSession&) = delete;
    LVDownloadSession& operator=(const LVDownloadSession&) = delete;

    // A suspended GET of `url` (sent as it stands, no cache, no conditional headers) that fails
    // when nothing arrives for `timeoutInterval` seconds. Null once the session is invalid.
    std::shared_ptr<LVDownloadTask> dataTaskWithURL(const QUrl& url, double timeoutInterval);

    // Cancels every task (each completes with a cancellation error), then reports the session
    // invalid. Later dataTaskWithURL calls give null.
    void invalidateAndCancel();
    bool isValid() const;

    // Stops the thread at once: running tasks are dropped without events. For process exit.
    void shutdown();

    // The error a task ends with when it was cancelled or went silent for too long.
    static VMError cancelledError();
    static VMError timedOutError();
    static VMError tooLargeError();
    static VMError errorForCurlCode(int code, const QByteArray& detail);

private:
    struct Command
    {
        enum Kind { Resume, Cancel, Unpause, Invalidate } kind;
        std::shared_ptr<LVDownloadTask> task;
    };

    void resumeTask(std::shared_ptr<LVDownloadTask> task) override;
    void cancelTask(std::shared_ptr<LVDownloadTask> task) override;
    void unpauseTask(std::shared_ptr<LVDownloadTask> task) override;
    void enqueue(Command command);

    void run();
    void apply(const Command& command);
    void start(const std::shared_ptr<LVDownloadTask>& task);
    void finish(const std::shared_ptr<LVDownloadTask>& task, const VMError& error);
    void collectFinishedTransfers();
    void failSilentTransfers();
    void invalidate(const VMError& error);

    static size_t writeCallback(char* data, size_t size, size_t count, void* userData);
    static size_t headerCallback(char* data, size_t size, size_t count, void* userData);
    size_t didReceive(LVDownloadTask* task, const char* data, size_t length);

    LVDownloadSessionDelegate* const _delegate;
    CURLM* _multi = nullptr;
    std::thread _thread;

    mutable QMutex _lock; // guards everything below
    std::vector<Command> _commands;
    bool _quit = false;
    bool _valid = true;
    quint64 _lastTaskIdentifier = 0;
    // Every task made and not yet ended, so invalidation reaches the suspended ones too.
    std::unordered_map<quint64, std::weak_ptr<LVDownloadTask>> _tasks;

    // Session thread only: tasks handed to libcurl.
    std::unordered_map<quint64, std::shared_ptr<LVDownloadTask>> _running;
};
