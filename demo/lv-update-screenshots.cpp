// Saves pictures of the "Update All Installed Products" row idle with two updates on offer,
// downloading, installing and done, and of the update-all tool during the run. Serves the demo
// catalogue with its real packages itself; two demo products start at an older version.
#include "DemoCatalogue.h"
#include "DemoPackages.h"
#include "LocalHttpServer.h"

#include "engines/LVAdminAuthorization.h"
#include "engines/LVInstaller.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "platform/Platform.h"
#include "tools/LVToolUpdateAllInstalledItem.h"
#include "tools/LVUpdateAllInstalledInstallItem.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QTemporaryDir>
#include <QTextStream>
#include <QToolButton>

namespace {
bool waitFor(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < timeoutMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return condition();
}

void settle(int ms)
{
    waitFor([] { return false; }, ms);
}
} // namespace

int main(int argc, char* argv[])
{
    // Everything the app writes goes into a folder of its own that disappears afterwards.
    QTemporaryDir scratch;
    for (const auto& [variable, folder] : {std::pair{"HOME", "home"},
                                           {"XDG_DATA_HOME", "home/.local/share"},
                                           {"XDG_CONFIG_HOME", "home/.config"},
                                           {"TMPDIR", "tmp"},
                                           {"LV_SYSTEM_ROOT", "root"}}) {
        QDir().mkpath(QDir(scratch.path()).filePath(QLatin1String(folder)));
        qputenv(variable, QDir(scratch.path()).filePath(QLatin1String(folder)).toUtf8());
    }

    QApplication application(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screens");
    QDir().mkpath(folder);
    AppDelegate::configureApplication();
    QTextStream err(stderr);

    LocalHttpServer server;
    QUrl base = server.url(QStringLiteral("/"));
    base.setPath(QString());
    const QString site = QDir(scratch.path()).filePath(QStringLiteral("site"));
    QString error;
    if (!DemoCatalogue::writeSite(site, base, QDateTime::currentDateTime()) ||
        !DemoPackages::writePackages(site, &error) ||
        !DemoPackages::seedSystemRoot(site, Platform::systemInfo().systemRoot(), &error)) {
        err << "lv-update-screenshots: can't write the demo site " << error << "\n";
        return 1;
    }
    // Slow enough that the downloading state can be seen.
    for (const auto& [path, file] : DemoPackages::packageFiles(site)) {
        LocalHttpServer::Response response;
        response.filePath = file;
        response.chunkSize = 32 * 1024;
        response.chunkIntervalMs = 60;
        server.setRoute(path, response);
    }
    server.serveDirectory("/", site);
    qputenv("LV_SERVER_URL", base.toString().toUtf8());
    Platform::privilegedExecution().setConsentProvider(
        [](const QString&) { return int(PrivilegedExecution::Success); });

    // A second product at an older version, next to the one the demo seeds.
    {
        LVAdminAuthorization authorization(LVInstaller::defaultAuthorizationFlags());
        const auto installer = LVInstaller::installerWithFilePath(
            QDir(site).filePath(QStringLiteral("VM_installers/LV-DRIFT-1.4.2.pkg")),
            {{QLatin1String(LVInstaller::requiresAuthenticationKey), true},
             {QLatin1String(LVInstaller::optionAuthorizationRef), authorization.optionValue()}});
        if (!authorization.isGranted() || !installer || !installer->start()) {
            err << "lv-update-screenshots: can't install the older demo version\n";
            return 1;
        }
    }

    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    LVToolUpdateAllInstalledItem* tool = LVToolUpdateAllInstalledItem::tool();
    manager->setToolItems({tool});
    manager->setAttachedToStatusItem(false);
    manager->show();
    waitFor([&] { return manager->lastUpdateDate().isValid() && !manager->isUpdating(); }, 20000);
    manager->selectMainTabViewAtIndex(LVInstallManager::InstallsTab);
    manager->selectInstallsTabViewAtIndex(LVInstallManager::BundlesTab);
    const auto shot = [&](const QString& name) {
        settle(200);
        manager->window()->grab().save(QDir(folder).filePath(name + QStringLiteral(".png")));
    };

    LVUpdateAllInstalledInstallItem* row = LVUpdateAllInstalledInstallItem::installItem();
    const auto status = [row] { return row->statusTextField()->text(); };
    if (!waitFor([&] { return status() == QLatin1String("Updates available"); }, 10000)) {
        err << "lv-update-screenshots: the row reads '" << status() << "' instead of two updates\n";
        return 1;
    }
    shot(QStringLiteral("update-all-idle"));

    row->downloadButton()->click();
    waitFor([&] { return row->view()->toolTip().contains(QLatin1String("(2 of 2)")); }, 20000);
    settle(800);
    shot(QStringLiteral("update-all-downloading"));
    QTextStream(stdout) << "Tooltip while downloading: " << row->view()->toolTip() << Qt::endl;
    manager->selectMainTabViewAtIndex(LVInstallManager::ToolsTab);
    shot(QStringLiteral("update-all-tool-running"));
    manager->selectMainTabViewAtIndex(LVInstallManager::InstallsTab);

    waitFor([&] { return status().startsWith(QLatin1String("Installing")); }, 30000);
    shot(QStringLiteral("update-all-installing"));

    waitFor([&] { return !tool->isBusy(); }, 30000);
    waitFor([&] { return status() == QLatin1String("No updates available"); }, 10000);
    shot(QStringLiteral("update-all-done"));
    QTextStream(stdout) << "Saved update-all screenshots in " << folder << " (row: " << status() << ")" << Qt::endl;
    return 0;
}
