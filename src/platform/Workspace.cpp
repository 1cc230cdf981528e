#include "Workspace.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

bool Workspace::moveToSystemTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink()) {
        if (error)
            *error = QStringLiteral("The file \u201c%1\u201d couldn\u2019t be found.").arg(info.fileName());
        if (errorCode)
            *errorCode = TrashNoSuchFile;
        return false;
    }
    QFile file(path);
    errno = 0;
    if (!file.moveToTrash()) {
        const int cause = errno;
        if (error)
            *error = file.errorString();
        if (errorCode) {
            // Moving needs write access to the folder holding the file.
            const bool permission =
                cause == EACCES || cause == EPERM || cause == EROFS || !QFileInfo(info.absolutePath()).isWritable();
            *errorCode = permission ? TrashNoPermission : TrashUnknownError;
        }
        return false;
    }
    if (trashedPath)
        *trashedPath = file.fileName();
    return true;
}
