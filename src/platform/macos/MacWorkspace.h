#pragma once

#include "platform/Workspace.h"

#include <functional>

// The programs the workspace runs (tests put stand-ins in their place).
struct MacWorkspacePrograms
{
    QString open = QStringLiteral("/usr/bin/open");
    QString pkill = QStringLiteral("/usr/bin/pkill");
};

// The Mac's workspace: applications found by LaunchServices, launched and revealed with `open`,
// terminated by their executable's path, files moved to the Finder's Trash.
class MacWorkspace : public Workspace
{
public:
    // Every application with a bundle identifier, best first (LaunchServices on a Mac).
    using ApplicationFinder = std::function<QStringList(const QString& identifier)>;

    using Programs = MacWorkspacePrograms;

    explicit MacWorkspace(ApplicationFinder finder, Programs programs = Programs());

    bool openUrl(const QUrl& url) override;
    bool revealFile(const QString& path) override;
    QString absolutePathForAppBundleWithIdentifier(const QString& identifier) const override;
    void openApplication(const QString& path, const OpenConfiguration& configuration,
                         OpenCompletion completion) override;
    bool terminateApplication(const RunningApplication& application) override;
    QList<QUrl> URLsForApplicationsWithBundleIdentifier(const QString& identifier) const override;
    bool moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode) override;

private:
    ApplicationFinder _finder;
    Programs _programs;
};
