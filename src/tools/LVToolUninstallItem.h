#pragma once

#include "LVToolItem.h"
#include "engines/LVProductBatch.h"

#include "widgets/LVSpinner.h"

#include <QByteArray>
#include <QComboBox>
#include <QPushButton>
#include <memory>

class LVToolUninstallItemDelegate;

// Removes the maker's products in one step: the product model's total-uninstall run fetches a
// ready-made uninstall script from the download server and runs it as administrator; the tool
// shows a summary and makes every product row re-read its state. A failed download or a refused
// password leaves the tool busy.
class LVToolUninstallItem : public LVToolItem
{
    Q_OBJECT
public:
    enum UninstallOption : uint { AllProducts = 1, FxPlug3Products = 2 };

    static constexpr const char* supportEmailAddress = "support@quarnet.com";

    static LVToolUninstallItem* tool();
    ~LVToolUninstallItem() override;

    bool initView() override;
    QString title() const override { return QStringLiteral("Uninstall Products"); }

    uint uninstallOption() const { return _uninstallOption; }
    void setUninstallOption(uint option);
    void optionsButtonAction();
    // The script's address for the current option; empty for an option without one.
    QUrl uninstallScriptURL() const;

    LVToolUninstallItemDelegate* delegate() const;
    void setDelegate(LVToolUninstallItemDelegate* delegate);

    void uninstallButtonAction();
    void startUninstall();
    // The entry for callers outside the tools tab (the older-versions offer at start-up uses 2).
    void startUninstallWithOption(uint option, LVToolUninstallItemDelegate* delegate);
    void checkInstallComplete(bool success);
    // Busy: the indicator shown and the button disabled.
    bool isBusy() const { return _busy; }

    QPushButton* uninstallButton() const { return _uninstallButton; }
    QComboBox* optionsButton() const { return _optionsButton; }
    LVSpinner* progressIndicator() const { return _progressIndicator; }

protected:
    QWidget* loadPanel() override;

private:
    LVToolUninstallItem();
    void tellDelegate(uint state);
    void scriptStepChanged(LVProductBatch::ScriptStep step);
    void setBusy(bool busy);
    void showErrorOccuredAlert();
    void selectOptionInPopUp();

    QPointer<QPushButton> _uninstallButton;
    QPointer<QComboBox> _optionsButton;
    QPointer<LVSpinner> _progressIndicator;
    uint _uninstallOption = FxPlug3Products;
    LVToolUninstallItemDelegate* _delegate = nullptr;
    QPointer<QObject> _delegateObject;
    bool _busy = false;
};
