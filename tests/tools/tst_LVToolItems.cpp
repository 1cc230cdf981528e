#include "RecordingWorkspace.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "TestRowHost.h"

#include "catalogue/LVServers.h"
#include "foundation/VMNotificationCenter.h"
#include "manager/LVInstallManager.h"
#include "support/LocalHttpServer.h"
#include "tools/LVToolDeleteExpendableFilesItems.h"
#include "tools/LVToolDiagnosticItem.h"
#include "tools/LVToolItem.h"
#include "tools/LVToolKnowledgeBaseSearchItem.h"
#include "tools/LVToolSettingsItem.h"
#include "tools/LVToolUninstallItem.h"
#include "tools/LVToolsTab.h"
#include "tools/LVUninstallDiscontinuedItem.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

// The tool list and the simple tools, against a local server and a workspace that only notes
// what would be opened.
class tst_LVToolItems : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void toolOrder_data();
    void toolOrder();
    void toolForClassIsExact();
    void everyControlHasAnAccessibleName();
    void discontinuedProductsCheckBoxThroughAccessibility();
    void knowledgeBaseSearch_data();
    void knowledgeBaseSearch();
    void diagnosticDownload_data();
    void diagnosticDownload();

private:
    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    std::shared_ptr<RecordingWorkspace> _workspace;
    std::unique_ptr<TestRowHost> _host;
    std::shared_ptr<TestAlertPresenter> _alerts;
};

void tst_LVToolItems::init()
{
    _env = std::make_unique<TestEnvironment>();
    _env->systemInfo->osVersion = QVersionNumber(13, 4);
    _workspace = std::make_shared<RecordingWorkspace>();
    Platform::setWorkspace(_workspace);
    _server = std::make_unique<LocalHttpServer>();
    LVServers::setOverrideURL(_server->origin());
    _host = std::make_unique<TestRowHost>();
    _alerts = _host->alerts;
    for (LVToolItem* tool : LVToolsTab::makeApplicationTools())
        tool->setInstallManager(_host.get());
}

void tst_LVToolItems::cleanup()
{
    LVServers::setOverrideURL(QUrl());
    _host.reset();
    _server.reset();
    _env.reset();
}

void tst_LVToolItems::toolOrder_data()
{
    QTest::addColumn<QString>("osVersion");
    QTest::addColumn<QStringList>("classes");
    const QStringList withoutExpendable = {"LVToolSettingsItem", "LVToolKnowledgeBaseSearchItem",
                                           "LVToolUpdateAllInstalledItem", "LVToolUninstallItem",
                                           "LVToolDiagnosticItem"};
    QStringList withExpendable = withoutExpendable;
    withExpendable.insert(4, "LVToolDeleteExpendableFilesItems");
    QTest::newRow("macOS 11") << "11.7.10" << withoutExpendable;
    QTest::newRow("macOS 12") << "12.0" << withExpendable;
    QTest::newRow("macOS 14") << "14.2.1" << withExpendable;
    QTest::newRow("version unknown") << "" << withoutExpendable;
}

void tst_LVToolItems::toolOrder()
{
    QFETCH(QString, osVersion);
    QFETCH(QStringList, classes);
    _env->systemInfo->osVersion = QVersionNumber::fromString(osVersion);
    QStringList made;
    for (LVToolItem* tool : LVToolsTab::makeApplicationTools())
        made.append(QString::fromLatin1(tool->metaObject()->className()));
    QCOMPARE(made, classes);
}

void tst_LVToolItems::toolForClassIsExact()
{
    QCOMPARE(LVToolsTab::toolForClass(&LVToolItem::staticMetaObject), nullptr);
    QCOMPARE(LVToolsTab::toolForClass(nullptr), nullptr);
    QCOMPARE(LVToolsTab::toolForClass<LVToolUninstallItem>(), LVToolUninstallItem::tool());
    QCOMPARE(LVToolsTab::toolForClass<LVToolDeleteExpendableFilesItems>(), LVToolDeleteExpendableFilesItems::tool());
    // Made, but not listed.
    QVERIFY(LVUninstallDiscontinuedItem::tool());
    QCOMPARE(LVToolsTab::toolForClass<LVUninstallDiscontinuedItem>(), nullptr);
}

void tst_LVToolItems::everyControlHasAnAccessibleName()
{
    QList<LVToolItem*> tools = LVToolsTab::makeApplicationTools();
    tools.append(LVUninstallDiscontinuedItem::tool());
    for (LVToolItem* tool : tools) {
        QWidget* panel = tool->view();
        QVERIFY2(panel, tool->metaObject()->className());
        QCOMPARE(QAccessible::queryAccessibleInterface(panel)->text(QAccessible::Name), tool->title());
        const QList<QWidget*> controls = panel->findChildren<QWidget*>();
        for (QWidget* control : controls) {
            // The panel's own controls, not the parts Qt builds inside them.
            const bool isControl = qobject_cast<QAbstractButton*>(control) || qobject_cast<QLineEdit*>(control) ||
                                   qobject_cast<QComboBox*>(control);
            if (!isControl || !control->objectName().startsWith(QLatin1Char('_')))
                continue;
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(control);
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), qPrintable(control->objectName()));
        }
    }
}

void tst_LVToolItems::discontinuedProductsCheckBoxThroughAccessibility()
{
    LVToolSettingsItem* settings = LVToolSettingsItem::tool();
    QAccessibleInterface* panel = QAccessible::queryAccessibleInterface(settings->view());
    QAccessibleInterface* checkBox = nullptr;
    for (int i = 0; i < panel->childCount(); ++i) {
        if (panel->child(i)->text(QAccessible::Name) == QLatin1String("Show discontinued products"))
            checkBox = panel->child(i);
    }
    QVERIFY(checkBox);
    QCOMPARE(checkBox->role(), QAccessible::CheckBox);

    QVariantList posted;
    QObject observer;
    VMNotificationCenter::defaultCenter().addObserver(
        &observer, QStringLiteral("notifShowDiscontinuedProductsChanged"),
        [&posted](const VMNotification& note) { posted.append(note.object); });
    const bool before = checkBox->state().checked;
    checkBox->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    checkBox->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    QCOMPARE(posted, (QVariantList{!before, before}));
    // The install manager keeps the setting.
    QCOMPARE(LVInstallManager::showDiscontinuedProducts(), before);
}

void tst_LVToolItems::knowledgeBaseSearch_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("opened"); // after the server's address; null when nothing opens
    QTest::newRow("one word") << QStringLiteral("lut") << "/hc/en-gb/search?utf8=&query=lut";
    QTest::newRow("not encoded") << QStringLiteral("a&b=c") << "/hc/en-gb/search?utf8=&query=a&b=c";
    QTest::newRow("two words") << "lut import" << QString();
    QTest::newRow("bad escape") << "100%zz" << QString();
    QTest::newRow("empty") << "" << QString();
}

void tst_LVToolItems::knowledgeBaseSearch()
{
    QFETCH(QString, typed);
    QFETCH(QString, opened);
    QLineEdit* field = LVToolKnowledgeBaseSearchItem::tool()->view()->findChild<QLineEdit*>();
    QVERIFY(field);
    field->clear();
    QTest::keyClicks(field, typed);
    QTest::keyClick(field, Qt::Key_Return);
    QStringList urls;
    for (const QUrl& url : std::as_const(_workspace->opened))
        urls.append(url.toString());
    QCOMPARE(urls, opened.isNull() ? QStringList() : QStringList{_server->origin().toString() + opened});
}

void tst_LVToolItems::diagnosticDownload_data()
{
    QTest::addColumn<bool>("completes");
    QTest::newRow("completes") << true;
    QTest::newRow("connection drops") << false;
}

void tst_LVToolItems::diagnosticDownload()
{
    QFETCH(bool, completes);
    const QByteArray body = "PK\x03\x04 diagnostic tool";
    LocalHttpServer::Response response;
    response.body = body;
    // Slow enough to see the tool busy while the data arrives.
    response.chunkSize = 4;
    response.chunkIntervalMs = 60;
    if (!completes)
        response.dropAfterBytes = 8;
    _server->setRoute("/VM_installers/LV_GatherDiagnostics.app.zip", response);
    const QString target =
        Platform::systemInfo().downloadsDirectory() + QStringLiteral("/LV_GatherDiagnostics.app.zip");
    QVERIFY(TestEnvironment::writeFile(target, "an older download, longer than the new one"));

    LVToolDiagnosticItem* tool = LVToolDiagnosticItem::tool();
    tool->view();
    QPushButton* button = tool->downloadButton();
    QVERIFY(button->isEnabled());
    button->click();
    QTRY_VERIFY(!button->isEnabled());
    QCOMPARE(tool->infoText()->text(), QStringLiteral("Downloading Tool..."));
    QTRY_VERIFY(button->isEnabled());

    if (!completes) {
        QCOMPARE(tool->infoText()->text(), QStringLiteral("Download failed"));
        QVERIFY(_alerts->alerts().isEmpty());
        return;
    }
    QVERIFY(tool->infoText()->text().isEmpty());
    QCOMPARE(tool->downloadFilePath(), target);
    QCOMPARE(TestEnvironment::readFile(target), body);
    QCOMPARE(_alerts->alerts().size(), 1);
    const LVAlert alert = _alerts->alerts().first();
    QCOMPARE(alert.messageText(), QStringLiteral("Tool download completed"));
    QCOMPARE(alert.informativeText(), QStringLiteral("The diagnostic tool was downloaded to your download folder. "
                                                     "Please unzip, launch it, and follow the instructions."));
    QCOMPARE(alert.buttonTitles(), (QStringList{"Ok", "Show in Finder"}));
    alert.buttons().at(1).action();
    QCOMPARE(_workspace->revealed, QStringList{target});
}

LV_TEST_MAIN(tst_LVToolItems)
#include "tst_LVToolItems.moc"
