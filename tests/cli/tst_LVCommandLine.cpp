#include "TestMain.h"
#include "engines/LVOperationLock.h"
#include "foundation/LVApplicationIdentity.h"
#include "support/DemoServerProcess.h"
#include "support/TestEnvironment.h"

#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

#include <csignal>

namespace {

// The process holding the operations lock; 0 when none does.
qint64 lockHolder()
{
    qint64 pid = 0;
    QString host;
    QString application;
    return QLockFile(LVOperationLock::filePath()).getLockInfo(&pid, &host, &application) ? pid : 0;
}

} // namespace

// The real executable without a display, against the real demo server and its seeded system root
// (one product, LV-HALFTONE, installed at an older version). One server serves the whole class at
// full speed; each case gets a fresh copy of the seeded root.
class tst_LVCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();
    void listAndCheck();
    void updateUninstallInstallAndStartWritingOnlyInTheTestsFolder();
    void usageErrorsAndExitStatuses_data();
    void usageErrorsAndExitStatuses();
    void toolkitOptionsKeepWorking();
    void lockHeldByAnotherCopy();
    void interruptedDownloadLeavesNothing_data();
    void interruptedDownloadLeavesNothing();
    void swappedPackageIsRefused();
    void administratorStepNeverGrantedSilently();

private:
    struct Run
    {
        int status = -1;
        QByteArray out;
        QByteArray err;
        QList<QJsonObject> objects() const;
    };
    // `display`: run with a (virtual) display, as a window start would have one.
    // `environment`: variables set for this run only.
    Run run(const QStringList& arguments, int timeout = 120000, bool display = false,
            const QHash<QString, QString>& environment = {});

    // Packages left in the case's temporary folder.
    QStringList leftPackages() const;
    // Every file and folder below the places where this application keeps its files for the user
    // who runs the tests, with size and time.
    QStringList realPlacesSnapshot() const;

    // Those places, as the real environment names them (on a Mac they ignore HOME).
    QStringList _realPlaces;

    // The server's site and the root it seeded, for the whole class; then each case's own.
    std::unique_ptr<TestEnvironment> _serverEnv;
    std::unique_ptr<TestEnvironment> _env;
    DemoServerProcess _server;
};

// The only product whose packages the server sends slowly, so that its download can be caught.
static const QString kSlowProduct = QStringLiteral("LV-DRIFT");

QList<QJsonObject> tst_LVCommandLine::Run::objects() const
{
    QList<QJsonObject> result;
    for (const QByteArray& line : out.split('\n')) {
        if (line.isEmpty())
            continue;
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(line, &error);
        if (error.error != QJsonParseError::NoError || !document.isObject())
            return {}; // every line must be an object
        result.append(document.object());
    }
    return result;
}

QStringList tst_LVCommandLine::leftPackages() const
{
    return _env->temporaryFiles().filter(QRegularExpression(QStringLiteral("\\.pkg$")));
}

void tst_LVCommandLine::initTestCase()
{
    LVApplicationIdentity::apply();
    for (const auto location : {QStandardPaths::AppDataLocation, QStandardPaths::AppLocalDataLocation,
                                QStandardPaths::AppConfigLocation, QStandardPaths::CacheLocation})
        _realPlaces << QStandardPaths::writableLocation(location);
    _realPlaces << QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/lumivane-manager"
                << QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/Quarnet"
                << QDir::homePath() + "/Library/Preferences/com.quarnet.Lumivane-Manager.plist"
                << QDir::tempPath() + "/lumivane-manager-downloads-" + qEnvironmentVariable("USER", "user");
    _serverEnv = std::make_unique<TestEnvironment>();
    QVERIFY2(
        _server.start({QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--slow-only"), kSlowProduct}),
        _server.lastLine().constData());
}

void tst_LVCommandLine::cleanupTestCase()
{
    _server.stop();
    _serverEnv.reset();
}

void tst_LVCommandLine::init()
{
    _env = std::make_unique<TestEnvironment>();
    qunsetenv("LV_AUTO_CONSENT");
    qputenv("LV_SERVER_URL", _server.url().toUtf8());
    QCOMPARE(
        QProcess::execute(QStringLiteral("cp"),
                          {QStringLiteral("-a"), _serverEnv->systemRoot() + QStringLiteral("/."), _env->systemRoot()}),
        0);
}

void tst_LVCommandLine::cleanup()
{
    _env.reset();
}

tst_LVCommandLine::Run tst_LVCommandLine::run(const QStringList& arguments, int timeout, bool display,
                                              const QHash<QString, QString>& extra)
{
    QProcess process;
    process.setProgram(qEnvironmentVariable("LV_TEST_BINARY_DIR") + QStringLiteral("/src/lumivane-manager"));
    process.setArguments(arguments);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM")); // a core application needs no platform plugin
    if (display)
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    for (auto it = extra.cbegin(); it != extra.cend(); ++it)
        environment.insert(it.key(), it.value());
    process.setProcessEnvironment(environment);
    process.start();
    process.closeWriteChannel();
    Run result;
    if (!process.waitForFinished(timeout))
        return result;
    result.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

void tst_LVCommandLine::listAndCheck()
{
    const Run list = run({QStringLiteral("--list"), QStringLiteral("--json")});
    QCOMPARE(list.status, 0);
    const QList<QJsonObject> rows = list.objects();
    QVERIFY2(rows.size() >= 10, list.out.constData());
    QHash<QString, QJsonObject> byID;
    for (const QJsonObject& row : rows)
        byID.insert(row.value("id").toString(), row);
    QCOMPARE(byID.value("LV-HALFTONE").value("status").toInt(), 3);
    QVERIFY(!byID.value("LV-HALFTONE").value("installedVersion").toString().isEmpty());
    QCOMPARE(byID.value("LV-PRISM").value("status").toInt(), 1);
    QCOMPARE(byID.value("LV-PRISM").value("verifiable").toBool(), true);
    QVERIFY(byID.value("LV-PRISM").value("installedVersion").isNull());
    QCOMPARE(byID.value("LV-STUDIO").value("type").toString(), QStringLiteral("bundle"));
    QCOMPARE(byID.value("LV-STUDIO").value("status").toInt(), 4); // one member installed, with an update

    const Run check = run({QStringLiteral("--check")});
    QCOMPARE(check.status, 5);
    QVERIFY2(check.out.contains("LV-HALFTONE"), check.out.constData());
    QVERIFY(!check.out.contains("LV-PRISM"));
}

void tst_LVCommandLine::updateUninstallInstallAndStartWritingOnlyInTheTestsFolder()
{
    const QStringList before = realPlacesSnapshot();
    const Run update = run({QStringLiteral("--update-all"), QStringLiteral("--yes"), QStringLiteral("--json")});
    QVERIFY2(update.status == 0, update.out + update.err);
    const QList<QJsonObject> results = update.objects();
    QCOMPARE(results.size(), 1);
    QCOMPARE(results.first().value("id").toString(), QStringLiteral("LV-HALFTONE"));
    QCOMPARE(results.first().value("outcome").toString(), QStringLiteral("succeeded"));
    QCOMPARE(run({QStringLiteral("--check")}).status, 0);
    // The package the update downloaded is gone.
    QVERIFY2(leftPackages().isEmpty(), qPrintable(leftPackages().join(',')));

    const Run uninstall = run({QStringLiteral("--uninstall"), QStringLiteral("LV-HALFTONE"), QStringLiteral("--yes"),
                               QStringLiteral("--json")});
    QVERIFY2(uninstall.status == 0, uninstall.out + uninstall.err);
    QCOMPARE(uninstall.objects().value(0).value("outcome").toString(), QStringLiteral("succeeded"));
    const Run list = run({QStringLiteral("--list"), QStringLiteral("--json")});
    for (const QJsonObject& row : list.objects()) {
        if (row.value("id") == QStringLiteral("LV-HALFTONE"))
            QCOMPARE(row.value("status").toInt(), 1);
    }

    // A first administrator install is judged by the version found, not the installer's words.
    const Run first = run(
        {QStringLiteral("--install"), QStringLiteral("LV-PRISM"), QStringLiteral("--yes"), QStringLiteral("--json")});
    QVERIFY2(first.status == 0, first.out + first.err);
    QCOMPARE(first.objects().value(0).value("outcome").toString(), QStringLiteral("succeeded"));
    QVERIFY(!first.objects().value(0).value("version").toString().isEmpty());

    // Every action is on record, in order, with its outcome and duration.
    const Run history = run({QStringLiteral("--history"), QStringLiteral("--json")});
    QCOMPARE(history.status, 0);
    QStringList actions;
    for (const QJsonObject& record : history.objects()) {
        QVERIFY(record.value("seconds").toDouble() >= 0);
        actions.append(record.value("productID").toString() + ':' + record.value("action").toString() + ':' +
                       record.value("outcome").toString());
    }
    QCOMPARE(actions, QStringList({"LV-HALFTONE:install:succeeded", "LV-HALFTONE:uninstall:succeeded",
                                   "LV-PRISM:install:succeeded"}));

    // The toolkit's options alone start the window, which takes the operation lock at once and
    // opens the command channel: preferences, the command channel, the lock, the catalogue.
    QProcess window;
    window.setProgram(qEnvironmentVariable("LV_TEST_BINARY_DIR") + QStringLiteral("/src/lumivane-manager"));
    window.setArguments({"-platform", "offscreen", "-qwindowtitle", "Lumivane"});
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    window.setProcessEnvironment(environment);
    window.start();
    QVERIFY(window.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(lockHolder() == window.processId() || window.state() != QProcess::Running, 60000);
    QCOMPARE(window.state(), QProcess::Running);
    const QString sockets = _env->systemRoot() + QStringLiteral("/var/run/notifications");
    QTRY_VERIFY_WITH_TIMEOUT(!QDir(sockets).isEmpty(QDir::System | QDir::Files), 30000);
    window.terminate();
    if (!window.waitForFinished(10000)) {
        window.kill();
        window.waitForFinished();
    }

    // Inside the test's folder, the application's own files lie in the system root.
    QVERIFY(LVOperationLock::filePath().startsWith(_env->systemRoot() + QLatin1Char('/')));
    QVERIFY(QFile::exists(_env->systemRoot() + QStringLiteral("/Users/") + qEnvironmentVariable("USER", "user") +
                          QStringLiteral("/Library/Application Support/Quarnet/Lumivane Manager/history.jsonl")));
    // Outside it, nothing changed.
    QCOMPARE(realPlacesSnapshot(), before);
}

void tst_LVCommandLine::usageErrorsAndExitStatuses_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("display");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("listsCommands");
    QTest::newRow("no such product") << QStringList{"--install", "LV-NOPE", "--yes"} << false << 2 << false;
    QTest::newRow("no such version") << QStringList{"--install", "LV-PRISM@9.9", "--yes"} << false << 2 << false;
    QTest::newRow("two commands") << QStringList{"--list", "--check"} << false << 2 << true;
    QTest::newRow("install without IDs") << QStringList{"--install"} << false << 2 << false;
    QTest::newRow("missing catalogue file")
        << QStringList{"--list", "--catalogue", "/nonexistent/catalogue.plist"} << false << 3 << false;
    QTest::newRow("catalogue server gone")
        << QStringList{"--list", "--catalogue", "http://127.0.0.1:1/x.plist"} << false << 3 << false;
    // A typo never starts a window, with or without a display to show it on.
    QTest::newRow("typo, no display") << QStringList{"--aply", "state.json"} << false << 2 << true;
    QTest::newRow("typo, display") << QStringList{"--aply", "state.json"} << true << 2 << true;
    QTest::newRow("unknown option beside a toolkit one")
        << QStringList{"-style", "Fusion", "--no-such-option"} << true << 2 << true;
    QTest::newRow("desired-state file missing")
        << QStringList{"--apply", "/nonexistent/state.json", "--yes"} << false << 2 << false;
    QTest::newRow("dry run without apply") << QStringList{"--list", "--dry-run"} << false << 2 << true;
    QTest::newRow("stray argument") << QStringList{"state.json"} << false << 2 << true;
    QTest::newRow("argument a command does not take") << QStringList{"--list", "LV-PRISM"} << false << 2 << true;
}

void tst_LVCommandLine::usageErrorsAndExitStatuses()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, display);
    QFETCH(int, status);
    QFETCH(bool, listsCommands);
    const Run result = run(arguments, 120000, display);
    QCOMPARE(result.status, status);
    QVERIFY(!result.err.trimmed().isEmpty()); // a reason is always given
    QCOMPARE(result.err.contains("--update-all"), listsCommands);
    QVERIFY(result.out.isEmpty());
}

void tst_LVCommandLine::toolkitOptionsKeepWorking()
{
    // Beside a command, the toolkit's options are left to the toolkit (alone, they start the window).
    const Run list = run({"-platform", "offscreen", "--list", "-reverse"});
    QCOMPARE(list.status, 0);
    QVERIFY2(list.out.contains("LV-PRISM"), list.err.constData());
}

void tst_LVCommandLine::lockHeldByAnotherCopy()
{
    LVOperationLock lock;
    QVERIFY(lock.tryLock());
    // Another user's copy (another home) on the same machine waits its turn as well.
    const QString otherHome = _env->path() + QStringLiteral("/other home");
    QVERIFY(QDir().mkpath(otherHome + QStringLiteral("/data")));
    const Run result = run(
        {QStringLiteral("--install"), QStringLiteral("LV-PRISM"), QStringLiteral("--yes")}, 120000, false,
        {{QStringLiteral("HOME"), otherHome}, {QStringLiteral("XDG_DATA_HOME"), otherHome + QStringLiteral("/data")}});
    QCOMPARE(result.status, 4);
    QVERIFY2(result.err.contains(QByteArray::number(QCoreApplication::applicationPid())), result.err.constData());
    // Reading needs no lock.
    QCOMPARE(run({QStringLiteral("--list")}).status, 0);
}

void tst_LVCommandLine::interruptedDownloadLeavesNothing_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("leftUntilNextStart");
    QTest::newRow("killed") << int(SIGKILL) << true;
    QTest::newRow("terminated") << int(SIGTERM) << false;
    QTest::newRow("interrupted") << int(SIGINT) << false;
}

void tst_LVCommandLine::interruptedDownloadLeavesNothing()
{
    QFETCH(int, signal);
    QFETCH(bool, leftUntilNextStart);
    // Someone else's file in the temporary folder, which no start-up may touch.
    const QString foreign = _env->temporaryDirectory() + QStringLiteral("/someone else.dat");
    QVERIFY(TestEnvironment::writeFile(foreign));
    QProcess install;
    install.setProgram(qEnvironmentVariable("LV_TEST_BINARY_DIR") + QStringLiteral("/src/lumivane-manager"));
    install.setArguments({QStringLiteral("--install"), kSlowProduct, QStringLiteral("--yes")});
    install.start();
    QVERIFY(install.waitForStarted());
    // The server sends this product's packages slowly: stop the copy while its package is half there.
    QTRY_VERIFY_WITH_TIMEOUT(!leftPackages().isEmpty() && QFileInfo(leftPackages().constFirst()).size() > 0, 30000);
    QCOMPARE(::kill(pid_t(install.processId()), signal), 0);
    QVERIFY(install.waitForFinished());
    QCOMPARE(install.exitStatus(), QProcess::CrashExit);
    QCOMPARE(leftPackages().size(), leftUntilNextStart ? 1 : 0);

    LVOperationLock nextStart;
    QVERIFY(nextStart.tryLock());
    QVERIFY2(leftPackages().isEmpty(), qPrintable(leftPackages().join(',')));
    QVERIFY(QFileInfo::exists(foreign));
    QVERIFY(QFile::remove(foreign));
}

void tst_LVCommandLine::swappedPackageIsRefused()
{
    // The demo server's own copies of the product's packages, replaced by another body until the
    // case ends (the server serves the later cases too).
    QDirIterator served(_serverEnv->temporaryDirectory(), {QStringLiteral("LV-PRISM-*.pkg")}, QDir::Files,
                        QDirIterator::Subdirectories);
    QHash<QString, QByteArray> originals;
    const auto restore = qScopeGuard([&originals] {
        for (auto it = originals.cbegin(); it != originals.cend(); ++it) {
            QFile package(it.key());
            if (!package.open(QIODevice::WriteOnly | QIODevice::Truncate) || package.write(it.value()) != it->size())
                qFatal("can't restore %s", qPrintable(it.key()));
        }
    });
    while (served.hasNext()) {
        QFile package(served.next());
        QVERIFY(package.open(QIODevice::ReadWrite));
        originals.insert(package.fileName(), package.readAll());
        QVERIFY(package.resize(0));
        package.write("not the package");
    }
    QVERIFY(!originals.isEmpty());
    const Run result = run(
        {QStringLiteral("--install"), QStringLiteral("LV-PRISM"), QStringLiteral("--yes"), QStringLiteral("--json")});
    QCOMPARE(result.status, 1);
    const QJsonObject outcome = result.objects().value(0);
    QCOMPARE(outcome.value("outcome").toString(), QStringLiteral("failed"));
    QVERIFY2(outcome.value("detail").toString().contains(
                 "The installer of 'Prismatic Glow' did not match its checksum and was deleted."),
             result.out.constData());
    QVERIFY(!QFile::exists(_env->systemRoot() + QStringLiteral("/Applications/Lumivane/PrismaticGlow.app")));
    QVERIFY2(leftPackages().isEmpty(), qPrintable(leftPackages().join(',')));
}

void tst_LVCommandLine::administratorStepNeverGrantedSilently()
{
    // No --yes and no terminal to ask on: the administrator step is refused and nothing changes.
    const Run result = run({QStringLiteral("--install"), QStringLiteral("LV-PRISM"), QStringLiteral("--json")});
    QCOMPARE(result.status, 1);
    QCOMPARE(result.objects().value(0).value("outcome").toString(), QStringLiteral("failed"));
    QVERIFY(!QFile::exists(_env->systemRoot() + QStringLiteral("/Applications/Lumivane/PrismaticGlow.app")));
    QVERIFY2(leftPackages().isEmpty(), qPrintable(leftPackages().join(',')));
}

QStringList tst_LVCommandLine::realPlacesSnapshot() const
{
    QStringList entries;
    for (const QString& place : _realPlaces) {
        const QFileInfo info(place);
        if (info.exists())
            entries
                << QStringLiteral("%1 %2 %3").arg(place).arg(info.size()).arg(info.lastModified().toMSecsSinceEpoch());
        QDirIterator it(place, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QFileInfo entry(it.next());
            entries << QStringLiteral("%1 %2 %3")
                           .arg(entry.filePath())
                           .arg(entry.size())
                           .arg(entry.lastModified().toMSecsSinceEpoch());
        }
    }
    entries.sort();
    return entries;
}

LV_TEST_GUILESS_MAIN(tst_LVCommandLine)
#include "tst_LVCommandLine.moc"
