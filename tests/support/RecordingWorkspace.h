#pragma once

#include "platform/Platform.h"

#include <QHash>
#include <QList>
#include <QStringList>
#include <QUrl>

// This machine's workspace, except that opening, revealing and launching are only noted (no browser or file
// manager starts in a test) and that chosen paths can't be moved to the Trash, failing with the
// code the test gives: the tests run as root, where no permission stops a move.
class RecordingWorkspace : public Workspace
{
public:
    RecordingWorkspace() : _native(NativePlatform::createWorkspace()) {}

    bool openUrl(const QUrl& url) override
    {
        opened.append(url);
        return true;
    }
    bool revealFile(const QString& path) override
    {
        revealed.append(path);
        return true;
    }
    QList<QUrl> URLsForApplicationsWithBundleIdentifier(const QString& identifier) const override
    {
        return _native->URLsForApplicationsWithBundleIdentifier(identifier);
    }
    QString absolutePathForAppBundleWithIdentifier(const QString& identifier) const override
    {
        return _native->absolutePathForAppBundleWithIdentifier(identifier);
    }
    // Noted, not started.
    void openApplication(const QString& path, const OpenConfiguration&, OpenCompletion completion) override
    {
        launched.append(path);
        if (completion)
            completion(RunningApplication{0, path}, QString());
    }
    bool moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode) override
    {
        if (refusedMoves.contains(path)) {
            if (error)
                *error = QStringLiteral("refused by the test");
            if (errorCode)
                *errorCode = refusedMoves.value(path);
            return false;
        }
        return _native->moveToTrash(path, trashedPath, error, errorCode);
    }

    QList<QUrl> opened;
    QStringList revealed;
    QStringList launched;
    QHash<QString, int> refusedMoves;

private:
    std::shared_ptr<Workspace> _native;
};
