#include "LVToolDeleteExpendableFilesItems.h"
#include "ui_LVToolDeleteExpendableFilesItems.h"

#include "LVToolSearchAndDelete.h"
#include "platform/Platform.h"

LVToolDeleteExpendableFilesItems* LVToolDeleteExpendableFilesItems::tool()
{
    if (Platform::systemInfo().operatingSystemVersion().majorVersion() <= 11)
        return nullptr;
    static LVToolDeleteExpendableFilesItems* const instance = new LVToolDeleteExpendableFilesItems;
    return instance;
}

QWidget* LVToolDeleteExpendableFilesItems::loadPanel()
{
    auto* panel = new LVToolContainerView;
    Ui::LVToolDeleteExpendableFilesItems ui;
    ui.setupUi(panel);
    connect(ui._searchButton, &QPushButton::clicked, this, &LVToolDeleteExpendableFilesItems::searchButtonAction);
    return panel;
}

void LVToolDeleteExpendableFilesItems::searchButtonAction()
{
    LVToolSearchAndDelete::sharedManager()->show();
}
