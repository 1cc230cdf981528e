#include "LVOutlineTab.h"

#include "LVOutlineModel.h"
#include "LVOutlineView.h"

LVOutlineTab::LVOutlineTab(QWidget* parent) : QWidget(parent) {}

LVOutlineTab::~LVOutlineTab() = default;

void LVOutlineTab::setUpOutline(const QString& placeholderText)
{
    if (_model)
        return;
    _outlineView = findChild<LVOutlineView*>();
    _model = new LVOutlineModel([this] { return rows(); }, this);
    if (_outlineView) {
        _outlineView->setOutlineModel(_model);
        _outlineView->setPlaceholderText(placeholderText);
    }
}

void LVOutlineTab::setPlaceholderText(const QString& text)
{
    if (_outlineView)
        _outlineView->setPlaceholderText(text);
}

void LVOutlineTab::reloadData()
{
    if (_outlineView)
        _outlineView->reloadData();
    else if (_model)
        _model->reload();
}

bool LVOutlineTab::selectItem(LVOutlineItem* item)
{
    return _outlineView && _outlineView->selectItem(item);
}
