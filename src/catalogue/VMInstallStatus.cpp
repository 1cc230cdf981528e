#include "catalogue/VMInstallStatus.h"

#include "catalogue/VMUtils.h"

#include <algorithm>

namespace VMInstallStatus {

Status singleProductStatus(const VMSingleProductItem& product, const QString& installedVersion)
{
    if (installedVersion.isNull())
        return NotInstalled;
    const VMVersionItemPtr latest = product.latestVersionItem();
    const VMVersionItemPtr installed = product.versionItemForVersionString(installedVersion);
    if (latest && installed != latest)
        return VMUtils::compareVersion(installedVersion, latest->productVersion()) == 1 ? LatestInstalled
                                                                                        : UpdateAvailable;
    return LatestInstalled;
}

bool needsUpdate(uint status)
{
    return status != NotInstalled && status != LatestInstalled;
}

QList<qsizetype> updatesToInstall(const QList<UpdateCandidate>& candidates)
{
    QList<qsizetype> taken;
    QStringList urls;
    for (qsizetype index = 0; index < candidates.size(); ++index) {
        const UpdateCandidate& candidate = candidates.at(index);
        if (!needsUpdate(candidate.status) || urls.contains(candidate.installerURL))
            continue;
        urls.append(candidate.installerURL);
        taken.append(index);
    }
    return taken;
}

Status bundleStatus(const QList<uint>& memberStatuses)
{
    const auto all = [&](auto pred) { return std::all_of(memberStatuses.begin(), memberStatuses.end(), pred); };
    const auto any = [&](auto pred) { return std::any_of(memberStatuses.begin(), memberStatuses.end(), pred); };
    if (all([](uint s) { return s == WaitingForBundle; }))
        return WaitingForBundle;
    if (any([](uint s) { return s == Downloading; }))
        return Downloading;
    if (any([](uint s) { return s == Installing || s == WaitingForBundle; }))
        return Installing;
    if (!any([](uint s) { return s == LatestInstalled || s == UpdateAvailable; }))
        return NotInstalled;
    if (all([](uint s) { return s == LatestInstalled; }))
        return LatestInstalled;
    return BundlePartlyInstalled;
}

QString statusText(uint status)
{
    switch (status) {
    case NotInstalled:
        return QStringLiteral("Not yet installed");
    case LatestInstalled:
        return QStringLiteral("Latest version installed");
    case UpdateAvailable:
        return QStringLiteral("Update available");
    case BundlePartlyInstalled:
        return QStringLiteral("Bundle not fully installed");
    case Downloading:
        return QStringLiteral("Downloading");
    case Installing:
    case WaitingForBundle:
        return QStringLiteral("Installing...");
    default:
        return QString();
    }
}

} // namespace VMInstallStatus
