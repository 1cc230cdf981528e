#pragma once

#include "platform/Workspace.h"

// Applications are Mac-style bundles under the system root's Applications folders; launching one
// starts the program named by CFBundleExecutable in Contents/MacOS. Every copy of an application
// is found by walking the system root and the home folder for bundles with that identifier.
class EmulatedWorkspace : public Workspace
{
public:
    bool openUrl(const QUrl& url) override;
    bool revealFile(const QString& path) override;
    QString absolutePathForAppBundleWithIdentifier(const QString& identifier) const override;
    void openApplication(const QString& path, const OpenConfiguration& configuration,
                         OpenCompletion completion) override;
    bool terminateApplication(const RunningApplication& application) override;
    QList<QUrl> URLsForApplicationsWithBundleIdentifier(const QString& identifier) const override;
    bool moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode) override;

    // The folders searched for applications, in order.
    QStringList applicationFolders() const;
    // The folders walked to find every copy of an application: the system root and the home.
    QStringList applicationSearchRoots() const;
};
