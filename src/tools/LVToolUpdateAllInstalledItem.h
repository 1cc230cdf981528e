#pragma once

#include "LVToolItem.h"
#include "engines/LVProductBatch.h"
#include "widgets/LVSpinner.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>

// Brings every installed product that has an update to its latest version in one run: one entry
// per distinct installer URL, all downloads one after another, then all installations one after
// another under one administrator authorization, then one summary. The product model makes and
// confirms the run, whoever starts it (this tool or the update-all row); the tool shows it and
// says what the outcome means. A failed download or a refused password leaves the run unfinished
// and the tool busy.
class LVToolUpdateAllInstalledItem : public LVToolItem
{
    Q_OBJECT
public:
    static LVToolUpdateAllInstalledItem* tool();
    ~LVToolUpdateAllInstalledItem() override;

    bool initView() override;
    QString title() const override { return QStringLiteral("Update All Installed Products"); }

    void updateButtonAction();
    // True when a run started. Refused while one is under way; with nothing to update it shows
    // "No Updates Found".
    bool startUpdate();
    // A run is under way, or stalled.
    bool isBusy() const { return _run != nullptr; }

    QPushButton* updateButton() const { return _updateButton; }
    LVSpinner* progressIndicator() const { return _progressIndicator; }
    QLabel* progressDescriptionField() const { return _progressDescription; }

protected:
    QWidget* loadPanel() override;

private:
    LVToolUpdateAllInstalledItem();
    void follow(LVProductBatch* run);
    void entryChanged(qsizetype index, LVProductBatch::State state);
    void runEnded();
    void setDescription(const QString& text);
    void showRunning(bool running);

    QPointer<QPushButton> _updateButton;
    QPointer<LVSpinner> _progressIndicator;
    QPointer<QLabel> _progressDescription;
    QString _description;
    QPointer<LVProductBatch> _run;
};
