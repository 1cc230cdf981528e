#include "VMClock.h"

#include <QMutex>
#include <QMutexLocker>

namespace {
QMutex g_clockLock;
std::function<QDateTime()> g_clock;
} // namespace

QDateTime VMClock::currentDate()
{
    {
        QMutexLocker locker(&g_clockLock);
        if (g_clock)
            return g_clock();
    }
    return QDateTime::currentDateTimeUtc();
}

void VMClock::setCurrentDateProvider(std::function<QDateTime()> provider)
{
    QMutexLocker locker(&g_clockLock);
    g_clock = std::move(provider);
}
