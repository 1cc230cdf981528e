// Time from creating the main window to the installs tab painted with a loaded catalogue, and the
// process's peak memory, for the demo catalogue and for one with 500 generated products. Each
// configuration runs in a child process of its own so the memory figures don't mix.
#include "DemoCatalogue.h"
#include "LocalHttpServer.h"
#include "catalogue/LVServers.h"
#include "foundation/VMNotificationCenter.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "manager/LVInstallManagerView.h"
#include "outline/LVOutlineView.h"

#include <QApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <sys/resource.h>

namespace {
class PaintWatcher : public QObject
{
public:
    bool armed = false;
    qint64 paintedAt = -1;
    QElapsedTimer* clock = nullptr;

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (armed && paintedAt < 0 && event->type() == QEvent::Paint)
            paintedAt = clock->nsecsElapsed();
        return false;
    }
};

int runOnce(int products)
{
    LocalHttpServer server;
    QTemporaryDir site;
    QUrl base = server.url(QStringLiteral("/"));
    base.setPath(QString());
    if (!DemoCatalogue::writeSite(site.path(), base, QDateTime::currentDateTime(), products))
        return 1;
    server.serveDirectory("/", site.path());
    LVServers::setOverrideURL(base);
    AppDelegate::configureApplication();

    QElapsedTimer clock;
    PaintWatcher watcher;
    watcher.clock = &clock;
    qint64 appliedAt = -1;
    clock.start();
    LVInstallManager* manager = LVInstallManager::sharedInstallManager();
    manager->setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    manager->containerView()
        ->findChild<LVOutlineView*>(QStringLiteral("_installItemsTable"))
        ->viewport()
        ->installEventFilter(&watcher);
    VMNotificationCenter::defaultCenter().addObserver(
        manager, QStringLiteral("productsChanged"), [&](const VMNotification&) {
            appliedAt = clock.nsecsElapsed();
            watcher.armed = true;
            manager->containerView()
                ->findChild<LVOutlineView*>(QStringLiteral("_installItemsTable"))
                ->viewport()
                ->update();
        });
    manager->setAttachedToStatusItem(false);
    manager->show();
    while (watcher.paintedAt < 0 && clock.elapsed() < 30000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    const qint64 windowShown = clock.nsecsElapsed();
    // Let the deferred news and help in as well.
    while (manager->isUpdating() && clock.elapsed() < 30000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    const qint64 loadEnded = clock.nsecsElapsed();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    QTextStream(stdout) << products << ' ' << appliedAt / 1e6 << ' ' << watcher.paintedAt / 1e6 << ' '
                        << loadEnded / 1e6 << ' ' << usage.ru_maxrss / 1024.0 << Qt::endl;
    Q_UNUSED(windowShown);
    LVInstallManager::releaseSharedInstallManager();
    return watcher.paintedAt < 0 ? 2 : 0;
}
} // namespace

int main(int argc, char* argv[])
{
    if (argc == 3 && QByteArray(argv[1]) == "--products") {
        qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
        QApplication application(argc, argv);
        return runOnce(QByteArray(argv[2]).toInt());
    }
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    out << "catalogue        products applied   installs tab painted   load ended (news, help)   peak RSS\n";
    for (const int products : {0, 500}) {
        QList<double> applied, painted, ended, rss;
        for (int run = 0; run < 3; ++run) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {"--products", QString::number(products)});
            child.waitForFinished(60000);
            const QStringList fields = QString::fromLatin1(child.readAllStandardOutput()).trimmed().split(' ');
            if (child.exitCode() != 0 || fields.size() != 5) {
                out << "run failed: " << child.readAllStandardError() << '\n';
                return 1;
            }
            applied << fields[1].toDouble();
            painted << fields[2].toDouble();
            ended << fields[3].toDouble();
            rss << fields[4].toDouble();
        }
        auto median = [](QList<double> v) {
            std::sort(v.begin(), v.end());
            return v[v.size() / 2];
        };
        out << QStringLiteral("%1 %2 ms %3 ms %4 ms %5 MiB\n")
                   .arg(products == 0 ? QStringLiteral("demo (8+2)") : QStringLiteral("demo + 500"), -16)
                   .arg(median(applied), 15, 'f', 1)
                   .arg(median(painted), 19, 'f', 1)
                   .arg(median(ended), 22, 'f', 1)
                   .arg(median(rss), 11, 'f', 1);
    }
    out << "(median of 3 runs; the deferred news/help step waits its 1.0 s by design)\n";
    return 0;
}
