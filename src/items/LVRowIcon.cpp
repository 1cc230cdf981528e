#include "LVRowIcon.h"

#include "engines/LVFetch.h"
#include "widgets/LVIconCache.h"

#include <QImage>

void LVRowIcon::load(const QString& url, QPointer<LVFetch>& running, QObject* row,
                     const std::function<void(const QImage&)>& show)
{
    const QImage cached = LVIconCache::cachedIconForURL(QUrl(url));
    if (!cached.isNull()) {
        show(cached);
        return;
    }
    if (url.isEmpty() || running)
        return;
    running = LVFetch::data(QUrl(url), row, [url, show](const LVFetch::Result& result) {
        const QImage image = result.succeeded ? QImage::fromData(result.data) : QImage();
        if (!image.isNull())
            LVIconCache::setCachedIcon(image, QUrl(url));
        show(image);
    });
}
