#include "MacUserDefaults.h"

#include <QSettings>
#include <QStringList>

#include <algorithm>

namespace MacUserDefaults {

QString organizationDomain(const QString& bundleIdentifier)
{
    QStringList parts = bundleIdentifier.split(QLatin1Char('.'));
    parts.removeLast();
    std::reverse(parts.begin(), parts.end());
    return parts.join(QLatin1Char('.'));
}

QString applicationName(const QString& bundleIdentifier)
{
    return bundleIdentifier.section(QLatin1Char('.'), -1);
}

QSettings* open(const QString& bundleIdentifier)
{
    return new QSettings(QSettings::NativeFormat, QSettings::UserScope, organizationDomain(bundleIdentifier),
                         applicationName(bundleIdentifier));
}

} // namespace MacUserDefaults
