#include "LVProductRowMenu.h"

#include "catalogue/VMVersionItem.h"
#include "engines/LVProductOperation.h"
#include "items/LVInstallItem.h"

#include <QMenu>

void LVProductRowMenu::populate(QMenu* menu, const VMSingleProductItem& product, VMInstallStatus::Status status,
                                const LVProductOperation& operation, const Actions& actions)
{
    static const QString fxPlug3 = QStringLiteral("FxPlug3");
    const VMVersionItemPtr latest = product.latestVersionItem();
    const auto refuse = [&operation](QAction* action, LVProductOperation::RowAction what) {
        const QString refusal = operation.refusal(what);
        if (refusal.isEmpty())
            return;
        action->setEnabled(false);
        action->setToolTip(refusal);
        action->setStatusTip(refusal);
    };
    const auto add = [menu](const QString& title, bool enabled, const std::function<void()>& triggered) {
        QAction* action = menu->addAction(title);
        action->setEnabled(enabled);
        QObject::connect(action, &QAction::triggered, menu, triggered);
        return action;
    };

    const QString installTitle = status == LVInstallItem::StatusNotInstalled ? QStringLiteral("Install")
                                 : status == LVInstallItem::StatusLatestInstalled
                                     ? QStringLiteral("Reinstall")
                                     : QStringLiteral("Install Latest Version");
    refuse(add(installTitle, true, [actions, latest] { actions.install(latest); }),
           LVProductOperation::RowAction::Install);

    VMVersionItemPtr fxplug3Install;
    VMVersionItemPtr fxplug3Uninstall;
    for (const VMVersionItemPtr& version : product.versionItems()) {
        if (version == latest || !version->containsTag(fxPlug3))
            continue;
        if (!version->versionDownloadURL().isEmpty())
            fxplug3Install = version;
        if (!version->productUninstallScriptURL().isEmpty())
            fxplug3Uninstall = version;
    }
    if (fxplug3Install)
        refuse(add(QStringLiteral("Install FxPlug3 Version"), fxplug3Install->checkInstalledPluginVersion().isNull(),
                   [actions, fxplug3Install] { actions.install(fxplug3Install); }),
               LVProductOperation::RowAction::Install);

    menu->addSeparator();
    const QStringList scripts = LVProductOperation::uninstallScriptURLs(product);
    const bool installed =
        status == LVInstallItem::StatusLatestInstalled || status == LVInstallItem::StatusUpdateAvailable;
    refuse(add(QStringLiteral("Uninstall"), installed && !scripts.isEmpty(),
               [actions, scripts] { actions.uninstall(scripts); }),
           LVProductOperation::RowAction::Uninstall);
    if (fxplug3Uninstall) {
        const QStringList script{fxplug3Uninstall->productUninstallScriptURL()};
        refuse(add(QStringLiteral("Uninstall FxPlug3 Version"),
                   !fxplug3Uninstall->checkInstalledPluginVersion().isNull(),
                   [actions, script] { actions.uninstall(script); }),
               LVProductOperation::RowAction::Uninstall);
    }

    menu->addSeparator();
    add(QStringLiteral("More Info..."), !product.productInfoURL().isEmpty(), actions.moreInfo);
    add(QStringLiteral("Documentation..."), !product.productDocsURL().isEmpty(), actions.documentation);
    add(QStringLiteral("Buy..."), !product.productBuyURL().isEmpty(), actions.buy);

    menu->addSeparator();
    refuse(add(QStringLiteral("Download Installer Manually..."), !product.latestVersionInstallerURL().isEmpty(),
               actions.downloadManually),
           LVProductOperation::RowAction::ManualDownload);
}
