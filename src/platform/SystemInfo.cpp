#include "SystemInfo.h"

#include <QCoreApplication>
#include <QDir>

QString SystemInfo::systemRoot() const
{
    return QStringLiteral("/");
}

QString SystemInfo::homeDirectory() const
{
    return QDir::homePath();
}

QString SystemInfo::temporaryDirectory() const
{
    return QDir::tempPath();
}

QString SystemInfo::downloadsDirectory() const
{
    return homeDirectory() + QStringLiteral("/Downloads");
}

QString SystemInfo::userLibraryDirectory() const
{
    return homeDirectory() + QStringLiteral("/Library");
}

QString SystemInfo::localApplicationsDirectory() const
{
    return pathInSystemRoot(QStringLiteral("/Applications"));
}

QString SystemInfo::trashDirectory() const
{
    return homeDirectory() + QStringLiteral("/.Trash");
}

QString SystemInfo::applicationSupportDirectory() const
{
    QString folder = userLibraryDirectory() + QStringLiteral("/Application Support");
    if (!QCoreApplication::organizationName().isEmpty())
        folder += QLatin1Char('/') + QCoreApplication::organizationName();
    if (!QCoreApplication::applicationName().isEmpty())
        folder += QLatin1Char('/') + QCoreApplication::applicationName();
    return folder;
}

QString SystemInfo::pathInSystemRoot(const QString& macPath) const
{
    const QString root = systemRoot();
    if (root == QLatin1String("/") || root.isEmpty())
        return macPath;
    QString relative = macPath;
    while (relative.startsWith(QLatin1Char('/')))
        relative.remove(0, 1);
    return QDir::cleanPath(root + QLatin1Char('/') + relative);
}
