#include "LinuxWorkspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <unistd.h>

bool LinuxWorkspace::moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink()) {
        if (error)
            *error = QStringLiteral("The file \u201c%1\u201d couldn\u2019t be found.").arg(info.fileName());
        if (errorCode)
            *errorCode = TrashNoSuchFile;
        return false;
    }
    // Qt's trash needs the XDG data folder to exist.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    QFile file(path);
    QString newPath;
    errno = 0;
    if (!file.moveToTrash()) {
        const int cause = errno;
        if (error)
            *error = file.errorString();
        if (errorCode) {
            // Moving needs write access to the folder holding the file.
            const bool permission = cause == EACCES || cause == EPERM || cause == EROFS ||
                                    ::access(QFile::encodeName(info.absolutePath()).constData(), W_OK) != 0;
            *errorCode = permission ? TrashNoPermission : TrashUnknownError;
        }
        return false;
    }
    newPath = file.fileName();
    if (trashedPath)
        *trashedPath = newPath;
    return true;
}
