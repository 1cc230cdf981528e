#include "LVRowIcon.h"

#include "engines/LVFetch.h"
#include "widgets/LVIconCache.h"

#include <QImage>

void LVRowIcon::load(const QString& url, Fetch& fetch, QObject* row, const std::function<void(const QImage&)>& show)
{
    const QImage cached = LVIconCache::cachedIconForURL(QUrl(url));
    if (!cached.isNull()) {
        show(cached);
        return;
    }
    if (url.isEmpty() || fetch.running || fetch.failed)
        return;
    fetch.running = LVFetch::data(QUrl(url), row, [url, show, &fetch](const LVFetch::Result& result) {
        const QImage image = result.succeeded ? QImage::fromData(result.data) : QImage();
        if (image.isNull())
            fetch.failed = true;
        else
            LVIconCache::setCachedIcon(image, QUrl(url));
        show(image);
    });
}
