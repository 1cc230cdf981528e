#include "TestMain.h"
#include "catalogue/VMUtils.h"
#include "foundation/LVApplicationIdentity.h"
#include "foundation/VMPropertyList.h"
#include "support/DemoServerProcess.h"
#include "support/TestEnvironment.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

// A studio's set-up, for real: a mirror made from the demo server, served by Debian's nginx on
// 127.0.0.1, and the command line pointed at it applying a desired-state file to an empty Mac.
class tst_StudioMirror : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void mirrorServeAndApply();

private:
    struct Run
    {
        int status = -1;
        QByteArray out;
        QByteArray err;
        QHash<QString, QJsonObject> byKey(const QString& key) const;
    };
    Run run(const QStringList& arguments, const QString& serverURL, const QString& systemRoot);
    void writeState(const QString& path, const QByteArray& json);
};

QHash<QString, QJsonObject> tst_StudioMirror::Run::byKey(const QString& key) const
{
    QHash<QString, QJsonObject> objects;
    for (const QByteArray& line : out.split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (!object.isEmpty())
            objects.insert(object.value(key).toString(), object);
    }
    return objects;
}

void tst_StudioMirror::initTestCase()
{
    LVApplicationIdentity::apply();
}

tst_StudioMirror::Run tst_StudioMirror::run(const QStringList& arguments, const QString& serverURL,
                                            const QString& systemRoot)
{
    QProcess process;
    process.setProgram(qEnvironmentVariable("LV_TEST_BINARY_DIR") + QStringLiteral("/src/lumivane-manager"));
    process.setArguments(arguments);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.insert(QStringLiteral("LV_SERVER_URL"), serverURL);
    environment.insert(QStringLiteral("LV_SYSTEM_ROOT"), systemRoot);
    process.setProcessEnvironment(environment);
    process.start();
    process.closeWriteChannel();
    Run result;
    if (!process.waitForFinished(240000))
        return result;
    result.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

void tst_StudioMirror::writeState(const QString& path, const QByteArray& json)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(json);
}

void tst_StudioMirror::mirrorServeAndApply()
{
    // Through PATH (Homebrew's), then where Debian puts it, outside most users' PATH.
    QString nginx = QStandardPaths::findExecutable(QStringLiteral("nginx"));
    if (nginx.isEmpty())
        nginx = QStandardPaths::findExecutable(QStringLiteral("nginx"), {"/usr/sbin", "/usr/local/sbin"});
    if (nginx.isEmpty())
        QSKIP("nginx is not installed (Debian package nginx-light, Homebrew's nginx): the mirror is not tried with a "
              "real web server.");

    TestEnvironment env;
    const QString mirror = env.path() + QStringLiteral("/mirror");
    const QString demoRoot = env.systemRoot();
    const QString macRoot = env.path() + QStringLiteral("/studio-mac");
    QVERIFY(QDir().mkpath(macRoot));

    // 1. The mirror, made from the demo server; a second run finds nothing to fetch.
    QString demoURL;
    {
        // Every package at full speed: nothing here watches a download.
        DemoServerProcess server;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LV_SYSTEM_ROOT"), demoRoot);
        QVERIFY2(server.start({QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--slow-only"), QString()},
                              environment),
                 server.lastLine().constData());
        demoURL = server.url();

        const Run first = run({"--mirror", mirror, "--all-versions", "--json"}, demoURL, demoRoot);
        QVERIFY2(first.status == 0, first.out + first.err);
        const QHash<QString, QJsonObject> files = first.byKey(QStringLiteral("path"));
        QVERIFY(files.contains("VM_installers/LV-PRISM-1.0.0.pkg"));
        QVERIFY(files.contains("VM_installers/uninstallers/LV-DRIFT.bash"));
        QVERIFY(files.contains("VM_installers/uninstallers/TotalRemoveAllProducts.bash"));
        QVERIFY(files.contains("VM_installers/LV_GatherDiagnostics.app.zip"));
        QVERIFY(files.contains("images/news/autumn-sale.png"));
        for (const QJsonObject& file : files)
            QCOMPARE(file.value("outcome").toString(), QStringLiteral("downloaded"));

        const Run second = run({"--mirror", mirror, "--all-versions", "--json"}, demoURL, demoRoot);
        QVERIFY2(second.status == 0, second.out + second.err);
        QCOMPARE(second.byKey(QStringLiteral("path")).size(), files.size());
        for (const QJsonObject& file : second.byKey(QStringLiteral("path")))
            QCOMPARE(file.value("outcome").toString(), QStringLiteral("unchanged"));
    }

    // The catalogue names the mirror's own files, each package with its hash; nothing half-written is left.
    const QVariantMap catalogue =
        VMPropertyList::fromFile(mirror + QStringLiteral("/VM_installers/Product+Versions.plist")).toMap();
    int packages = 0;
    for (const QVariant& product : catalogue.value("Products").toMap().value("Products").toList()) {
        for (const QVariant& versionValue : product.toMap().value("Versions").toList()) {
            const QVariantMap version = versionValue.toMap();
            const QString url = version.value("Download URL").toString();
            QVERIFY2(url.startsWith("/VM_installers/"), qPrintable(url));
            QFile package(mirror + url);
            QVERIFY(package.open(QIODevice::ReadOnly));
            QCOMPARE(
                version.value("Download SHA256").toString(),
                QString::fromLatin1(QCryptographicHash::hash(package.readAll(), QCryptographicHash::Sha256).toHex()));
            ++packages;
        }
    }
    QCOMPARE(packages, 17);
    QVERIFY(!catalogue.value("License Agreement URL").toString().contains(demoURL));
    QDirIterator leftovers(mirror, {"*.lv-part"}, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    QVERIFY(!leftovers.hasNext());

    // 2. nginx serves the folder as it is, from a configuration inside the test's folder.
    const QString prefix = env.path() + QStringLiteral("/nginx");
    QVERIFY(QDir().mkpath(prefix + QStringLiteral("/temp")));
    quint16 port = 0;
    {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        port = probe.serverPort();
    }
    const QString config = prefix + QStringLiteral("/nginx.conf");
    QVERIFY(TestEnvironment::writeFile(
        config, QStringLiteral("daemon off;\nmaster_process off;\nworker_processes 1;\npid \"%1/nginx.pid\";\n"
                               "error_log \"%1/error.log\";\nevents { worker_connections 64; }\nhttp {\n"
                               "    access_log \"%1/access.log\";\n    client_body_temp_path \"%1/temp/body\";\n"
                               "    proxy_temp_path \"%1/temp/proxy\";\n    fastcgi_temp_path \"%1/temp/fastcgi\";\n"
                               "    uwsgi_temp_path \"%1/temp/uwsgi\";\n    scgi_temp_path \"%1/temp/scgi\";\n"
                               "    default_type application/octet-stream;\n"
                               "    server { listen 127.0.0.1:%2; root \"%3\"; }\n}\n")
                    .arg(prefix)
                    .arg(port)
                    .arg(mirror)
                    .toUtf8()));
    QProcess server;
    server.setProgram(nginx);
    server.setArguments({"-p", prefix, "-c", config, "-e", prefix + QStringLiteral("/error.log")});
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start();
    QVERIFY(server.waitForStarted());
    const auto listening = [port] {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        return socket.waitForConnected(200);
    };
    QTRY_VERIFY_WITH_TIMEOUT(listening() || server.state() != QProcess::Running, 30000);
    QCOMPARE(server.state(), QProcess::Running);
    const QString mirrorURL = QStringLiteral("http://127.0.0.1:%1").arg(port);

    // 3. An empty Mac is brought to the desired state, and a second run changes nothing.
    const QString state = env.path() + QStringLiteral("/state.json");
    writeState(state, R"({"LV-PRISM": "latest", "LV-DRIFT": "1.4.2", "LV-RETRO": "absent"})");
    const Run apply = run({"--apply", state, "--yes", "--json"}, mirrorURL, macRoot);
    QVERIFY2(apply.status == 0, apply.out + apply.err);
    QHash<QString, QJsonObject> results = apply.byKey(QStringLiteral("id"));
    QCOMPARE(results.value("LV-PRISM").value("outcome").toString(), QStringLiteral("succeeded"));
    QCOMPARE(results.value("LV-PRISM").value("version").toString(), QStringLiteral("2.0.1"));
    QCOMPARE(results.value("LV-DRIFT").value("version").toString(), QStringLiteral("1.4.2"));
    QCOMPARE(results.value("LV-RETRO").value("outcome").toString(), QStringLiteral("unchanged"));

    const Run again = run({"--apply", state, "--yes", "--json"}, mirrorURL, macRoot);
    QVERIFY2(again.status == 0, again.out + again.err);
    results = again.byKey(QStringLiteral("id"));
    QCOMPARE(results.size(), 3);
    for (const QJsonObject& result : results)
        QCOMPARE(result.value("outcome").toString(), QStringLiteral("unchanged"));

    // 4. A pin to an older version downgrades; "absent" runs the product's uninstall script.
    writeState(state, R"({"LV-PRISM": "1.2.0", "LV-DRIFT": "absent", "LV-RETRO": "absent"})");
    const Run dryRun = run({"--apply", state, "--dry-run"}, mirrorURL, macRoot);
    QCOMPARE(dryRun.status, 5);
    QVERIFY2(dryRun.out.contains("downgrade 2.0.1 -> 1.2.0"), dryRun.out.constData());
    const Run downgrade = run({"--apply", state, "--yes", "--json"}, mirrorURL, macRoot);
    QVERIFY2(downgrade.status == 0, downgrade.out + downgrade.err);
    results = downgrade.byKey(QStringLiteral("id"));
    QCOMPARE(results.value("LV-PRISM").value("action").toString(), QStringLiteral("downgrade"));
    QCOMPARE(results.value("LV-DRIFT").value("action").toString(), QStringLiteral("uninstall"));

    const Run list = run({"--list", "--json"}, mirrorURL, macRoot);
    QCOMPARE(list.status, 0);
    const QHash<QString, QJsonObject> rows = list.byKey(QStringLiteral("id"));
    QCOMPARE(rows.value("LV-PRISM").value("installedVersion").toString(), QStringLiteral("1.2.0"));
    QCOMPARE(rows.value("LV-PRISM").value("status").toInt(), 3); // an update is on offer again
    QVERIFY(rows.value("LV-DRIFT").value("installedVersion").isNull());
    QVERIFY(rows.value("LV-RETRO").value("installedVersion").isNull());

    // Every package came from nginx.
    server.terminate();
    QVERIFY(server.waitForFinished());
    const QByteArray log = TestEnvironment::readFile(prefix + QStringLiteral("/access.log"));
    for (const char* path : {"/VM_installers/Product+Versions.plist", "/VM_installers/LV-PRISM-2.0.1.pkg",
                             "/VM_installers/LV-PRISM-1.2.0.pkg", "/VM_installers/LV-DRIFT-1.4.2.pkg",
                             "/VM_installers/uninstallers/LV-DRIFT.bash"})
        QVERIFY2(log.contains(QByteArray("GET ") + path + " HTTP/1.1\" 200"), path);
}

LV_TEST_GUILESS_MAIN(tst_StudioMirror)
#include "tst_StudioMirror.moc"
