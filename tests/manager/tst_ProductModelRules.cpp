#include "RecordingWorkspace.h"
#include "TestAlertPresenter.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"
#include "support/ProductShelf.h"

#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMProductEvents.h"
#include "catalogue/VMProductsCollection.h"
#include "cli/LVHeadlessSession.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVBundleInstallItem.h"
#include "items/LVBundleProductInstallItem.h"
#include "items/LVSingleInstallItem.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "manager/LVInstallManagerView.h"
#include "manager/LVInstallsTab.h"
#include "outline/LVOutlineView.h"
#include "tools/LVToolUpdateAllInstalledItem.h"
#include "tools/LVUpdateAllInstalledInstallItem.h"

#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <QtTest>

// The rule for products held by a run, through the window's own rows: products A, B and C at 1.0,
// their 2.0 packages served from this machine (B's slowly), the bundle "Studio" of all three
// expanded in the list. While a run (update-all, the bundle's, the command line's) fetches B, with
// A's package waiting and C queued, a row acts on its product, and the catalogue is refreshed
// before, during or after the run. Each run ends as its own kind says, whatever the rows did.
class tst_ProductModelRules : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void init();
    void cleanup();
    // Last rows: a stalled update-all run keeps the tool busy for the rest of the process.
    void runsKeepTheirWork_data();
    void runsKeepTheirWork();

private:
    void showCatalogue();
    LVSingleInstallItem* row(const QString& id) const;
    LVBundleInstallItem* bundleRow() const;
    LVOutlineView* list() const;

    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    std::unique_ptr<ProductShelf> _shelf;
    std::shared_ptr<TestAlertPresenter> _alerts;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
    std::shared_ptr<RecordingWorkspace> _workspace;
};

void tst_ProductModelRules::init()
{
    _env = std::make_unique<TestEnvironment>();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _workspace = std::make_shared<RecordingWorkspace>();
    Platform::setWorkspace(_workspace);
    _server = std::make_unique<LocalHttpServer>();
    _shelf = std::make_unique<ProductShelf>(*_env, *_server);
    for (const QString id : {"A", "B", "C"}) {
        QVERIFY(_shelf->publish(id, QStringLiteral("1.0")));
        QVERIFY(_shelf->publish(id, QStringLiteral("2.0")));
        _server->setRoute("/uninstall/" + id.toUtf8() + ".bash", "echo $?\n");
    }
    LocalHttpServer::Response slow;
    slow.filePath = _shelf->packagePath(QStringLiteral("B"), QStringLiteral("2.0"));
    slow.chunkSize = 256;
    slow.chunkIntervalMs = 60;
    _server->setRoute("/pkg/B-2.0.pkg", slow);
    _shelf->install(*_privileged, {"A", "B", "C"}, QStringLiteral("1.0"));
    _privileged->prompts = 0;
    _alerts = std::make_shared<TestAlertPresenter>();
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->setAlertPresenter(_alerts);
    manager->setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    LVToolUpdateAllInstalledItem::tool()->setInstallManager(manager);
    showCatalogue();
}

void tst_ProductModelRules::cleanup()
{
    QTRY_VERIFY_WITH_TIMEOUT(LVProductOperations::shared().isIdle() || LVToolUpdateAllInstalledItem::tool()->isBusy(),
                             20000);
    LVSingleInstallItem::setSavePathProvider(nullptr);
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->setProductsCollection(nullptr);
    manager->setAlertPresenter(nullptr);
    _alerts.reset();
    _shelf.reset();
    _server.reset();
    Platform::reset();
    _privileged.reset();
    _workspace.reset();
    _env.reset();
}

void tst_ProductModelRules::showCatalogue()
{
    auto collection = std::make_shared<VMProductsCollection>();
    QList<VMProductItemPtr> products;
    for (const QString id : {"A", "B", "C"})
        products.append(
            _shelf->product(id, {{"Uninstall Script", _server->url("/uninstall/" + id + ".bash").toString()}}));
    products.append(VMBundleProductItem::initWithDict(
        {{"Bundle", true}, {"Product ID", "STUDIO"}, {"Title", "Studio"}, {"Included Product IDs", "A B C"}}));
    collection->setProductItems(products);
    LVInstallManager::sharedInstallManager()->setProductsCollection(collection);
    for (const QString id : {"A", "B", "C"})
        row(id)->view();
    bundleRow()->view();
    for (LVBundleProductInstallItem* member : bundleRow()->productInstallItems())
        member->view();
}

LVSingleInstallItem* tst_ProductModelRules::row(const QString& id) const
{
    return qobject_cast<LVSingleInstallItem*>(LVInstallManager::sharedInstallManager()->installItemWithProductID(id));
}

LVBundleInstallItem* tst_ProductModelRules::bundleRow() const
{
    const QList<LVInstallItem*> bundles = LVInstallManager::sharedInstallManager()->bundleProductInstallItems();
    return bundles.isEmpty() ? nullptr : qobject_cast<LVBundleInstallItem*>(bundles.first());
}

LVOutlineView* tst_ProductModelRules::list() const
{
    return LVInstallManager::sharedInstallManager()->containerView()->findChild<LVInstallsTab*>()->outlineView();
}

void tst_ProductModelRules::runsKeepTheirWork_data()
{
    QTest::addColumn<QString>("run");     // "update-all", "bundle", "command line"
    QTest::addColumn<QString>("action");  // what a row does while B downloads
    QTest::addColumn<QString>("refresh"); // "before", "during", "after"
    QTest::addColumn<QStringList>("alerts");
    QTest::addColumn<QString>("versionsAfter"); // A, B and C on disk

    const QStringList updated{"Updating Completed: All updates were installed successfully."};
    const QStringList bundled{"Installation Completed: Studio was installed successfully"};
    // Every run kind meets every row action and every refresh timing, each pair at least once.
    const QStringList refreshes{"before", "during", "after"};
    const QStringList actions{"install", "cancel", "manual download", "uninstall"};
    for (int a = 0; a < actions.size(); ++a) {
        const QString& action = actions.at(a);
        const auto name = [&](int run) {
            return action + QStringLiteral(", refresh ") + refreshes.at((a + run) % refreshes.size());
        };
        QTest::addRow("update-all: %s", qPrintable(name(0)))
            << "update-all" << action << refreshes.at(a % 3) << updated << "2.0 2.0 2.0";
        // A product row's Cancel is the bundle's cancel: no summary, nothing installed.
        QTest::addRow("bundle: %s", qPrintable(name(1)))
            << "bundle" << action << refreshes.at((a + 1) % 3)
            << (action == QLatin1String("cancel") ? QStringList() : bundled)
            << (action == QLatin1String("cancel") ? "1.0 1.0 1.0" : "2.0 2.0 2.0");
        QTest::addRow("command line: %s", qPrintable(name(2)))
            << "command line" << action << refreshes.at((a + 2) % 3) << QStringList() << "2.0 2.0 2.0";
    }
    // A refused password stalls the run: it keeps its packages, the rows read what is installed.
    QTest::newRow("update-all stalls") << "update-all"
                                       << "refuse"
                                       << "during" << QStringList() << "1.0 1.0 1.0";
}

void tst_ProductModelRules::runsKeepTheirWork()
{
    QFETCH(QString, run);
    QFETCH(QString, action);
    QFETCH(QString, refresh);
    QFETCH(QStringList, alerts);
    QFETCH(QString, versionsAfter);

    if (action == QLatin1String("refuse"))
        _privileged->consent = TestPrivilegedExecution::Cancel;
    const QString chosen = _env->home() + QStringLiteral("/A-2.0.pkg");
    LVSingleInstallItem::setSavePathProvider([chosen](const QString&) { return chosen; });
    list()->expandItem(bundleRow());
    QVERIFY(list()->isItemExpanded(bundleRow()));
    QObject observer;
    QStringList posted;
    for (const QLatin1String name : {VMProductEvents::reloadUpdateItem, VMProductEvents::installCompleted})
        VMNotificationCenter::defaultCenter().addObserver(&observer, name, [&posted](const VMNotification& note) {
            const auto product = VMProductEvents::productOf(note.object);
            posted.append(note.name + (product ? QLatin1Char(' ') + product->productID() : QString()));
        });

    if (refresh == QLatin1String("before"))
        showCatalogue();
    // What the row does while B downloads, A's package waits and C is queued.
    bool acted = false;
    const auto duringB = [&] {
        if (std::exchange(acted, true))
            return;
        if (action == QLatin1String("install")) {
            row("A")->downloadVersion(row("A")->singleProductItem()->latestVersionItem());
        } else if (action == QLatin1String("cancel")) {
            QToolButton* cancel = row("B")->downloadButton();
            QCOMPARE(cancel->accessibleName(), QStringLiteral("Cancel Download"));
            // Refused with its reason unless the run is the bundle's, which the row cancels.
            QCOMPARE(cancel->isEnabled(), run == QLatin1String("bundle"));
            QCOMPARE(cancel->accessibleDescription().isEmpty(), run == QLatin1String("bundle"));
            row("B")->downloadButtonAction();
        } else if (action == QLatin1String("manual download")) {
            row("A")->downloadManually();
        } else if (action == QLatin1String("uninstall")) {
            QMenu menu;
            row("C")->menuWillOpen(&menu);
            for (QAction* entry : menu.actions()) {
                if (entry->text() == QLatin1String("Uninstall")) {
                    QVERIFY(!entry->isEnabled());
                    QVERIFY(!entry->statusTip().isEmpty());
                }
            }
            row("C")->downloadRunUninstaller(LVProductOperation::uninstallScriptURLs(*row("C")->singleProductItem()));
        }
        if (refresh == QLatin1String("during"))
            showCatalogue();
    };
    const auto bDownloads = [this] {
        const LVProductOperation* b = row("B")->operation();
        return b->downloader() && b->receivedBytes() > 0;
    };

    QList<LVHeadlessSession::Result> results;
    if (run == QLatin1String("command line")) {
        LVHeadlessSession session;
        session.setProgressHandler([&](const VMSingleProductItem& product, const QString&) {
            if (product.productID() == QLatin1String("B"))
                duringB();
        });
        QList<LVHeadlessSession::Target> targets;
        for (const QString id : {"A", "B", "C"})
            targets.append({row(id)->singleProductItem(), row(id)->singleProductItem()->latestVersionItem()});
        results = session.install(targets);
        QCOMPARE(results.size(), 3);
        for (const LVHeadlessSession::Result& result : std::as_const(results))
            QCOMPARE(result.outcome, QStringLiteral("succeeded"));
    } else {
        if (run == QLatin1String("update-all"))
            LVUpdateAllInstalledInstallItem::installItem()->updateButtonAction();
        else
            bundleRow()->downloadButton()->click();
        QTRY_VERIFY_WITH_TIMEOUT(bDownloads(), 20000);
        // Held by the run: A waits for it, its row and the bundle's show it.
        QCOMPARE(row("A")->statusTextField()->text(), QStringLiteral("Installing..."));
        duringB();
        if (action == QLatin1String("refuse")) {
            QTRY_COMPARE_WITH_TIMEOUT(_privileged->prompts.load(), 1, 20000);
        } else if (!alerts.isEmpty()) {
            QTRY_COMPARE_WITH_TIMEOUT(_alerts->alerts().size(), alerts.size(), 30000);
        }
    }
    QTRY_VERIFY_WITH_TIMEOUT(LVProductOperations::shared().isIdle(), 20000);
    QTest::qWait(100); // nothing further comes
    if (refresh == QLatin1String("after"))
        showCatalogue();

    // Exactly the run's own summary.
    QStringList shown;
    for (const LVAlert& alert : _alerts->alerts())
        shown.append(alert.messageText() + QStringLiteral(": ") + alert.informativeText());
    QCOMPARE(shown, alerts);
    const QStringList versions = versionsAfter.split(QLatin1Char(' '));
    QCOMPARE((QStringList{_shelf->installed("A"), _shelf->installed("B"), _shelf->installed("C")}), versions);
    // The manual download is the row's own file; the run's packages are nobody else's to delete.
    if (action == QLatin1String("manual download")) {
        const QByteArray kept = TestEnvironment::readFile(chosen);
        QVERIFY(!kept.isEmpty());
        QCOMPARE(kept, TestEnvironment::readFile(_shelf->packagePath(QStringLiteral("A"), QStringLiteral("2.0"))));
    }
    QCOMPARE(_shelf->packagesOnDisk().size(), action == QLatin1String("refuse") ? 3 : 0);
    // Update-all confirms with its two notifications per entry and nothing else.
    if (run == QLatin1String("update-all") && action != QLatin1String("refuse")) {
        QCOMPARE(posted, (QStringList{"reloadLVUpdateItem", "productInstallCompleted A", "reloadLVUpdateItem",
                                      "productInstallCompleted B", "reloadLVUpdateItem", "productInstallCompleted C"}));
        QVERIFY2(_workspace->launched.isEmpty(), qPrintable(_workspace->launched.join(QLatin1Char(' '))));
    }

    // Every row reads the true state, and the bundle the user opened stays open.
    const uint expected =
        versions.first() == QLatin1String("2.0") ? VMInstallStatus::LatestInstalled : VMInstallStatus::UpdateAvailable;
    for (const QString id : {"A", "B", "C"}) {
        QTRY_COMPARE(row(id)->installStatus(), expected);
        QCOMPARE(row(id)->statusTextField()->text(), VMInstallStatus::statusText(expected));
        QVERIFY(row(id)->downloadButton()->isEnabled() || expected == VMInstallStatus::LatestInstalled);
    }
    for (LVBundleProductInstallItem* member : bundleRow()->productInstallItems()) {
        QCOMPARE(member->installStatus(), expected);
        QCOMPARE(member->statusTextField()->text(), VMInstallStatus::statusText(expected));
    }
    QCOMPARE(bundleRow()->installStatus(), expected == VMInstallStatus::LatestInstalled
                                               ? uint(VMInstallStatus::LatestInstalled)
                                               : uint(VMInstallStatus::BundlePartlyInstalled));
    QVERIFY(list()->isItemExpanded(bundleRow()));
    QFile::remove(chosen);
}

LV_TEST_MAIN(tst_ProductModelRules)
#include "tst_ProductModelRules.moc"
