#include "LocalHttpServer.h"
#include "TestAlertPresenter.h"
#include "TestEnvironment.h"
#include "TestInstallItem.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"
#include "support/ProductShelf.h"

#include "catalogue/LVServers.h"
#include "catalogue/VMInstalledVersions.h"
#include "engines/LVPackageChecksum.h"
#include "foundation/VMNotificationCenter.h"
#include "foundation/VMPropertyList.h"
#include "items/LVSingleInstallItem.h"
#include "manager/AppDelegate.h"
#include "manager/LVInstallManager.h"

#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QSemaphore>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

// A product row used the way a screen reader uses it: found, read and pressed only through its
// accessibility interfaces, against a local server, real packages, the portable installer and the
// consent prompt, in a temporary system root.
class tst_LVSingleInstallItemAccessible : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void updateAndUninstallThroughAccessibility();
    void refreshesDuringTheWorkKeepItAndItsConfirmation();
};

namespace {
// Glow (the shelf's product A) with 1.0 installed for real and 2.0 on the local server, listed by
// the install manager as single-product rows only.
struct GlowFixture
{
    TestEnvironment env;
    std::shared_ptr<TestPrivilegedExecution> privileged = std::make_shared<TestPrivilegedExecution>();
    LocalHttpServer server;
    ProductShelf shelf{env, server};
    std::shared_ptr<TestAlertPresenter> alerts = std::make_shared<TestAlertPresenter>();
    const QString installed = env.systemRoot() + ProductShelf::appPath("A");

    ~GlowFixture() { LVInstallManager::releaseSharedInstallManager(); }

    bool setUp()
    {
        VMInstalledVersions::clearBundleIdentifierCache();
        Platform::setPrivilegedExecution(privileged);
        if (!shelf.publish("A", "1.0") || !shelf.publish("A", "2.0"))
            return false;
        shelf.install(*privileged, {"A"}, "1.0");
        server.setRoute("/Glow.bash", "rm -rf '" + installed.toUtf8() + "'\necho $?\n");
        LVInstallManager* manager = LVInstallManager::sharedInstallManager();
        manager->setInstallItemFactory(
            std::make_shared<TestSingleItemFactory>([](const VMSingleProductItemPtr& product) -> LVInstallItem* {
                return LVSingleInstallItem::installItemWithSingleProductItem(product);
            }));
        manager->setAlertPresenter(alerts);
        manager->setAttachedToStatusItem(false);
        return !QTest::currentTestFailed();
    }

    // The catalogue with Glow's record; `newer` goes into its version 2.0.
    QByteArray catalogue(const QVariantMap& newer = {}) const
    {
        QVariantList versions = shelf.versions("A");
        QVariantMap latest = versions.last().toMap();
        latest.insert(newer);
        versions.last() = latest;
        const QVariantMap glow{{"Product ID", "A"},
                               {"Title", "Glow"},
                               {"Identifier", ProductShelf::pluginIdentifier("A")},
                               {"Check Installed Directory", ProductShelf::appPath("A")},
                               {"Uninstall Script", server.url("/Glow.bash").toString()},
                               {"Versions", versions}};
        return VMPropertyList::toXmlData(QVariantMap{{"Products", QVariantMap{{"Products", QVariantList{glow}}}}});
    }
};

QAccessibleInterface* findAccessible(QAccessibleInterface* root, QAccessible::Role role, const QString& name)
{
    if (!root)
        return nullptr;
    if (root->role() == role && root->text(QAccessible::Name) == name && !root->state().invisible)
        return root;
    for (int i = 0; i < root->childCount(); ++i)
        if (QAccessibleInterface* found = findAccessible(root->child(i), role, name))
            return found;
    return nullptr;
}

// What the row's status line says, as read aloud.
QString spokenStatus(QAccessibleInterface* row)
{
    for (const char* status : {"Not yet installed", "Update available", "Latest version installed", "Installing..."})
        if (findAccessible(row, QAccessible::StaticText, QLatin1String(status)))
            return QLatin1String(status);
    return QString();
}
} // namespace

void tst_LVSingleInstallItemAccessible::updateAndUninstallThroughAccessibility()
{
    GlowFixture glow;
    QVERIFY(glow.setUp());
    // The consent prompt, answered as the user would.
    std::atomic<int> consents{0};
    glow.privileged->setConsentProvider([&consents](const QString& right) {
        if (right != QLatin1String("system.privilege.admin"))
            return int(PrivilegedExecution::Denied);
        ++consents;
        return int(PrivilegedExecution::Success);
    });
    LocalHttpServer& server = glow.server;
    LVServers::setOverrideURL(server.origin());
    // At first the server sends something else than the package the catalogue gives the digest of.
    server.setRoute("/pkg/A-2.0.pkg", "<html><body>Not Found</body></html>", 404);
    server.setRoute(
        "/VM_installers/Product+Versions.plist",
        glow.catalogue({{"Download SHA256", LVPackageChecksum::sha256OfFile(glow.shelf.packagePath("A", "2.0"))}}));

    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->show();
    QTRY_VERIFY_WITH_TIMEOUT(!manager->singleProductInstallItems().isEmpty(), 20000);
    manager->selectInstallsTabViewAtIndex(LVInstallManager::SingleProductsTab);

    // The row as a screen reader meets it: a named element with a status, a button and a menu.
    QAccessibleInterface* row =
        QAccessible::queryAccessibleInterface(manager->singleProductInstallItems().first()->view());
    QVERIFY(row);
    QCOMPARE(row->text(QAccessible::Name), QStringLiteral("Glow"));
    QCOMPARE(spokenStatus(row), QStringLiteral("Update available"));

    QAccessibleInterface* install = findAccessible(row, QAccessible::Button, QStringLiteral("Download & Install"));
    QVERIFY(install && install->actionInterface());
    install->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    TestAlertPresenter* alerts = glow.alerts.get();
    QTRY_COMPARE_WITH_TIMEOUT(alerts->pendingCount(), 1, 30000);
    QCOMPARE(alerts->alerts().last().informativeText(),
             QStringLiteral("The installer of 'Glow' did not match its checksum and was deleted."));
    QVERIFY(alerts->answer(LVAlert::alertFirstButtonReturn));
    QCOMPARE(spokenStatus(row), QStringLiteral("Update available"));
    QCOMPARE(consents.load(), 0); // nothing was offered to the installer
    QTRY_VERIFY(glow.env.temporaryFiles().isEmpty());

    LocalHttpServer::Response package;
    package.filePath = glow.shelf.packagePath("A", "2.0");
    server.setRoute("/pkg/A-2.0.pkg", package);
    install->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QTRY_COMPARE_WITH_TIMEOUT(spokenStatus(row), QStringLiteral("Latest version installed"), 30000);
    QCOMPARE(consents.load(), 1);
    QTRY_COMPARE(alerts->pendingCount(), 1);
    QCOMPARE(alerts->alerts().last().messageText(), QStringLiteral("Installation Completed"));
    QVERIFY(alerts->answer(LVAlert::alertFirstButtonReturn));

    // The menu opens modally; its entry is picked once it is up.
    QAccessibleInterface* menuButton =
        findAccessible(row, QAccessible::ButtonDropDown, QStringLiteral("Actions for Glow"));
    QVERIFY(menuButton && menuButton->actionInterface());
    bool picked = false;
    QTimer picker;
    connect(&picker, &QTimer::timeout, this, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return;
        picker.stop();
        QAccessibleInterface* entry = findAccessible(QAccessible::queryAccessibleInterface(menu), QAccessible::MenuItem,
                                                     QStringLiteral("Uninstall"));
        if (entry && entry->actionInterface() && !entry->state().disabled) {
            entry->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
            picked = true;
        }
        if (menu->isVisible())
            menu->close();
    });
    picker.start(20);
    menuButton->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QTRY_VERIFY(picked);

    QTRY_COMPARE_WITH_TIMEOUT(alerts->pendingCount(), 1, 30000);
    QCOMPARE(alerts->alerts().last().messageText(), QStringLiteral("Uninstallation Completed"));
    QVERIFY(alerts->answer(LVAlert::alertFirstButtonReturn));
    QCOMPARE(consents.load(), 2);
    QTRY_COMPARE(spokenStatus(row), QStringLiteral("Not yet installed"));
    QVERIFY(!QDir(glow.installed).exists());

    LVInstallManager::releaseSharedInstallManager();
    LVServers::setOverrideURL(QUrl());
    QTRY_VERIFY(glow.env.temporaryFiles().isEmpty());
}

// A catalogue refresh makes new rows while the product downloads, installs and uninstalls: the
// product's operation goes on, the new row shows it and the confirmation happens once.
void tst_LVSingleInstallItemAccessible::refreshesDuringTheWorkKeepItAndItsConfirmation()
{
    GlowFixture glow;
    QVERIFY(glow.setUp());
    // The consent prompt holds the administrator step until the test has refreshed.
    std::atomic<int> asked{0};
    QSemaphore gate;
    glow.privileged->setConsentProvider([&](const QString&) {
        ++asked;
        gate.acquire();
        return int(PrivilegedExecution::Success);
    });
    // Slow enough for a refresh to happen mid-download.
    LocalHttpServer::Response package;
    package.filePath = glow.shelf.packagePath("A", "2.0");
    package.chunkSize = qMax<qint64>(1, QFileInfo(package.filePath).size() / 10);
    package.chunkIntervalMs = 100;
    glow.server.setRoute("/pkg/A-2.0.pkg", package);
    const QByteArray catalogue = glow.catalogue();

    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->selectInstallsTabViewAtIndex(LVInstallManager::SingleProductsTab);
    QObject observer;
    QStringList posted;
    for (const char* name : {"productInstallCompleted", "productUninstallCompleted"})
        VMNotificationCenter::defaultCenter().addObserver(
            &observer, QLatin1String(name), [&posted, name](const VMNotification&) { posted.append(name); });
    // A refresh: the catalogue again, new records and new rows.
    LVSingleInstallItem* row = nullptr;
    const auto refresh = [&] {
        QPointer<LVInstallItem> before(manager->singleProductInstallItems().value(0));
        manager->updateWithConfigData(catalogue);
        QTRY_VERIFY_WITH_TIMEOUT(!manager->singleProductInstallItems().isEmpty() &&
                                     manager->singleProductInstallItems().first() != before.data(),
                                 20000);
        QTRY_VERIFY(!before);
        row = static_cast<LVSingleInstallItem*>(manager->singleProductInstallItems().first());
        row->view();
    };
    refresh();
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(row->installStatus(), uint(LVInstallItem::StatusUpdateAvailable));

    row->downloadButton()->click();
    QTRY_COMPARE(row->installStatus(), uint(LVInstallItem::StatusDownloading));
    refresh();
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(row->installStatus(), uint(LVInstallItem::StatusDownloading));
    QVERIFY(!row->downloadProgressBar()->isHidden());
    QTRY_VERIFY(row->downloadProgressBar()->value() > 0);

    QTRY_COMPARE_WITH_TIMEOUT(asked.load(), 1, 20000);
    refresh();
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(row->installStatus(), uint(LVInstallItem::StatusInstalling));
    QCOMPARE(row->statusTextField()->text(), QStringLiteral("Installing..."));
    gate.release();
    QTRY_COMPARE_WITH_TIMEOUT(row->installStatus(), uint(LVInstallItem::StatusLatestInstalled), 30000);
    QCOMPARE(row->statusTextField()->text(), QStringLiteral("Latest version installed"));
    TestAlertPresenter* alerts = glow.alerts.get();
    QTRY_COMPARE(alerts->pendingCount(), 1);
    QCOMPARE(alerts->alerts().size(), 1);
    QCOMPARE(alerts->alerts().last().messageText(), QStringLiteral("Installation Completed"));
    QVERIFY(alerts->answer(LVAlert::alertFirstButtonReturn));
    QCOMPARE(posted, QStringList{"productInstallCompleted"});
    QVERIFY(!VMInstalledVersions::filePathToXPCBundleUsingPluginKit(ProductShelf::pluginIdentifier("A")).isEmpty());

    row->downloadRunUninstaller({glow.server.url("/Glow.bash").toString()});
    QTRY_COMPARE_WITH_TIMEOUT(asked.load(), 2, 20000);
    refresh();
    if (QTest::currentTestFailed())
        return;
    gate.release();
    QTRY_COMPARE_WITH_TIMEOUT(alerts->pendingCount(), 1, 30000);
    QCOMPARE(alerts->alerts().size(), 2);
    QCOMPARE(alerts->alerts().last().messageText(), QStringLiteral("Uninstallation Completed"));
    QVERIFY(alerts->answer(LVAlert::alertFirstButtonReturn));
    QCOMPARE(posted, (QStringList{"productInstallCompleted", "productUninstallCompleted"}));
    QTRY_COMPARE(row->installStatus(), uint(LVInstallItem::StatusNotInstalled));
    QVERIFY(!QDir(glow.installed).exists());

    LVInstallManager::releaseSharedInstallManager();
    QTRY_VERIFY(glow.env.temporaryFiles().isEmpty());
}

LV_TEST_MAIN(tst_LVSingleInstallItemAccessible)
#include "tst_LVSingleInstallItemAccessible.moc"
