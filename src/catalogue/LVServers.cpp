#include "LVServers.h"

#include "foundation/LVPreferences.h"

#include <QMutex>
#include <QMutexLocker>

namespace {
QMutex overrideLock;
QUrl explicitOverride;

QUrl joined(const QUrl& base, const QString& path)
{
    QUrl url(base);
    QString basePath = url.path();
    while (basePath.endsWith(QLatin1Char('/')))
        basePath.chop(1);
    // The catalogue's path carries a literal '+', which must reach the server as it is.
    url.setPath(basePath + path, QUrl::TolerantMode);
    return url;
}

QUrl baseOr(const char* fallback)
{
    const QUrl forced = LVServers::overrideURL();
    return forced.isEmpty() ? QUrl(QString::fromLatin1(fallback)) : forced;
}
} // namespace

QUrl LVServers::overrideURL()
{
    {
        QMutexLocker locker(&overrideLock);
        if (!explicitOverride.isEmpty())
            return explicitOverride;
    }
    const QByteArray environment = qgetenv(overrideEnvironmentVariable);
    if (!environment.isEmpty())
        return QUrl(QString::fromUtf8(environment));
    const QString stored =
        LVPreferences::sharedPreferences()->propertyForKey(QLatin1String(overrideDefaultsKey)).toString();
    return stored.isEmpty() ? QUrl() : QUrl(stored);
}

void LVServers::setOverrideURL(const QUrl& url)
{
    QMutexLocker locker(&overrideLock);
    explicitOverride = url;
}

QUrl LVServers::catalogueBaseURL()
{
    return baseOr("https://cdn.lumivane.quarnet.com");
}

QUrl LVServers::downloadBaseURL()
{
    return baseOr("https://downloads.lumivane.quarnet.com");
}

QUrl LVServers::supportBaseURL()
{
    return baseOr("https://support.lumivane.quarnet.com");
}

QUrl LVServers::catalogueURL(const QString& path)
{
    return joined(catalogueBaseURL(), path);
}

QUrl LVServers::downloadURL(const QString& path)
{
    return joined(downloadBaseURL(), path);
}

QUrl LVServers::supportURL(const QString& path)
{
    return joined(supportBaseURL(), path);
}

QUrl LVServers::resolvedPackageURL(const QUrl& givenURL)
{
    QUrl url = givenURL;
    if (url.isRelative() && url.host().isEmpty() && url.path().startsWith(QLatin1Char('/'))) {
        url = downloadURL(givenURL.path(QUrl::FullyEncoded));
        if (givenURL.hasQuery())
            url.setQuery(givenURL.query(QUrl::FullyEncoded));
    }
    QString absoluteString = QString::fromUtf8(url.toEncoded());
    absoluteString.replace(QLatin1String("https:"), QLatin1String("http:"));
    return QUrl::fromEncoded(absoluteString.toUtf8());
}

QUrl LVServers::remoteCatalogueURL()
{
    return catalogueURL(QStringLiteral("/VM_installers/Product+Versions.plist"));
}
