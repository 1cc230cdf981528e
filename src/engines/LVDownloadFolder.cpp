#include "engines/LVDownloadFolder.h"

#include "foundation/VMLog.h"
#include "platform/Platform.h"

#include <QDir>
#include <QFileInfo>

QString LVDownloadFolder::path()
{
    const QString temporary = Platform::systemInfo().temporaryDirectory();
    if (temporary.isEmpty())
        return QString();
    // One per user: a shared /tmp may hold another user's folder.
    const QString user = qEnvironmentVariable("USER", QStringLiteral("user"));
    const QString folder = QDir(temporary).filePath(QStringLiteral("lumivane-manager-downloads-%1").arg(user));
    QDir().mkpath(folder);
    return folder;
}

int LVDownloadFolder::removeLeftovers()
{
    const QString folder = path();
    if (folder.isEmpty())
        return 0;
    int removed = 0;
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    for (const QFileInfo& entry : entries) {
        const bool gone = entry.isDir() && !entry.isSymLink() ? QDir(entry.filePath()).removeRecursively()
                                                              : QFile::remove(entry.filePath());
        if (gone)
            ++removed;
    }
    if (removed > 0)
        VM_LOG_MESSAGE(
            QStringLiteral("Removed %1 download(s) left by an earlier run from %2").arg(removed).arg(folder));
    return removed;
}
