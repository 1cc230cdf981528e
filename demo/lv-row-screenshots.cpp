// Starts the main window on a catalogue server (LV_SERVER_URL), brings the product rows into each
// status for real (an installation answered through the consent prompt, a download held by a
// server that stops sending, an installation waiting for consent) and saves pictures of the
// products tab, of a row's description and of a row's open menu into a folder.
#include "LocalHttpServer.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMVersionItem.h"
#include "engines/LVProductOperation.h"
#include "items/LVSingleInstallItem.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "manager/LVInstallManagerView.h"
#include "outline/LVOutlineView.h"
#include "platform/Platform.h"
#include "platform/PrivilegedExecution.h"
#include "widgets/LVAlertPresenter.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMenu>
#include <QProgressBar>
#include <QScreen>
#include <QTextStream>
#include <QThread>
#include <QTimer>
#include <QToolButton>
#include <atomic>

namespace {
void waitFor(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < timeoutMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
}

void settle(int ms)
{
    waitFor([] { return false; }, ms);
}

// Alerts are answered at once so that nothing covers the rows.
class AnsweringPresenter : public LVAlertPresenter
{
public:
    void present(const LVAlert&, QWidget*, Completion completion) override
    {
        if (completion)
            QTimer::singleShot(0, [completion] { completion(LVAlert::alertSecondButtonReturn); });
    }
};

std::atomic<int> consentAnswer{PrivilegedExecution::Success};
std::atomic<bool> consentHeld{false};
} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screens");
    QDir().mkpath(folder);
    AppDelegate::configureApplication();
    // The consent prompt: granted, or held open while a picture is taken.
    Platform::privilegedExecution().setConsentProvider([](const QString&) {
        while (consentHeld.load())
            QThread::msleep(20);
        return consentAnswer.load();
    });

    // A package that stops after 40 % of its bytes: a download in progress for as long as needed.
    LocalHttpServer stalling;
    LocalHttpServer::Response stalled;
    stalled.generatedBodySize = 1024 * 1024;
    stalled.stallAfterBytes = stalled.generatedBodySize * 2 / 5;
    stalling.setRoute("/stalled/Installer.pkg", stalled);

    LVInstallManager manager;
    manager.setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    manager.setAlertPresenter(std::make_shared<AnsweringPresenter>());
    manager.setAttachedToStatusItem(false);
    manager.show();
    waitFor([&] { return manager.lastUpdateDate().isValid() && !manager.isUpdating(); }, 20000);
    manager.selectMainTabViewAtIndex(LVInstallManager::InstallsTab);
    manager.selectInstallsTabViewAtIndex(LVInstallManager::SingleProductsTab);
    settle(300);

    QList<LVSingleInstallItem*> rows;
    for (LVInstallItem* item : manager.singleProductInstallItems())
        if (auto* row = qobject_cast<LVSingleInstallItem*>(item))
            rows.append(row);
    QList<LVSingleInstallItem*> notInstalled;
    for (LVSingleInstallItem* row : std::as_const(rows))
        if (row->installStatus() == LVInstallItem::StatusNotInstalled && !row->discontinued())
            notInstalled.append(row);
    QTextStream out(stdout);
    if (notInstalled.size() < 3) {
        out << "Too few products that are not installed to show every status." << Qt::endl;
        return 1;
    }

    // Latest version installed, for real.
    LVSingleInstallItem* installedRow = notInstalled.at(1);
    installedRow->downloadButton()->click();
    waitFor([&] { return installedRow->installStatus() == LVInstallItem::StatusLatestInstalled; }, 60000);

    // Downloading: the latest version now comes from the server that stops sending.
    LVSingleInstallItem* downloadingRow = notInstalled.at(2);
    downloadingRow->singleProductItem()->latestVersionItem()->setVersionDownloadURL(
        stalling.url(QStringLiteral("/stalled/Installer.pkg")).toString());
    downloadingRow->downloadButton()->click();
    QProgressBar* progress = downloadingRow->downloadProgressBar();
    waitFor([&] { return progress->value() == progress->maximum() * 2 / 5; }, 20000);
    if (progress->value() != progress->maximum() * 2 / 5) {
        out << "The stalled download does not show 40 %: " << progress->value() << " of " << progress->maximum()
            << Qt::endl;
        return 1;
    }

    // Installing: the package is down and the installer waits for the user's consent.
    LVSingleInstallItem* installingRow = notInstalled.size() > 3 ? notInstalled.at(3) : nullptr;
    if (installingRow) {
        consentHeld = true;
        installingRow->downloadButton()->click();
        waitFor([&] { return installingRow->installStatus() == LVInstallItem::StatusInstalling; }, 30000);
    }
    settle(500);
    manager.window()->grab().save(QDir(folder).filePath(QStringLiteral("products-statuses.png")));

    // A row's description.
    LVOutlineView* table = manager.containerView()->findChild<LVOutlineView*>(QStringLiteral("_installItemsTable"));
    LVSingleInstallItem* described = rows.first();
    table->expandItem(described);
    settle(600);
    manager.window()->grab().save(QDir(folder).filePath(QStringLiteral("products-description.png")));
    table->collapseItem(described);
    settle(300);

    // The open menu of the installed row, taken from the screen since the menu is a window of its own.
    QTimer::singleShot(600, [&] {
        const QRect frame = manager.window()->frameGeometry();
        QRect area = frame;
        if (QWidget* popup = QApplication::activePopupWidget())
            area = area.united(popup->frameGeometry());
        QGuiApplication::primaryScreen()
            ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
            .save(QDir(folder).filePath(QStringLiteral("products-menu.png")));
        if (QWidget* popup = QApplication::activePopupWidget())
            popup->close();
    });
    table->selectItem(installedRow);
    installedRow->menuButton()->showMenu();

    // Let the held installation go without installing, and stop the held download.
    consentAnswer = PrivilegedExecution::Canceled;
    consentHeld = false;
    downloadingRow->downloadButton()->click();
    if (installingRow)
        waitFor([&] { return installingRow->installStatus() != LVInstallItem::StatusInstalling; }, 20000);
    settle(300);
    out << "Saved screenshots in " << folder << Qt::endl;
    return 0;
}
