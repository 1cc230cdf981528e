#include "cli/LVStudioCommands.h"

#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMUtils.h"
#include "cli/LVCatalogueMirror.h"
#include "cli/LVCommandLine.h"
#include "cli/LVConsole.h"
#include "cli/LVHeadlessSession.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVDownloadFolder.h"
#include "engines/LVInstaller.h"
#include "engines/LVOperationLock.h"
#include "foundation/VMPropertyList.h"
#include "platform/Platform.h"
#include "platform/StandardStreams.h"

#include <QDir>
#include <QHash>
#include <QJsonObject>

namespace {

using LVConsole::err;
using LVConsole::out;
using LVConsole::printJson;

// A download's progress line on a terminal; nothing when output goes elsewhere.
class ProgressLine
{
public:
    explicit ProgressLine(bool json) : _shown(Platform::standardStreams().outputIsTerminal() && !json) {}
    bool shown() const { return _shown; }
    void show(const QString& text)
    {
        if (!_shown)
            return;
        out() << "\r\033[K" << text;
        out().flush();
    }
    void clear() { show(QString()); }

private:
    bool _shown;
};

QString versionOrDash(const QString& version)
{
    return version.isNull() ? QStringLiteral("-") : version;
}

QJsonValue versionOrNull(const QString& version)
{
    return version.isNull() ? QJsonValue() : QJsonValue(version);
}

QString planLine(const LVApplyPlan::Step& step)
{
    const QString target = step.target ? step.target->productVersion() : QString();
    switch (step.action) {
    case LVApplyPlan::Action::None:
        return step.installedVersion.isNull() ? QStringLiteral("absent, nothing to do")
                                              : QStringLiteral("%1, nothing to do").arg(step.installedVersion);
    case LVApplyPlan::Action::Install:
        return QStringLiteral("install %1").arg(target);
    case LVApplyPlan::Action::Update:
    case LVApplyPlan::Action::Downgrade:
        return QStringLiteral("%1 %2 -> %3").arg(LVApplyPlan::actionName(step.action), step.installedVersion, target);
    case LVApplyPlan::Action::Uninstall:
        return QStringLiteral("uninstall %1").arg(step.installedVersion);
    }
    return QString();
}

// Whether the machine now matches what the step asked for, by the version detected now.
bool stepMet(const LVApplyPlan::Step& step, const QString& detected)
{
    if (step.action == LVApplyPlan::Action::Uninstall)
        return detected.isNull();
    if (step.action == LVApplyPlan::Action::None)
        return true;
    return !detected.isNull() && VMUtils::compareVersion(detected, step.target->productVersion()) == 0;
}

bool needsAdministrator(const QList<LVApplyPlan::Step>& steps)
{
    for (const LVApplyPlan::Step& step : steps) {
        if (step.action == LVApplyPlan::Action::Uninstall)
            return true;
        if (step.target && step.product->installerSettingsForVersionItem(step.target.get())
                               .value_or(QVariantMap())
                               .value(QLatin1String(LVInstaller::requiresAuthenticationKey))
                               .toBool())
            return true;
    }
    return false;
}

} // namespace

namespace LVStudioCommands {

int apply(const QList<LVApplyPlan::Step>& steps, bool dryRun, bool json)
{
    if (steps.isEmpty()) {
        if (json)
            printJson(QJsonObject{{QStringLiteral("outcome"), QStringLiteral("nothing to do")}});
        else
            out() << "Nothing to do: the file names no product.\n";
        out().flush();
        return LVCommandLine::Success;
    }
    bool changes = false;
    for (const LVApplyPlan::Step& step : steps)
        changes = changes || step.action != LVApplyPlan::Action::None;
    const auto stepJson = [](const LVApplyPlan::Step& step) {
        return QJsonObject{
            {QStringLiteral("id"), step.product->productID()},
            {QStringLiteral("title"), step.product->title()},
            {QStringLiteral("action"), LVApplyPlan::actionName(step.action)},
            {QStringLiteral("wanted"), step.wanted},
            {QStringLiteral("installedVersion"), versionOrNull(step.installedVersion)},
            {QStringLiteral("targetVersion"), step.target ? QJsonValue(step.target->productVersion()) : QJsonValue()}};
    };
    if (!json || dryRun) {
        for (const LVApplyPlan::Step& step : steps) {
            if (json) {
                QJsonObject object = stepJson(step);
                object.insert(QStringLiteral("outcome"), QStringLiteral("planned"));
                printJson(object);
            } else {
                out() << step.product->productID() << "  " << step.product->title() << "  " << planLine(step) << '\n';
            }
        }
        out().flush();
    }
    if (dryRun)
        return changes ? LVCommandLine::UpdatesAvailable : LVCommandLine::Success;
    if (!changes) {
        if (json) {
            for (const LVApplyPlan::Step& step : steps) {
                QJsonObject object = stepJson(step);
                object.insert(QStringLiteral("outcome"), QStringLiteral("unchanged"));
                object.insert(QStringLiteral("version"), versionOrNull(step.installedVersion));
                printJson(object);
            }
        } else {
            out() << "Nothing to do: this machine matches the file.\n";
            out().flush();
        }
        return LVCommandLine::Success;
    }

    QString error;
    LVOperationLock lock;
    if (!lock.tryLock(&error)) {
        err() << error << '\n';
        return LVCommandLine::Locked;
    }
    if (LVDownloadFolder::path(&error).isEmpty()) {
        err() << error << '\n';
        return LVCommandLine::ActionFailed;
    }
    LVHeadlessSession session;
    if (needsAdministrator(steps))
        session.setAuthorization(std::make_shared<LVAdminAuthorization>(LVInstaller::defaultAuthorizationFlags()));
    ProgressLine progress(json);
    if (progress.shown()) {
        session.setProgressHandler([&progress](const VMSingleProductItem& product, const QString& text) {
            progress.show(product.title() + QStringLiteral(": ") + text);
        });
    }

    QList<VMSingleProductItemPtr> removals;
    QList<LVHeadlessSession::Target> installs;
    QStringList installers;
    for (const LVApplyPlan::Step& step : steps) {
        if (step.action == LVApplyPlan::Action::Uninstall) {
            removals.append(step.product);
        } else if (step.target) {
            // Products that share an installer get it once.
            const QString url = step.product->installerSettingsForVersionItem(step.target.get())
                                    .value_or(QVariantMap())
                                    .value(QStringLiteral("downloadURL"))
                                    .toString();
            if (url.isEmpty() || !installers.contains(url))
                installs.append({step.product, step.target});
            installers.append(url);
        }
    }
    QHash<QString, QString> details;
    QList<LVHeadlessSession::Result> results;
    if (!removals.isEmpty())
        results += session.uninstall(removals);
    if (!installs.isEmpty())
        results += session.install(installs);
    progress.clear();
    for (const LVHeadlessSession::Result& result : std::as_const(results)) {
        if (!result.detail.isEmpty())
            details.insert(result.productID, result.detail);
    }

    bool failed = false;
    for (const LVApplyPlan::Step& step : steps) {
        const QString detected = LVHeadlessSession::detectInstalledVersion(*step.product);
        const bool met = stepMet(step, detected);
        const QString outcome = step.action == LVApplyPlan::Action::None ? QStringLiteral("unchanged")
                                : met                                    ? QStringLiteral("succeeded")
                                                                         : QStringLiteral("failed");
        failed = failed || !met;
        QString detail = details.value(step.product->productID());
        if (!met && detail.isEmpty())
            detail = QStringLiteral("Version %1 is detected afterwards.").arg(versionOrDash(detected));
        if (met)
            detail.clear(); // the machine is as asked, whatever the installer's own words
        if (json) {
            QJsonObject object = stepJson(step);
            object.insert(QStringLiteral("outcome"), outcome);
            object.insert(QStringLiteral("version"), versionOrNull(detected));
            if (!detail.isEmpty())
                object.insert(QStringLiteral("detail"), detail);
            printJson(object);
        } else if (step.action != LVApplyPlan::Action::None) {
            out() << step.product->productID() << "  " << LVApplyPlan::actionName(step.action) << "  " << outcome;
            if (!detail.isEmpty())
                out() << "  " << detail;
            out() << '\n';
        }
    }
    out().flush();
    return failed ? LVCommandLine::ActionFailed : LVCommandLine::Success;
}

int mirror(const QByteArray& catalogueData, const QString& folder, const QUrl& baseURL, bool allVersions, bool json)
{
    const QVariant root = VMPropertyList::fromData(catalogueData);
    if (root.typeId() != QMetaType::QVariantMap) {
        err() << "The catalogue is not a property-list dictionary.\n";
        return LVCommandLine::CatalogueUnavailable;
    }
    LVCatalogueMirror mirror(folder, baseURL, allVersions);
    ProgressLine progress(json);
    if (progress.shown())
        mirror.setProgressHandler([&progress](const QString& text) { progress.show(text); });
    QString error;
    const QList<LVCatalogueMirror::FileResult> results = mirror.run(root.toMap(), &error);
    progress.clear();
    int downloaded = 0;
    int unchanged = 0;
    int failed = 0;
    qint64 bytes = 0;
    for (const LVCatalogueMirror::FileResult& result : results) {
        if (json) {
            QJsonObject object{{QStringLiteral("path"), result.path},
                               {QStringLiteral("url"), result.url},
                               {QStringLiteral("outcome"), result.outcome},
                               {QStringLiteral("bytes"), double(result.bytes)},
                               {QStringLiteral("package"), result.package}};
            if (!result.sha256.isEmpty())
                object.insert(QStringLiteral("sha256"), result.sha256);
            if (!result.detail.isEmpty())
                object.insert(QStringLiteral("detail"), result.detail);
            printJson(object);
        } else if (result.outcome == QLatin1String("failed")) {
            err() << result.url << ": " << result.detail << '\n';
        }
        if (result.outcome == QLatin1String("downloaded")) {
            ++downloaded;
            bytes += result.bytes;
        }
        unchanged += result.outcome == QLatin1String("unchanged") ? 1 : 0;
        failed += result.outcome == QLatin1String("failed") ? 1 : 0;
    }
    if (!json) {
        out() << "Mirror in " << QDir(folder).absolutePath() << ": " << downloaded << " file(s) downloaded ("
              << QString::number(double(bytes) / 1e6, 'f', 1) << " MB), " << unchanged << " unchanged, " << failed
              << " failed.\n";
        out().flush();
    }
    if (!error.isEmpty())
        err() << error << '\n';
    return failed > 0 || !error.isEmpty() ? LVCommandLine::ActionFailed : LVCommandLine::Success;
}

} // namespace LVStudioCommands
