#include "LVUpdateAllInstalledInstallItem.h"
#include "catalogue/VMProductEvents.h"
#include "ui_LVUpdateAllInstalledInstallItem.h"

#include "catalogue/VMSingleProductItem.h"
#include "engines/LVProductBatch.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVRowHost.h"
#include "items/LVStatusImages.h"
#include "widgets/LVIcons.h"

#include <QFile>
#include <QMenu>

LVUpdateAllInstalledInstallItem* LVUpdateAllInstalledInstallItem::installItem()
{
    static LVUpdateAllInstalledInstallItem* const instance = new LVUpdateAllInstalledInstallItem;
    return instance;
}

LVUpdateAllInstalledInstallItem::LVUpdateAllInstalledInstallItem()
{
    // Detection needs a moment to settle after a change: the summary is estimated a little later.
    VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
    center.addObserver(this, VMProductEvents::installCompleted,
                       [this](const VMNotification&) { estimateAfterDelay(2.0); });
    center.addObserver(this, VMProductEvents::uninstallCompleted,
                       [this](const VMNotification&) { estimateAfterDelay(1.0); });
    center.addObserver(this, QStringLiteral("productsChanged"),
                       [this](const VMNotification&) { estimateAfterDelay(1.0); });
    connect(&LVProductOperations::shared(), &LVProductOperations::batchMade, this,
            [this](const QString& key, LVProductBatch* run) {
                if (key == QLatin1String(LVProductOperations::updateAllRun))
                    follow(run);
            });
}

LVUpdateAllInstalledInstallItem::~LVUpdateAllInstalledInstallItem()
{
    delete _headlineView;
}

void LVUpdateAllInstalledInstallItem::estimateAfterDelay(double seconds)
{
    VMDispatch::performAfterDelay(this, seconds, [this] { estimateInstallStatus(); });
}

void LVUpdateAllInstalledInstallItem::loadView()
{
    _ui = std::make_unique<Ui::LVUpdateAllInstalledInstallItem>();
    _headlineView = new QWidget;
    _ui->setupUi(_headlineView);
    if (!_headlineView->layout())
        VM_LOG_MESSAGE(QStringLiteral("Couldn't instantiate 'LVUpdateAllInstalledInstallItem.nib' panel nib"));

    _ui->_titleField->setDelegate(this);
    _ui->_titleField->setStringValue(title());
    _ui->_titleField->setAccessibleName(title());
    _headlineView->setAccessibleName(title());
    _ui->_productIconImageView->setAccessibleName(tr("%1 icon").arg(title()));
    const QString appIcon = QStringLiteral(":/AppIcon.png");
    const QIcon icon = QFile::exists(appIcon) ? QIcon(appIcon) : LVIcons::applicationLogo();
    _ui->_productIconImageView->setPixmap(
        icon.pixmap(_ui->_productIconImageView->size(), _ui->_productIconImageView->devicePixelRatioF()));
    _ui->_statusButton->setAccessibleName(tr("Status image"));
    _ui->_statusTextField->setAccessibleDescription(tr("Install status"));
    _ui->_downloadProgressBar->setAccessibleName(tr("Download progress"));
    _ui->_downloadProgressBar->setValue(0);
    _ui->_downloadProgressBar->hide();

    _ui->_downloadButton->setIcon(LVStatusImages::named(QStringLiteral("NSTouchBarDownloadTemplate")));
    _ui->_downloadButton->setToolTip(tr("Update All"));
    _ui->_downloadButton->setAccessibleName(tr("Update All"));
    connect(_ui->_downloadButton, &QToolButton::clicked, this, &LVUpdateAllInstalledInstallItem::updateButtonAction);

    // The row is the menu's delegate but adds no entries: the button stays out of the way.
    _menu = new QMenu(_ui->_menuButton);
    _ui->_menuButton->setMenu(_menu);
    _ui->_menuButton->setAccessibleName(tr("Actions for %1").arg(title()));
    connect(_menu, &QMenu::aboutToShow, this, [this] { menuWillOpen(_menu); });
    _ui->_menuButton->hide();

    estimateInstallStatus();
}

QWidget* LVUpdateAllInstalledInstallItem::view()
{
    if (!_ui)
        loadView();
    return _headlineView;
}

QLabel* LVUpdateAllInstalledInstallItem::statusTextField() const
{
    return _ui ? _ui->_statusTextField : nullptr;
}

QToolButton* LVUpdateAllInstalledInstallItem::downloadButton() const
{
    return _ui ? _ui->_downloadButton : nullptr;
}

void LVUpdateAllInstalledInstallItem::singleClicked(QMouseEvent*, LVInstallItemTitleField*)
{
    if (LVRowHost* manager = installManager())
        manager->selectInstallItem(this);
}

void LVUpdateAllInstalledInstallItem::doubleClicked(QMouseEvent*, LVInstallItemTitleField*) {}

void LVUpdateAllInstalledInstallItem::showStatus(const QString& text, const char* imageName)
{
    if (!_ui)
        return;
    _ui->_statusTextField->setText(text);
    _ui->_statusButton->setPixmap(
        LVStatusImages::named(QLatin1String(imageName)).pixmap(QSize(12, 12), _ui->_statusButton->devicePixelRatioF()));
    _headlineView->setAccessibleDescription(text);
}

void LVUpdateAllInstalledInstallItem::showUpdateButton(bool shown)
{
    if (!_ui)
        return;
    _ui->_downloadButton->setVisible(shown);
    _ui->_downloadButton->setEnabled(shown);
}

QList<VMSingleProductItemPtr> LVUpdateAllInstalledInstallItem::products() const
{
    LVRowHost* manager = installManager();
    return manager ? manager->singleProducts() : QList<VMSingleProductItemPtr>();
}

void LVUpdateAllInstalledInstallItem::estimateInstallStatus()
{
    if (!_ui)
        return;
    LVProductOperations& model = LVProductOperations::shared();
    const QList<VMSingleProductItemPtr> catalogue = products();
    const bool installed = model.isAnyInstalled(catalogue);
    const qsizetype updates = model.updatesToInstall(catalogue).size();
    if (!installed)
        showStatus(QStringLiteral("No products installed"), "NSStatusNone");
    else if (updates > 0)
        showStatus(updates == 1 ? QStringLiteral("Update available") : QStringLiteral("Updates available"),
                   "NSStatusPartiallyAvailable");
    else
        showStatus(QStringLiteral("No updates available"), "NSStatusAvailable");
    showUpdateButton(updates > 0);
}

void LVUpdateAllInstalledInstallItem::updateButtonAction()
{
    LVProductOperations::shared().startUpdateAll(products(), title());
}

void LVUpdateAllInstalledInstallItem::follow(LVProductBatch* run)
{
    _run = run;
    connect(run, &LVProductBatch::downloadStarted, this, [this](qsizetype index) {
        showUpdateButton(false);
        if (_ui && _run)
            _ui->_statusTextField->setText(QStringLiteral("Downloading '%1'").arg(_run->item(index).product->title()));
        showRunProgress();
    });
    connect(run, &LVProductBatch::stateChanged, this, [this](qsizetype index, LVProductBatch::State state) {
        if (state != LVProductBatch::State::Installing)
            return;
        showUpdateButton(false);
        if (_ui && _run)
            _ui->_statusTextField->setText(QStringLiteral("Installing '%1'").arg(_run->item(index).product->title()));
        showRunProgress();
    });
    connect(run, &LVProductBatch::progressChanged, this, &LVUpdateAllInstalledInstallItem::showRunProgress);
    connect(run, &LVProductBatch::ended, this, [this] {
        _run = nullptr;
        showRunProgress();
        estimateInstallStatus();
    });
}

void LVUpdateAllInstalledInstallItem::showRunProgress()
{
    if (!_ui)
        return;
    const QString progress = _run ? _run->progressDescription() : QString();
    _headlineView->setToolTip(progress);
    _headlineView->setAccessibleDescription(progress.isEmpty() ? _ui->_statusTextField->text() : progress);
}
