// Starts the main window on a catalogue server (LV_SERVER_URL), waits until the catalogue, news
// images and help are in place and saves one picture of the window per tab into a folder; then
// starts the application as a first launch does and saves the licence agreement, the About window
// and the update offer.
#include "catalogue/LVServers.h"
#include "foundation/LVPreferences.h"
#include "manager/AppDelegate.h"
#include "manager/LVAboutWindow.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "manager/LVLicenseAgreementWindow.h"
#include "manager/LVPortableSelfUpdater.h"
#include "manager/LVUpdateWindow.h"
#include "newshelp/LVNewsInfoView.h"
#include "newshelp/LVNewsItem.h"
#include "outline/LVOutlineView.h"
#include "platform/Platform.h"
#include "tools/LVToolItem.h"
#include "tools/LVToolSearchAndDelete.h"
#include "tools/LVToolsTab.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>
#include <QTimer>

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
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}
// A first launch, with settings of its own: the agreement, then About, then the update offer.
void saveStartUpWindows(const QString& folder)
{
    QTemporaryDir settings;
    LVPreferences::setSettingsFile(settings.filePath(QStringLiteral("defaults.ini")));
    auto updater = std::make_shared<LVPortableSelfUpdater>();
    Platform::setSelfUpdater(updater);
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    waitFor([&] { return delegate.licenseAgreementWindow() && delegate.licenseAgreementWindow()->isVisible(); }, 20000);
    if (LVLicenseAgreementWindow* agreement = delegate.licenseAgreementWindow()) {
        settle(300);
        agreement->grab().save(QDir(folder).filePath(QStringLiteral("license-agreement.png")));
        agreement->agreeButton()->click();
    }
    delegate.openAbout();
    settle(300);
    delegate.aboutWindow()->grab().save(QDir(folder).filePath(QStringLiteral("about.png")));
    delegate.aboutWindow()->close();
    updater->checkForUpdatesInBackground();
    waitFor([&] { return updater->updateWindow() && updater->updateWindow()->isVisible(); }, 10000);
    if (LVUpdateWindow* window = updater->updateWindow()) {
        settle(300);
        window->grab().save(QDir(folder).filePath(QStringLiteral("update.png")));
    }
    LVPreferences::setSettingsFile(QString());
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screens");
    QDir().mkpath(folder);
    AppDelegate::configureApplication();

    LVInstallManager manager;
    manager.setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    manager.setAttachedToStatusItem(false);
    const QList<LVToolItem*> tools = LVToolsTab::applicationTools();
    manager.setToolItems(QList<LVOutlineItem*>(tools.begin(), tools.end()));
    manager.show();
    waitFor([&] { return manager.lastUpdateDate().isValid() && !manager.isUpdating(); }, 20000);
    waitFor(
        [&] {
            const auto rows = manager.newsItems();
            return !rows.isEmpty() && !rows.first()->newsInfoView()->image().isNull();
        },
        10000);
    settle(300);

    const QStringList names{"installs-bundles", "news", "help", "tools"};
    for (int tab = 0; tab < 4; ++tab) {
        manager.selectMainTabViewAtIndex(tab);
        settle(200);
        manager.window()->grab().save(QDir(folder).filePath(QStringLiteral("%1.png").arg(names.at(tab))));
    }
    manager.selectMainTabViewAtIndex(0);
    manager.selectInstallsTabViewAtIndex(1);
    settle(200);
    manager.window()->grab().save(QDir(folder).filePath(QStringLiteral("installs-products.png")));
    manager.beginUpdate();
    settle(300);
    manager.window()->grab().save(QDir(folder).filePath(QStringLiteral("loading.png")));
    saveStartUpWindows(folder);
    // The search-and-delete panel after a search of the system root and the home folder.
    LVToolSearchAndDelete* search = LVToolSearchAndDelete::sharedManager();
    search->show();
    search->searchButtonAction();
    settle(300);
    search->panel()->grab().save(QDir(folder).filePath(QStringLiteral("search-and-delete.png")));
    search->hide();
    QTextStream(stdout) << "Saved screenshots in " << folder << Qt::endl;
    return 0;
}
