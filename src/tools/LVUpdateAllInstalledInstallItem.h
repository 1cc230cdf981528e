#pragma once

#include "LVToolUpdateAllInstalledItemDelegate.h"
#include "items/LVInstallItem.h"

#include <QPointer>
#include <memory>

namespace Ui {
class LVUpdateAllInstalledInstallItem;
}
class QLabel;
class QMenu;
class QToolButton;

// The "Update All Installed Products" row shown first on the installs tab. It installs nothing
// itself: it asks the update-all tool what is installed and what has updates, shows a summary,
// starts the tool's run from its button and follows the run in its status line. While the run
// downloads, its tooltip and accessible description say how far it has come.
class LVUpdateAllInstalledInstallItem : public LVInstallItem, public LVToolUpdateAllInstalledItemDelegate
{
    Q_OBJECT
public:
    // The shared row, made on the first call and kept for the life of the application.
    static LVUpdateAllInstalledInstallItem* installItem();
    ~LVUpdateAllInstalledInstallItem() override;

    QString title() const override { return QStringLiteral("Update All Installed Products"); }
    QWidget* view() override;
    QList<LVOutlineItem*> childItems() override { return {}; }
    bool shouldExpand() override { return false; }
    bool shouldCollapse() override { return false; }
    bool shouldSelect() override { return false; }

    void singleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField) override;
    void doubleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField) override;
    using LVInstallItem::doubleClicked;

    // The summary from the tool: nothing installed, updates available, or none.
    void estimateInstallStatus();
    void updateButtonAction();
    void updateStateChanged(uint state, const QString& productName, LVToolUpdateAllInstalledItem* updater) override;

    QLabel* statusTextField() const;
    QToolButton* downloadButton() const;

private:
    LVUpdateAllInstalledInstallItem();
    void loadView();
    void showStatus(const QString& text, const char* imageName);
    void showUpdateButton(bool shown);
    void showRunProgress();
    void estimateAfterDelay(double seconds);

    std::unique_ptr<Ui::LVUpdateAllInstalledInstallItem> _ui;
    QPointer<QWidget> _headlineView;
    QPointer<QMenu> _menu;
};
