#include "LinuxSystemInfo.h"

#include "platform/emulated/EmulatedPlatform.h"

#include <QStandardPaths>

QString LinuxSystemInfo::downloadsDirectory() const
{
    const QString location = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    return location.isEmpty() ? SystemInfo::downloadsDirectory() : location;
}

QString LinuxSystemInfo::trashDirectory() const
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Trash/files");
}

QString LinuxSystemInfo::applicationSupportDirectory() const
{
    if (EmulatedPlatform::isChosen())
        return EmulatedSystemInfo::applicationSupportDirectory();
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}
