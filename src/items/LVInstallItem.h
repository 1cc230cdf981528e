#pragma once

#include "catalogue/VMInstallStatus.h"
#include "engines/LVProductOperation.h"
#include "outline/LVOutlineItem.h"

#include <QObject>
#include <QPointer>
#include <memory>

class LVInstallItemTitleField;
class LVRowHost;
class VMProductItem;
class VMVersionItem;
class QMenu;
class QMouseEvent;
class QEvent;

// The base of every install row (product, bundle, bundle member, "update all"). It owns the row's
// install status and is the one place that reports a change of it to the install list; all other
// answers are neutral defaults that the concrete rows override.
class LVInstallItem : public QObject, public LVOutlineItem
{
    Q_OBJECT
public:
    // One numbering for every row, the model's busy status and the command line.
    using InstallStatus = VMInstallStatus::Status;
    static constexpr InstallStatus StatusNotComputed = VMInstallStatus::NotComputed;
    static constexpr InstallStatus StatusNotInstalled = VMInstallStatus::NotInstalled;
    static constexpr InstallStatus StatusLatestInstalled = VMInstallStatus::LatestInstalled;
    static constexpr InstallStatus StatusUpdateAvailable = VMInstallStatus::UpdateAvailable;
    static constexpr InstallStatus StatusBundlePartlyInstalled = VMInstallStatus::BundlePartlyInstalled;
    static constexpr InstallStatus StatusDownloading = VMInstallStatus::Downloading;
    static constexpr InstallStatus StatusInstalling = VMInstallStatus::Installing;
    static constexpr InstallStatus StatusWaitingForBundle = VMInstallStatus::WaitingForBundle;

    explicit LVInstallItem(QObject* parent = nullptr);
    ~LVInstallItem() override;

    Kind outlineKind() const override { return Kind::Install; }
    QString title() const override { return QStringLiteral(""); }
    // The product's (or bundle's) ID, which a refreshed row shares with the row it replaces.
    QString outlineKey() const override;

    // The stored status; a status still to be computed is computed first.
    InstallStatus installStatus();
    // Stores a different status and reports it to the install manager; an equal one does nothing.
    void setInstallStatus(InstallStatus status);
    // Recomputes the status and refreshes the view; nothing in the base.
    virtual void updateStatus() {}
    virtual bool discontinued() const { return false; }
    // The product (or bundle) the row stands for; none in the base.
    virtual std::shared_ptr<VMProductItem> productItem() const { return nullptr; }

    LVRowHost* installManager() const;
    void setInstallManager(LVRowHost* manager) override;

    virtual void doubleClicked(QMouseEvent* event);
    // The support page on the FxPlug 3 versions, from the alerts and menus that mention them.
    static void showHelpOnUninstallingDiscontinuedVersions();
    virtual void downloadVersion(const std::shared_ptr<VMVersionItem>& version);
    virtual void populateContextMenu(QMenu* menu, QEvent* event);
    // Fills a pull-down menu anew each time it opens: its first entry only titles the button.
    virtual void menuWillOpen(QMenu* menu);
    virtual void menuDidClose(QMenu* menu);

    // Clicks on a row's title field.
    virtual void singleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField);
    virtual void doubleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField);

protected:
    using Download = LVProductOperation::Download;
    // Hears the product's operation: its phase changes call updateStatus(), its steps the hooks
    // below. The operation goes on when the row goes.
    void followOperation(LVProductOperation* operation);
    // The operation's steps; each row overrides the ones it uses.
    virtual void downloadBegan(Download) {}
    virtual void downloadAdvanced(Download, double /*percent*/) {}
    virtual void downloadEnded(Download, bool /*succeeded*/) {}
    virtual void installBegan() {}
    virtual void installEnded(bool /*succeeded*/, const VMError&) {}
    virtual void uninstallEnded(bool /*succeeded*/) {}
    // An alert over the install manager's window; nothing without a manager.
    void showAlert(const QString& message, const QString& informative) const;
    // Opens a product page in the browser; nothing for an empty address.
    static void openURL(const QString& url);

signals:
    // Every real change of the status, after the install manager has been told.
    void installStatusChanged(VMInstallStatus::Status status);

private:
    InstallStatus _installStatus = StatusNotComputed;
    LVRowHost* _installManager = nullptr;
    // Guards _installManager: null once the host object is gone.
    QPointer<QObject> _installManagerObject;
    bool _installManagerGuarded = false;
};
