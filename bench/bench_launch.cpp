// Time from creating the main window to the installs tab (its products sub-tab, one real product
// row per product) painted with a loaded catalogue, and the process's peak memory, for the demo
// catalogue and for ones with 250, 500, 1,000 and 2,000 generated products; then the time per frame
// (mean and worst) while paging through all its rows, once at once after the load and once more
// after a first paging has brought every row into sight (the peak memory then counts every row seen). Each run is a
// child process of its own so the memory figures don't mix.
//   bench_launch [generated product counts...]     (default: 0 250 500 1000 2000; 0 is the demo alone)
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
#include <QHash>
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

int runOnce(int products, bool settled)
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
    // Waits grow with the catalogue: every row is made on the way.
    const qint64 patience = 30000 + 30 * qint64(products);
    while (watcher.paintedAt < 0 && clock.elapsed() < patience)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    const qint64 windowShown = clock.nsecsElapsed();
    // Let the deferred news and help in as well.
    while (manager->isUpdating() && clock.elapsed() < patience)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    const qint64 loadEnded = clock.nsecsElapsed();
    // What the load posted last (the news and help tabs filled, the window redrawn with their
    // badges) runs before the first page turn, as it would before a user's first key press.
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 100)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);

    // Scroll through every row a page at a time, painting each step, as a user paging down does.
    LVOutlineView* table = manager->containerView()->findChild<LVOutlineView*>(QStringLiteral("_installItemsTable"));
    QScrollBar* bar = table->verticalScrollBar();
    QWidget* viewport = table->viewport();
    const auto pageThrough = [&](double* worstFrame) {
        int frames = 0;
        for (int value = 0; value <= bar->maximum(); value += qMax(1, bar->pageStep())) {
            QElapsedTimer frame;
            frame.start();
            bar->setValue(value);
            viewport->repaint();
            QCoreApplication::processEvents();
            *worstFrame = qMax(*worstFrame, frame.nsecsElapsed() / 1e6);
            ++frames;
        }
        return frames;
    };
    double settledAt = -1;
    double worstFrame = 0;
    if (settled) {
        // Every row in sight once, then back to the top.
        double ignored = 0;
        pageThrough(&ignored);
        bar->setValue(0);
        QCoreApplication::processEvents();
        settledAt = clock.nsecsElapsed() / 1e6;
        getrusage(RUSAGE_SELF, &usage);
    }
    QElapsedTimer scrollClock;
    scrollClock.start();
    const int frames = pageThrough(&worstFrame);
    const double scrollMs = scrollClock.nsecsElapsed() / 1e6;
    QTextStream(stdout) << products << ' ' << appliedAt / 1e6 << ' ' << watcher.paintedAt / 1e6 << ' '
                        << loadEnded / 1e6 << ' ' << usage.ru_maxrss / 1024.0 << ' ' << scrollMs / qMax(1, frames)
                        << ' ' << worstFrame << ' ' << settledAt << ' ' << manager->singleProductInstallItems().size()
                        << Qt::endl;
    Q_UNUSED(windowShown);
    LVInstallManager::releaseSharedInstallManager();
    return watcher.paintedAt < 0 ? 2 : 0;
}
} // namespace

int main(int argc, char* argv[])
{
    if (argc == 4 && QByteArray(argv[1]) == "--products") {
        qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
        QApplication application(argc, argv);
        return runOnce(QByteArray(argv[2]).toInt(), QByteArray(argv[3]) == "settled");
    }
    QCoreApplication application(argc, argv);
    QList<int> sizes;
    for (int i = 1; i < argc; ++i)
        sizes << QByteArray(argv[i]).toInt();
    if (sizes.isEmpty())
        sizes = {0, 250, 500, 1000, 2000};
    QTextStream out(stdout);
    out << "catalogue        rows   products applied   tab painted   load ended   peak RSS   paging at once "
           "(mean/worst)"
           "   every row seen   peak RSS   paging then (mean/worst)\n";
    auto median = [](QList<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    for (const int products : std::as_const(sizes)) {
        // fields per mode: 1 applied, 2 painted, 3 ended, 4 rss, 5 mean frame, 6 worst frame, 7 settled, 8 rows
        QHash<QString, QList<QList<double>>> runs;
        bool failed = false;
        for (const QString mode : {"now", "settled"}) {
            QList<QList<double>> columns(9);
            for (int run = 0; run < 3 && !failed; ++run) {
                QProcess child;
                child.start(QCoreApplication::applicationFilePath(), {"--products", QString::number(products), mode});
                if (!child.waitForFinished(90000 + 150 * products)) {
                    child.kill();
                    child.waitForFinished();
                }
                const QStringList fields = QString::fromLatin1(child.readAllStandardOutput()).trimmed().split(' ');
                if (child.exitCode() != 0 || fields.size() != 9) {
                    // The other catalogues still get their rows.
                    out << products << " products, " << mode << ": run failed: " << child.readAllStandardError()
                        << '\n';
                    failed = true;
                    break;
                }
                for (int i = 0; i < 9; ++i)
                    columns[i] << fields[i].toDouble();
            }
            runs.insert(mode, columns);
        }
        if (failed)
            continue;
        const auto now = [&](int field) { return median(runs.value("now").at(field)); };
        const auto then = [&](int field) { return median(runs.value("settled").at(field)); };
        out << QStringLiteral("%1 %2 %3 ms %4 ms %5 ms %6 MiB %7 / %8 ms %9 ms %10 MiB %11 / %12 ms\n")
                   .arg(products == 0 ? QStringLiteral("demo") : QStringLiteral("demo + %1").arg(products), -16)
                   .arg(now(8), 5, 'f', 0)
                   .arg(now(1), 16, 'f', 1)
                   .arg(now(2), 10, 'f', 1)
                   .arg(now(3), 9, 'f', 1)
                   .arg(now(4), 7, 'f', 1)
                   .arg(now(5), 20, 'f', 1)
                   .arg(now(6), 5, 'f', 1)
                   .arg(then(7), 14, 'f', 1)
                   .arg(then(4), 7, 'f', 1)
                   .arg(then(5), 17, 'f', 1)
                   .arg(then(6), 5, 'f', 1);
        out.flush();
    }
    out << "(median of 3 runs; the deferred news/help step waits its 1.0 s by design)\n";
    return 0;
}
