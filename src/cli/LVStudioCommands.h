#pragma once

#include "cli/LVApplyPlan.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

// The command line's commands for managed machines: carrying out a desired-state plan (--apply)
// and writing a mirror (--mirror). Both return the command line's exit status.
namespace LVStudioCommands {

// Prints the plan; unless `dryRun`, uninstalls, then installs (one download per installer) under
// one administrator authorization through the command line's session, and judges every product by
// the version detected afterwards. The consent provider must be in place.
int apply(const QList<LVApplyPlan::Step>& steps, bool dryRun, bool json);

int mirror(const QByteArray& catalogueData, const QString& folder, const QUrl& baseURL, bool allVersions, bool json);

} // namespace LVStudioCommands
