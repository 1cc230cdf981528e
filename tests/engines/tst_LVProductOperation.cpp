#include "ProductShelf.h"
#include "TestMain.h"

#include "catalogue/VMVersionItem.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "engines/LVProductOperation.h"
#include "engines/LVUninstaller.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMNotificationCenter.h"
#include "foundation/VMPropertyList.h"

#include <QDir>
#include <QFile>
#include <QtTest>

using Phase = LVProductOperation::Phase;

// The owner of an operation, as a run is: it hears the operation's signals, notes the phase it
// sees in each, installs when the package is there and confirms a finished installation.
class OperationOwner : public QObject
{
    Q_OBJECT
public:
    explicit OperationOwner(const VMSingleProductItemPtr& product) : operation(new LVProductOperation(product, this))
    {
        connect(operation, &LVProductOperation::downloadBegan, this, [this] { note("downloadStarted"); });
        connect(operation, &LVProductOperation::downloadEnded, this,
                [this](LVProductOperation::Download download, bool succeeded) {
                    succeeded ? downloadCompleted(download) : finish("downloadFailed");
                });
        connect(operation, &LVProductOperation::installBegan, this, &OperationOwner::installStarted);
        connect(operation, &LVProductOperation::installEnded, this,
                [this](bool succeeded, const VMError& installError, const VMVersionItemPtr& version) {
                    error = installError;
                    if (succeeded)
                        operation->confirmInstallation(version, LVProductOperation::Confirmation::Row);
                    finish(succeeded ? "installCompleted" : "installFailed");
                });
        connect(operation, &LVProductOperation::uninstallBegan, this, [this] { note("uninstallStarted"); });
        connect(operation, &LVProductOperation::uninstallEnded, this,
                [this](bool succeeded) { finish(succeeded ? "uninstallCompleted" : "uninstallFailed"); });
    }

    void downloadCompleted(LVProductOperation::Download download)
    {
        note("downloadCompleted");
        if (download == LVProductOperation::Download::Installer && installOnArrival)
            operation->install(nullptr, LVProductOperation::Execution::Background, extraOptions);
    }
    void installStarted()
    {
        note("installStarted");
        if (destroyOnInstallStart)
            deleteLater();
    }

    LVProductOperation* operation;
    QVariantMap extraOptions;
    bool installOnArrival = true;
    bool destroyOnInstallStart = false;
    QStringList events;
    VMError error;

signals:
    void finished();

private:
    void note(const char* event)
    {
        events.append(QStringLiteral("%1:%2").arg(
            QLatin1String(event), QLatin1String(QMetaEnum::fromType<Phase>().valueToKey(int(operation->phase())))));
    }
    void finish(const char* event)
    {
        note(event);
        emit finished();
    }
};

// The pipeline headless: packages made by the project's builder, served from this machine,
// installed by the project's installer into a temporary system root.
class tst_LVProductOperation : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void installs_data();
    void installs();
    void endedDownloadKeepsItsFileUnlessCancelled_data();
    void endedDownloadKeepsItsFileUnlessCancelled();
    void uninstallRunsScriptsInCompletionOrder_data();
    void uninstallRunsScriptsInCompletionOrder();
    void synchronousInstallOnBackgroundThread();
    void synchronousUninstallOnBackgroundThread();
    void ownerDestroyedMidway_data();
    void ownerDestroyedMidway();
    void progressDescription();

private:
    // Serves Glow <version>; `damaged` serves something else instead.
    bool publish(const QString& version, bool damaged = false);
    // A script that notes its name in the run log and prints its status, or 1.
    QByteArray uninstallScript(const char* name, bool fails = false) const;
    VMSingleProductItemPtr product(bool admin) const;
    VMVersionItemPtr version(const VMSingleProductItemPtr& product, const QString& text) const;
    // Downloads and installs `text` through the pipeline and answers the final event.
    QString installVersion(const QString& text, bool admin);
    QString installedPluginVersion(const QString& base) const;
    QStringList ran() const;

    std::unique_ptr<TestEnvironment> _env;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
    std::unique_ptr<LocalHttpServer> _server;
    std::unique_ptr<ProductShelf> _shelf;
};

namespace {
const QString kPlugin = QStringLiteral("com.quarnet.FxPlug.GlowXPC");
const QString kPluginPath = QStringLiteral("/Applications/Lumivane/Glow.app/Contents/PlugIns/GlowXPC.pluginkit");
const QString kPluginInfo = kPluginPath + QStringLiteral("/Contents/Info.plist");
} // namespace

bool tst_LVProductOperation::publish(const QString& version, bool damaged)
{
    if (!damaged)
        return _shelf->publish(QStringLiteral("Glow"), version);
    _server->setRoute("/pkg/Glow-" + version.toUtf8() + ".pkg", "this is no xar archive");
    return true;
}

QByteArray tst_LVProductOperation::uninstallScript(const char* name, bool fails) const
{
    return QByteArray("echo ") + name + " >> '" + (_env->path() + QStringLiteral("/ran")).toUtf8() + "'\necho " +
           (fails ? "1" : "$?") + "\n";
}

VMSingleProductItemPtr tst_LVProductOperation::product(bool admin) const
{
    QVariantList versions;
    for (const char* text : {"1.0", "1.1"}) {
        versions.append(
            QVariantMap{{"Product Version", text},
                        {"Download URL", _shelf->packageURL(QStringLiteral("Glow"), QString::fromLatin1(text))},
                        {"Installer Requires Authentication", admin},
                        {"Uninstall Script", _server->url(QStringLiteral("/scripts/second.bash")).toString()}});
    }
    return VMSingleProductItem::initWithDict(
        {{"Product ID", "Glow"},
         {"Title", "Glow"},
         {"Identifier", kPlugin},
         {"Check Installed Directory", "/Applications/Lumivane/Glow.app"},
         {"Uninstall Script", _server->url(QStringLiteral("/scripts/first.bash")).toString()},
         {"Versions", versions}});
}

VMVersionItemPtr tst_LVProductOperation::version(const VMSingleProductItemPtr& product, const QString& text) const
{
    for (const VMVersionItemPtr& version : product->versionItems())
        if (version->productVersion() == text)
            return version;
    return nullptr;
}

QString tst_LVProductOperation::installVersion(const QString& text, bool admin)
{
    OperationOwner owner(product(admin));
    QSignalSpy finished(&owner, &OperationOwner::finished);
    if (!owner.operation->startDownload(version(owner.operation->productItem(), text)) || !finished.wait(20000))
        return QString();
    return owner.events.last();
}

QString tst_LVProductOperation::installedPluginVersion(const QString& base) const
{
    return VMPropertyList::fromFile(base + kPluginInfo).toMap().value("CFBundleVersion").toString();
}

QStringList tst_LVProductOperation::ran() const
{
    return QString::fromUtf8(TestEnvironment::readFile(_env->path() + QStringLiteral("/ran")))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void tst_LVProductOperation::init()
{
    _env = std::make_unique<TestEnvironment>();
    VMInstalledVersions::clearBundleIdentifierCache();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _server = std::make_unique<LocalHttpServer>();
    QVERIFY(_server->isListening());
    _shelf = std::make_unique<ProductShelf>(*_env, *_server);
}

void tst_LVProductOperation::cleanup()
{
    // Runners remove their files once their last callback has returned.
    QTRY_VERIFY2(_env->temporaryFiles().isEmpty(), qPrintable(_env->temporaryFiles().join(QLatin1Char(' '))));
    _shelf.reset();
    _server.reset();
    _privileged.reset();
    _env.reset();
}

void tst_LVProductOperation::installs_data()
{
    QTest::addColumn<bool>("admin");
    QTest::addColumn<bool>("olderInstalled");
    QTest::addColumn<bool>("damaged");
    QTest::addColumn<int>("consent");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<int>("errorCode");
    QTest::addColumn<QString>("detected");

    const int grant = TestPrivilegedExecution::Grant;
    QTest::newRow("as user") << false << false << false << grant << "installCompleted:Idle" << 0 << QString();
    // The installer reports a first install in other words than an upgrade: judged failed, yet in place.
    QTest::newRow("as administrator, first install")
        << true << false << false << grant << "installFailed:Idle" << -1 << "1.1";
    QTest::newRow("update from an older version")
        << true << true << false << grant << "installCompleted:Idle" << 0 << "1.1";
    QTest::newRow("failed install") << true << true << true << grant << "installFailed:Idle" << -1 << "1.0";
    QTest::newRow("cancelled authorization")
        << true << true << false << int(TestPrivilegedExecution::Cancel) << "installFailed:Idle" << -60006 << "1.0";
}

void tst_LVProductOperation::installs()
{
    QFETCH(bool, admin);
    QFETCH(bool, olderInstalled);
    QFETCH(bool, damaged);
    QFETCH(int, consent);
    QFETCH(QString, outcome);
    QFETCH(int, errorCode);
    QFETCH(QString, detected);

    QVERIFY(publish(QStringLiteral("1.0")));
    QVERIFY(publish(QStringLiteral("1.1"), damaged));
    if (olderInstalled)
        QCOMPARE(installVersion(QStringLiteral("1.0"), true), QStringLiteral("installFailed:Idle"));
    _privileged->consent = TestPrivilegedExecution::Consent(consent);

    OperationOwner owner(product(admin));
    const VMSingleProductItemPtr record = owner.operation->productItem();
    QStringList confirmed;
    QObject observer;
    VMNotificationCenter::defaultCenter().addObserver(
        &observer, QStringLiteral("productInstallCompleted"), [&](const VMNotification& notification) {
            const auto posted = notification.object.value<VMSingleProductItemPtr>();
            confirmed.append(posted ? posted->propertyForKey(QStringLiteral("temporaryVersionStr")).toString()
                                    : QStringLiteral("?"));
        });
    QSignalSpy phases(owner.operation, &LVProductOperation::phaseChanged);
    QSignalSpy finished(&owner, &OperationOwner::finished);
    QVERIFY(owner.operation->startDownload(version(record, QStringLiteral("1.1"))));
    QCOMPARE(owner.operation->phase(), Phase::Downloading);
    QVERIFY(finished.wait(20000));

    QCOMPARE(owner.events, (QStringList{"downloadStarted:Downloading", "downloadCompleted:Downloaded",
                                        "installStarted:Installing", outcome}));
    QCOMPARE(phases.size(), 4);
    QCOMPARE(owner.error.code(), errorCode);
    QVERIFY(owner.operation->packagePath().isEmpty());
    QVERIFY(!owner.operation->installer());
    QVERIFY(!owner.operation->installingVersionItem());

    const bool completed = outcome.startsWith(QLatin1String("installCompleted"));
    // Confirmed with the version just installed, which is forgotten again afterwards.
    QCOMPARE(confirmed, completed ? QStringList{"1.1"} : QStringList());
    QVERIFY(!record->propertyForKey(QStringLiteral("temporaryVersionStr")).isValid());
    QCOMPARE(record->checkInstalledPluginVersion(), detected);
    if (!admin)
        QCOMPARE(installedPluginVersion(_env->home()), QStringLiteral("1.1"));
    if (completed && admin) {
        // Registered with the plug-in registry after the installation.
        QCOMPARE(QFileInfo(VMInstalledVersions::filePathToXPCBundleUsingPluginKit(kPlugin)).canonicalFilePath(),
                 QFileInfo(_env->systemRoot() + kPluginPath).canonicalFilePath());
    }
}

void tst_LVProductOperation::endedDownloadKeepsItsFileUnlessCancelled_data()
{
    QTest::addColumn<bool>("manual");
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("kept");

    QTest::newRow("installer, cancelled") << false << true << false;
    QTest::newRow("installer, connection lost") << false << false << true;
    // The user's chosen file is theirs either way.
    QTest::newRow("manual, cancelled") << true << true << true;
    QTest::newRow("manual, connection lost") << true << false << true;
}

void tst_LVProductOperation::endedDownloadKeepsItsFileUnlessCancelled()
{
    QFETCH(bool, manual);
    QFETCH(bool, cancel);
    QFETCH(bool, kept);

    LocalHttpServer::Response response;
    response.body = LocalHttpServer::generatedBody(0, 256 * 1024);
    response.chunkSize = 16 * 1024;
    response.chunkIntervalMs = 20;
    if (!cancel)
        response.dropAfterBytes = 64 * 1024;
    _server->setRoute("/pkg/Glow-1.1.pkg", response);

    OperationOwner owner(product(true));
    QSignalSpy finished(&owner, &OperationOwner::finished);
    const VMVersionItemPtr wanted = version(owner.operation->productItem(), QStringLiteral("1.1"));
    const QString chosen = _env->temporaryDirectory() + QStringLiteral("/chosen.pkg");
    if (manual)
        QVERIFY(owner.operation->startManualDownload(QUrl(wanted->versionDownloadURL()), chosen));
    else
        QVERIFY(owner.operation->startDownload(wanted));
    LVDownloader* downloader = manual ? owner.operation->manualDownloader() : owner.operation->downloader();
    const QString path = downloader->downloadFilePath();
    QTRY_VERIFY(owner.operation->receivedBytes() > 0);
    if (cancel)
        owner.operation->cancelFromRow();
    QVERIFY(finished.wait(20000));
    QCOMPARE(owner.events.last(), QStringLiteral("downloadFailed:Idle"));
    QVERIFY(!owner.operation->downloader() && !owner.operation->manualDownloader());
    QVERIFY(owner.operation->progressDescription().isEmpty());
    QTest::qWait(50); // the downloader is gone and has cleaned up
    QCOMPARE(QFile::exists(path), kept);
    QFile::remove(path);
}

void tst_LVProductOperation::uninstallRunsScriptsInCompletionOrder_data()
{
    QTest::addColumn<int>("consent");
    QTest::addColumn<QStringList>("ran");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<int>("refusals");
    QTest::addColumn<bool>("lastFails");
    QTest::addColumn<bool>("announced");

    QTest::newRow("granted") << int(TestPrivilegedExecution::Grant) << QStringList{"second", "first"}
                             << QStringList{"uninstallStarted:Uninstalling", "uninstallCompleted:Idle"} << 0 << false
                             << true;
    QTest::newRow("cancelled") << int(TestPrivilegedExecution::Cancel) << QStringList() << QStringList() << 1 << false
                               << false;
    // What the first script removed is announced although the last one failed.
    QTest::newRow("last script fails") << int(TestPrivilegedExecution::Grant) << QStringList{"second", "first"}
                                       << QStringList{"uninstallStarted:Uninstalling", "uninstallFailed:Idle"} << 0
                                       << true << true;
}

void tst_LVProductOperation::uninstallRunsScriptsInCompletionOrder()
{
    QFETCH(int, consent);
    QFETCH(QStringList, ran);
    QFETCH(QStringList, events);
    QFETCH(int, refusals);
    QFETCH(bool, lastFails);
    QFETCH(bool, announced);
    _privileged->consent = TestPrivilegedExecution::Consent(consent);

    // The product's own script arrives last, so it runs last.
    LocalHttpServer::Response late;
    late.body = uninstallScript("first", lastFails);
    late.headerDelayMs = 400;
    _server->setRoute("/scripts/first.bash", late);
    _server->setRoute("/scripts/second.bash", uninstallScript("second"));

    OperationOwner owner(product(true));
    QSignalSpy refused(owner.operation, &LVProductOperation::authorizationRefused);
    QSignalSpy finished(&owner, &OperationOwner::finished);
    const QStringList urls = LVProductOperation::uninstallScriptURLs(*owner.operation->productItem());
    QCOMPARE(urls.size(), 3); // the versions share one script
    QObject observer;
    int announcements = 0;
    VMNotificationCenter::defaultCenter().addObserver(&observer, QStringLiteral("productUninstallCompleted"),
                                                      [&](const VMNotification&) { ++announcements; });
    QVERIFY(owner.operation->requestUninstallation(urls));
    QCOMPARE(owner.operation->phase(), Phase::Uninstalling);
    if (refusals) {
        QVERIFY(refused.wait(20000));
        QCOMPARE(refused.first().first().toInt(), -60006);
    } else {
        QVERIFY(finished.wait(20000));
    }
    QCOMPARE(owner.operation->phase(), Phase::Idle);
    QCOMPARE(_server->requests().size(), 2);
    // Both script downloads are forwarded too, each in the uninstall phase.
    QCOMPARE(owner.events.filter(QStringLiteral("download")),
             (QStringList{"downloadStarted:Uninstalling", "downloadCompleted:Uninstalling",
                          "downloadStarted:Uninstalling", "downloadCompleted:Uninstalling"}));
    QCOMPARE(owner.events.filter(QStringLiteral("uninstall")), events);
    QCOMPARE(this->ran(), ran);
    QCOMPARE(announcements, announced ? 1 : 0);
    QCOMPARE(_privileged->prompts.load(), 1);
    QCOMPARE(_privileged->frees.load(), 1);
}

void tst_LVProductOperation::synchronousInstallOnBackgroundThread()
{
    QVERIFY(publish(QStringLiteral("1.0")));
    QVERIFY(publish(QStringLiteral("1.1")));
    QCOMPARE(installVersion(QStringLiteral("1.0"), true), QStringLiteral("installFailed:Idle"));

    OperationOwner owner(product(true));
    owner.installOnArrival = false;
    QSignalSpy phases(owner.operation, &LVProductOperation::phaseChanged);
    QVERIFY(owner.operation->startDownload(version(owner.operation->productItem(), QStringLiteral("1.1"))));
    QTRY_COMPARE(owner.operation->phase(), Phase::Downloaded);
    const QString package = owner.operation->packagePath();
    QVERIFY(QFile::exists(package));

    // As a bundle does it: one authorization, the install blocking a background thread.
    std::atomic<int> answered{-1};
    QString versionAfterReturn;
    QSignalSpy finished(&owner, &OperationOwner::finished);
    VMDispatch::performInBackground([&] {
        LVAdminAuthorization authorization;
        const bool started =
            authorization.isGranted() &&
            owner.operation->install(authorization.authorizationRef(), LVProductOperation::Execution::Synchronous);
        versionAfterReturn = installedPluginVersion(_env->systemRoot());
        answered = started;
    });
    QTRY_VERIFY(answered.load() != -1);
    QCOMPARE(answered.load(), 1);
    QCOMPARE(versionAfterReturn, QStringLiteral("1.1"));
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 20000);
    QCOMPARE(owner.events.mid(1),
             (QStringList{"downloadCompleted:Downloaded", "installStarted:Installing", "installCompleted:Idle"}));
    QVERIFY(!QFile::exists(package));
    QCOMPARE(_privileged->creates.load(), 2);
}

void tst_LVProductOperation::synchronousUninstallOnBackgroundThread()
{
    _server->setRoute("/scripts/first.bash", uninstallScript("first"));
    _server->setRoute("/scripts/second.bash", uninstallScript("second"));

    OperationOwner owner(product(true));
    QSignalSpy finished(&owner, &OperationOwner::finished);
    std::atomic<int> answered{-1};
    VMDispatch::performInBackground([&] {
        LVAdminAuthorization authorization;
        answered =
            authorization.isGranted() && owner.operation->runUninstallSynchronously(authorization.authorizationRef());
    });
    QTRY_VERIFY(answered.load() != -1);
    QCOMPARE(answered.load(), 1);
    // Downloaded one after another, each run by an uninstaller of its own under the caller's authorization.
    QCOMPARE(ran(), (QStringList{"first", "second"}));
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 2, 20000);
    QCOMPARE(owner.events.filter(QStringLiteral("uninstallCompleted")).size(), 2);
    QCOMPARE(owner.operation->phase(), Phase::Idle);
    QCOMPARE(_privileged->prompts.load(), 1);
}

void tst_LVProductOperation::ownerDestroyedMidway_data()
{
    QTest::addColumn<bool>("duringInstall");
    QTest::newRow("during the download") << false;
    QTest::newRow("during the installation") << true;
}

void tst_LVProductOperation::ownerDestroyedMidway()
{
    QFETCH(bool, duringInstall);
    LocalHttpServer::Response slow;
    if (!duringInstall) {
        slow.generatedBodySize = 10 * 1000 * 1000;
        slow.chunkIntervalMs = 20;
        slow.chunkSize = 64 * 1024;
        _server->setRoute("/pkg/Glow-1.1.pkg", slow);
    } else {
        QVERIFY(publish(QStringLiteral("1.1")));
    }

    QPointer<OperationOwner> owner = new OperationOwner(product(false));
    owner->destroyOnInstallStart = duringInstall;
    QVERIFY(owner->operation->startDownload(version(owner->operation->productItem(), QStringLiteral("1.1"))));
    if (!duringInstall) {
        QTRY_VERIFY(owner->operation->receivedBytes() > 0);
        delete owner.data();
    }
    QTRY_VERIFY(owner.isNull());
    if (duringInstall) // the installation goes on to its end and removes its package
        QTRY_COMPARE(installedPluginVersion(_env->home()), QStringLiteral("1.1"));
    QTRY_VERIFY(_env->temporaryFiles().isEmpty());
}

void tst_LVProductOperation::progressDescription()
{
    LocalHttpServer::Response slow;
    slow.generatedBodySize = 8 * 1000 * 1000;
    slow.chunkSize = 100 * 1000;
    slow.chunkIntervalMs = 10;
    _server->setRoute("/pkg/Glow-1.1.pkg", slow);

    OperationOwner owner(product(false));
    owner.installOnArrival = false;
    QVERIFY(owner.operation->startDownload(version(owner.operation->productItem(), QStringLiteral("1.1"))));
    QTRY_VERIFY(owner.operation->receivedBytes() > 1000 * 1000);
    static const QRegularExpression shape(
        QStringLiteral("^\\d+\\.\\d of 8\\.0 MB \u2014 (\\d+ KB|\\d+\\.\\d MB)/s, about \\d+ (s|min) left$"));
    const QString text = owner.operation->progressDescription();
    QVERIFY2(shape.match(text).hasMatch(), qPrintable(text));
    QVERIFY(owner.operation->progress().secondsLeft() > 0);
    owner.operation->cleanUp();
    QTRY_COMPARE(owner.operation->phase(), Phase::Idle);
}

LV_TEST_GUILESS_MAIN(tst_LVProductOperation)
#include "tst_LVProductOperation.moc"
