#pragma once

#include "LVInstallItem.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMVersionItem.h"
#include "items/LVRowIcon.h"

#include <QPointer>
#include <QStringList>
#include <functional>
#include <memory>

namespace Ui {
class LVSingleInstallItem;
}
class LVMoreInfoSingleInstallItem;
class LVProductRowView;
class LVProductOperation;
class QLabel;
class QProgressBar;
class QPushButton;
class QTextEdit;
class QToolButton;
struct VMNotification;

// The row of one catalogue product: icon, title, status and description, installing the latest or
// an older version, uninstalling, downloading the installer by hand and the product's web pages.
// The work itself is done by one LVProductOperation; the row adds what the user sees (status,
// alerts, the button that toggles to cancel) and decides what a result means.
class LVSingleInstallItem : public LVInstallItem
{
    Q_OBJECT
public:
    // Asks where a manually downloaded installer goes: the proposed file name in, a path or
    // nothing out. A save dialog unless a test replaces it.
    using SavePathProvider = std::function<QString(const QString& proposedFileName)>;

    // Null, and "productItem = nil" logged, without a product.
    static LVSingleInstallItem* installItemWithSingleProductItem(const VMSingleProductItemPtr& productItem);
    static LVSingleInstallItem* initWithSingleProductItem(const VMSingleProductItemPtr& productItem);
    ~LVSingleInstallItem() override;

    static void setSavePathProvider(SavePathProvider provider);

    VMSingleProductItemPtr singleProductItem() const { return _productItem; }
    std::shared_ptr<VMProductItem> productItem() const override;
    // The product model's value; setting it sets the model's.
    QString installedVersion() const;
    void setInstalledVersion(const QString& version);
    LVMoreInfoSingleInstallItem* moreInfoItem() const { return _moreInfoItem.get(); }
    LVProductOperation* operation() const { return _operation; }
    bool showUserAlert() const { return _showUserAlert; }
    QString latestVersionInstallerURL() const;

    QString title() const override;
    bool discontinued() const override;
    QWidget* view() override;
    QSize viewSizeHint() override;
    bool canReleaseView() const override;
    void releaseView() override;
    // The view of the row's details (its child row), written when first asked for.
    QWidget* detailsView();
    QList<LVOutlineItem*> childItems() override;
    bool shouldExpand() override { return true; }
    bool shouldCollapse() override { return true; }
    bool shouldSelect() override { return true; }

    void updateStatus() override;
    // The title line, and the details once they have been shown.
    void updateDescription();

    void downloadButtonAction();
    void downloadVersion(const VMVersionItemPtr& version) override;
    void checkAndDownloadInstallVersion(const VMVersionItemPtr& version);
    void downloadInstallVersion(const VMVersionItemPtr& version);
    void downloadRunUninstaller(const QStringList& scriptURLs);
    void downloadManually();
    void showMoreInfo();
    void showDocumentation();
    void buy();
    void singleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField) override;
    void doubleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField) override;
    using LVInstallItem::doubleClicked;

    void populateContextMenu(QMenu* menu, QEvent* event) override;
    void menuWillOpen(QMenu* menu) override;

    void installCompletedNotif(const VMNotification& notification);
    void uninstallCompletedNotif(const VMNotification& notification);
    void checkInstalledVersion(const QVariant& ignored = QVariant());

    void downloadBegan(Download download) override;
    void downloadAdvanced(Download download, double percent) override;
    void downloadEnded(Download download, bool succeeded) override;
    void installBegan() override;
    void installEnded(bool succeeded, const VMError& error) override;
    void uninstallEnded(bool succeeded) override;

    // The views, for tests and the window; made by view().
    QWidget* headlineView() const;
    QWidget* moreInfoView() const;
    LVInstallItemTitleField* titleField() const;
    QLabel* statusButton() const;
    QLabel* statusTextField() const;
    QProgressBar* downloadProgressBar() const;
    QToolButton* downloadButton() const;
    QToolButton* menuButton() const;
    QTextEdit* descriptionTextView() const;
    QPushButton* moreInfoButton() const;

private:
    explicit LVSingleInstallItem(const VMSingleProductItemPtr& productItem);
    void loadView();
    void updateTitle();
    void showIcon(const QImage& image);
    void updateProgressDescription();
    static bool concernsProduct(const VMNotification& notification, const VMSingleProductItem& product);

    VMSingleProductItemPtr _productItem;
    LVProductOperation* _operation = nullptr;
    bool _showUserAlert = false;
    bool _descriptionWritten = false;
    std::unique_ptr<LVMoreInfoSingleInstallItem> _moreInfoItem;

    // Lent by the list's host while the row is in sight.
    std::unique_ptr<LVProductRowView> _rowView;
    LVRowIcon::Fetch _iconFetch;
};
