#include "LogCapture.h"
#include "RecordingWorkspace.h"
#include "TestAlertPresenter.h"
#include "TestMain.h"
#include "catalogue/LVServers.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMPropertyList.h"
#include "manager/AppDelegate.h"
#include "manager/LVAboutWindow.h"
#include "manager/LVApplicationMenu.h"
#include "manager/LVInstallManager.h"
#include "manager/LVLicenseAgreementWindow.h"
#include "manager/LVPreferencesWindow.h"
#include "manager/VMLoggerWindow.h"
#include "support/LocalHttpServer.h"
#include "support/TestEnvironment.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QtTest>

namespace {

const QByteArray cataloguePath = "/VM_installers/Product+Versions.plist";
const QByteArray agreementPath = "/legal/eula.rtf";
const QByteArray agreementRtf = "{\\rtf1\\ansi{\\fonttbl{\\f0 Helvetica;}}{\\b Demo terms}\\par Use freely.}";

// What start-up asks of the self-updater, with what the screen showed at that moment.
class RecordingSelfUpdater : public SelfUpdater
{
public:
    bool isAvailable() const override { return true; }
    void setDelegate(SelfUpdaterDelegate* d) override
    {
        delegate = d;
        if (d) {
            logVisibleWhenConfigured = VMLogger::sharedLogger()->isVisible();
            launchAgentPresentWhenConfigured = QFile::exists(AppDelegate::launchAgentSettingsFilePath());
            managerVisibleWhenConfigured = LVInstallManager::sharedInstallManager()->isVisible();
        }
    }
    bool automaticallyChecksForUpdates() const override { return automatic; }
    void setAutomaticallyChecksForUpdates(bool flag) override { automatic = flag; }
    double updateCheckInterval() const override { return interval; }
    void setUpdateCheckInterval(double seconds) override { interval = seconds; }
    void checkForUpdatesInBackground() override { ++backgroundChecks; }

    SelfUpdaterDelegate* delegate = nullptr;
    bool automatic = false;
    double interval = 0;
    int backgroundChecks = 0;
    bool logVisibleWhenConfigured = false;
    bool launchAgentPresentWhenConfigured = true;
    bool managerVisibleWhenConfigured = false;
};

QVariantMap catalogue(const QString& agreementURL, bool withOlderVersion = false)
{
    QVariantMap product{{"Product ID", "P1"}, {"Title", "Blur"}};
    if (withOlderVersion) {
        product.insert("Versions",
                       QVariantList{QVariantMap{{"Product Version", "3.0"},
                                                {"Version Tags", "FxPlug3"},
                                                {"Identifier", "com.quarnet.FxPlug.Blur3XPC"},
                                                {"Check Installed Directory", "/Applications/Lumivane/Blur3.app"}}});
    }
    QVariantMap root{{"Version Number", 1}, {"Products", QVariantMap{{"Products", QVariantList{product}}}}};
    if (!agreementURL.isNull())
        root.insert("License Agreement URL", agreementURL);
    return root;
}

// The FxPlug 3 plug-in of the catalogue above, installed in the system root.
void installOlderPlugin(const QString& root)
{
    QVERIFY(TestEnvironment::writeFile(
        root + "/Applications/Lumivane/Blur3.app/Contents/PlugIns/Blur3XPC.pluginkit/Contents/Info.plist",
        VMPropertyList::toXmlData(
            QVariantMap{{"CFBundleIdentifier", "com.quarnet.FxPlug.Blur3XPC"}, {"CFBundleVersion", "3.0"}})));
}

} // namespace

class tst_AppDelegate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void init();
    void cleanup();

    void startUpGoesThroughItsSteps();
    void extendedLoggingFollowsTheKeysHeldAtLaunch_data();
    void extendedLoggingFollowsTheKeysHeldAtLaunch();
    void launchAgentSettingsNameThisExecutable();
    void commandsOverTheCommandChannel_data();
    void commandsOverTheCommandChannel();
    void agreementShownUntilAgreed();
    void agreementNotShown_data();
    void agreementNotShown();
    void dontAgreeEndsWithStatusOne();
    void applicationMenuDoesWhatTheButtonsDo();
    void agreementDownloadFailure_data();
    void agreementDownloadFailure();
    void olderVersionsOffer_data();
    void olderVersionsOffer();

private:
    void launch();
    void serveCatalogue(const QVariantMap& root) { _server->setRoute(cataloguePath, VMPropertyList::toXmlData(root)); }
    QString agreementURL() const { return _server->url(QString::fromLatin1(agreementPath)).toString(); }
    int requestsFor(const QByteArray& path) const;

    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    std::shared_ptr<TestAlertPresenter> _alerts;
    std::shared_ptr<RecordingSelfUpdater> _updater;
    std::shared_ptr<RecordingWorkspace> _workspace;
    std::unique_ptr<AppDelegate> _delegate;
    QList<int> _exitStatuses;
    QList<int> _uninstallOptions;
};

void tst_AppDelegate::init()
{
    _env = std::make_unique<TestEnvironment>(0.01);
    _server = std::make_unique<LocalHttpServer>();
    LVServers::setOverrideURL(_server->origin());
    _server->setRoute(agreementPath, agreementRtf);
    _alerts = std::make_shared<TestAlertPresenter>();
    _updater = std::make_shared<RecordingSelfUpdater>();
    _workspace = std::make_shared<RecordingWorkspace>();
    Platform::setSelfUpdater(_updater);
    Platform::setWorkspace(_workspace);
    _exitStatuses.clear();
    _uninstallOptions.clear();
    AppDelegate::setProcessTerminator([this](int status) { _exitStatuses.append(status); });
    AppDelegate::setTotalUninstallStarter([this](int option) { _uninstallOptions.append(option); });
}

void tst_AppDelegate::cleanup()
{
    _delegate.reset();
    AppDelegate::setProcessTerminator({});
    AppDelegate::setTotalUninstallStarter({});
    LVServers::setOverrideURL(QUrl());
    _server.reset();
    _env.reset();
}

void tst_AppDelegate::launch()
{
    _delegate = std::make_unique<AppDelegate>();
    LVInstallManager::sharedInstallManager()->setAlertPresenter(_alerts);
    _delegate->applicationDidFinishLaunching();
}

int tst_AppDelegate::requestsFor(const QByteArray& path) const
{
    int count = 0;
    for (const auto& request : _server->requests())
        count += request.path == path;
    return count;
}

void tst_AppDelegate::startUpGoesThroughItsSteps()
{
    serveCatalogue(catalogue(QString()));
    AppDelegate::updateLaunchAgentSettings();
    QVERIFY(QFile::exists(AppDelegate::launchAgentSettingsFilePath()));
    LVPreferences::sharedPreferences()->useExtendedLogging(true);

    launch();
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    QVERIFY(manager->isVisible());
    QVERIFY(!manager->attachedToStatusItem());
    QCOMPARE(manager->delegate(), static_cast<LVInstallManagerDelegate*>(_delegate.get()));
    QVERIFY(!QFile::exists(AppDelegate::launchAgentSettingsFilePath()));

    // The updater was set up after the window, the launch-agent removal and the log window
    // (extended logging was on), and before the keys held reset extended logging.
    QCOMPARE(_updater->delegate, static_cast<SelfUpdaterDelegate*>(_delegate.get()));
    QVERIFY(_updater->managerVisibleWhenConfigured);
    QVERIFY(!_updater->launchAgentPresentWhenConfigured);
    QVERIFY(_updater->logVisibleWhenConfigured);
    QVERIFY(!VMLogger::sharedLogger()->isVisible());
    QCOMPARE(_updater->interval, 604800.0);
    QVERIFY(_updater->automatic);
    QCOMPARE(_updater->backgroundChecks, 0);
    QTRY_COMPARE(_updater->backgroundChecks, 1); // 10 s, shrunk
    QCOMPARE(_delegate->feedURLStringForUpdater(),
             LVServers::downloadURL("/VM_installers/sparkle/lv_manager_cast_1.xml").toString());

    QCOMPARE(_delegate->aboutWindow()->aboutVersionTextField()->text(),
             QStringLiteral("Version: %1 [65]").arg(QCoreApplication::applicationVersion()));
    manager->aboutButtonAction();
    QVERIFY(_delegate->aboutWindow()->isVisible());
    QTRY_COMPARE(requestsFor(cataloguePath), 1);

    // "Quit" ends the process at once, with status 1.
    manager->quitButtonAction();
    QCOMPARE(_exitStatuses, QList<int>{1});
}

void tst_AppDelegate::extendedLoggingFollowsTheKeysHeldAtLaunch_data()
{
    QTest::addColumn<bool>("wasOn");
    QTest::addColumn<int>("keys");
    QTest::addColumn<bool>("on");
    QTest::newRow("on, no key: off") << true << int(SystemInfo::NoModifier) << false;
    QTest::newRow("on, Command: stays on") << true << int(SystemInfo::Command) << true;
    QTest::newRow("off, Shift: on") << false << int(SystemInfo::Shift) << true;
    QTest::newRow("off, Option: off") << false << int(SystemInfo::Option) << false;
    QTest::newRow("off, no key: off") << false << int(SystemInfo::NoModifier) << false;
}

void tst_AppDelegate::extendedLoggingFollowsTheKeysHeldAtLaunch()
{
    QFETCH(bool, wasOn);
    QFETCH(int, keys);
    QFETCH(bool, on);
    serveCatalogue(catalogue(QString()));
    LVPreferences::sharedPreferences()->useExtendedLogging(wasOn);
    _env->systemInfo->modifiers = SystemInfo::ModifierKeys(keys);
    launch();
    QCOMPARE(LVPreferences::sharedPreferences()->usesExtendedLogging(), on);
    QCOMPARE(_delegate->loggerWindow()->isVisible(), on);
}

void tst_AppDelegate::launchAgentSettingsNameThisExecutable()
{
    const QString path = AppDelegate::launchAgentSettingsFilePath();
    QVERIFY(path.startsWith(Platform::systemInfo().userLibraryDirectory() + "/LaunchAgents/"));
    QVERIFY(path.endsWith("/com.quarnet.Lumivane-Manager.plist"));
    // Unreadable content is rewritten.
    QVERIFY(TestEnvironment::writeFile(path, "not a plist"));
    QVERIFY(AppDelegate::updateLaunchAgentSettings());
    const QVariantMap expected{{"Label", "com.quarnet.Lumivane-Manager"},
                               {"KeepAlive", QVariantMap{{"SuccessfulExit", true}}},
                               {"Program", QCoreApplication::applicationFilePath()},
                               {"ProgramArguments", QVariantList()}};
    QCOMPARE(VMPropertyList::fromFile(path).toMap(), expected);
}

void tst_AppDelegate::commandsOverTheCommandChannel_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("unknown");
    QTest::newRow("0") << QStringList{"0"} << true;
    QTest::newRow("missing key") << QStringList{"--no-command"} << true;
    QTest::newRow("not base64") << QStringList{"--raw", "%%% not base64 %%%"} << true;
    QTest::newRow("base64 of no archive") << QStringList{"--raw", QByteArray("garbage").toBase64()} << true;
    QFile cycle(qEnvironmentVariable("LV_TEST_DATA_DIR") + "/keyedarchive/bad-cycle.plist");
    QVERIFY(cycle.open(QIODevice::ReadOnly));
    QTest::newRow("archive with a cycle") << QStringList{"--raw", cycle.readAll().toBase64()} << true;
    QTest::newRow("7") << QStringList{"7"} << false;
}

void tst_AppDelegate::commandsOverTheCommandChannel()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, unknown);
    serveCatalogue(catalogue(QString()));
    launch();
    LogCapture log;
    const QString sender = qEnvironmentVariable("LV_TEST_BINARY_DIR") + "/src/lv-send-command";
    // The row's message, then a command 0 that marks the end: both go through the channel in order.
    for (const QStringList& args : {arguments, QStringList{"0"}}) {
        QProcess process;
        process.start(sender, args);
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 0);
    }
    const auto unknownCount = [&log] { return log.messages().count(QStringLiteral("Unkown command")); };
    QTRY_COMPARE(unknownCount(), unknown ? 2 : 1);
    QTest::qWait(50);
    QCOMPARE(unknownCount(), unknown ? 2 : 1);
}

void tst_AppDelegate::agreementShownUntilAgreed()
{
    serveCatalogue(catalogue(agreementURL()));
    launch();
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    QTRY_VERIFY(_delegate->licenseAgreementWindow() && _delegate->licenseAgreementWindow()->isVisible());
    LVLicenseAgreementWindow* window = _delegate->licenseAgreementWindow();
    QCOMPARE(window->windowModality(), Qt::ApplicationModal);
    const QTextBrowser* text = window->licenseAgreementTextView();
    QVERIFY(text->toPlainText().contains("Demo terms"));
    QVERIFY(text->toPlainText().contains("Use freely."));
    QVERIFY(!text->toPlainText().contains("rtf1"));
    // White on the dark window.
    QTextCursor cursor(text->document());
    cursor.movePosition(QTextCursor::NextCharacter);
    QCOMPARE(cursor.charFormat().foreground().color(), QColor(Qt::white));

    // Reachable and pressable by a screen reader.
    QAccessibleInterface* agree = QAccessible::queryAccessibleInterface(window->agreeButton());
    QVERIFY(agree && agree->actionInterface());
    QCOMPARE(agree->text(QAccessible::Name), QStringLiteral("Agree"));
    QCOMPARE(agree->role(), QAccessible::Button);
    agree->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QTRY_VERIFY(!window->isVisible());
    QCOMPARE(LVPreferences::sharedPreferences()->propertyForKey("LVLicenseAgreementURL").toString(), agreementURL());
    QVERIFY(_exitStatuses.isEmpty());
    QCOMPARE(requestsFor(agreementPath), 1);

    // The same agreement is not fetched again; a new one is.
    _delegate->configDataLoaded(manager);
    QTest::qWait(50);
    QCOMPARE(requestsFor(agreementPath), 1);
    _server->setRoute("/legal/eula-2.rtf", agreementRtf);
    manager->setLicenseAgreementURL(_server->url("/legal/eula-2.rtf").toString());
    _delegate->configDataLoaded(manager);
    QTRY_VERIFY(window->isVisible());
}

void tst_AppDelegate::agreementNotShown_data()
{
    QTest::addColumn<bool>("named");
    QTest::addColumn<bool>("agreedBefore");
    QTest::newRow("catalogue names none") << false << false;
    QTest::newRow("agreed to before") << true << true;
}

void tst_AppDelegate::agreementNotShown()
{
    QFETCH(bool, named);
    QFETCH(bool, agreedBefore);
    serveCatalogue(catalogue(named ? agreementURL() : QString()));
    if (agreedBefore)
        LVPreferences::sharedPreferences()->setDefaultProperty(agreementURL(), "LVLicenseAgreementURL");
    launch();
    QTRY_VERIFY(LVInstallManager::sharedInstallManager()->lastUpdateDate().isValid());
    QTest::qWait(100); // the agreement would have been fetched at once and shown after 10 ms
    QCOMPARE(requestsFor(agreementPath), 0);
    QVERIFY(!_delegate->licenseAgreementWindow());
}

void tst_AppDelegate::dontAgreeEndsWithStatusOne()
{
    serveCatalogue(catalogue(agreementURL()));
    launch();
    QTRY_VERIFY(_delegate->licenseAgreementWindow() && _delegate->licenseAgreementWindow()->isVisible());
    QTest::mouseClick(_delegate->licenseAgreementWindow()->dontAgreeButton(), Qt::LeftButton);
    QCOMPARE(_exitStatuses, QList<int>{1});
    QVERIFY(LVPreferences::sharedPreferences()->propertyForKey("LVLicenseAgreementURL").isNull());
}

// About, Preferences… and Quit, by their roles (a Mac moves them into its application menu) and on
// the window (their shortcuts elsewhere), doing what the window's buttons do.
void tst_AppDelegate::applicationMenuDoesWhatTheButtonsDo()
{
    serveCatalogue(catalogue(QString()));
    launch();
    LVApplicationMenu* menu = _delegate->applicationMenu();
    QVERIFY(menu);
    QCOMPARE(menu->aboutAction()->menuRole(), QAction::AboutRole);
    QCOMPARE(menu->preferencesAction()->menuRole(), QAction::PreferencesRole);
    QCOMPARE(menu->quitAction()->menuRole(), QAction::QuitRole);
    QCOMPARE(menu->preferencesAction()->shortcut(), QKeySequence(QKeySequence::Preferences));
    QCOMPARE(menu->quitAction()->shortcut(), QKeySequence(QKeySequence::Quit));
    const QList<QAction*> windowActions = LVInstallManager::sharedInstallManager()->window()->actions();
    for (QAction* action : {menu->aboutAction(), menu->preferencesAction(), menu->quitAction()})
        QVERIFY2(windowActions.contains(action), qPrintable(action->text()));

    _delegate->aboutWindow()->hide();
    menu->aboutAction()->trigger();
    QVERIFY(_delegate->aboutWindow()->isVisible());
    QVERIFY(!_delegate->preferencesWindow()->isVisible());
    menu->preferencesAction()->trigger();
    QVERIFY(_delegate->preferencesWindow()->isVisible());
    QVERIFY(_exitStatuses.isEmpty());
    menu->quitAction()->trigger();
    QCOMPARE(_exitStatuses, QList<int>{1});
}

void tst_AppDelegate::agreementDownloadFailure_data()
{
    QTest::addColumn<bool>("byUser");
    QTest::newRow("started by the program: nothing shown") << false;
    QTest::newRow("started by the user: alert") << true;
}

void tst_AppDelegate::agreementDownloadFailure()
{
    QFETCH(bool, byUser);
    serveCatalogue(catalogue(QString()));
    launch();
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    QTRY_VERIFY(manager->lastUpdateDate().isValid());
    // Nobody listens there: the download fails.
    manager->setLicenseAgreementURL(QStringLiteral("http://127.0.0.1:9/legal/eula.rtf"));
    LogCapture log;
    QObject sender;
    _delegate->downloadAndShowLicenseAgreement(byUser ? &sender : nullptr);
    if (byUser) {
        QTRY_COMPARE(_alerts->alerts().size(), 1);
        QCOMPARE(_alerts->alerts().first().messageText(), QStringLiteral("Download Failed"));
        QCOMPARE(_alerts->alerts().first().informativeText(),
                 QStringLiteral("Error downloading the license agreement, please wait a few minutes and try again"));
    } else {
        QTest::qWait(300);
        QVERIFY(_alerts->alerts().isEmpty());
    }
    QVERIFY(!_delegate->licenseAgreementWindow());

    // Nothing to show is logged.
    _delegate->showLicenseAgreement(QByteArray());
    QTRY_VERIFY(log.messages().contains(QStringLiteral("No rtfData")));
    QVERIFY(!_delegate->licenseAgreementWindow());
}

void tst_AppDelegate::olderVersionsOffer_data()
{
    QTest::addColumn<QString>("machine");
    QTest::addColumn<bool>("installed");
    QTest::addColumn<bool>("offered");
    QTest::newRow("Apple silicon, FxPlug 3 version installed") << "arm64" << true << true;
    QTest::newRow("Apple silicon, nothing installed") << "arm64" << false << false;
    QTest::newRow("Intel, FxPlug 3 version installed") << "x86_64" << true << false;
}

void tst_AppDelegate::olderVersionsOffer()
{
    QFETCH(QString, machine);
    QFETCH(bool, installed);
    QFETCH(bool, offered);
    _env->systemInfo->machine = machine;
    if (installed)
        installOlderPlugin(_env->systemRoot());
    // The catalogue is in place before launch, so the check 2 s after start-up finds it.
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->setAlertPresenter(_alerts);
    manager->updateWithConfigData(VMPropertyList::toXmlData(catalogue(QString(), true)));
    QTRY_VERIFY(!manager->isUpdating() && manager->lastUpdateDate().isValid());
    _delegate = std::make_unique<AppDelegate>();
    _delegate->applicationDidFinishLaunching();

    if (!offered) {
        QTest::qWait(200);
        QVERIFY(_alerts->alerts().isEmpty());
        return;
    }
    QTRY_COMPARE(_alerts->alerts().size(), 1);
    const LVAlert alert = _alerts->alerts().first();
    QCOMPARE(alert.messageText(), QStringLiteral("Uninstall Older Versions?"));
    QCOMPARE(alert.buttonTitles(), (QStringList{"Uninstall", "Cancel", "More Info"}));
    // "More Info" opens the page and leaves the alert up.
    alert.buttons().at(2).action();
    QCOMPARE(_workspace->opened, QList<QUrl>{AppDelegate::helpOnUninstallingDiscontinuedVersionsURL()});
    QCOMPARE(_alerts->pendingCount(), 1);
    QVERIFY(_alerts->answer(LVAlert::alertFirstButtonReturn));
    QCOMPARE(_uninstallOptions, QList<int>{2});
}

LV_TEST_MAIN(tst_AppDelegate)
#include "tst_AppDelegate.moc"
