#pragma once

#include "items/LVInstallItem.h"

#include <QPointer>
#include <memory>

namespace Ui {
class LVUpdateAllInstalledInstallItem;
}
class LVProductBatch;
class QLabel;
class QMenu;
class QToolButton;

// The "Update All Installed Products" row shown first on the installs tab. It installs nothing
// itself: it asks the product model what is installed and what has updates, shows a summary,
// starts the model's update-all run from its button and follows that run, whoever started it, in
// its status line. While the run downloads, its tooltip and accessible description say how far it
// has come.
class LVUpdateAllInstalledInstallItem : public LVInstallItem
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

    // The summary from the model: nothing installed, updates available, or none.
    void estimateInstallStatus();
    void updateButtonAction();

    QLabel* statusTextField() const;
    QToolButton* downloadButton() const;

private:
    LVUpdateAllInstalledInstallItem();
    void loadView();
    void showStatus(const QString& text, const char* imageName);
    void showUpdateButton(bool shown);
    void showRunProgress();
    void follow(LVProductBatch* run);
    // The install list's single products, in its order.
    QList<VMSingleProductItemPtr> products() const;
    void estimateAfterDelay(double seconds);

    std::unique_ptr<Ui::LVUpdateAllInstalledInstallItem> _ui;
    QPointer<QWidget> _headlineView;
    QPointer<QMenu> _menu;
    QPointer<LVProductBatch> _run;
};
