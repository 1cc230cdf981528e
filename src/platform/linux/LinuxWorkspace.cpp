#include "LinuxWorkspace.h"

#include <QDir>
#include <QStandardPaths>

bool LinuxWorkspace::moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode)
{
    // Qt's trash needs the XDG data folder to exist.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    return moveToSystemTrash(path, trashedPath, error, errorCode);
}
