#include "LVDownloadSession.h"

#include "LVDownloadSessionDelegate.h"

#include <QCoreApplication>
#include <QMutexLocker>

#include <curl/curl.h>

#include <mutex>

namespace {

using Clock = std::chrono::steady_clock;

const QString kURLErrorDomain = QStringLiteral("NSURLErrorDomain");

// How often the thread looks for silent transfers while any is running.
constexpr int kIdleCheckMilliseconds = 100;

// Big enough that a fast local transfer costs few callbacks and few main-thread hand-overs.
constexpr long kReceiveBufferSize = 256 * 1024;

void initialiseCurlOnce()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

QByteArray userAgent()
{
    QString name = QCoreApplication::applicationName();
    if (name.isEmpty())
        name = QStringLiteral("Lumivane Manager");
    const QString version = QCoreApplication::applicationVersion();
    return (version.isEmpty() ? name : name + QLatin1Char('/') + version).toUtf8();
}

} // namespace

LVDownloadSession::LVDownloadSession(LVDownloadSessionDelegate* delegate) : _delegate(delegate)
{
    initialiseCurlOnce();
    _multi = curl_multi_init();
    if (!_multi) {
        _valid = false;
        return;
    }
    curl_multi_setopt(_multi, CURLMOPT_MAX_HOST_CONNECTIONS, HTTPMaximumConnectionsPerHost);
    _thread = std::thread([this] { run(); });
}

LVDownloadSession::~LVDownloadSession()
{
    shutdown();
    if (_multi)
        curl_multi_cleanup(_multi);
}

void LVDownloadSession::shutdown()
{
    {
        QMutexLocker locker(&_lock);
        _quit = true;
        _valid = false;
    }
    if (_multi)
        curl_multi_wakeup(_multi);
    if (_thread.joinable() && _thread.get_id() != std::this_thread::get_id())
        _thread.join();
}

bool LVDownloadSession::isValid() const
{
    QMutexLocker locker(&_lock);
    return _valid;
}

std::shared_ptr<LVDownloadTask> LVDownloadSession::dataTaskWithURL(const QUrl& url, double timeoutInterval)
{
    quint64 identifier = 0;
    {
        QMutexLocker locker(&_lock);
        if (!_valid)
            return nullptr;
        identifier = ++_lastTaskIdentifier;
    }
    CURL* easy = curl_easy_init();
    if (!easy)
        return nullptr;
    const QByteArray encoded = url.toEncoded();
    std::shared_ptr<LVDownloadTask> task(new LVDownloadTask(this, identifier, encoded, timeoutInterval, easy));

    curl_easy_setopt(easy, CURLOPT_URL, task->_url.constData());
    curl_easy_setopt(easy, CURLOPT_PRIVATE, task.get());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &LVDownloadSession::writeCallback);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, task.get());
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &LVDownloadSession::headerCallback);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, task.get());
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, task->_errorBuffer.data());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 16L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, kReceiveBufferSize);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, userAgent().constData());
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, minimumBytesPerSecond);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, minimumSpeedWindow());
    // Refused at the headers when the announced size is larger; a body sent without one is
    // counted in didReceive.
    task->_maximumBodySize = maximumBodySize();
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(task->_maximumBodySize));
    // The machine's own addresses are never reached through a proxy from the environment.
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "localhost,127.0.0.1,::1");

    QMutexLocker locker(&_lock);
    _tasks.emplace(identifier, task);
    return task;
}

void LVDownloadSession::invalidateAndCancel()
{
    enqueue({Command::Invalidate, nullptr});
}

void LVDownloadSession::resumeTask(std::shared_ptr<LVDownloadTask> task)
{
    enqueue({Command::Resume, std::move(task)});
}

void LVDownloadSession::cancelTask(std::shared_ptr<LVDownloadTask> task)
{
    enqueue({Command::Cancel, std::move(task)});
}

void LVDownloadSession::unpauseTask(std::shared_ptr<LVDownloadTask> task)
{
    enqueue({Command::Unpause, std::move(task)});
}

void LVDownloadSession::enqueue(Command command)
{
    {
        QMutexLocker locker(&_lock);
        if (_quit)
            return;
        _commands.push_back(std::move(command));
    }
    curl_multi_wakeup(_multi);
}

void LVDownloadSession::run()
{
    for (;;) {
        std::vector<Command> commands;
        {
            QMutexLocker locker(&_lock);
            if (_quit)
                break;
            commands.swap(_commands);
        }
        for (const Command& command : commands)
            apply(command);

        int stillRunning = 0;
        const CURLMcode performed = curl_multi_perform(_multi, &stillRunning);
        if (performed != CURLM_OK && performed != CURLM_CALL_MULTI_PERFORM) {
            invalidate(VMError(kURLErrorDomain, -1, QStringLiteral("unknown error"),
                               QString::fromUtf8(curl_multi_strerror(performed))));
            break;
        }
        collectFinishedTransfers();
        failSilentTransfers();

        {
            QMutexLocker locker(&_lock);
            if (_quit || !_commands.empty())
                continue;
            if (!_valid && _running.empty())
                break;
        }
        const int waitMilliseconds = _running.empty() ? 1000 : kIdleCheckMilliseconds;
        curl_multi_poll(_multi, nullptr, 0, waitMilliseconds, nullptr);
    }

    {
        QMutexLocker locker(&_lock);
        _quit = true;
        _commands.clear();
    }
    // Whatever is left is dropped quietly: nobody is listening any more.
    for (auto& [identifier, task] : _running) {
        curl_multi_remove_handle(_multi, task->_easy);
        curl_easy_cleanup(task->_easy);
        task->_easy = nullptr;
        task->_state.store(LVDownloadTask::Completed);
    }
    _running.clear();
}

void LVDownloadSession::apply(const Command& command)
{
    const std::shared_ptr<LVDownloadTask>& task = command.task;
    switch (command.kind) {
    case Command::Resume:
        if (task->state() == LVDownloadTask::Running && task->_easy && !_running.count(task->taskIdentifier()))
            start(task);
        break;
    case Command::Cancel:
        if (task->_easy)
            finish(task, cancelledError());
        break;
    case Command::Unpause:
        if (task->_easy && task->clearPause()) {
            task->_lastActivity = Clock::now();
            // Hands the held-back chunk to writeCallback again, which may pause once more.
            curl_easy_pause(task->_easy, CURLPAUSE_CONT);
        }
        break;
    case Command::Invalidate:
        invalidate(VMError());
        break;
    }
}

void LVDownloadSession::start(const std::shared_ptr<LVDownloadTask>& task)
{
    task->_lastActivity = Clock::now();
    if (curl_multi_add_handle(_multi, task->_easy) != CURLM_OK) {
        finish(task, VMError(kURLErrorDomain, -1, QStringLiteral("unknown error")));
        return;
    }
    _running.emplace(task->taskIdentifier(), task);
}

void LVDownloadSession::finish(const std::shared_ptr<LVDownloadTask>& task, const VMError& error)
{
    if (_running.erase(task->taskIdentifier()))
        curl_multi_remove_handle(_multi, task->_easy);
    long status = 0;
    if (task->_easy && curl_easy_getinfo(task->_easy, CURLINFO_RESPONSE_CODE, &status) == CURLE_OK)
        task->_statusCode.store(static_cast<int>(status));
    curl_easy_cleanup(task->_easy);
    task->_easy = nullptr;
    task->_state.store(LVDownloadTask::Completed);
    {
        QMutexLocker locker(&_lock);
        _tasks.erase(task->taskIdentifier());
    }
    _delegate->URLSession(this, task.get(), error);
}

void LVDownloadSession::collectFinishedTransfers()
{
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(_multi, &queued)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        LVDownloadTask* raw = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &raw);
        const auto found = raw ? _running.find(raw->taskIdentifier()) : _running.end();
        if (found == _running.end())
            continue;
        const std::shared_ptr<LVDownloadTask> task = found->second;
        const CURLcode code = message->data.result;
        const VMError error = task->_tooLarge || code == CURLE_FILESIZE_EXCEEDED ? tooLargeError()
                              : code == CURLE_OK                                 ? VMError()
                                                 : errorForCurlCode(code, QByteArray(task->_errorBuffer.data()));
        finish(task, error);
    }
}

void LVDownloadSession::failSilentTransfers()
{
    const Clock::time_point now = Clock::now();
    std::vector<std::shared_ptr<LVDownloadTask>> silent;
    for (const auto& [identifier, task] : _running) {
        const auto limit = std::chrono::duration<double>(task->_timeoutInterval);
        if (!task->isPaused() && now - task->_lastActivity > limit)
            silent.push_back(task);
    }
    for (const auto& task : silent)
        finish(task, timedOutError());
}

void LVDownloadSession::invalidate(const VMError& error)
{
    std::vector<std::shared_ptr<LVDownloadTask>> tasks;
    {
        QMutexLocker locker(&_lock);
        if (!_valid && _tasks.empty())
            return;
        _valid = false;
        for (const auto& [identifier, weak] : _tasks) {
            if (auto task = weak.lock())
                tasks.push_back(task);
        }
    }
    for (const auto& task : tasks) {
        task->_state.store(LVDownloadTask::Canceling);
        if (task->_easy)
            finish(task, cancelledError());
    }
    _delegate->URLSession(this, error);
}

size_t LVDownloadSession::writeCallback(char* data, size_t size, size_t count, void* userData)
{
    auto* task = static_cast<LVDownloadTask*>(userData);
    // Every task's runner is the session that made it.
    return static_cast<LVDownloadSession*>(task->_runner)->didReceive(task, data, size * count);
}

size_t LVDownloadSession::headerCallback(char*, size_t size, size_t count, void* userData)
{
    auto* task = static_cast<LVDownloadTask*>(userData);
    task->_lastActivity = Clock::now();
    return size * count;
}

size_t LVDownloadSession::didReceive(LVDownloadTask* task, const char* data, size_t length)
{
    if (length == 0)
        return 0;
    if (task->_countOfBytesReceived.load() + static_cast<qint64>(length) > task->_maximumBodySize) {
        task->_tooLarge = true;
        return 0; // ends the transfer
    }
    if (!task->admitBytes(static_cast<qint64>(length)))
        return CURL_WRITEFUNC_PAUSE;
    task->_lastActivity = Clock::now();
    if (task->_countOfBytesExpectedToReceive.load() == 0) {
        curl_off_t expected = -1;
        curl_easy_getinfo(task->_easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &expected);
        task->_countOfBytesExpectedToReceive.store(expected > 0 ? expected : -1);
    }
    task->_countOfBytesReceived.fetch_add(static_cast<qint64>(length));
    // A file download is written here, from libcurl's buffer: no copy, and the receiver hears
    // only how far it got, once for however many chunks arrive before it looks.
    if (task->writeToDownloadFile(data, static_cast<qint64>(length))) {
        if (task->postWriteNotice())
            _delegate->URLSessionDidWriteData(this, task);
        return length;
    }
    _delegate->URLSession(this, task, QByteArray(data, static_cast<qsizetype>(length)));
    return length;
}

VMError LVDownloadSession::cancelledError()
{
    return VMError(kURLErrorDomain, -999, QStringLiteral("cancelled"));
}

VMError LVDownloadSession::timedOutError()
{
    return VMError(kURLErrorDomain, -1001, QStringLiteral("The request timed out."));
}

VMError LVDownloadSession::tooLargeError()
{
    return VMError(kURLErrorDomain, -1103, QStringLiteral("The download is larger than allowed."));
}

long LVDownloadSession::minimumSpeedWindow()
{
    bool ok = false;
    const long configured = qEnvironmentVariableIntValue("LV_DOWNLOAD_SPEED_WINDOW", &ok);
    return ok && configured > 0 ? configured : 60;
}

qint64 LVDownloadSession::maximumBodySize()
{
    bool ok = false;
    const qint64 configured = qEnvironmentVariable("LV_DOWNLOAD_MAX_BYTES").toLongLong(&ok);
    return ok && configured > 0 ? configured : qint64(4) * 1024 * 1024 * 1024;
}

VMError LVDownloadSession::errorForCurlCode(int code, const QByteArray& detail)
{
    const QString reason =
        QString::fromUtf8(detail.isEmpty() ? QByteArray(curl_easy_strerror(CURLcode(code))) : detail);
    switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
        return VMError(kURLErrorDomain, -1001, QStringLiteral("The request timed out."), reason);
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
        return VMError(kURLErrorDomain, -1002, QStringLiteral("unsupported URL"), reason);
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return VMError(kURLErrorDomain, -1003,
                       QStringLiteral("A server with the specified hostname could not be found."), reason);
    case CURLE_COULDNT_CONNECT:
        return VMError(kURLErrorDomain, -1004, QStringLiteral("Could not connect to the server."), reason);
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_GOT_NOTHING:
        return VMError(kURLErrorDomain, -1005, QStringLiteral("The network connection was lost."), reason);
    case CURLE_TOO_MANY_REDIRECTS:
        return VMError(kURLErrorDomain, -1007, QStringLiteral("too many HTTP redirects"), reason);
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
        return VMError(kURLErrorDomain, -1011, QStringLiteral("bad server response"), reason);
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
        return VMError(
            kURLErrorDomain, -1200,
            QStringLiteral("An SSL error has occurred and a secure connection to the server cannot be made."), reason);
    default:
        break;
    }
    return VMError(kURLErrorDomain, -1, QStringLiteral("unknown error"), reason);
}
