#include "ToolPaths.h"

#include <QDir>
#include <QStandardPaths>

QString ToolPaths::systemRoot()
{
    const QString configured = qEnvironmentVariable("LV_SYSTEM_ROOT");
    if (!configured.isEmpty())
        return QDir::cleanPath(configured);
    // Kept equal to the application's own default (EmulatedSystemInfo::defaultSystemRoot).
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/lumivane-manager/system-root");
}

QString ToolPaths::inRoot(const QString& root, const QString& macPath)
{
    QString relative = macPath;
    while (relative.startsWith(QLatin1Char('/')))
        relative.remove(0, 1);
    if (relative.isEmpty())
        return QDir::cleanPath(root);
    return QDir::cleanPath(root + QLatin1Char('/') + relative);
}
