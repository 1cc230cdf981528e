#include "RecordingWorkspace.h"
#include "TestMain.h"
#include "catalogue/LVServers.h"
#include "engines/LVUpdateSignature.h"
#include "manager/AppDelegate.h"
#include "manager/LVPortableSelfUpdater.h"
#include "manager/LVUpdateWindow.h"
#include "platform/UpdateInstaller.h"
#include "support/LocalHttpServer.h"
#include "support/TestEnvironment.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTextBrowser>
#include <QtTest>

namespace {

QByteArray feed(const QUrl& archiveURL, const QByteArray& signature, const QString& newestVersion)
{
    const QString signatureAttribute =
        signature.isNull() ? QString()
                           : QStringLiteral(" sparkle:edSignature=\"%1\"").arg(QString::fromLatin1(signature));
    // The newest first; the item after it is older than the running version.
    return QStringLiteral("<?xml version=\"1.0\"?><rss version=\"2.0\"><channel><title>Feed</title>"
                          "<item><title>Version %1</title><sparkle:version>%1</sparkle:version>"
                          "<description><![CDATA[<p>Faster <b>everything</b>.</p>]]></description>"
                          "<enclosure url=\"%2\" length=\"10\" type=\"application/octet-stream\"%3/></item>"
                          "<item><title>Old</title><sparkle:version>0.0.1</sparkle:version>"
                          "<enclosure url=\"%2\" length=\"10\"/></item>"
                          "</channel></rss>")
        .arg(newestVersion, archiveURL.toString(), signatureAttribute)
        .toUtf8();
}

} // namespace

// A system that replaces the application with verified updates, and refuses this one.
class RefusingUpdateInstaller : public UpdateInstaller
{
public:
    bool replacesApplication() const override { return true; }
    bool install(const QString& archivePath, QString* reason) override
    {
        QFile archive(archivePath);
        if (archive.open(QIODevice::ReadOnly))
            offered = archive.readAll();
        *reason = QStringLiteral("The update was not installed. The new application's code signature is not valid.");
        return false;
    }
    QByteArray offered;
};

class tst_LVPortableSelfUpdater : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void init();
    void cleanup();
    void archiveIsCheckedAgainstItsSignature_data();
    void archiveIsCheckedAgainstItsSignature();
    void noOfferForTheRunningVersionOrASkippedOne_data();
    void noOfferForTheRunningVersionOrASkippedOne();
    void secureAddressesStaySecure_data();
    void secureAddressesStaySecure();

private:
    void serveFeed(const QByteArray& signature, const QString& version = QStringLiteral("9.0"));

    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    std::shared_ptr<RecordingWorkspace> _workspace;
    QByteArray _privateKey;
    QByteArray _publicKey;
    const QByteArray _archive = "the archive of version 9.0";
};

void tst_LVPortableSelfUpdater::init()
{
    _env = std::make_unique<TestEnvironment>(0.01);
    _server = std::make_unique<LocalHttpServer>();
    LVServers::setOverrideURL(_server->origin());
    _workspace = std::make_shared<RecordingWorkspace>();
    Platform::setWorkspace(_workspace);
    QVERIFY(LVUpdateSignature::generateKeyPair(&_privateKey, &_publicKey));
    _server->setRoute("/updates/Lumivane-Manager-9.0.zip", _archive);
}

void tst_LVPortableSelfUpdater::cleanup()
{
    LVServers::setOverrideURL(QUrl());
    _server.reset();
    _env.reset();
}

void tst_LVPortableSelfUpdater::serveFeed(const QByteArray& signature, const QString& version)
{
    _server->setRoute(AppDelegate::feedPath,
                      feed(_server->url("/updates/Lumivane-Manager-9.0.zip"), signature, version));
}

void tst_LVPortableSelfUpdater::archiveIsCheckedAgainstItsSignature_data()
{
    QTest::addColumn<QString>("signedWith"); // "app key", "other key", "" (unsigned)
    QTest::addColumn<bool>("installed");
    QTest::addColumn<QString>("reason");
    QTest::newRow("good signature") << "app key" << true << QString();
    QTest::newRow("signed with another key") << "other key" << false << "does not match";
    QTest::newRow("no signature") << "" << false << "not signed";
    // Where the system replaces the application (a Mac), a verified archive goes to it, not to Downloads.
    QTest::newRow("good signature, replacement refused") << "app key, replacing" << false << "not valid";
}

void tst_LVPortableSelfUpdater::archiveIsCheckedAgainstItsSignature()
{
    QFETCH(QString, signedWith);
    QFETCH(bool, installed);
    QFETCH(QString, reason);
    QByteArray signature;
    auto replacer = std::make_shared<RefusingUpdateInstaller>();
    if (signedWith.endsWith(QLatin1String("replacing")))
        Platform::setUpdateInstaller(replacer);
    if (signedWith.startsWith(QLatin1String("app key"))) {
        signature = LVUpdateSignature::sign(_archive, _privateKey);
    } else if (signedWith == "other key") {
        QByteArray otherPrivate;
        QVERIFY(LVUpdateSignature::generateKeyPair(&otherPrivate, nullptr));
        signature = LVUpdateSignature::sign(_archive, otherPrivate);
    }
    serveFeed(signature);

    AppDelegate delegate;
    LVPortableSelfUpdater updater;
    updater.setDelegate(&delegate);
    updater.setPublicKey(_publicKey);
    QSignalSpy checked(&updater, &LVPortableSelfUpdater::checkFinished);
    updater.checkForUpdatesInBackground();
    QVERIFY(checked.wait(5000));
    QCOMPARE(checked.first().first().toBool(), true);
    QCOMPARE(_server->requests().first().path, QByteArray(AppDelegate::feedPath));

    LVUpdateWindow* window = updater.updateWindow();
    QVERIFY(window && window->isVisible());
    QVERIFY(window->informativeLabel()->text().contains("9.0"));
    QVERIFY(window->informativeLabel()->text().contains(QCoreApplication::applicationVersion()));
    QVERIFY(window->releaseNotesView()->toPlainText().contains("Faster everything."));
    QCOMPARE(window->skipButton()->accessibleName(), QStringLiteral("Skip This Version"));
    QCOMPARE(window->remindLaterButton()->accessibleName(), QStringLiteral("Remind Me Later"));

    QSignalSpy finished(&updater, &LVPortableSelfUpdater::installFinished);
    QTest::mouseClick(window->installButton(), Qt::LeftButton);
    QVERIFY(finished.wait(5000));
    QCOMPARE(finished.first().at(0).toBool(), installed);
    const QString pathOrReason = finished.first().at(1).toString();
    const QStringList downloads = QDir(Platform::systemInfo().downloadsDirectory()).entryList(QDir::Files);
    if (installed) {
        QCOMPARE(_workspace->revealed, QStringList{pathOrReason});
        QCOMPARE(downloads, QStringList{"Lumivane-Manager-9.0.zip"});
        QCOMPARE(TestEnvironment::readFile(pathOrReason), _archive);
    } else {
        QVERIFY2(pathOrReason.contains(reason), qPrintable(pathOrReason));
        QVERIFY(window->statusLabel()->text().contains(reason));
        QVERIFY(_workspace->revealed.isEmpty());
        QVERIFY(downloads.isEmpty());
    }
    QCOMPARE(replacer->offered, signedWith.endsWith(QLatin1String("replacing")) ? _archive : QByteArray());
    QCOMPARE(_env->temporaryFiles(), QStringList());
}

void tst_LVPortableSelfUpdater::noOfferForTheRunningVersionOrASkippedOne_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("skipFirst");
    QTest::newRow("the running version") << QCoreApplication::applicationVersion() << false;
    QTest::newRow("an older one") << "0.0.9" << false;
    QTest::newRow("skipped") << "9.0" << true;
}

void tst_LVPortableSelfUpdater::noOfferForTheRunningVersionOrASkippedOne()
{
    QFETCH(QString, version);
    QFETCH(bool, skipFirst);
    serveFeed(LVUpdateSignature::sign(_archive, _privateKey), version);
    AppDelegate delegate;
    LVPortableSelfUpdater updater;
    updater.setDelegate(&delegate);
    QSignalSpy checked(&updater, &LVPortableSelfUpdater::checkFinished);
    if (skipFirst) {
        updater.checkForUpdatesInBackground();
        QVERIFY(checked.wait(5000));
        QVERIFY(updater.updateWindow());
        QTest::mouseClick(updater.updateWindow()->skipButton(), Qt::LeftButton);
        QVERIFY(!updater.updateWindow()->isVisible());
        checked.clear();
    }
    updater.checkForUpdatesInBackground();
    QVERIFY(checked.wait(5000));
    QCOMPARE(checked.first().first().toBool(), false);
    QVERIFY(!updater.updateWindow() || !updater.updateWindow()->isVisible());
}

void tst_LVPortableSelfUpdater::secureAddressesStaySecure_data()
{
    QTest::addColumn<bool>("secureFeed");
    QTest::newRow("feed") << true;
    QTest::newRow("archive") << false;
}

// The server here speaks plain HTTP only: an "https:" address reaches it only if it was downgraded.
void tst_LVPortableSelfUpdater::secureAddressesStaySecure()
{
    QFETCH(bool, secureFeed);
    QUrl secure = _server->url(QStringLiteral("/"));
    secure.setScheme(QStringLiteral("https"));
    secure.setPath(QString());
    QUrl archive = _server->url("/updates/Lumivane-Manager-9.0.zip");
    archive.setScheme(QStringLiteral("https"));
    _server->setRoute(AppDelegate::feedPath, feed(archive, LVUpdateSignature::sign(_archive, _privateKey), "9.0"));
    if (secureFeed)
        LVServers::setOverrideURL(secure);

    AppDelegate delegate;
    LVPortableSelfUpdater updater;
    updater.setDelegate(&delegate);
    updater.setPublicKey(_publicKey);
    QSignalSpy checked(&updater, &LVPortableSelfUpdater::checkFinished);
    updater.checkForUpdatesInBackground();
    QVERIFY(checked.wait(5000));
    QCOMPARE(checked.first().first().toBool(), !secureFeed);
    if (!secureFeed) {
        QSignalSpy finished(&updater, &LVPortableSelfUpdater::installFinished);
        QTest::mouseClick(updater.updateWindow()->installButton(), Qt::LeftButton);
        QVERIFY(finished.wait(5000));
        QCOMPARE(finished.first().at(0).toBool(), false);
    }
    for (const LocalHttpServer::Request& request : _server->requests())
        QVERIFY2(secureFeed ? false : request.path == AppDelegate::feedPath, request.path.constData());
    QCOMPARE(_env->temporaryFiles(), QStringList());
}

LV_TEST_MAIN(tst_LVPortableSelfUpdater)
#include "tst_LVPortableSelfUpdater.moc"
