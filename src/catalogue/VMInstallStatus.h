#pragma once

#include "catalogue/VMSingleProductItem.h"

#include <QList>
#include <QString>

// The install-status rules that do not depend on a running operation, shared by the rows and the
// command line. The numbers are the rows' install statuses.
namespace VMInstallStatus {

// Typed for what crosses from the engines to the rows; the values are the rows' own numbers.
enum Status : uint {
    NotComputed = 0,
    NotInstalled = 1,
    LatestInstalled = 2,
    UpdateAvailable = 3,
    BundlePartlyInstalled = 4,
    Downloading = 5,
    Installing = 6,
    WaitingForBundle = 7,
};

// 1 without an installed version; 3 when the installed version's record is not the latest one and
// the installed version is not newer than the latest; 2 otherwise (also for an installed version
// newer than the catalogue's latest that has no record of its own).
Status singleProductStatus(const VMSingleProductItem& product, const QString& installedVersion);

// A bundle's status from its members' statuses, first match wins: all 7 (also none) 7; any 5 5;
// any 6 or 7 6; none 2 or 3 1; all 2 2; otherwise 4. A bundle never shows 3.
Status bundleStatus(const QList<uint>& memberStatuses);

// Whether "update all" takes a product in this status: installed and not known to be at its latest.
bool needsUpdate(uint status);

// One product as "update all" sees it: its status and the installer its update comes from.
struct UpdateCandidate
{
    Status status = NotComputed;
    QString installerURL;
};
// What "update all" and "what has an update" take, as indexes into `candidates` in their order:
// those that need an update, once per installer URL (products sharing an installer update once).
QList<qsizetype> updatesToInstall(const QList<UpdateCandidate>& candidates);

// "Not yet installed", "Latest version installed", "Update available", ... as the rows word them.
QString statusText(uint status);

} // namespace VMInstallStatus
