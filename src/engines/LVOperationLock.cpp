#include "engines/LVOperationLock.h"

#include "engines/LVDownloadFolder.h"
#include "platform/Platform.h"

#include <QDir>
#include <QFileInfo>

LVOperationLock::LVOperationLock() : _lockFile(std::make_unique<QLockFile>(filePath()))
{
    // Never treat a live holder's lock as stale because its install takes long.
    _lockFile->setStaleLockTime(0);
}

LVOperationLock::~LVOperationLock() = default;

QString LVOperationLock::filePath()
{
    return Platform::systemInfo().applicationSupportDirectory() + QStringLiteral("/operations.lock");
}

bool LVOperationLock::tryLock(QString* message)
{
    QDir().mkpath(QFileInfo(filePath()).absolutePath());
    if (_lockFile->tryLock(0)) {
        // No other copy downloads now: what lies in the download folder was left by one that died.
        LVDownloadFolder::removeLeftovers();
        return true;
    }
    if (message) {
        qint64 pid = 0;
        QString host, application;
        if (_lockFile->error() == QLockFile::LockFailedError && _lockFile->getLockInfo(&pid, &host, &application))
            *message = QStringLiteral("Another copy of Lumivane Manager (process %1) is installing or uninstalling; "
                                      "try again when it has finished.")
                           .arg(pid);
        else
            *message = QStringLiteral("Cannot create the lock file %1.").arg(filePath());
    }
    return false;
}

bool LVOperationLock::isLocked() const
{
    return _lockFile->isLocked();
}
