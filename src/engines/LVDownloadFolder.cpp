#include "engines/LVDownloadFolder.h"

#include "foundation/VMLog.h"
#include "platform/Platform.h"
#include "platform/PrivateFolder.h"

#include <QDir>

QString LVDownloadFolder::path(QString* error)
{
    const QString temporary = Platform::systemInfo().temporaryDirectory();
    if (temporary.isEmpty()) {
        if (error)
            *error = QStringLiteral("There is no temporary folder to download into.");
        return QString();
    }
    // One per user: a shared /tmp may hold another user's folder.
    const QString user = qEnvironmentVariable("USER", QStringLiteral("user"));
    const QString folder = QDir(temporary).filePath(QStringLiteral("lumivane-manager-downloads-%1").arg(user));
    QString problem;
    if (!PrivateFolder::ensure(folder, &problem)) {
        VM_LOG_MESSAGE(problem);
        if (error)
            *error = problem;
        return QString();
    }
    return folder;
}

int LVDownloadFolder::removeLeftovers()
{
    const QString folder = path();
    if (folder.isEmpty())
        return 0;
    const int removed = PrivateFolder::removeContents(folder);
    if (removed > 0)
        VM_LOG_MESSAGE(
            QStringLiteral("Removed %1 download(s) left by an earlier run from %2").arg(removed).arg(folder));
    return removed;
}
