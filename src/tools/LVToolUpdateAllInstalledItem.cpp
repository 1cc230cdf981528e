#include "LVToolUpdateAllInstalledItem.h"
#include "ui_LVToolUpdateAllInstalledItem.h"

#include "LVToolUpdateAllInstalledItemDelegate.h"
#include "catalogue/VMInstallStatus.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "items/LVRowHost.h"
#include "items/LVSingleInstallItem.h"
#include "widgets/LVSpinner.h"

LVToolUpdateAllInstalledItem* LVToolUpdateAllInstalledItem::tool()
{
    static LVToolUpdateAllInstalledItem* const instance = new LVToolUpdateAllInstalledItem;
    return instance;
}

LVToolUpdateAllInstalledItem::LVToolUpdateAllInstalledItem() = default;
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

LVToolUpdateAllInstalledItemDelegate* LVToolUpdateAllInstalledItem::delegate() const
{
    return _delegateObject ? _delegate : nullptr;
}

void LVToolUpdateAllInstalledItem::setDelegate(LVToolUpdateAllInstalledItemDelegate* delegate)
{
    auto* object = dynamic_cast<QObject*>(delegate);
    _delegate = object ? delegate : nullptr;
    _delegateObject = object;
}

void LVToolUpdateAllInstalledItem::tellDelegate(uint state, const QString& productName)
{
    if (LVToolUpdateAllInstalledItemDelegate* target = delegate())
        target->updateStateChanged(state, productName, this);
}

QList<LVSingleInstallItem*> LVToolUpdateAllInstalledItem::singleProductRows() const
{
    QList<LVSingleInstallItem*> rows;
    if (LVRowHost* manager = installManager()) {
        for (LVInstallItem* row : manager->singleProductInstallItems()) {
            if (auto* single = qobject_cast<LVSingleInstallItem*>(row))
                rows.append(single);
        }
    }
    return rows;
}

QList<LVSingleInstallItem*> LVToolUpdateAllInstalledItem::installedItems() const
{
    QList<LVSingleInstallItem*> items;
    for (LVSingleInstallItem* row : singleProductRows()) {
        if (row->installStatus() != LVInstallItem::StatusNotInstalled)
            items.append(row);
    }
    return items;
}

QList<LVToolUpdateAllInstalledItem::InstallerEntry> LVToolUpdateAllInstalledItem::installerDicts() const
{
    const QList<LVSingleInstallItem*> rows = singleProductRows();
    QList<VMSingleProductItemPtr> products;
    for (LVSingleInstallItem* single : rows)
        products.append(single->singleProductItem());
    QList<InstallerEntry> entries;
    for (const qsizetype index : LVProductOperations::shared().updatesToInstall(products))
        entries.append({rows.at(index), products.at(index)->latestVersionInstallerURL(), WaitingForDownload});
    return entries;
}

void LVToolUpdateAllInstalledItem::updateButtonAction()
{
    startUpdate(installerDicts());
}

bool LVToolUpdateAllInstalledItem::startUpdate(const QList<InstallerEntry>& installerDicts)
{
    if (isBusy())
        return false;
    if (installerDicts.isEmpty()) {
        if (LVRowHost* manager = installManager())
            manager->showAlert(LVAlert(QStringLiteral("No Updates Found"),
                                       QStringLiteral("No updates to installed products found, all products are up "
                                                      "to date.")));
        return false;
    }
    QList<LVProductBatch::Item> items;
    _entries.clear();
    for (const InstallerEntry& entry : installerDicts) {
        if (!entry.singleInstallItem)
            continue;
        _entries.append(entry);
        items.append({entry.singleInstallItem->singleProductItem(),
                      installedVersion(*entry.singleInstallItem, entry.installerURL), entry.installerURL});
    }
    LVProductBatch::Policy policy;
    // Nothing further after a failed download or a refused password: the run stays unfinished.
    policy.downloadFailure = LVProductBatch::Policy::OnFailure::Stall;
    policy.refusedAuthorization = LVProductBatch::Policy::OnFailure::Stall;
    policy.installsAsAdministrator = true;
    policy.secondsBetweenInstallations = 2.0;
    // The rows learn their versions when the whole run has ended.
    policy.secondsBeforeAnnouncement = -1.0;
    policy.createFailureLog = LVAdminAuthorization::CreateFailureLog::ExtendedLoggingOnly;
    // No row may cancel it: the run has no cancel of its own.
    policy.holderTitle = title();
    _run = new LVProductBatch(LVProductBatch::Kind::Install, items, policy, this);
    connect(_run, &LVProductBatch::stateChanged, this, &LVToolUpdateAllInstalledItem::entryChanged);
    connect(_run, &LVProductBatch::downloadStarted, this,
            [this](qsizetype index) { tellDelegate(Downloading, entryTitle(index)); });
    connect(_run, &LVProductBatch::progressChanged, this, &LVToolUpdateAllInstalledItem::progressChanged);
    connect(_run, &LVProductBatch::ended, this, &LVToolUpdateAllInstalledItem::runEnded);
    // A run that cannot start its first download stays, as a stalled run does.
    if (!_run->start())
        return false;
    showRunning(true);
    return true;
}

QString LVToolUpdateAllInstalledItem::entryTitle(qsizetype index) const
{
    if (const LVSingleInstallItem* row = _entries.value(index).singleInstallItem)
        return row->title();
    const VMSingleProductItemPtr product = _run ? _run->item(index).product : nullptr;
    return product ? product->title() : QString();
}

void LVToolUpdateAllInstalledItem::entryChanged(qsizetype index, LVProductBatch::State state)
{
    if (index < _entries.size())
        _entries[index].installState = uint(state);
    if (state == LVProductBatch::State::Downloading) {
        setDescription(QStringLiteral("Downloading '%1'").arg(entryTitle(index)));
    } else if (state == LVProductBatch::State::Installing) {
        setDescription(QStringLiteral("Installing '%1'").arg(entryTitle(index)));
        tellDelegate(Installing, entryTitle(index));
    }
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
    tellDelegate(succeeded ? Installed : InstallFailed, QString());
    if (LVRowHost* manager = installManager())
        manager->showAlert(alert);
    showRunning(false);
    setDescription(QString());

    const QList<InstallerEntry> ended = std::exchange(_entries, {});
    LVProductBatch* run = std::exchange(_run, nullptr);
    // This runs inside the run's own signal: it goes once that has returned.
    run->deleteLater();
    // Two notifications per entry and nothing else; the model looks the versions up again, for
    // products that shared an installer as well.
    for (qsizetype index = 0; index < ended.size(); ++index) {
        QObject* sender = ended.at(index).singleInstallItem
                              ? static_cast<QObject*>(ended.at(index).singleInstallItem.data())
                              : static_cast<QObject*>(this);
        LVProductOperations::announceUpdate(run->item(index).product, sender);
    }
    emit progressChanged();
}

VMVersionItemPtr LVToolUpdateAllInstalledItem::installedVersion(const LVSingleInstallItem& row,
                                                                const QString& installerURL)
{
    const VMVersionItemPtr latest = row.singleProductItem()->latestVersionItem();
    return latest && latest->versionDownloadURL() == installerURL ? latest : nullptr;
}

QString LVToolUpdateAllInstalledItem::progressDescription() const
{
    const qsizetype index = _run ? _run->downloadingIndex() : -1;
    if (index < 0)
        return QString();
    QString text =
        QStringLiteral("Downloading '%1' (%2 of %3)").arg(entryTitle(index)).arg(index + 1).arg(_run->count());
    const QString bytes = _run->operation(index) ? _run->operation(index)->progressDescription() : QString();
    if (!bytes.isEmpty())
        text += QStringLiteral(": ") + bytes;
    return text;
}
