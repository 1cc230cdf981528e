#include "LVHelpItem.h"
#include "ui_LVHelpItem.h"

#include "LVHelpTitleTextField.h"
#include "catalogue/VMHelpItem.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

#include <QUrl>

LVHelpItem::LVHelpItem(const std::shared_ptr<VMHelpItem>& helpItem) : _helpItem(helpItem), _helpURL(helpItem->helpURL())
{}

LVHelpItem::~LVHelpItem()
{
    delete _headlineView;
}

LVHelpItem* LVHelpItem::initWithVMNewsItem(const std::shared_ptr<VMHelpItem>& helpItem)
{
    if (!helpItem) {
        VM_LOG_MESSAGE(QStringLiteral("vmHelpItem = nil"));
        return nullptr;
    }
    return new LVHelpItem(helpItem);
}

LVHelpItem* LVHelpItem::helpItemWithVMHelpItem(const std::shared_ptr<VMHelpItem>& helpItem)
{
    return initWithVMNewsItem(helpItem);
}

QString LVHelpItem::title() const
{
    return _helpItem->title();
}

QWidget* LVHelpItem::view()
{
    if (!_headlineView) {
        _headlineView = new LVHelpTitleTextField;
        Ui::LVHelpItem().setupUi(_headlineView);
        connect(_headlineView, &LVHelpTitleTextField::clicked, this, &LVHelpItem::openHelpPage);
        const QString title = _helpItem->title();
        _headlineView->setString(title.isNull() ? QString() : title);
        if (!title.isEmpty())
            _headlineView->resizeToFit();
    }
    return _headlineView;
}

void LVHelpItem::openHelpPage()
{
    const QUrl url(_helpURL, QUrl::StrictMode);
    if (_helpURL.isEmpty() || !url.isValid())
        return;
    Platform::workspace().openUrl(url);
}
