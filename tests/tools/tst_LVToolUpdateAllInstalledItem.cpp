#include "TestAlertPresenter.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"
#include "support/ProductShelf.h"

#include "catalogue/VMProductsCollection.h"
#include "engines/LVProductBatch.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "foundation/VMDispatch.h"
#include "items/LVSingleInstallItem.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "tools/LVToolUpdateAllInstalledItem.h"
#include "tools/LVUpdateAllInstalledInstallItem.h"

#include <QAccessible>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QtTest>

namespace {
// Follows the model's update-all run as the row does: records each step with what the row shows
// after it.
class RunRecorder : public QObject
{
public:
    RunRecorder()
    {
        connect(&LVProductOperations::shared(), &LVProductOperations::batchMade, this,
                [this](const QString& key, LVProductBatch* run) {
                    if (key != QLatin1String(LVProductOperations::updateAllRun))
                        return;
                    connect(run, &LVProductBatch::downloadStarted, this,
                            [this, run](qsizetype index) { step(1, run->item(index).product->title()); });
                    connect(run, &LVProductBatch::stateChanged, this,
                            [this, run](qsizetype index, LVProductBatch::State state) {
                                if (state == LVProductBatch::State::Installing)
                                    step(4, run->item(index).product->title());
                            });
                    connect(run, &LVProductBatch::ended, this, [this, run] {
                        bool succeeded = true;
                        for (qsizetype index = 0; index < run->count(); ++index)
                            succeeded = succeeded && run->state(index) == LVProductBatch::State::Installed;
                        step(succeeded ? 5 : 6, QString());
                    });
                });
    }
    QStringList steps;
    QString firstProgress;

private:
    void step(int state, const QString& productName)
    {
        LVUpdateAllInstalledInstallItem* row = LVUpdateAllInstalledInstallItem::installItem();
        if (state == 1 && firstProgress.isNull())
            firstProgress = QAccessible::queryAccessibleInterface(row->view())->text(QAccessible::Description);
        steps.append(QStringLiteral("%1 %2: %3").arg(state).arg(productName, row->statusTextField()->text()));
    }
};
} // namespace

// The update-all tool and its row on products A, B and C (and D, which shares C's installer), with
// real packages from a local server installed by the portable installer in a temporary root.
class tst_LVToolUpdateAllInstalledItem : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void rowSummary_data();
    void rowSummary();
    // Last: a cancelled password prompt leaves the tool busy for the rest of the process.
    void updateRun_data();
    void updateRun();

private:
    void showProducts();
    LVSingleInstallItem* row(const QString& id) const;

    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    std::unique_ptr<ProductShelf> _shelf;
    std::shared_ptr<TestAlertPresenter> _alerts;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
};

void tst_LVToolUpdateAllInstalledItem::initTestCase()
{
    AppDelegate::configureApplication();
}

void tst_LVToolUpdateAllInstalledItem::init()
{
    _env = std::make_unique<TestEnvironment>();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _server = std::make_unique<LocalHttpServer>();
    _shelf = std::make_unique<ProductShelf>(*_env, *_server);
    for (const QString id : {"A", "B", "C"})
        for (const QString version : {"1.0", "2.0"})
            QVERIFY(_shelf->publish(id, version));
    _alerts = std::make_shared<TestAlertPresenter>();
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->setAlertPresenter(_alerts);
    manager->setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    LVToolUpdateAllInstalledItem::tool()->setInstallManager(manager);
}

void tst_LVToolUpdateAllInstalledItem::cleanup()
{
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->setProductsCollection(nullptr);
    manager->setAlertPresenter(nullptr);
    _alerts.reset();
    _shelf.reset();
    _server.reset();
    Platform::setPrivilegedExecution(nullptr);
    _privileged.reset();
    _env.reset();
}

void tst_LVToolUpdateAllInstalledItem::showProducts()
{
    // D is built from C's installer: its plug-in is C's and so is its download.
    const VMSingleProductItemPtr d =
        _shelf->product(QStringLiteral("D"), {{"Identifier", ProductShelf::pluginIdentifier("C")},
                                              {"Check Installed Directory", ProductShelf::appPath("C")},
                                              {"Versions", _shelf->versions("C")}});
    auto collection = std::make_shared<VMProductsCollection>();
    collection->setProductItems({_shelf->product("A"), _shelf->product("B"), _shelf->product("C"), d});
    LVInstallManager::sharedInstallManager()->setProductsCollection(collection);
}

LVSingleInstallItem* tst_LVToolUpdateAllInstalledItem::row(const QString& id) const
{
    return qobject_cast<LVSingleInstallItem*>(LVInstallManager::sharedInstallManager()->installItemWithProductID(id));
}

void tst_LVToolUpdateAllInstalledItem::rowSummary_data()
{
    QTest::addColumn<QStringList>("installed"); // A, B, C (and so D)
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("entries");

    QTest::newRow("nothing installed") << QStringList{"", "", ""} << "No products installed" << 0;
    QTest::newRow("all current") << QStringList{"2.0", "", "2.0"} << "No updates available" << 0;
    QTest::newRow("one update") << QStringList{"1.0", "2.0", ""} << "Update available" << 1;
    // C and D share one installer: one entry for both.
    QTest::newRow("several updates") << QStringList{"1.0", "", "1.0"} << "Updates available" << 2;
}

void tst_LVToolUpdateAllInstalledItem::rowSummary()
{
    QFETCH(QStringList, installed);
    QFETCH(QString, text);
    QFETCH(int, entries);

    showProducts();
    const QStringList ids = {"A", "B", "C", "D"};
    for (int i = 0; i < ids.size(); ++i) {
        LVSingleInstallItem* single = row(ids.at(i));
        const QString version = installed.value(qMin(i, 2));
        single->setInstalledVersion(version.isEmpty() ? QString() : version);
        single->updateStatus();
    }
    LVUpdateAllInstalledInstallItem* updateAll = LVUpdateAllInstalledInstallItem::installItem();
    QCOMPARE(LVInstallManager::sharedInstallManager()->installItems().value(0), updateAll);
    QWidget* view = updateAll->view();
    updateAll->estimateInstallStatus();
    QCOMPARE(updateAll->statusTextField()->text(), text);
    QCOMPARE(updateAll->downloadButton()->isVisibleTo(view), entries > 0);
    LVToolUpdateAllInstalledItem* tool = LVToolUpdateAllInstalledItem::tool();
    QList<VMSingleProductItemPtr> products;
    for (const QString& id : ids)
        products.append(row(id)->singleProductItem());
    QCOMPARE(LVProductOperations::shared().updatesToInstall(products).size(), entries);
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(view);
    QCOMPARE(accessible->text(QAccessible::Name), QStringLiteral("Update All Installed Products"));
    QCOMPARE(accessible->text(QAccessible::Description), text);
    QCOMPARE(QAccessible::queryAccessibleInterface(updateAll->downloadButton())->text(QAccessible::Name),
             QStringLiteral("Update All"));

    if (entries == 0) {
        // The row's button does nothing; the tool's own says so.
        updateAll->updateButtonAction();
        QVERIFY(_alerts->alerts().isEmpty());
        tool->updateButtonAction();
        QCOMPARE(_alerts->alerts().size(), 1);
        QCOMPARE(_alerts->alerts().first().messageText(), QStringLiteral("No Updates Found"));
        QVERIFY(!tool->isBusy());
    }
}

void tst_LVToolUpdateAllInstalledItem::updateRun_data()
{
    QTest::addColumn<QString>("brokenPackage");
    QTest::addColumn<int>("consent");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QString>("alert");
    QTest::addColumn<QStringList>("versionsAfter"); // A, B, C
    QTest::addColumn<QString>("summaryAfter");

    const QStringList downloads = {"1 Product A: Downloading 'Product A'", "1 Product B: Downloading 'Product B'",
                                   "1 Product C: Downloading 'Product C'"};
    const QStringList installs = {"4 Product A: Installing 'Product A'", "4 Product B: Installing 'Product B'",
                                  "4 Product C: Installing 'Product C'"};
    // The row's first estimate comes before the rows have re-read their versions; it is
    // estimated again once they have.
    QTest::newRow("all updated") << "" << int(TestPrivilegedExecution::Grant)
                                 << downloads + installs + QStringList{"5 : Updates available"}
                                 << "Updating Completed: All updates were installed successfully."
                                 << QStringList{"2.0", "2.0", "2.0"} << "No updates available";
    QTest::newRow("one installation fails")
        << "B" << int(TestPrivilegedExecution::Grant) << downloads + installs + QStringList{"6 : Updates available"}
        << "Updating Failed: Some products could not be update, please update them manually."
        << QStringList{"2.0", "1.0", "2.0"} << "Update available";
    QTest::newRow("password prompt cancelled") << "" << int(TestPrivilegedExecution::Cancel) << downloads << ""
                                               << QStringList{"1.0", "1.0", "1.0"} << "Downloading 'Product C'";
}

void tst_LVToolUpdateAllInstalledItem::updateRun()
{
    QFETCH(QString, brokenPackage);
    QFETCH(int, consent);
    QFETCH(QStringList, steps);
    QFETCH(QString, alert);
    QFETCH(QStringList, versionsAfter);
    QFETCH(QString, summaryAfter);

    _shelf->install(*_privileged, {"A", "B", "C"}, QStringLiteral("1.0"));
    if (!brokenPackage.isEmpty())
        _server->setRoute("/pkg/" + brokenPackage.toUtf8() + "-2.0.pkg", "not a package");
    _privileged->consent = TestPrivilegedExecution::Consent(consent);
    showProducts();
    LVUpdateAllInstalledInstallItem* updateAll = LVUpdateAllInstalledInstallItem::installItem();
    QWidget* view = updateAll->view();
    updateAll->estimateInstallStatus();
    QCOMPARE(updateAll->statusTextField()->text(), QStringLiteral("Updates available"));

    LVToolUpdateAllInstalledItem* tool = LVToolUpdateAllInstalledItem::tool();
    // When each installation begins and ends, as its owner hears it.
    QElapsedTimer clock;
    clock.start();
    QObject listener;
    QList<qint64> begins, ends;
    for (const QString id : {"A", "B", "C"}) {
        LVProductOperation* operation = row(id)->operation();
        connect(operation, &LVProductOperation::installBegan, &listener, [&] { begins.append(clock.elapsed()); });
        connect(operation, &LVProductOperation::installEnded, &listener, [&] { ends.append(clock.elapsed()); });
    }
    RunRecorder recorder;
    updateAll->downloadButton()->click();
    QVERIFY(tool->isBusy());

    QTRY_COMPARE_WITH_TIMEOUT(recorder.steps.size(), steps.size(), 30000);
    QVERIFY2(recorder.firstProgress.startsWith(QStringLiteral("Downloading 'Product A' (1 of 3)")),
             qPrintable(recorder.firstProgress));
    QTest::qWait(100); // nothing further comes
    QCOMPARE(recorder.steps, steps);
    QCOMPARE(_privileged->prompts.load(), 2); // one for the old versions, one for the run
    // D's update is C's: its installer was fetched once.
    int fetchesOfC = 0;
    for (const LocalHttpServer::Request& request : _server->requests())
        fetchesOfC += request.path == "/pkg/C-2.0.pkg";
    QCOMPARE(fetchesOfC, 1);
    QCOMPARE(_shelf->installed("A"), versionsAfter.at(0));
    QCOMPARE(_shelf->installed("B"), versionsAfter.at(1));
    QCOMPARE(_shelf->installed("C"), versionsAfter.at(2));

    QWidget* panel = tool->view();
    if (alert.isEmpty()) {
        // Stalled: busy for good, the packages kept, no summary.
        QVERIFY(_alerts->alerts().isEmpty());
        QVERIFY(tool->isBusy());
        QVERIFY(tool->progressIndicator()->isVisibleTo(panel));
        QVERIFY(!tool->updateButton()->isEnabled());
        QCOMPARE(_shelf->packagesOnDisk().size(), 3);
        QVERIFY(!updateAll->downloadButton()->isVisibleTo(view));
        QCOMPARE(updateAll->statusTextField()->text(), summaryAfter);
        return;
    }
    QCOMPARE(_alerts->alerts().size(), 1);
    QCOMPARE(_alerts->alerts().first().messageText() + QStringLiteral(": ") +
                 _alerts->alerts().first().informativeText(),
             alert);
    QVERIFY(!tool->isBusy());
    QVERIFY(!tool->progressIndicator()->isVisibleTo(panel));
    QVERIFY(tool->updateButton()->isEnabled());
    QVERIFY(tool->progressDescriptionField()->text().isEmpty());
    QVERIFY(_shelf->packagesOnDisk().isEmpty());
    // Each installation begins 2.0 s after the previous one's completion.
    QCOMPARE(begins.size(), 3);
    QCOMPARE(ends.size(), 3);
    for (int i = 1; i < 3; ++i)
        QVERIFY2(begins.at(i) - ends.at(i - 1) >= VMDispatch::scaledMilliseconds(2.0),
                 qPrintable(QStringLiteral("%1 ms").arg(begins.at(i) - ends.at(i - 1))));
    // The rows re-read what is installed.
    QTRY_COMPARE(row("A")->installedVersion(), versionsAfter.at(0));
    QTRY_COMPARE(row("D")->installedVersion(), versionsAfter.at(2));
    QTRY_COMPARE(updateAll->statusTextField()->text(), summaryAfter);
}

LV_TEST_MAIN(tst_LVToolUpdateAllInstalledItem)
#include "tst_LVToolUpdateAllInstalledItem.moc"
