#pragma once

#include "LVToolItem.h"

// A selectable tool row about discontinued versions. It can be made but is not in the tool list.
class LVUninstallDiscontinuedItem : public LVToolItem
{
    Q_OBJECT
public:
    static LVUninstallDiscontinuedItem* tool();

    QString title() const override { return QStringLiteral("Uninstall Discontinued Products"); }
    bool shouldSelect() override { return true; }

protected:
    QWidget* loadPanel() override;

private:
    LVUninstallDiscontinuedItem() = default;
};
