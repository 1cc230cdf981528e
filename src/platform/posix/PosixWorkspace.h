#pragma once

#include "platform/Workspace.h"

// Applications are Mac-style bundles under the system root's Applications folders; launching one
// starts the program named by CFBundleExecutable in Contents/MacOS.
class PosixWorkspace : public Workspace
{
public:
    bool openUrl(const QUrl& url) override;
    bool revealFile(const QString& path) override;
    QString absolutePathForAppBundleWithIdentifier(const QString& identifier) const override;
    void openApplication(const QString& path, const OpenConfiguration& configuration,
                         OpenCompletion completion) override;
    bool terminateApplication(const RunningApplication& application) override;
    bool moveToTrash(const QString& path, QString* trashedPath, QString* error) override;

    // The folders searched for applications, in order.
    QStringList applicationFolders() const;
};
