#include "LocalHttpServer.h"
#include "TestAlertPresenter.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"
#include "support/ProductShelf.h"

#include "DemoCatalogue.h"
#include "DemoPackages.h"
#include "PackageBuilder.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"
#include "engines/LVInstaller.h"
#include "engines/LVProductOperations.h"
#include "foundation/VMNotificationCenter.h"
#include "foundation/VMPropertyList.h"
#include "items/LVBundleInstallItem.h"
#include "items/LVBundleProductInstallItem.h"
#include "items/LVInstallItemTitleField.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"

#include <QAccessible>
#include <QDir>
#include <QDirIterator>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QSemaphore>
#include <QToolButton>

#include <QtTest>

// A bundle row driving its products with real downloads from a local server, real packages made
// by the project's package builder and the portable installer in a temporary system root; only
// the administrator's answer is the test's.
class tst_LVBundleInstallItem : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void productRowsAndStatus_data();
    void productRowsAndStatus();
    void installsEveryProductUnderOneAuthorizationThenUninstalls();
    void failureEndsTheOperation_data();
    void failureEndsTheOperation();
    void oneFailedInstallationStillInstallsTheOthers();
    void everyControlHasAnAccessibleName();
    void demoBundleSurvivesRefreshes();

private:
    VMSingleProductItemPtr product(const QString& id, bool discontinued = false, const QString& tags = {}) const;
    std::unique_ptr<LVBundleInstallItem> bundle(const QString& ids, const QList<VMSingleProductItemPtr>& products);
    // The old versions, installed for real beforehand, so the bundle's installs are upgrades.
    void installOldVersions(const QStringList& ids) { _shelf->install(*_privileged, ids, QStringLiteral("1.0")); }
    QString installed(const QString& id) const { return _shelf->installed(id); }
    QStringList packagesOnDisk() const { return _shelf->packagesOnDisk(); }

    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    std::shared_ptr<TestAlertPresenter> _alerts;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
    std::unique_ptr<ProductShelf> _shelf;
};

namespace {
QStringList alertTexts(const TestAlertPresenter& alerts)
{
    QStringList texts;
    for (const LVAlert& alert : alerts.alerts())
        texts.append(alert.messageText() + QStringLiteral(": ") + alert.informativeText());
    return texts;
}
} // namespace

void tst_LVBundleInstallItem::initTestCase()
{
    AppDelegate::configureApplication();
}

void tst_LVBundleInstallItem::init()
{
    _env = std::make_unique<TestEnvironment>();
    VMInstalledVersions::clearBundleIdentifierCache();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _server = std::make_unique<LocalHttpServer>();
    _shelf = std::make_unique<ProductShelf>(*_env, *_server);
    _alerts = std::make_shared<TestAlertPresenter>();
    LVInstallManager::sharedInstallManager()->setAlertPresenter(_alerts);
    for (const QString id : {"A", "B", "C"}) {
        QVERIFY(_shelf->publish(id, QStringLiteral("1.0")));
        QVERIFY(_shelf->publish(id, QStringLiteral("2.0")));
        const QByteArray script =
            "rm -rf '" + (_env->systemRoot() + ProductShelf::appPath(id)).toUtf8() + "'\necho $?\n";
        _server->setRoute("/uninstall/" + id.toUtf8() + ".bash", script);
    }
}

void tst_LVBundleInstallItem::cleanup()
{
    // Operations outlive rows: the next case starts when they have wound down.
    QTRY_VERIFY(LVProductOperations::shared().isIdle());
    LVInstallManager::sharedInstallManager()->setAlertPresenter(nullptr);
    _alerts.reset();
    _server.reset();
    Platform::setPrivilegedExecution(nullptr);
    _privileged.reset();
    _shelf.reset();
    _env.reset();
}

VMSingleProductItemPtr tst_LVBundleInstallItem::product(const QString& id, bool discontinued, const QString& tags) const
{
    QVariantList versions = _shelf->versions(id);
    for (QVariant& version : versions) {
        QVariantMap record = version.toMap();
        record.insert("Version Tags", tags);
        version = record;
    }
    return _shelf->product(id, {{"Uninstall Script", _server->url("/uninstall/" + id + ".bash").toString()},
                                {"Discontinued", discontinued},
                                {"Versions", versions}});
}

std::unique_ptr<LVBundleInstallItem> tst_LVBundleInstallItem::bundle(const QString& ids,
                                                                     const QList<VMSingleProductItemPtr>& products)
{
    auto collection = std::make_shared<VMProductsCollection>();
    collection->setProductItems(QList<VMProductItemPtr>(products.begin(), products.end()));
    const auto record = VMBundleProductItem::initWithDict(
        {{"Bundle", true}, {"Product ID", "BUNDLE"}, {"Title", "Studio"}, {"Included Product IDs", ids}});
    std::unique_ptr<LVBundleInstallItem> row(LVBundleInstallItem::installItemWithBundleProductItem(record, collection));
    row->setInstallManager(LVInstallManager::sharedInstallManager());
    row->view();
    for (LVBundleProductInstallItem* product : row->productInstallItems())
        product->view();
    return row;
}

void tst_LVBundleInstallItem::productRowsAndStatus_data()
{
    QTest::addColumn<QString>("ids");
    QTest::addColumn<QStringList>("installedVersions");
    QTest::addColumn<uint>("status");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("installEntry");
    QTest::addColumn<int>("children");

    // Unknown IDs and the empty pieces of doubled blanks drop out; an empty bundle waits for ever.
    QTest::newRow("no rows") << "X  Y" << QStringList{} << 7u << "Installing..."
                             << "Install" << 0;
    // The discontinued C is a product row of the bundle but not shown as a child.
    QTest::newRow("none installed") << "A  B X C" << QStringList{"", "", ""} << 1u << "Not yet installed"
                                    << "Install" << 2;
    QTest::newRow("one of two") << "A B" << QStringList{"2.0", ""} << 4u << "Bundle not fully installed"
                                << "Install" << 2;
    // A bundle never shows "Update available".
    QTest::newRow("all older") << "A B" << QStringList{"1.0", "1.0"} << 4u << "Bundle not fully installed"
                               << "Install" << 2;
    QTest::newRow("all latest or newer") << "B A" << QStringList{"2.0", "2.5"} << 2u << "Latest versions installed"
                                         << "Reinstall" << 2;
}

void tst_LVBundleInstallItem::productRowsAndStatus()
{
    QFETCH(QString, ids);
    QFETCH(QStringList, installedVersions);
    QFETCH(uint, status);
    QFETCH(QString, text);
    QFETCH(QString, installEntry);
    QFETCH(int, children);

    auto row = bundle(ids, {product("A"), product("B"), product("C", true)});
    QCOMPARE(row->productInstallItems().size(), installedVersions.size());
    for (int i = 0; i < installedVersions.size(); ++i) {
        row->productInstallItems().at(i)->setInstalledVersion(installedVersions.at(i));
        row->productInstallItems().at(i)->updateStatus();
    }
    row->updateStatus();
    QCOMPARE(row->childItems().size(), children);
    QCOMPARE(row->installStatus(), status);
    QCOMPARE(row->statusTextField()->text(), text);
    QCOMPARE(row->downloadButton()->isVisibleTo(row->view()) && row->downloadButton()->isEnabled(),
             status == 1 || status == 4);

    QMenu menu;
    row->menuWillOpen(&menu);
    QCOMPARE(menu.actions().at(1)->text(), installEntry);

    // A reinstall skips every product at its latest version: nothing is asked of the server.
    if (status == 2) {
        _server->clearRequests();
        menu.actions().at(1)->trigger();
        QVERIFY(!row->isDownloading());
        QVERIFY(row->busyItems().isEmpty());
        QTest::qWait(50);
        QVERIFY(_server->requests().isEmpty());
        QVERIFY(_alerts->alerts().isEmpty());
        QCOMPARE(row->installStatus(), 2u);
    }
}

void tst_LVBundleInstallItem::installsEveryProductUnderOneAuthorizationThenUninstalls()
{
    installOldVersions({"A", "B"});
    // On Apple silicon an FxPlug3 build is confirmed first.
    _env->systemInfo->machine = QStringLiteral("arm64");
    auto row = bundle("A B", {product("A", false, QStringLiteral("FxPlug3")), product("B")});
    LVBundleProductInstallItem* first = row->productInstallItems().at(0);
    LVBundleProductInstallItem* second = row->productInstallItems().at(1);
    QCOMPARE(row->installStatus(), 4u);

    row->downloadButton()->click();
    QCOMPARE(_alerts->pendingCount(), 1);
    QCOMPARE(_alerts->alerts().last().buttonTitles(), (QStringList{"Install", "Cancel", "More Info"}));
    QVERIFY(_alerts->answer(LVAlert::alertFirstButtonReturn));

    // One download at a time: the second product waits in the queue until the first is in.
    QVERIFY(first->isDownloading());
    QVERIFY(!second->isDownloading());
    QCOMPARE(row->itemsToDownload(), QList<LVBundleProductInstallItem*>{second});
    QCOMPARE(row->installStatus(), 5u);
    QTRY_VERIFY(second->isDownloading());
    QCOMPARE(first->installStatus(), 7u);

    QSignalSpy phase(row.get(), &LVBundleInstallItem::operationEnded);
    QTRY_COMPARE_WITH_TIMEOUT(_alerts->alerts().size(), 2, 20000);
    QCOMPARE(alertTexts(*_alerts).last(), QStringLiteral("Installation Completed: Studio was installed successfully"));
    QCOMPARE(_privileged->prompts.load(), 2); // one for the old versions, one for the whole bundle
    QCOMPARE(installed("A"), QStringLiteral("2.0"));
    QCOMPARE(installed("B"), QStringLiteral("2.0"));
    QCOMPARE(row->installStatus(), 2u);
    QCOMPARE(row->statusTextField()->text(), QStringLiteral("Latest versions installed"));
    QTRY_COMPARE(phase.size(), 1);
    QVERIFY(packagesOnDisk().isEmpty());

    // Uninstall: every product under one more authorization, one summary.
    QMenu menu;
    row->menuWillOpen(&menu);
    QAction* uninstall = menu.actions().at(3);
    QCOMPARE(uninstall->text(), QStringLiteral("Uninstall"));
    QVERIFY(uninstall->isEnabled());
    uninstall->trigger();
    QTRY_COMPARE_WITH_TIMEOUT(_alerts->alerts().size(), 3, 20000);
    QCOMPARE(alertTexts(*_alerts).last(),
             QStringLiteral("Uninstallation Completed: Studio was uninstalled successfully"));
    QCOMPARE(_privileged->prompts.load(), 3);
    QVERIFY(installed("A").isNull());
    QVERIFY(installed("B").isNull());
    QTRY_COMPARE(row->installStatus(), 1u);
    QTRY_COMPARE(phase.size(), 2);
}

void tst_LVBundleInstallItem::failureEndsTheOperation_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QStringList>("alerts");

    QTest::newRow("second download fails")
        << "dropped"
        << QStringList{"Download Failed: Error downloading Product B, please wait a few minutes and try again"};
    QTest::newRow("cancelled mid-download") << "cancel" << QStringList{};
    QTest::newRow("authorization refused") << "refuse" << QStringList{};
}

void tst_LVBundleInstallItem::failureEndsTheOperation()
{
    QFETCH(QString, how);
    QFETCH(QStringList, alerts);

    if (how == QLatin1String("dropped")) {
        // The connection breaks halfway: a transport error, unlike an error page, fails a download.
        LocalHttpServer::Response dropped;
        dropped.body = LocalHttpServer::generatedBody(0, 8192);
        dropped.dropAfterBytes = 1024;
        _server->setRoute("/pkg/B-2.0.pkg", dropped);
    } else if (how == QLatin1String("cancel")) {
        LocalHttpServer::Response stalled;
        stalled.body = LocalHttpServer::generatedBody(0, 8192);
        stalled.stallAfterBytes = 1024;
        _server->setRoute("/pkg/B-2.0.pkg", stalled);
    } else {
        _privileged->consent = TestPrivilegedExecution::Refuse;
    }
    auto row = bundle("A B C", {product("A"), product("B"), product("C")});
    LVBundleProductInstallItem* a = row->productInstallItems().at(0);
    LVBundleProductInstallItem* b = row->productInstallItems().at(1);
    QSignalSpy phase(row.get(), &LVBundleInstallItem::operationEnded);
    QSignalSpy aStatuses(a, &LVInstallItem::installStatusChanged);
    row->startDownload();

    if (how == QLatin1String("cancel")) {
        QTRY_VERIFY(b->isDownloading() && b->operation()->receivedBytes() > 0);
        QVERIFY(row->downloadProgressValue() > 0);
        QCOMPARE(row->downloadButton()->toolTip(), QStringLiteral("Cancel Download"));
        row->downloadButton()->click();
    }
    if (how == QLatin1String("refuse"))
        QTRY_COMPARE(phase.size(), 1);
    QTRY_VERIFY(!row->isDownloading());
    QTRY_COMPARE(row->installStatus(), 1u);
    QTest::qWait(50);

    QCOMPARE(alertTexts(*_alerts), alerts);
    // A had been downloaded and waited for the others; its package went with the operation. B's
    // broken download keeps what arrived, as a failed (not cancelled) download does.
    QVERIFY(aStatuses.contains(QVariantList{QVariant::fromValue(LVInstallItem::StatusWaitingForBundle)}));
    QVERIFY(!a->waitingToInstall());
    QCOMPARE(packagesOnDisk().size(), how == QLatin1String("dropped") ? 1 : 0);
    QVERIFY(installed("A").isNull());
    QCOMPARE(_privileged->prompts.load(), how == QLatin1String("refuse") ? 1 : 0);
}

void tst_LVBundleInstallItem::oneFailedInstallationStillInstallsTheOthers()
{
    installOldVersions({"A", "B", "C"});
    // B's package is damaged on the server; A and C are sound.
    _server->setRoute("/pkg/B-2.0.pkg", QByteArray("not a package"));
    auto row = bundle("A B C", {product("A"), product("B"), product("C")});
    row->startDownload();
    QTRY_COMPARE_WITH_TIMEOUT(_alerts->alerts().size(), 1, 20000);
    QCOMPARE(alertTexts(*_alerts).last(),
             QStringLiteral("Installation Failed: One or more products of 'Studio' could not be installed. Please try "
                            "the individual product installer for this product"));
    QCOMPARE(_privileged->prompts.load(), 2);
    QCOMPARE(installed("A"), QStringLiteral("2.0"));
    QCOMPARE(installed("B"), QStringLiteral("1.0"));
    QCOMPARE(installed("C"), QStringLiteral("2.0"));
    QTRY_COMPARE(row->installStatus(), 4u);
    QTRY_VERIFY(packagesOnDisk().isEmpty());
}

void tst_LVBundleInstallItem::everyControlHasAnAccessibleName()
{
    auto row = bundle("A B", {product("A"), product("B")});
    QList<QWidget*> views{row->view()};
    for (LVBundleProductInstallItem* product : row->productInstallItems())
        views.append(product->view());
    for (QWidget* view : views) {
        for (QWidget* control : view->findChildren<QWidget*>()) {
            if (!control->isVisibleTo(view) || control->layout())
                continue;
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(control);
            QVERIFY(accessible);
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), qPrintable(control->objectName()));
        }
    }
    QCOMPARE(QAccessible::queryAccessibleInterface(row->downloadButton())->role(), QAccessible::Button);
    QCOMPARE(QAccessible::queryAccessibleInterface(row->titleField())->text(QAccessible::Name),
             QStringLiteral("Studio"));
}

// The demo's own catalogue, packages and scripts, through the install list: catalogue refreshes
// make new bundle rows while the bundle downloads, installs and uninstalls; the run goes on, the
// new row shows it, and each step is confirmed and summed up once, under one consent each.
void tst_LVBundleInstallItem::demoBundleSurvivesRefreshes()
{
    const QString site = _env->path() + QStringLiteral("/demo");
    QString error;
    QVERIFY2(DemoPackages::writePackages(site, &error, 65536), qPrintable(error));
    QVERIFY2(DemoPackages::seedSystemRoot(site, _env->systemRoot(), &error), qPrintable(error));
    _server->serveDirectory("/", site);
    // Slow enough for a refresh to happen mid-download.
    QDirIterator packages(site + QStringLiteral("/VM_installers"), {QStringLiteral("LV-DRIFT-*.pkg")});
    while (packages.hasNext()) {
        LocalHttpServer::Response slow;
        slow.filePath = packages.next();
        slow.chunkSize = 8192;
        slow.chunkIntervalMs = 40;
        _server->setRoute("/VM_installers/" + packages.fileName().toUtf8(), slow);
    }
    const QByteArray catalogue =
        VMPropertyList::toXmlData(DemoCatalogue::catalogue(_server->origin(), QDateTime::currentDateTime()));
    // The consent prompt holds each administrator step until the test has refreshed.
    std::atomic<int> asked{0};
    QSemaphore gate;
    _privileged->setConsentProvider([&](const QString&) {
        ++asked;
        gate.acquire();
        return int(PrivilegedExecution::Success);
    });
    QObject observer;
    QStringList posted;
    for (const char* name : {"productInstallCompleted", "productUninstallCompleted"})
        VMNotificationCenter::defaultCenter().addObserver(
            &observer, QLatin1String(name), [&posted, name](const VMNotification&) { posted.append(name); });

    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    LVBundleInstallItem* row = nullptr;
    const auto refresh = [&] {
        QPointer<LVBundleInstallItem> before(row);
        manager->updateWithConfigData(catalogue);
        QTRY_VERIFY_WITH_TIMEOUT(!before, 20000);
        row = nullptr;
        for (LVInstallItem* item : manager->installItems()) {
            if (auto* bundle = qobject_cast<LVBundleInstallItem*>(item);
                bundle && bundle->bundleProductItem()->productID() == QLatin1String("LV-TYPE"))
                row = bundle;
        }
        QVERIFY(row);
        row->view();
    };
    const auto statusAfterRefresh = [&] {
        refresh();
        return row ? row->installStatus() : 0u;
    };
    QCOMPARE(statusAfterRefresh(), 1u);

    row->startDownload();
    QTRY_COMPARE(row->installStatus(), 5u);
    QCOMPARE(statusAfterRefresh(), 5u);
    QCOMPARE(row->statusTextField()->text(), QStringLiteral("Downloading"));
    QTRY_COMPARE_WITH_TIMEOUT(asked.load(), 1, 20000);
    // Every product waits for the one authorization.
    QCOMPARE(statusAfterRefresh(), 7u);
    QCOMPARE(row->statusTextField()->text(), QStringLiteral("Installing..."));
    gate.release();
    QTRY_COMPARE_WITH_TIMEOUT(_alerts->alerts().size(), 1, 30000);
    QCOMPARE(alertTexts(*_alerts).last(),
             QStringLiteral("Installation Completed: Title Designer Pack was installed successfully"));
    QTRY_COMPARE(row->installStatus(), 2u);
    QCOMPARE(posted, (QStringList{"productInstallCompleted", "productInstallCompleted"}));
    for (LVBundleProductInstallItem* product : row->productInstallItems())
        QVERIFY(
            !VMInstalledVersions::filePathToXPCBundleUsingPluginKit(product->singleProductItem()->productIdentifier())
                 .isEmpty());

    row->startUninstalling();
    QTRY_COMPARE_WITH_TIMEOUT(asked.load(), 2, 20000);
    refresh();
    gate.release();
    QTRY_COMPARE_WITH_TIMEOUT(_alerts->alerts().size(), 2, 30000);
    QCOMPARE(alertTexts(*_alerts).last(),
             QStringLiteral("Uninstallation Completed: Title Designer Pack was uninstalled successfully"));
    QTRY_COMPARE(row->installStatus(), 1u);
    QCOMPARE(posted.count(QStringLiteral("productUninstallCompleted")), 2);
    QTest::qWait(100); // nothing further comes
    QCOMPARE(_alerts->alerts().size(), 2);
    QTRY_VERIFY(packagesOnDisk().isEmpty());
    LVInstallManager::releaseSharedInstallManager();
}

LV_TEST_MAIN(tst_LVBundleInstallItem)
#include "tst_LVBundleInstallItem.moc"
