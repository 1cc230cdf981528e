// Saves pictures of the bundles tab in the states a bundle goes through: collapsed, expanded,
// partly installed, downloading (one product at a time) and installing. Serves the demo catalogue
// itself, with installer downloads slowed down so that the downloading state can be seen.
#include "DemoCatalogue.h"
#include "LocalHttpServer.h"

#include "items/LVBundleInstallItem.h"
#include "items/LVBundleProductInstallItem.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "manager/LVInstallManagerView.h"
#include "outline/LVOutlineView.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>
#include <atomic>

namespace {
bool waitFor(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < timeoutMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    return condition();
}

void settle(int ms)
{
    waitFor([] { return false; }, ms);
}

LVBundleInstallItem* bundleNamed(const LVInstallManager& manager, const QString& title)
{
    for (LVInstallItem* row : manager.bundleProductInstallItems())
        if (row->title() == title)
            return qobject_cast<LVBundleInstallItem*>(row);
    return nullptr;
}
} // namespace

int main(int argc, char* argv[])
{
    // Everything the app writes goes into a folder of its own that disappears afterwards.
    QTemporaryDir scratch;
    qputenv("HOME", QDir(scratch.path()).filePath("home").toUtf8());
    qputenv("XDG_DATA_HOME", QDir(scratch.path()).filePath("home/.local/share").toUtf8());
    qputenv("XDG_CONFIG_HOME", QDir(scratch.path()).filePath("home/.config").toUtf8());
    qputenv("TMPDIR", QDir(scratch.path()).filePath("tmp").toUtf8());
    qputenv("LV_SYSTEM_ROOT", QDir(scratch.path()).filePath("root").toUtf8());
    for (const char* folder : {"home/.local/share", "home/.config", "tmp", "root"})
        QDir().mkpath(QDir(scratch.path()).filePath(folder));

    QApplication application(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screens");
    QDir().mkpath(folder);
    AppDelegate::configureApplication();

    LocalHttpServer server;
    QUrl base = server.url(QStringLiteral("/"));
    base.setPath(QString());
    const QString site = QDir(scratch.path()).filePath("site");
    if (!DemoCatalogue::writeSite(site, base, QDateTime::currentDateTime())) {
        QTextStream(stderr) << "lv-bundle-screenshots: can't write the demo site\n";
        return 1;
    }
    server.serveDirectory("/", site);
    qputenv("LV_SERVER_URL", base.toString().toUtf8());

    // The administrator's answer waits until the pictures of the installing state are taken.
    std::atomic<bool> answered{false};
    std::atomic<bool> asked{false};
    Platform::privilegedExecution().setConsentProvider([&](const QString&) {
        asked = true;
        while (!answered)
            QThread::msleep(20);
        return int(PrivilegedExecution::Canceled);
    });

    LVInstallManager manager;
    manager.setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    manager.setAttachedToStatusItem(false);
    manager.show();
    waitFor([&] { return manager.lastUpdateDate().isValid() && !manager.isUpdating(); }, 20000);
    manager.selectMainTabViewAtIndex(LVInstallManager::InstallsTab);
    manager.selectInstallsTabViewAtIndex(LVInstallManager::BundlesTab);
    settle(500);
    const auto shot = [&](const QString& name) {
        settle(300);
        manager.window()->grab().save(QDir(folder).filePath(name + QStringLiteral(".png")));
    };

    LVBundleInstallItem* studio = bundleNamed(manager, QStringLiteral("Lumivane Studio Bundle"));
    if (!studio) {
        QTextStream(stderr) << "lv-bundle-screenshots: the demo bundles are missing\n";
        return 1;
    }
    shot(QStringLiteral("bundle-collapsed"));

    manager.containerView()->findChild<LVOutlineView*>(QStringLiteral("_installItemsTable"))->expandItem(studio);
    shot(QStringLiteral("bundle-expanded"));

    // One product of the studio bundle at its latest version, as a real install would leave it.
    const QList<LVBundleProductInstallItem*> products = studio->productInstallItems();
    for (int i = 0; i < 2 && i < products.size(); ++i) {
        products.at(i)->setInstalledVersion(products.at(i)->singleProductItem()->latestVersionItem()->productVersion());
        products.at(i)->updateStatus();
    }
    studio->updateStatus();
    shot(QStringLiteral("bundle-partly-installed"));

    // Of the products still to install, the first downloads at once and the others slowly: one
    // waits for the rest, one progresses, the last stays queued.
    LocalHttpServer::Response quick;
    quick.generatedBodySize = 64 * 1024;
    LocalHttpServer::Response slow;
    slow.generatedBodySize = 4 * 1024 * 1024;
    slow.chunkSize = 16 * 1024;
    slow.chunkIntervalMs = 40;
    QList<LVBundleProductInstallItem*> pending;
    for (LVBundleProductInstallItem* product : products)
        if (product->installStatus() != LVInstallItem::StatusLatestInstalled)
            pending.append(product);
    for (LVBundleProductInstallItem* product : pending) {
        const QUrl url(product->singleProductItem()->latestVersionItem()->versionDownloadURL());
        server.setRoute(url.path().toUtf8(), product == pending.constFirst() ? quick : slow);
    }
    studio->startDownload();
    LVBundleProductInstallItem* second = pending.value(1);
    waitFor([&] { return second && second->operation()->receivedBytes() > 1024 * 1024; }, 20000);
    shot(QStringLiteral("bundle-downloading"));

    waitFor([&] { return asked.load(); }, 60000);
    shot(QStringLiteral("bundle-installing"));
    answered = true;
    waitFor([&] { return studio->installStatus() == LVInstallItem::StatusBundlePartlyInstalled; }, 10000);
    QTextStream(stdout) << "Saved bundle screenshots in " << folder << Qt::endl;
    return 0;
}
