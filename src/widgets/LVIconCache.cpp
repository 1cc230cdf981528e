#include "LVIconCache.h"

#include <QMutexLocker>

namespace {
QMutex& cacheLock()
{
    static QMutex lock;
    return lock;
}

QHash<QUrl, QImage>& cache()
{
    static QHash<QUrl, QImage> icons;
    return icons;
}
} // namespace

QImage LVIconCache::cachedIconForURL(const QUrl& url)
{
    if (url.isEmpty())
        return QImage();
    QMutexLocker locker(&cacheLock());
    return cache().value(url);
}

void LVIconCache::setCachedIcon(const QImage& image, const QUrl& url)
{
    if (url.isEmpty())
        return;
    QMutexLocker locker(&cacheLock());
    if (image.isNull())
        cache().remove(url);
    else
        cache().insert(url, image);
}

void LVIconCache::clearImageCache()
{
    QMutexLocker locker(&cacheLock());
    cache().clear();
}

int LVIconCache::count()
{
    QMutexLocker locker(&cacheLock());
    return int(cache().size());
}
