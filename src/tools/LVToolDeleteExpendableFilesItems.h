#pragma once

#include "LVToolItem.h"

// Opens the search for stray copies of the plug-in applications. Only on macOS 12 or later.
class LVToolDeleteExpendableFilesItems : public LVToolItem
{
    Q_OBJECT
public:
    // Null before macOS 12, so the tool is missing from the list there.
    static LVToolDeleteExpendableFilesItems* tool();

    QString title() const override { return QStringLiteral("Delete Expendable Files"); }

    void searchButtonAction();

protected:
    QWidget* loadPanel() override;

private:
    LVToolDeleteExpendableFilesItems() = default;
};
