#include "LVToolSettingsItem.h"
#include "ui_LVToolSettingsItem.h"

#include "foundation/LVPreferences.h"
#include "foundation/VMNotificationCenter.h"

#include <QSignalBlocker>

LVToolSettingsItem* LVToolSettingsItem::tool()
{
    static LVToolSettingsItem* const instance = new LVToolSettingsItem;
    return instance;
}

QWidget* LVToolSettingsItem::loadPanel()
{
    auto* panel = new LVToolContainerView;
    Ui::LVToolSettingsItem ui;
    ui.setupUi(panel);
    _showDiscontinuedProductsButton = ui._showDiscontinuedProductsButton;
    // Toggled, not clicked: assistive tools toggle a check box without clicking it.
    connect(ui._showDiscontinuedProductsButton, &QCheckBox::toggled, this,
            &LVToolSettingsItem::showDiscontinuedProductsButton);
    return panel;
}

bool LVToolSettingsItem::initView()
{
    const bool loaded = LVToolItem::initView();
    if (_showDiscontinuedProductsButton) {
        const QSignalBlocker blocker(_showDiscontinuedProductsButton);
        _showDiscontinuedProductsButton->setChecked(
            LVPreferences::sharedPreferences()
                ->propertyForKey(QLatin1String(LVPreferences::showDiscontinuedProducts))
                .toBool());
    }
    return loaded;
}

void LVToolSettingsItem::showDiscontinuedProductsButton(bool checked)
{
    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("notifShowDiscontinuedProductsChanged"),
                                                           QVariant(checked));
}
