#pragma once

#include <QHash>
#include <QImage>
#include <QMutex>
#include <QUrl>

// The icons the rows have downloaded, by URL, shared by every row and safe to use from any thread:
// every access holds the cache's lock.
class LVIconCache
{
public:
    LVIconCache() = delete;

    // A null image for an empty URL or one not cached.
    static QImage cachedIconForURL(const QUrl& url);
    // A null image removes the entry; an empty URL does nothing.
    static void setCachedIcon(const QImage& image, const QUrl& url);
    static void clearImageCache();
    static int count();
};
