#include "RecordingWorkspace.h"
#include "TestAlertPresenter.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "catalogue/LVServers.h"
#include "foundation/VMDispatch.h"
#include "manager/AppDelegate.h"
#include "manager/LVInstallManager.h"
#include "manager/LVInstallManagerDelegate.h"
#include "manager/LVInstallManagerView.h"
#include "manager/LVMouseDownMonitor.h"
#include "widgets/LVAppearance.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QtTest>

namespace {
class QuitRecorder : public LVInstallManagerDelegate
{
public:
    void configDataLoaded(LVInstallManager*) override {}
    void quitApplication() override { ++quits; }
    void openAbout() override { ++abouts; }
    void openPreferences() override { ++preferences; }
    int quits = 0;
    int abouts = 0;
    int preferences = 0;
};

} // namespace

class tst_LVInstallManagerWindow : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void init();
    void cleanup();
    void detachedWindowIsTitledAndCentred();
    void placementHangsBelowThePointInsideTheScreen_data();
    void placementHangsBelowThePointInsideTheScreen();
    void userMoveDetachesButOwnPlacementDoesNot();
    void outsideClickHidesOnlyAnAttachedWindow();
    void closingQuitsButHidingDoesNot();
    void containerTurnsDarkInAWindow();
    void footerAndHeaderButtons();
    void busyOverlayCoversTheWindow();
    void defaultPresenterShowsAWindowModalBox_data();
    void defaultPresenterShowsAWindowModalBox();
    void viewForStatusMenuReleasesTheWindow();

private:
    std::unique_ptr<TestEnvironment> _environment;
    std::shared_ptr<RecordingWorkspace> _workspace;
    QuitRecorder _delegate;
};

void tst_LVInstallManagerWindow::init()
{
    _environment = std::make_unique<TestEnvironment>(0.01);
    // Showing loads the catalogue: a local file keeps the network out of these tests.
    QVERIFY(TestEnvironment::writeFile(LVInstallManager::localVersionsFilePath(),
                                       "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict/></plist>"));
    _workspace = std::make_shared<RecordingWorkspace>();
    Platform::setWorkspace(_workspace);
    _delegate = QuitRecorder();
}

void tst_LVInstallManagerWindow::cleanup()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Platform::reset();
    _environment.reset();
}

void tst_LVInstallManagerWindow::detachedWindowIsTitledAndCentred()
{
    LVInstallManager manager;
    QVERIFY(manager.attachedToStatusItem()); // how it starts
    manager.setAttachedToStatusItem(false);
    manager.show();
    QWidget* window = manager.window();
    QVERIFY(window);
    QVERIFY(manager.isVisible());
    QCOMPARE(window->windowTitle(), QStringLiteral("Lumivane Manager"));
    QVERIFY(!window->windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(window->windowFlags().testFlag(Qt::WindowCloseButtonHint));
    QVERIFY(window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QVERIFY(qAbs(window->geometry().center().x() - screen.center().x()) <= 1);
    QVERIFY(qAbs(window->geometry().center().y() - screen.center().y()) <= 1);
    QVERIFY(!manager.attachedToStatusItem());
    // Attaching drops the title bar of the existing window.
    manager.setAttachedToStatusItem(true);
    QVERIFY(manager.window()->windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(manager.isVisible());
}

void tst_LVInstallManagerWindow::placementHangsBelowThePointInsideTheScreen_data()
{
    QTest::addColumn<int>("fromRightEdge");
    QTest::addColumn<bool>("clamped");
    QTest::newRow("room to the right") << 600 << false;
    QTest::newRow("near the right edge") << 40 << true;
}

void tst_LVInstallManagerWindow::placementHangsBelowThePointInsideTheScreen()
{
    QFETCH(int, fromRightEdge);
    QFETCH(bool, clamped);
    LVInstallManager manager;
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const QPoint point(screen.right() + 1 - fromRightEdge, 30);
    manager.showAtPosition(point);
    const QRect frame = manager.window()->geometry();
    QCOMPARE(frame.top(), 30);
    if (clamped)
        QCOMPARE(frame.right(), screen.right());
    else
        QCOMPARE(frame.left(), point.x() - frame.width() / 2);
    // Placing is the program's own move: the window stays attached.
    QVERIFY(manager.attachedToStatusItem());
    QVERIFY(!manager.suspendWindowMoveNotifications());
}

void tst_LVInstallManagerWindow::userMoveDetachesButOwnPlacementDoesNot()
{
    LVInstallManager manager;
    manager.show();
    QVERIFY(manager.attachedToStatusItem());
    manager.showAtPosition(QPoint(400, 40));
    QVERIFY(manager.attachedToStatusItem());
    // The user drags the window elsewhere.
    manager.window()->move(manager.window()->pos() + QPoint(25, 30));
    QTRY_VERIFY(!manager.attachedToStatusItem());
    QVERIFY(!manager.window()->windowFlags().testFlag(Qt::FramelessWindowHint));
}

void tst_LVInstallManagerWindow::outsideClickHidesOnlyAnAttachedWindow()
{
    LVInstallManager manager;
    manager.show();
    QVERIFY(manager.findChild<LVMouseDownMonitor*>());
    QWidget elsewhere;
    elsewhere.resize(100, 100);
    elsewhere.show();
    // A click inside the window itself changes nothing.
    QTest::mouseClick(manager.containerView(), Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QCoreApplication::processEvents();
    QVERIFY(manager.isVisible());

    manager.setAttachedToStatusItem(false);
    QTest::mouseClick(&elsewhere, Qt::LeftButton);
    QCoreApplication::processEvents();
    QVERIFY(manager.isVisible());

    manager.setAttachedToStatusItem(true);
    QTest::mouseClick(&elsewhere, Qt::RightButton);
    QTRY_VERIFY(!manager.isVisible());
    QVERIFY(!manager.findChild<LVMouseDownMonitor*>());
    QCOMPARE(_delegate.quits, 0);
}

void tst_LVInstallManagerWindow::closingQuitsButHidingDoesNot()
{
    LVInstallManager manager;
    manager.setDelegate(&_delegate);
    manager.setAttachedToStatusItem(false);
    manager.show();
    manager.hide();
    QVERIFY(!manager.isVisible());
    QCOMPARE(_delegate.quits, 0);
    manager.show();
    manager.window()->close();
    QCOMPARE(_delegate.quits, 1);
}

void tst_LVInstallManagerWindow::containerTurnsDarkInAWindow()
{
    LVInstallManager manager;
    QCOMPARE(LVInstallManagerView::appearance(manager.containerView()), LVInstallManagerView::Appearance::Light);
    manager.show();
    QCOMPARE(LVInstallManagerView::appearance(manager.containerView()), LVInstallManagerView::Appearance::Dark);
    QCOMPARE(LVInstallManagerView::appearance(manager.window()), LVInstallManagerView::Appearance::Dark);
    const QColor darkWindow = LVAppearance::darkPalette().color(QPalette::Window);
    QCOMPARE(manager.window()->palette().color(QPalette::Window), darkWindow);
    // Every view inside is dark too.
    for (QWidget* child : manager.containerView()->findChildren<QWidget*>())
        QVERIFY2(LVInstallManagerView::appearance(child) == LVInstallManagerView::Appearance::Dark,
                 qPrintable(child->objectName()));
}

void tst_LVInstallManagerWindow::footerAndHeaderButtons()
{
    LVInstallManager manager;
    manager.setDelegate(&_delegate);
    manager.show();
    auto click = [&](const char* name) {
        auto* button = manager.containerView()->findChild<QAbstractButton*>(QLatin1String(name));
        QVERIFY2(button, name);
        button->click();
    };
    LVServers::setOverrideURL(QUrl(QStringLiteral("http://127.0.0.1:9")));
    click("_headerButton");
    QCOMPARE(_workspace->opened, QList<QUrl>{QUrl(QStringLiteral("http://127.0.0.1:9/"))});
    LVServers::setOverrideURL(QUrl());
    click("_aboutButton");
    click("_preferencesButton");
    QCOMPARE(_delegate.abouts, 1);
    QCOMPARE(_delegate.preferences, 1);
    click("_quitButton");
    QVERIFY(!manager.isVisible());
    QCOMPARE(_delegate.quits, 1);
}

void tst_LVInstallManagerWindow::busyOverlayCoversTheWindow()
{
    LVInstallManager manager;
    manager.show();
    manager.beginUpdate();
    auto* overlay = manager.containerView()->findChild<QWidget*>(QStringLiteral("progressView"));
    QVERIFY(overlay);
    manager.beginUpdate(); // one overlay at a time
    QCOMPARE(manager.containerView()->findChildren<QWidget*>(QStringLiteral("progressView")).size(), 1);
    QCOMPARE(overlay->geometry(), manager.containerView()->rect());
    QVERIFY(overlay->isVisible());
    manager.endUpdate();
    QVERIFY(!manager.isUpdating());
    QVERIFY(manager.lastUpdateDate().isValid());
}

void tst_LVInstallManagerWindow::defaultPresenterShowsAWindowModalBox_data()
{
    // However the button with an action is pressed, it runs the action and the box stays up.
    QTest::addColumn<QString>("press");
    QTest::newRow("mouse") << "mouse";
    QTest::newRow("space key") << "key";
    QTest::newRow("click()") << "click";
    QTest::newRow("accessibility press") << "accessible";
}

void tst_LVInstallManagerWindow::defaultPresenterShowsAWindowModalBox()
{
    QFETCH(QString, press);
    LVInstallManager manager;
    manager.show();
    int actions = 0;
    int response = 0;
    LVAlert alert(QStringLiteral("Remove all products?"), QStringLiteral("This can't be undone."));
    alert.addButtonWithTitle(QStringLiteral("Remove"));
    alert.addButtonWithTitle(QStringLiteral("Show Log"), [&] { ++actions; });
    alert.addButtonWithTitle(QStringLiteral("Cancel"));
    manager.showAlert(alert, [&](int r) { response = r; });
    QMessageBox* box = manager.window()->findChild<QMessageBox*>();
    QVERIFY(box);
    QTRY_VERIFY(box->isVisible());
    QCOMPARE(box->windowModality(), Qt::WindowModal);
    QCOMPARE(box->text(), QStringLiteral("Remove all products?"));
    QCOMPARE(box->informativeText(), QStringLiteral("This can't be undone."));
    QPushButton* showLog = nullptr;
    QPushButton* cancel = nullptr;
    for (QAbstractButton* button : box->buttons()) {
        if (button->text() == QStringLiteral("Show Log"))
            showLog = static_cast<QPushButton*>(button);
        if (button->text() == QStringLiteral("Cancel"))
            cancel = static_cast<QPushButton*>(button);
    }
    QVERIFY(showLog && cancel);
    if (press == QLatin1String("mouse")) {
        QTest::mouseClick(showLog, Qt::LeftButton);
    } else if (press == QLatin1String("key")) {
        QTest::keyClick(showLog, Qt::Key_Space);
    } else if (press == QLatin1String("click")) {
        showLog->click();
    } else {
        QAccessibleInterface* button = QAccessible::queryAccessibleInterface(showLog);
        QVERIFY(button && button->actionInterface());
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction()); // an animated click
    }
    QTRY_COMPARE(actions, 1);
    QVERIFY(box->isVisible());
    QCOMPARE(response, 0);
    QTest::mouseClick(cancel, Qt::LeftButton);
    QCOMPARE(response, LVAlert::alertThirdButtonReturn);
    QTRY_VERIFY(!manager.window()->findChild<QMessageBox*>());
}

void tst_LVInstallManagerWindow::viewForStatusMenuReleasesTheWindow()
{
    LVInstallManager manager;
    manager.show();
    QWidget* container = manager.viewForStatusMenu();
    QCOMPARE(container, reinterpret_cast<QWidget*>(manager.containerView()));
    QCOMPARE(manager.window(), nullptr);
    QVERIFY(!manager.isVisible());
    QCOMPARE(container->parentWidget(), nullptr);
    // Shown again, a new window is made around it.
    manager.show();
    QVERIFY(manager.window());
    QCOMPARE(container->window(), manager.window());
}

LV_TEST_MAIN(tst_LVInstallManagerWindow)
#include "tst_LVInstallManagerWindow.moc"
