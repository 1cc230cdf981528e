#pragma once

#include "LVToolItem.h"

#include <QCheckBox>

// The settings tool: a check box that shows or hides discontinued products in the install list.
class LVToolSettingsItem : public LVToolItem
{
    Q_OBJECT
public:
    static LVToolSettingsItem* tool();

    bool initView() override;
    QString title() const override { return QStringLiteral("Settings"); }

    // Posts "notifShowDiscontinuedProductsChanged" with the check box's state.
    void showDiscontinuedProductsButton(bool checked);

    QCheckBox* showDiscontinuedProductsCheckBox() const { return _showDiscontinuedProductsButton; }

protected:
    QWidget* loadPanel() override;

private:
    LVToolSettingsItem() = default;

    QPointer<QCheckBox> _showDiscontinuedProductsButton;
};
