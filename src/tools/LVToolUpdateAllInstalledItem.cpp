#include "LVToolUpdateAllInstalledItem.h"
#include "ui_LVToolUpdateAllInstalledItem.h"

#include "catalogue/VMSingleProductItem.h"
#include "engines/LVProductOperations.h"
#include "items/LVInstallItem.h"
#include "items/LVRowHost.h"
#include "widgets/LVSpinner.h"

LVToolUpdateAllInstalledItem* LVToolUpdateAllInstalledItem::tool()
{
    static LVToolUpdateAllInstalledItem* const instance = new LVToolUpdateAllInstalledItem;
    return instance;
}

LVToolUpdateAllInstalledItem::LVToolUpdateAllInstalledItem()
{
    LVProductOperations& model = LVProductOperations::shared();
    connect(&model, &LVProductOperations::batchMade, this, [this](const QString& key, LVProductBatch* run) {
        if (key == QLatin1String(LVProductOperations::updateAllRun))
            follow(run);
    });
    // A run made before the tool was.
    if (LVProductBatch* run = model.batch(QLatin1String(LVProductOperations::updateAllRun)))
        follow(run);
}

LVToolUpdateAllInstalledItem::~LVToolUpdateAllInstalledItem() = default;

QWidget* LVToolUpdateAllInstalledItem::loadPanel()
{
    auto* panel = new LVToolContainerView;
    Ui::LVToolUpdateAllInstalledItem ui;
    ui.setupUi(panel);
    _updateButton = ui._updateButton;
    _progressIndicator = ui._progressIndicator;
    _progressDescription = ui._progressDescription;
    connect(ui._updateButton, &QPushButton::clicked, this, &LVToolUpdateAllInstalledItem::updateButtonAction);
    return panel;
}

bool LVToolUpdateAllInstalledItem::initView()
{
    const bool loaded = LVToolItem::initView();
    // A panel made while a run is under way shows it.
    showRunning(isBusy());
    setDescription(_description);
    return loaded;
}

void LVToolUpdateAllInstalledItem::showRunning(bool running)
{
    if (_progressIndicator) {
        _progressIndicator->setVisible(running);
        if (running)
            _progressIndicator->startAnimation();
        else
            _progressIndicator->stopAnimation();
    }
    if (_updateButton)
        _updateButton->setEnabled(!running);
}

void LVToolUpdateAllInstalledItem::setDescription(const QString& text)
{
    _description = text;
    if (_progressDescription)
        _progressDescription->setText(text);
}

void LVToolUpdateAllInstalledItem::updateButtonAction()
{
    startUpdate();
}

bool LVToolUpdateAllInstalledItem::startUpdate()
{
    if (isBusy())
        return false;
    LVRowHost* manager = installManager();
    const QList<VMSingleProductItemPtr> products =
        manager ? manager->singleProducts() : QList<VMSingleProductItemPtr>();
    LVProductBatch* run = LVProductOperations::shared().startUpdateAll(products, title());
    if (!run && manager && !isBusy())
        manager->showAlert(LVAlert(QStringLiteral("No Updates Found"),
                                   QStringLiteral("No updates to installed products found, all products are up "
                                                  "to date.")));
    // A run that cannot start its first download stays, as a stalled run does.
    return run && !run->isStalled();
}

void LVToolUpdateAllInstalledItem::follow(LVProductBatch* run)
{
    _run = run;
    connect(run, &LVProductBatch::stateChanged, this, &LVToolUpdateAllInstalledItem::entryChanged);
    connect(run, &LVProductBatch::ended, this, &LVToolUpdateAllInstalledItem::runEnded);
    showRunning(true);
}

void LVToolUpdateAllInstalledItem::entryChanged(qsizetype index, LVProductBatch::State state)
{
    const VMSingleProductItemPtr product = _run ? _run->item(index).product : nullptr;
    const QString title = product ? product->title() : QString();
    if (state == LVProductBatch::State::Downloading)
        setDescription(QStringLiteral("Downloading '%1'").arg(title));
    else if (state == LVProductBatch::State::Installing)
        setDescription(QStringLiteral("Installing '%1'").arg(title));
}

void LVToolUpdateAllInstalledItem::runEnded()
{
    bool succeeded = true;
    for (qsizetype index = 0; index < _run->count(); ++index)
        succeeded = succeeded && _run->state(index) == LVProductBatch::State::Installed;
    const LVAlert alert = succeeded ? LVAlert(QStringLiteral("Updating Completed"),
                                              QStringLiteral("All updates were installed successfully."))
                                    : LVAlert(QStringLiteral("Updating Failed"),
                                              QStringLiteral("Some products could not be update, please update them "
                                                             "manually."));
    if (LVRowHost* manager = installManager())
        manager->showAlert(alert);
    showRunning(false);
    setDescription(QString());
    _run = nullptr;
}
