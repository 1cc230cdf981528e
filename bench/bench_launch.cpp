// Time from creating the main window to the installs tab (its products sub-tab, one real product
// row per product) painted with a loaded catalogue, and the process's peak memory, for the demo
// catalogue and for ones with 250 and 500 generated products; then the time to repaint the tab while
// scrolling through all its rows. Each configuration runs in a child process of its own so the
// memory figures don't mix.
#include "DemoCatalogue.h"
#include "LocalHttpServer.h"
#include "catalogue/LVServers.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVSingleInstallItem.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "manager/LVInstallManagerView.h"
#include "outline/LVOutlineView.h"

#include <QApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QProcess>
#include <QScrollBar>
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
    manager->selectInstallsTabViewAtIndex(LVInstallManager::SingleProductsTab);
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

    // Scroll through every row a page at a time, painting each step, as a user paging down does.
    QScrollBar* bar =
        manager->containerView()->findChild<LVOutlineView*>(QStringLiteral("_installItemsTable"))->verticalScrollBar();
    QWidget* viewport =
        manager->containerView()->findChild<LVOutlineView*>(QStringLiteral("_installItemsTable"))->viewport();
    QElapsedTimer scrollClock;
    int frames = 0;
    scrollClock.start();
    for (int value = 0; value <= bar->maximum(); value += qMax(1, bar->pageStep())) {
        bar->setValue(value);
        viewport->repaint();
        QCoreApplication::processEvents();
        ++frames;
    }
    const double scrollMs = scrollClock.nsecsElapsed() / 1e6;
    QTextStream(stdout) << products << ' ' << appliedAt / 1e6 << ' ' << watcher.paintedAt / 1e6 << ' '
                        << loadEnded / 1e6 << ' ' << usage.ru_maxrss / 1024.0 << ' ' << scrollMs << ' ' << frames << ' '
                        << manager->singleProductInstallItems().size() << Qt::endl;
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
    out << "catalogue        rows  products applied   installs tab painted   load ended (news, help)   peak RSS"
           "   scroll through (frames, ms/frame)\n";
    for (const int products : {0, 250, 500}) {
        QList<double> applied, painted, ended, rss, scroll, frames, rows;
        for (int run = 0; run < 3; ++run) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {"--products", QString::number(products)});
            child.waitForFinished(60000);
            const QStringList fields = QString::fromLatin1(child.readAllStandardOutput()).trimmed().split(' ');
            if (child.exitCode() != 0 || fields.size() != 8) {
                out << "run failed: " << child.readAllStandardError() << '\n';
                return 1;
            }
            applied << fields[1].toDouble();
            painted << fields[2].toDouble();
            ended << fields[3].toDouble();
            rss << fields[4].toDouble();
            scroll << fields[5].toDouble();
            frames << fields[6].toDouble();
            rows << fields[7].toDouble();
        }
        auto median = [](QList<double> v) {
            std::sort(v.begin(), v.end());
            return v[v.size() / 2];
        };
        const double frameCount = median(frames);
        out << QStringLiteral("%1 %2 %3 ms %4 ms %5 ms %6 MiB %7 ms (%8, %9 ms)\n")
                   .arg(products == 0 ? QStringLiteral("demo") : QStringLiteral("demo + %1").arg(products), -16)
                   .arg(median(rows), 5, 'f', 0)
                   .arg(median(applied), 15, 'f', 1)
                   .arg(median(painted), 19, 'f', 1)
                   .arg(median(ended), 22, 'f', 1)
                   .arg(median(rss), 11, 'f', 1)
                   .arg(median(scroll), 14, 'f', 1)
                   .arg(frameCount, 0, 'f', 0)
                   .arg(median(scroll) / qMax(1.0, frameCount), 0, 'f', 2);
    }
    out << "(median of 3 runs; the deferred news/help step waits its 1.0 s by design)\n";
    return 0;
}
