#include "LocalHttpServer.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "engines/LVDownloadFolder.h"
#include "engines/LVDownloadSession.h"
#include "engines/LVDownloader.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QScopeGuard>
#include <QTcpServer>
#include <QTest>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <functional>
#include <thread>
#include <unistd.h>

Q_DECLARE_METATYPE(LocalHttpServer::Response)

namespace {

// Records every callback with its time, the downloader it named and the thread it came on.
class RecordingDelegate : public QObject, public LVDownloaderDelegate
{
    Q_OBJECT
public:
    struct Event
    {
        QString name;
        double progress = 0;
        qint64 milliseconds = 0;
    };

    explicit RecordingDelegate(LVDownloader* downloader = nullptr) : _expected(downloader) { _clock.start(); }

    void watch(LVDownloader* downloader)
    {
        _expected = downloader;
        downloader->setDelegate(this);
    }

    void downloadStarted(LVDownloader* d) override { record(QStringLiteral("started"), 0, d); }
    void downloadProgress(double progress, LVDownloader* d) override
    {
        record(QStringLiteral("progress"), progress, d);
    }
    void downloadCompleted(LVDownloader* d) override { record(QStringLiteral("completed"), 0, d); }
    void downloadFailed(LVDownloader* d) override { record(QStringLiteral("failed"), 0, d); }

    QList<Event> events;
    QStringList problems;
    // Runs after each callback has been recorded (for instance to delete the downloader).
    std::function<void(const QString&, LVDownloader*)> after;

    bool ended() const
    {
        return !events.isEmpty() &&
               (events.last().name == QLatin1String("completed") || events.last().name == QLatin1String("failed"));
    }
    QString finalEvent() const { return events.isEmpty() ? QString() : events.last().name; }
    QStringList names() const
    {
        QStringList result;
        for (const Event& event : events)
            result.append(event.name);
        return result;
    }
    QList<Event> progressEvents() const
    {
        QList<Event> result;
        for (const Event& event : events) {
            if (event.name == QLatin1String("progress"))
                result.append(event);
        }
        return result;
    }

    // Empty when the callbacks came as a download promises: started first (only with data),
    // progress only after it, exactly one final callback, last, all on the main thread.
    QString orderProblem() const
    {
        if (!problems.isEmpty())
            return problems.join(QLatin1String("; "));
        const QStringList list = names();
        const qsizetype finals = list.count(QStringLiteral("completed")) + list.count(QStringLiteral("failed"));
        if (finals != 1)
            return QStringLiteral("%1 final callbacks: %2").arg(finals).arg(list.join(QLatin1Char(',')));
        if (!ended())
            return QStringLiteral("callbacks after the final one: ") + list.join(QLatin1Char(','));
        if (list.count(QStringLiteral("started")) > 1)
            return QStringLiteral("started more than once: ") + list.join(QLatin1Char(','));
        if (list.contains(QStringLiteral("started")) && list.first() != QLatin1String("started"))
            return QStringLiteral("started is not first: ") + list.join(QLatin1Char(','));
        if (list.contains(QStringLiteral("progress")) && !list.contains(QStringLiteral("started")))
            return QStringLiteral("progress without started: ") + list.join(QLatin1Char(','));
        return QString();
    }

private:
    void record(const QString& name, double progress, LVDownloader* downloader)
    {
        if (!VMDispatch::isMainThread())
            problems.append(name + QStringLiteral(" off the main thread"));
        if (downloader != _expected)
            problems.append(name + QStringLiteral(" names another downloader"));
        events.append({name, progress, _clock.elapsed()});
        if (after)
            after(name, downloader);
    }

    LVDownloader* _expected = nullptr;
    QElapsedTimer _clock;
};

// A downloader of `url` whose callbacks `delegate` records; it goes before the delegate does.
std::unique_ptr<LVDownloader> watched(const QUrl& url, RecordingDelegate& delegate)
{
    std::unique_ptr<LVDownloader> downloader(LVDownloader::downloaderWithURL(url));
    if (downloader)
        delegate.watch(downloader.get());
    return downloader;
}

quint16 closedPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}

// The session handles its tasks one after another on one thread and posts what it has to say in
// order: once a later download, refused at once, has ended, everything it posted before (a stray or
// duplicate callback, a log line) has reached the main thread.
bool settleSession()
{
    QUrl url(QStringLiteral("http://127.0.0.1/settle"));
    url.setPort(closedPort());
    RecordingDelegate delegate;
    auto probe = watched(url, delegate);
    return probe->start() && QTest::qWaitFor([&] { return delegate.ended(); }, 15000);
}

// Waits for the final callback and for anything the session posted before it, then checks that
// the callbacks came as a download promises, a stray late or duplicate one included.
bool awaitEnd(const RecordingDelegate& delegate, int timeoutMs = 15000)
{
    if (!QTest::qWaitFor([&] { return delegate.ended(); }, timeoutMs) || !settleSession())
        return false;
    if (!delegate.orderProblem().isEmpty())
        qWarning("%s", qPrintable(delegate.orderProblem()));
    return delegate.orderProblem().isEmpty();
}

bool logContains(const TestEnvironment& env, const QString& text)
{
    for (const QString& line : env.systemLog->lines()) {
        if (line.contains(text))
            return true;
    }
    return false;
}

LocalHttpServer::Response slowResponse(qint64 size, qint64 chunkSize, int intervalMs)
{
    LocalHttpServer::Response response;
    response.generatedBodySize = size;
    response.chunkSize = chunkSize;
    response.chunkIntervalMs = intervalMs;
    return response;
}

} // namespace

class tst_LVDownloader : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        _env = std::make_unique<TestEnvironment>();
        _server = std::make_unique<LocalHttpServer>();
    }
    void cleanup()
    {
        _server.reset();
        _env.reset();
    }
    void outcome_data();
    void outcome();
    void httpsIsRequestedAsHttp();
    void progressIsThrottled();
    void fileThatCannotBeCreatedLeavesTheDownloadInMemory();
    void suggestedFileNames_data();
    void suggestedFileNames();
    void startsOnlyOnce();
    void cancelledFileIsRemovedOnRelease();
    void destroyedDownloaderGetsNoCallback_data();
    void destroyedDownloaderGetsNoCallback();
    void destroyedOnBackgroundThreadMidTransfer();
    void destroyedDelegateIsNotCalled();
    void downloadDataOnBackgroundThread_data();
    void downloadDataOnBackgroundThread();
    void downloadDataOnMainThreadGivesNullAtOnce();
    void invalidURL_data();
    void invalidURL();
    void concurrentDownloadsFromOneHost();
    void extendedLogging_data();
    void extendedLogging();
    void slowMainThreadPausesTheTransfer();
    void downloadsHaveLimits_data();
    void downloadsHaveLimits();
    void progressHeldBackIsReportedWhenTheSecondIsOver();
    void downloadFolderIsTheUsersOwn_data();
    void downloadFolderIsTheUsersOwn();
    // Leaves the shared session invalid for the rest of the process, so it runs last.
    void sessionInvalidation();

private:
    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
};

void tst_LVDownloader::outcome_data()
{
    QTest::addColumn<LocalHttpServer::Response>("response");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QString>("finalEvent");
    QTest::addColumn<bool>("started");
    QTest::addColumn<QByteArray>("expectedData");
    QTest::addColumn<bool>("sizeKnown");
    QTest::addColumn<int>("errorCode");
    QTest::addColumn<QString>("errorText");

    const QByteArray body = LocalHttpServer::generatedBody(0, 100000);
    LocalHttpServer::Response plain;
    plain.body = body;
    QTest::newRow("content length") << plain << false << "completed" << true << body << true << 0 << QString();

    LocalHttpServer::Response chunked = plain;
    chunked.framing = LocalHttpServer::Response::Chunked;
    chunked.chunkSize = 7000;
    QTest::newRow("chunked") << chunked << false << "completed" << true << body << false << 0 << QString();

    LocalHttpServer::Response closeDelimited = plain;
    closeDelimited.framing = LocalHttpServer::Response::CloseDelimited;
    QTest::newRow("no length, ends with the connection")
        << closeDelimited << false << "completed" << true << body << false << 0 << QString();

    LocalHttpServer::Response notFound;
    notFound.status = 404;
    notFound.body = LocalHttpServer::notFoundPage();
    QTest::newRow("404 page is the data")
        << notFound << false << "completed" << true << LocalHttpServer::notFoundPage() << true << 0 << QString();

    LocalHttpServer::Response serverError;
    serverError.status = 500;
    serverError.body = "broken";
    QTest::newRow("500 completes too") << serverError << false << "completed" << true << QByteArray("broken") << true
                                       << 0 << QString();

    LocalHttpServer::Response redirect;
    redirect.status = 302;
    redirect.headers = {{"Location", "/target"}};
    redirect.body = "see /target";
    QTest::newRow("redirect is followed")
        << redirect << false << "completed" << true << QByteArray("moved here") << true << 0 << QString();

    LocalHttpServer::Response empty;
    QTest::newRow("empty body: no started")
        << empty << false << "completed" << false << QByteArray() << true << 0 << QString();

    LocalHttpServer::Response dropped = plain;
    dropped.chunkSize = 10000;
    dropped.dropAfterBytes = 30000;
    QTest::newRow("dropped mid-body") << dropped << false << "failed" << true << body.left(30000) << true << -1005
                                      << "The network connection was lost.";

    LocalHttpServer::Response silent = plain;
    silent.stallAfterBytes = 0;
    QTest::newRow("headers then silence")
        << silent << false << "failed" << false << QByteArray() << true << -1001 << "The request timed out.";

    LocalHttpServer::Response stalled = plain;
    stalled.chunkSize = 1000;
    stalled.stallAfterBytes = 1000;
    QTest::newRow("silence mid-body") << stalled << false << "failed" << true << body.left(1000) << true << -1001
                                      << "The request timed out.";

    QTest::newRow("connection refused") << plain << true << "failed" << false << QByteArray() << true << -1004
                                        << "Could not connect to the server.";
}

void tst_LVDownloader::outcome()
{
    QFETCH(LocalHttpServer::Response, response);
    QFETCH(bool, refused);
    QFETCH(QString, finalEvent);
    QFETCH(bool, started);
    QFETCH(QByteArray, expectedData);
    QFETCH(bool, sizeKnown);
    QFETCH(int, errorCode);
    QFETCH(QString, errorText);

    _server->setRoute("/file", response);
    _server->setRoute("/target", "moved here");
    QUrl url = _server->url(QStringLiteral("/file"));
    if (refused)
        url.setPort(closedPort());

    RecordingDelegate delegate;
    auto downloader = watched(url, delegate);
    QVERIFY(downloader);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(downloader->start());
    QVERIFY(awaitEnd(delegate));

    QCOMPARE(delegate.finalEvent(), finalEvent);
    QCOMPARE(delegate.names().contains(QStringLiteral("started")), started);
    QCOMPARE(delegate.names().contains(QStringLiteral("progress")), started);
    QCOMPARE(downloader->data(), expectedData);
    QCOMPARE(downloader->currentDownloadDataSize(), quint64(expectedData.size()));
    QCOMPARE(downloader->error().code(), qint64(errorCode));
    QCOMPARE(downloader->error().localizedDescription(), errorText);
    if (errorCode != 0)
        QCOMPARE(downloader->error().domain(), QStringLiteral("NSURLErrorDomain"));
    for (const auto& progress : delegate.progressEvents()) {
        if (sizeKnown)
            QVERIFY2(progress.progress > 0 && progress.progress <= 100.0,
                     qPrintable(QString::number(progress.progress)));
        else
            QCOMPARE(progress.progress, -1.0);
    }
    if (errorCode == -1001) {
        const qint64 timeoutMs = qint64(LVDownloader::requestTimeoutInterval() * 1000);
        QVERIFY2(clock.elapsed() >= timeoutMs - 50, qPrintable(QString::number(clock.elapsed())));
        QVERIFY2(clock.elapsed() < timeoutMs + 4000, qPrintable(QString::number(clock.elapsed())));
    }
    // The task is released at the end: no more expected size, no restart.
    QCOMPARE(downloader->expectedDataSize(), qint64(0));
    QVERIFY(!downloader->start());
}

void tst_LVDownloader::httpsIsRequestedAsHttp()
{
    // An encoded space in the path must reach the server as it was written.
    _server->setRoute("/secure/Product%20Versions.plist", "payload");
    const QString host = QStringLiteral("127.0.0.1:") + QString::number(_server->port());
    const QUrl given("https://" + host + "/secure/Product%20Versions.plist?next=https://example.invalid/x");

    RecordingDelegate delegate;
    auto downloader = watched(given, delegate);
    QVERIFY(downloader);
    QCOMPARE(downloader->url(),
             QUrl("http://" + host + "/secure/Product%20Versions.plist?next=http://example.invalid/x"));
    QVERIFY(downloader->start());
    QVERIFY(awaitEnd(delegate));
    QCOMPARE(delegate.finalEvent(), QStringLiteral("completed"));
    QCOMPARE(downloader->data(), QByteArray("payload"));

    const QList<LocalHttpServer::Request> requests = _server->requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.first().method, QByteArray("GET"));
    QCOMPARE(requests.first().target, QByteArray("/secure/Product%20Versions.plist?next=http://example.invalid/x"));
    // Always a fresh copy: nothing that would let the server answer from a cache.
    for (const char* header : {"If-Modified-Since", "If-None-Match", "If-Range", "Range"})
        QVERIFY2(!requests.first().hasHeader(header), header);
}

void tst_LVDownloader::progressIsThrottled()
{
    // 26 chunks, one every 100 ms: about 2.5 s of data arriving far faster than once a second.
    _server->setRoute("/slow", slowResponse(26000, 1000, 100));
    RecordingDelegate delegate;
    auto downloader = watched(_server->url(QStringLiteral("/slow")), delegate);
    QVERIFY(downloader->start());
    QVERIFY(awaitEnd(delegate));
    QCOMPARE(delegate.finalEvent(), QStringLiteral("completed"));

    const QList<RecordingDelegate::Event> reports = delegate.progressEvents();
    QVERIFY(reports.size() >= 2);
    // The first chunk is reported at once, right after started.
    QCOMPARE(delegate.names().at(1), QStringLiteral("progress"));
    QVERIFY2(qFuzzyCompare(reports.first().progress, 1000 * 100.0 / 26000),
             qPrintable(QString::number(reports.first().progress)));
    // Then at most one a second: about one per elapsed second of the transfer. The gaps are seen
    // where the reports arrive, on the main thread, a few milliseconds after they were sent.
    for (qsizetype i = 1; i < reports.size(); ++i) {
        const qint64 gap = reports.at(i).milliseconds - reports.at(i - 1).milliseconds;
        QVERIFY2(gap >= 950, qPrintable(QStringLiteral("gap of %1 ms").arg(gap)));
    }
    const double seconds = (delegate.events.last().milliseconds - delegate.events.first().milliseconds) / 1000.0;
    QVERIFY2(reports.size() >= 3 && reports.size() <= int(seconds) + 1,
             qPrintable(QStringLiteral("%1 reports in %2 s").arg(reports.size()).arg(seconds)));
    QVERIFY(reports.last().progress < 100.0 + 1e-9);
}

void tst_LVDownloader::fileThatCannotBeCreatedLeavesTheDownloadInMemory()
{
    _server->setRoute("/data", "still arrives");
    const QString path = _env->temporaryDirectory() + QStringLiteral("/missing folder/file.bin");
    RecordingDelegate delegate;
    auto downloader = watched(_server->url(QStringLiteral("/data")), delegate);
    QVERIFY(!downloader->startWithDownloadFilePath(path));
    QVERIFY(logContains(*_env, QStringLiteral("'Couldn't create download file at: %1' in ").arg(path)));
    QVERIFY(awaitEnd(delegate));
    QCOMPARE(delegate.finalEvent(), QStringLiteral("completed"));
    QCOMPARE(downloader->data(), QByteArray("still arrives"));
    QVERIFY(downloader->downloadFilePath().isNull());
    QVERIFY(!downloader->startWithDownloadFilePath(QString()));
}

void tst_LVDownloader::suggestedFileNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("package") << "Setup.pkg" << QStringList{"Setup.pkg", "Setup 1.pkg", "Setup 2.pkg"};
    QTest::newRow("two dots") << "Tool.app.zip" << QStringList{"Tool.app.zip", "Tool.app 1.zip", "Tool.app 2.zip"};
    QTest::newRow("no extension") << "README" << QStringList{"README", "README 1", "README 2"};
    QTest::newRow("spaces") << "Product Versions.plist"
                            << QStringList{"Product Versions.plist", "Product Versions 1.plist"};
    QTest::newRow("a placeholder in the name") << "Setup%1.pkg" << QStringList{"Setup%1.pkg", "Setup%1 1.pkg"};
}

void tst_LVDownloader::suggestedFileNames()
{
    QFETCH(QString, name);
    QFETCH(QStringList, expected);
    for (const QString& expectedName : expected) {
        const QString path = LVDownloader::downloadFilePathWithSuggestedFileName(name);
        QCOMPARE(path, LVDownloadFolder::path() + QLatin1Char('/') + expectedName);
        QVERIFY(TestEnvironment::writeFile(path));
    }
    QVERIFY(LVDownloader::downloadFilePathWithSuggestedFileName(QString()).isNull());
}

void tst_LVDownloader::startsOnlyOnce()
{
    _server->setRoute("/once", "body");
    RecordingDelegate delegate;
    auto downloader = watched(_server->url(QStringLiteral("/once")), delegate);
    QVERIFY(downloader->start());
    QVERIFY(!downloader->start());
    QVERIFY(!downloader->startWithDownloadFilePath(_env->temporaryDirectory() + QStringLiteral("/once.bin")));
    QVERIFY(awaitEnd(delegate));
    QVERIFY(!downloader->start());
    QCOMPARE(_server->requests().size(), 1);
    QVERIFY(!QFileInfo::exists(_env->temporaryDirectory() + QStringLiteral("/once.bin")));
}

void tst_LVDownloader::cancelledFileIsRemovedOnRelease()
{
    _server->setRoute("/big.pkg", slowResponse(1000000, 10000, 20));
    const QString path = LVDownloader::downloadFilePathWithSuggestedFileName(QStringLiteral("big.pkg"));
    RecordingDelegate delegate;
    auto downloader = watched(_server->url(QStringLiteral("/big.pkg")), delegate);
    QVERIFY(downloader->startWithDownloadFilePath(path));
    QTRY_VERIFY(delegate.names().contains(QStringLiteral("started")));
    QVERIFY(!downloader->deleteDownloadFile());
    downloader->cancel();
    QVERIFY(downloader->deleteDownloadFile());
    QVERIFY(awaitEnd(delegate));
    QCOMPARE(delegate.finalEvent(), QStringLiteral("failed"));
    QCOMPARE(downloader->error().code(), qint64(-999));
    QCOMPARE(downloader->error().localizedDescription(), QStringLiteral("cancelled"));
    // The file stays until the downloader goes.
    QVERIFY(QFileInfo::exists(path));
    downloader.reset();
    QVERIFY(!QFileInfo::exists(path));
    QTRY_COMPARE(_server->openConnections(), 0);
}

void tst_LVDownloader::destroyedDownloaderGetsNoCallback_data()
{
    QTest::addColumn<LocalHttpServer::Response>("response");
    QTest::addColumn<QString>("deleteAt");
    QTest::addColumn<QStringList>("expectedEvents");

    const LocalHttpServer::Response slow = slowResponse(2 * 1024 * 1024, 64 * 1024, 20);
    LocalHttpServer::Response fast;
    fast.generatedBodySize = 32 * 1024 * 1024;
    fast.chunkSize = 16 * 1024;
    QTest::newRow("before any data") << slow << "now" << QStringList();
    QTest::newRow("after started") << slow << "after started" << QStringList{"started", "progress"};
    QTest::newRow("from inside downloadStarted, data queued") << fast << "inside started" << QStringList{"started"};
    QTest::newRow("from inside downloadProgress, file download")
        << fast << "inside progress, file" << QStringList{"started", "progress"};
}

void tst_LVDownloader::destroyedDownloaderGetsNoCallback()
{
    QFETCH(LocalHttpServer::Response, response);
    QFETCH(QString, deleteAt);
    QFETCH(QStringList, expectedEvents);

    _server->setRoute("/body", response);
    QPointer<LVDownloader> downloader(LVDownloader::downloaderWithURL(_server->url(QStringLiteral("/body"))));
    RecordingDelegate delegate;
    delegate.watch(downloader);
    if (deleteAt.startsWith(QLatin1String("inside"))) {
        const QString at = deleteAt.section(QLatin1Char(' '), 1, 1).remove(QLatin1Char(','));
        delegate.after = [at](const QString& name, LVDownloader* d) {
            if (name == at)
                delete d;
        };
    }
    const QString path = _env->temporaryDirectory() + QStringLiteral("/body.bin");
    if (deleteAt.endsWith(QLatin1String("file"))) {
        QVERIFY(downloader->startWithDownloadFilePath(path));
        downloader->setDeleteDownloadFile(true);
    } else {
        QVERIFY(downloader->start());
    }
    if (deleteAt == QLatin1String("now"))
        delete downloader;
    if (deleteAt == QLatin1String("after started")) {
        QTRY_VERIFY(delegate.names().contains(QStringLiteral("progress")));
        delete downloader;
    }
    QTRY_VERIFY(!downloader);
    // The transfer is cancelled: the server sees the connection go.
    QTRY_COMPARE_WITH_TIMEOUT(_server->openConnections(), 0, 10000);
    QVERIFY(settleSession());
    QCOMPARE(delegate.names(), expectedEvents);
    QVERIFY(delegate.problems.isEmpty());
    QVERIFY(!QFileInfo::exists(path));
}

void tst_LVDownloader::destroyedOnBackgroundThreadMidTransfer()
{
    LocalHttpServer::Response stream;
    stream.generatedBodySize = qint64(512) * 1024 * 1024;
    stream.chunkSize = 16 * 1024;
    _server->setRoute("/stream", stream);
    const QUrl url = _server->url(QStringLiteral("/stream"));
    // Each downloader goes away on its own thread while the main thread is handing it chunks.
    QFuture<QList<bool>> future = QtConcurrent::run([url] {
        QList<bool> ended;
        for (int i = 1; i <= 5; ++i) {
            std::unique_ptr<LVDownloader> downloader(LVDownloader::downloaderWithURL(url));
            downloader->start();
            ended.append(downloader->waitUntilComplete(0.05 * i));
        }
        return ended;
    });
    QTRY_VERIFY_WITH_TIMEOUT(future.isFinished(), 20000);
    QCOMPARE(future.result(), QList<bool>(5, false));
    QTRY_COMPARE_WITH_TIMEOUT(_server->openConnections(), 0, 10000);
}

void tst_LVDownloader::destroyedDelegateIsNotCalled()
{
    _server->setRoute("/slow", slowResponse(20000, 1000, 10));
    std::unique_ptr<LVDownloader> downloader(LVDownloader::downloaderWithURL(_server->url(QStringLiteral("/slow"))));
    auto delegate = std::make_unique<RecordingDelegate>();
    delegate->watch(downloader.get());
    QVERIFY(downloader->start());
    QTRY_VERIFY(delegate->names().contains(QStringLiteral("started")));
    delegate.reset();
    QVERIFY(!downloader->delegate());
    // The download goes on to its end without anyone to tell.
    QTRY_COMPARE(downloader->currentDownloadDataSize(), quint64(20000));
    QTRY_VERIFY(!downloader->start() && downloader->expectedDataSize() == 0);
    QVERIFY(downloader->data() == LocalHttpServer::generatedBody(0, 20000));
}

void tst_LVDownloader::downloadDataOnBackgroundThread_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QByteArray>("expectedData");
    QTest::addColumn<int>("errorCode");
    QTest::newRow("body") << QByteArray("/licence.rtf") << false << QByteArray("{\\rtf1 agreed}") << 0;
    QTest::newRow("404 page") << QByteArray("/missing") << false << LocalHttpServer::notFoundPage() << 0;
    QTest::newRow("refused") << QByteArray("/licence.rtf") << true << QByteArray() << -1004;
}

void tst_LVDownloader::downloadDataOnBackgroundThread()
{
    QFETCH(QByteArray, path);
    QFETCH(bool, refused);
    QFETCH(QByteArray, expectedData);
    QFETCH(int, errorCode);

    _server->setRoute("/licence.rtf", "{\\rtf1 agreed}");
    QUrl url = _server->url(QString::fromLatin1(path));
    if (refused)
        url.setPort(closedPort());
    QFuture<QPair<QByteArray, VMError>> future = QtConcurrent::run([url] {
        VMError error(QStringLiteral("untouched"), 1, QStringLiteral("untouched"));
        const QByteArray data = LVDownloader::downloadDataWithURL(url, &error);
        return qMakePair(data, error);
    });
    // The main thread keeps turning: that is where the download's end is delivered.
    QTRY_VERIFY_WITH_TIMEOUT(future.isFinished(), 15000);
    QCOMPARE(future.result().first, expectedData);
    QCOMPARE(future.result().first.isNull(), expectedData.isNull());
    QCOMPARE(future.result().second.code(), qint64(errorCode));
}

void tst_LVDownloader::downloadDataOnMainThreadGivesNullAtOnce()
{
    _server->setRoute("/x", "x");
    QElapsedTimer clock;
    clock.start();
    VMError error;
    QVERIFY(LVDownloader::downloadDataWithURL(_server->url(QStringLiteral("/x")), &error).isNull());
    QVERIFY(error);
    QVERIFY(clock.elapsed() < 1000);
    QVERIFY(_server->requests().isEmpty());
}

void tst_LVDownloader::invalidURL_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::newRow("nil") << QUrl();
    QTest::newRow("invalid") << QUrl(QStringLiteral("http://exa mple.com/file"));
}

void tst_LVDownloader::invalidURL()
{
    QFETCH(QUrl, url);
    QVERIFY(!LVDownloader::downloaderWithURL(url));
    QVERIFY(logContains(*_env, QStringLiteral("'url = nil' in ")));
    VMError error;
    QByteArray data;
    std::thread worker([&] { data = LVDownloader::downloadDataWithURL(url, &error); });
    worker.join();
    QVERIFY(data.isNull());
    QVERIFY(!error);
}

void tst_LVDownloader::concurrentDownloadsFromOneHost()
{
    // Each answer takes a while, so the downloads overlap and the connection limit shows.
    LocalHttpServer::Response response;
    response.headerDelayMs = 400;
    response.generatedBodySize = 20000;
    for (int i = 0; i < 40; ++i)
        _server->setRoute("/item" + QByteArray::number(i), response);

    std::vector<std::unique_ptr<LVDownloader>> downloaders;
    std::vector<std::unique_ptr<RecordingDelegate>> delegates;
    for (int i = 0; i < 40; ++i) {
        downloaders.emplace_back(LVDownloader::downloaderWithURL(_server->url(QStringLiteral("/item%1").arg(i))));
        delegates.push_back(std::make_unique<RecordingDelegate>());
        delegates.back()->watch(downloaders.back().get());
        QVERIFY(downloaders.back()->start());
    }
    for (int i = 0; i < 40; ++i) {
        QVERIFY(awaitEnd(*delegates[i]));
        QCOMPARE(delegates[i]->finalEvent(), QStringLiteral("completed"));
        QVERIFY(downloaders[i]->data() == LocalHttpServer::generatedBody(0, 20000));
    }
    QCOMPARE(_server->requests().size(), 40);
    QCOMPARE(_server->peakOpenConnections(), int(LVDownloadSession::HTTPMaximumConnectionsPerHost));
}

void tst_LVDownloader::extendedLogging_data()
{
    QTest::addColumn<bool>("extended");
    QTest::newRow("on") << true;
    QTest::newRow("off") << false;
}

void tst_LVDownloader::extendedLogging()
{
    QFETCH(bool, extended);
    LVPreferences::sharedPreferences()->useExtendedLogging(extended);
    _server->setRoute("/ok", "fine");
    const QUrl url = _server->url(QStringLiteral("/ok"));
    const QString path = _env->temporaryDirectory() + QStringLiteral("/ok.bin");

    QUrl refusedUrl = url;
    refusedUrl.setPort(closedPort());
    RecordingDelegate memoryDelegate, fileDelegate, refusedDelegate;
    auto toMemory = watched(url, memoryDelegate);
    auto toFile = watched(url, fileDelegate);
    auto refused = watched(refusedUrl, refusedDelegate);
    QVERIFY(toMemory->start());
    QVERIFY(toFile->startWithDownloadFilePath(path));
    QVERIFY(refused->start());
    QTRY_VERIFY(memoryDelegate.ended() && fileDelegate.ended() && refusedDelegate.ended());
    // Failures are logged whatever the setting.
    QTRY_VERIFY(logContains(
        *_env, QStringLiteral("'Error Domain=NSURLErrorDomain Code=-1004 \"Could not connect to the server.\"")));
    QVERIFY(settleSession()); // every line the session posted is in

    const QString urlText = url.toString();
    QCOMPARE(logContains(*_env, QStringLiteral("'Start download from: %1' in ").arg(urlText)), extended);
    QCOMPARE(logContains(*_env, QStringLiteral("'Start download from: %1 to file: %2' in ").arg(urlText, path)),
             extended);
    QCOMPARE(logContains(*_env, QStringLiteral("'Download completed: %1' in ").arg(urlText)), extended);
}

void tst_LVDownloader::slowMainThreadPausesTheTransfer()
{
    const qint64 size = 96 * 1024 * 1024 + 17; // not a whole number of chunks
    LocalHttpServer::Response response;
    response.generatedBodySize = size;
    _server->setRoute("/huge.pkg", response);
    const QString path = _env->temporaryDirectory() + QStringLiteral("/huge.pkg");

    RecordingDelegate delegate;
    auto downloader = watched(_server->url(QStringLiteral("/huge.pkg")), delegate);
    // A main thread that is busy for a while from the first chunk on: the network must wait for
    // it rather than pile up the body in memory.
    qint64 sentWhileBusy = -1;
    delegate.after = [&](const QString& name, LVDownloader*) {
        if (name != QLatin1String("started"))
            return;
        QThread::msleep(1500);
        sentWhileBusy = _server->bodyBytesSent();
    };
    QVERIFY(downloader->startWithDownloadFilePath(path));
    QTRY_VERIFY(sentWhileBusy >= 0);
    QVERIFY2(sentWhileBusy < 32 * 1024 * 1024, qPrintable(QString::number(sentWhileBusy)));

    QVERIFY(awaitEnd(delegate, 60000));
    QCOMPARE(delegate.finalEvent(), QStringLiteral("completed"));
    QVERIFY(downloader->data().isNull());
    QCOMPARE(downloader->currentDownloadDataSize(), quint64(size));
    QVERIFY(TestEnvironment::readFile(path) == LocalHttpServer::generatedBody(0, size));
    // Kept after release unless marked for deletion.
    downloader.reset();
    QVERIFY(QFileInfo::exists(path));
}

void tst_LVDownloader::sessionInvalidation()
{
    _server->setRoute("/done", "done");
    _server->setRoute("/slow", slowResponse(1000000, 1000, 20));

    RecordingDelegate finishedDelegate, runningDelegate, waitingDelegate;
    auto finished = watched(_server->url(QStringLiteral("/done")), finishedDelegate);
    auto running = watched(_server->url(QStringLiteral("/slow")), runningDelegate);
    auto waiting = watched(_server->url(QStringLiteral("/slow")), waitingDelegate);
    QVERIFY(finished->start());
    QVERIFY(awaitEnd(finishedDelegate));
    QVERIFY(running->startWithDownloadFilePath(_env->temporaryDirectory() + QStringLiteral("/slow.bin")));
    QTRY_VERIFY(runningDelegate.names().contains(QStringLiteral("started")));

    LVDownloader::sharedSession()->invalidateAndCancel();
    // The session's last word is the invalidation, delivered to every downloader, ended or not:
    // once each has had it, nothing more can come.
    QTRY_VERIFY(finished->deleteDownloadFile() && running->deleteDownloadFile() && waiting->deleteDownloadFile());
    for (RecordingDelegate* delegate : {&finishedDelegate, &runningDelegate, &waitingDelegate})
        QVERIFY2(delegate->orderProblem().isEmpty(), qPrintable(delegate->orderProblem()));
    QCOMPARE(finishedDelegate.finalEvent(), QStringLiteral("completed"));
    QCOMPARE(runningDelegate.finalEvent(), QStringLiteral("failed"));
    QCOMPARE(waitingDelegate.names(), QStringList{QStringLiteral("failed")});
    QVERIFY(!LVDownloader::sharedSession()->isValid());

    QVERIFY(!LVDownloader::downloaderWithURL(_server->url(QStringLiteral("/done"))));
    QVERIFY(logContains(*_env, QStringLiteral("'_downloadTask = nil' in ")));
    running.reset();
    QVERIFY(!QFileInfo::exists(_env->temporaryDirectory() + QStringLiteral("/slow.bin")));
}

void tst_LVDownloader::downloadsHaveLimits_data()
{
    QTest::addColumn<LocalHttpServer::Response>("response");
    QTest::addColumn<int>("errorCode");

    LocalHttpServer::Response within;
    within.generatedBodySize = 100000;
    QTest::newRow("within the limits") << within << 0;
    // Never silent for long, far below the minimum speed.
    QTest::newRow("dripping") << slowResponse(100000, 1, 200) << -1001;
    LocalHttpServer::Response announced;
    announced.generatedBodySize = 200000;
    QTest::newRow("announced larger than allowed") << announced << -1103;
    LocalHttpServer::Response unannounced = announced;
    unannounced.framing = LocalHttpServer::Response::Chunked;
    QTest::newRow("sent larger than allowed, unannounced") << unannounced << -1103;
}

void tst_LVDownloader::downloadsHaveLimits()
{
    QFETCH(LocalHttpServer::Response, response);
    QFETCH(int, errorCode);
    VMDispatch::setDelayScale(1.0); // the silence timeout at full length: the speed window must end it
    qputenv("LV_DOWNLOAD_SPEED_WINDOW", "2");
    qputenv("LV_DOWNLOAD_MAX_BYTES", "150000");
    const auto restore = qScopeGuard([] {
        qunsetenv("LV_DOWNLOAD_SPEED_WINDOW");
        qunsetenv("LV_DOWNLOAD_MAX_BYTES");
    });
    _server->setRoute("/package.pkg", response);
    const QString path = LVDownloader::downloadFilePathWithSuggestedFileName(QStringLiteral("package.pkg"));
    RecordingDelegate delegate;
    auto downloader = watched(_server->url(QStringLiteral("/package.pkg")), delegate);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(downloader->startWithDownloadFilePath(path));
    QVERIFY(awaitEnd(delegate, 8000));
    QVERIFY2(clock.elapsed() < 6000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(downloader->error().code(), qint64(errorCode));
    QCOMPARE(delegate.finalEvent(), QString::fromLatin1(errorCode == 0 ? "completed" : "failed"));
}

void tst_LVDownloader::progressHeldBackIsReportedWhenTheSecondIsOver()
{
    // A burst, then a live connection that sends nothing more: what arrived after the first
    // report must still be shown.
    VMDispatch::setDelayScale(1.0);
    LocalHttpServer::Response burst;
    burst.generatedBodySize = 1000000;
    burst.chunkSize = 16 * 1024;
    burst.stallAfterBytes = 400000;
    _server->setRoute("/burst", burst);
    RecordingDelegate delegate;
    auto downloader = watched(_server->url(QStringLiteral("/burst")), delegate);
    QVERIFY(downloader->start());
    QTRY_VERIFY_WITH_TIMEOUT(
        !delegate.progressEvents().isEmpty() && qFuzzyCompare(delegate.progressEvents().last().progress, 40.0), 2500);
    const QList<RecordingDelegate::Event> reports = delegate.progressEvents();
    for (qsizetype i = 1; i < reports.size(); ++i)
        QVERIFY(reports.at(i).milliseconds - reports.at(i - 1).milliseconds >= 950);
    downloader->cancel();
    QVERIFY(awaitEnd(delegate));
}

void tst_LVDownloader::downloadFolderIsTheUsersOwn_data()
{
    QTest::addColumn<QString>("found"); // what lies where the folder goes
    QTest::addColumn<bool>("used");
    QTest::newRow("nothing") << "nothing" << true;
    QTest::newRow("the user's, readable by others") << "0755" << true;
    QTest::newRow("the user's, writable by others") << "0777" << false;
    QTest::newRow("a link to another folder") << "link" << false;
    QTest::newRow("another user's") << "another user's" << false;
}

void tst_LVDownloader::downloadFolderIsTheUsersOwn()
{
    QFETCH(QString, found);
    QFETCH(bool, used);
    const QString folder = LVDownloadFolder::path();
    QVERIFY(!folder.isEmpty());
    QVERIFY(QDir(folder).removeRecursively());
    // Someone else's files, which nothing may remove.
    const QString outside = _env->path() + QStringLiteral("/outside");
    QVERIFY(TestEnvironment::writeFile(outside + QStringLiteral("/precious")));

    if (found == QLatin1String("link")) {
        QVERIFY(QFile::link(outside, folder));
    } else if (found != QLatin1String("nothing")) {
        QVERIFY(QDir().mkdir(folder));
        QVERIFY(QFile::link(outside + QStringLiteral("/precious"), folder + QStringLiteral("/a link")));
        QVERIFY(QDir().mkdir(folder + QStringLiteral("/sub")));
        QVERIFY(QFile::link(outside, folder + QStringLiteral("/sub/linked folder")));
        if (found == QLatin1String("another user's")) {
            if (geteuid() != 0)
                QSKIP("Only root can give a folder to another user here.");
            QCOMPARE(
                QProcess::execute(QStringLiteral("chown"), {QStringLiteral("-h"), QStringLiteral("65534"), folder}), 0);
        } else {
            QVERIFY(QFile::setPermissions(folder, found == QLatin1String("0777") ? QFileDevice::Permissions(0x7777)
                                                                                 : QFileDevice::Permissions(0x7755)));
        }
    }

    QString error;
    QCOMPARE(LVDownloadFolder::path(&error).isEmpty(), !used);
    LVDownloadFolder::removeLeftovers();
    QVERIFY(QFileInfo::exists(outside + QStringLiteral("/precious")));
    if (used) {
        QCOMPARE(int(QFileInfo(folder).permissions() & 0x0077), 0); // nothing for group and others
        QVERIFY(QDir(folder).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System));
        QCOMPARE(LVDownloader::downloadFilePathWithSuggestedFileName(QStringLiteral("a.pkg")),
                 folder + QStringLiteral("/a.pkg"));
    } else {
        QVERIFY2(error.contains(folder), qPrintable(error));
        QVERIFY(LVDownloader::downloadFilePathWithSuggestedFileName(QStringLiteral("a.pkg")).isEmpty());
        QVERIFY(QFileInfo(folder).isSymLink() || QFileInfo::exists(folder + QStringLiteral("/sub/linked folder")));
    }
}

LV_TEST_MAIN(tst_LVDownloader)
#include "tst_LVDownloader.moc"
