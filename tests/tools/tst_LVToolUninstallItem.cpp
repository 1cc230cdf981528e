#include "TestEnvironment.h"
#include "TestInstallItem.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"
#include "TestRowHost.h"

#include "catalogue/LVServers.h"
#include "catalogue/VMSingleProductItem.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "foundation/VMNotificationCenter.h"
#include "support/LocalHttpServer.h"
#include "tools/LVToolItem.h"
#include "tools/LVToolUninstallItem.h"
#include "tools/LVToolUninstallItemDelegate.h"
#include "widgets/LVSpinner.h"

#include <QDir>
#include <QPushButton>
#include <QtTest>

namespace {
class StateRecorder : public QObject, public LVToolUninstallItemDelegate
{
public:
    void uninstallStateChanged(uint state, LVToolUninstallItem*) override { states.append(state); }
    QList<uint> states;
};
} // namespace

// The total uninstall from the tools tab, end to end: a real script from a local server run by
// /bin/sh against the test's system root, the password prompt answered by the test.
class tst_LVToolUninstallItem : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void totalUninstall_data();
    void totalUninstall();

private:
    QString wrapperPath() const;

    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
    std::unique_ptr<TestRowHost> _host;
    std::shared_ptr<TestAlertPresenter> _alerts;
};

QString tst_LVToolUninstallItem::wrapperPath() const
{
    return _env->systemRoot() + QStringLiteral("/Applications/Lumivane/Hollin.app");
}

void tst_LVToolUninstallItem::init()
{
    _env = std::make_unique<TestEnvironment>();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _server = std::make_unique<LocalHttpServer>();
    LVServers::setOverrideURL(_server->origin());
    _host = std::make_unique<TestRowHost>();
    _alerts = _host->alerts;
    LVToolUninstallItem::tool()->setInstallManager(_host.get());
    QVERIFY(QDir().mkpath(wrapperPath() + QStringLiteral("/Contents")));
}

void tst_LVToolUninstallItem::cleanup()
{
    LVServers::setOverrideURL(QUrl());
    _host.reset();
    _server.reset();
    _env.reset();
}

void tst_LVToolUninstallItem::totalUninstall_data()
{
    QTest::addColumn<uint>("option");
    QTest::addColumn<QList<uint>>("rowStatuses");
    QTest::addColumn<QByteArray>("printed"); // what the server's script prints
    QTest::addColumn<bool>("serverReachable");
    QTest::addColumn<int>("consent");
    QTest::addColumn<QString>("requested"); // the script asked for; empty for none
    QTest::addColumn<QList<uint>>("states");
    QTest::addColumn<QString>("alert"); // empty for none
    QTest::addColumn<bool>("removed");
    QTest::addColumn<bool>("staysBusy");

    const QString fxPlug3 = "/VM_installers/uninstallers/TotalRemoveAllFxPlug3.bash";
    const QString all = "/VM_installers/uninstallers/TotalRemoveAllProducts.bash";
    const int grant = TestPrivilegedExecution::Grant;
    QTest::newRow("FxPlug 3 products by default")
        << 2u << QList<uint>{1, 2, 1} << QByteArray("$?") << true << grant << fxPlug3 << QList<uint>{1, 2, 4, 5}
        << "Uninstallation Completed" << true << false;
    QTest::newRow("all products") << 1u << QList<uint>{3} << QByteArray("$?") << true << grant << all
                                  << QList<uint>{1, 2, 4, 5} << "Uninstallation Completed" << true << false;
    QTest::newRow("bundle partly installed counts")
        << 1u << QList<uint>{4} << QByteArray("$?") << true << grant << all << QList<uint>{1, 2, 4, 5}
        << "Uninstallation Completed" << true << false;
    QTest::newRow("script prints 1") << 2u << QList<uint>{2} << QByteArray("1") << true << grant << fxPlug3
                                     << QList<uint>{1, 2, 4, 6} << "Uninstallation Failed" << true << false;
    QTest::newRow("no products found") << 2u << QList<uint>{1, 1} << QByteArray("$?") << true << grant << QString()
                                       << QList<uint>{} << "No Products Found" << false << false;
    QTest::newRow("option without a script") << 7u << QList<uint>{2} << QByteArray("$?") << true << grant << QString()
                                             << QList<uint>{} << "Error Occured" << false << false;
    QTest::newRow("download fails") << 2u << QList<uint>{2} << QByteArray("$?") << false << grant << QString()
                                    << QList<uint>{3} << "Error Occured" << false << true;
    QTest::newRow("password refused") << 2u << QList<uint>{2} << QByteArray("$?") << true
                                      << int(TestPrivilegedExecution::Refuse) << fxPlug3 << QList<uint>{1, 2}
                                      << QString() << false << true;
}

void tst_LVToolUninstallItem::totalUninstall()
{
    QFETCH(uint, option);
    QFETCH(QList<uint>, rowStatuses);
    QFETCH(QByteArray, printed);
    QFETCH(bool, serverReachable);
    QFETCH(int, consent);
    QFETCH(QString, requested);
    QFETCH(QList<uint>, states);
    QFETCH(QString, alert);
    QFETCH(bool, removed);
    QFETCH(bool, staysBusy);

    // The product rows, each with the status the test gives.
    std::vector<std::unique_ptr<TestInstallItem>> rows;
    for (const uint status : rowStatuses) {
        const QString id = QStringLiteral("P%1").arg(rows.size());
        auto& row = rows.emplace_back(std::make_unique<TestInstallItem>(id, status));
        auto product = VMSingleProductItem::initWithDict({{"Product ID", id}, {"Title", id}});
        // What the model has detected decides, whatever the row shows.
        const bool installed = status == 2 || status == 3 || status == 4;
        LVProductOperations::shared().operationForProduct(product)->setInstalledVersion(installed ? "1.0" : QString());
        row->product = product;
        row->updateStatus();
        _host->rows.append(row.get());
    }

    const QByteArray script = "#!/bin/sh\nrm -rf '" + wrapperPath().toUtf8() + "'\necho " + printed + "\n";
    _server->setRoute(requested.isEmpty() ? QByteArray("/VM_installers/uninstallers/TotalRemoveAllFxPlug3.bash")
                                          : requested.toUtf8(),
                      script);
    if (!serverReachable)
        LVServers::setOverrideURL(QUrl(QStringLiteral("http://127.0.0.1:9")));
    _privileged->consent = TestPrivilegedExecution::Consent(consent);

    QList<QObject*> reloaded;
    QList<VMProductItemPtr> uninstalled;
    QObject observer;
    VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
    center.addObserver(&observer, QStringLiteral("reloadLVUpdateItem"),
                       [&reloaded](const VMNotification& note) { reloaded.append(note.object.value<QObject*>()); });
    center.addObserver(
        &observer, QStringLiteral("productUninstallCompleted"),
        [&uninstalled](const VMNotification& note) { uninstalled.append(note.object.value<VMProductItemPtr>()); });

    StateRecorder recorder;
    LVToolUninstallItem* tool = LVToolUninstallItem::tool();
    tool->view();
    tool->setDelegate(&recorder);
    tool->setUninstallOption(option);
    tool->uninstallButton()->setEnabled(true);
    tool->uninstallButton()->click();

    if (!alert.isEmpty())
        QTRY_COMPARE(_alerts->alerts().size(), 1);
    else
        QTRY_COMPARE(recorder.states, states);
    // Nothing more arrives once the run has ended or stalled.
    QTest::qWait(100);
    QCOMPARE(recorder.states, states);
    QStringList alerts;
    for (const LVAlert& shown : _alerts->alerts())
        alerts.append(shown.messageText());
    QCOMPARE(alerts, alert.isEmpty() ? QStringList() : QStringList{alert});
    if (alert == QLatin1String("Error Occured"))
        QCOMPARE(_alerts->alerts().first().informativeText(),
                 QStringLiteral("An error occured, please contact Lumivane at support@quarnet.com for help."));

    QStringList asked;
    for (const LocalHttpServer::Request& request : _server->requests())
        asked.append(QString::fromUtf8(request.path));
    QCOMPARE(asked, requested.isEmpty() ? QStringList() : QStringList{requested});
    QCOMPARE(!QFileInfo::exists(wrapperPath()), removed);
    QCOMPARE(_privileged->prompts.load(), requested.isEmpty() || !serverReachable ? 0 : 1);

    QCOMPARE(tool->isBusy(), staysBusy);
    QCOMPARE(tool->uninstallButton()->isEnabled(), !staysBusy);
    QCOMPARE(tool->progressIndicator()->isAnimating(), staysBusy);
    const bool finished = states.contains(5) || states.contains(6);
    QCOMPARE(reloaded, finished ? QList<QObject*>(_host->rows.begin(), _host->rows.end()) : QList<QObject*>());
    QCOMPARE(uninstalled.size(), finished ? rows.size() : 0);
    if (finished)
        QCOMPARE(uninstalled.first(), rows.front()->productItem());
}

LV_TEST_MAIN(tst_LVToolUninstallItem)
#include "tst_LVToolUninstallItem.moc"
