#include "VMDispatch.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QPointer>
#include <QThread>
#include <QThreadPool>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <vector>

namespace {

std::atomic<double> g_delayScale{1.0};

QObject* mainThreadAnchor()
{
    // Queued calls need a receiver living on the main thread; the application object is one.
    return QCoreApplication::instance();
}

QThreadPool* backgroundPool()
{
    // A pool of its own: background jobs block for minutes (installs, scripts) and must not
    // starve Qt's global pool.
    static QThreadPool* pool = [] {
        auto* p = new QThreadPool;
        p->setMaxThreadCount(64);
        p->setExpiryTimeout(30000);
        return p;
    }();
    return pool;
}

} // namespace

namespace VMDispatch {

void performOnMainThread(std::function<void()> work)
{
    performOnMainThread(mainThreadAnchor(), std::move(work));
}

void performOnMainThread(QObject* context, std::function<void()> work)
{
    if (!context)
        return;
    QMetaObject::invokeMethod(context, std::move(work), Qt::QueuedConnection);
}

void performAfterDelay(QObject* context, double seconds, std::function<void()> work)
{
    if (!context)
        return;
    const int ms = scaledMilliseconds(seconds);
    if (isMainThread()) {
        QTimer::singleShot(ms, context, std::move(work));
        return;
    }
    QPointer<QObject> guard(context);
    performOnMainThread(context, [guard, ms, work = std::move(work)]() mutable {
        if (guard)
            QTimer::singleShot(ms, guard.data(), std::move(work));
    });
}

void performInBackground(std::function<void()> work)
{
    backgroundPool()->start(std::move(work));
}

void performConcurrently(int count, const std::function<void(int piece)>& piece)
{
    // Pieces are taken in turn, so a thread that runs slower (one still warming up) takes fewer.
    std::atomic<int> next{0};
    const auto work = [&next, &piece, count] {
        for (int i = next++; i < count; i = next++)
            piece(i);
    };
    const int helpers = std::min(count, std::max(QThread::idealThreadCount(), 1)) - 1;
    std::vector<QFuture<void>> others;
    others.reserve(static_cast<size_t>(std::max(helpers, 0)));
    for (int i = 0; i < helpers; ++i)
        others.push_back(QtConcurrent::run(work));
    work();
    // Waiting takes a helper not yet started off the pool and runs it here, where it finds nothing left.
    for (QFuture<void>& other : others)
        other.waitForFinished();
}

bool isMainThread()
{
    auto* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

double delayScale()
{
    return g_delayScale.load();
}

void setDelayScale(double scale)
{
    g_delayScale.store(scale < 0 ? 0 : scale);
}

int scaledMilliseconds(double seconds)
{
    return static_cast<int>(std::lround(seconds * 1000.0 * delayScale()));
}

} // namespace VMDispatch
