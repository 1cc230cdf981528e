#include "LVToolKnowledgeBaseSearchItem.h"
#include "ui_LVToolKnowledgeBaseSearchItem.h"

#include "catalogue/LVServers.h"
#include "platform/Platform.h"

LVToolKnowledgeBaseSearchItem* LVToolKnowledgeBaseSearchItem::tool()
{
    static LVToolKnowledgeBaseSearchItem* const instance = new LVToolKnowledgeBaseSearchItem;
    return instance;
}

QWidget* LVToolKnowledgeBaseSearchItem::loadPanel()
{
    auto* panel = new LVToolContainerView;
    Ui::LVToolKnowledgeBaseSearchItem ui;
    ui.setupUi(panel);
    _searchField = ui._searchField;
    connect(ui._searchField, &QLineEdit::editingFinished, this,
            [this] { controlTextDidEndEditing(_searchField ? _searchField->text() : QString()); });
    return panel;
}

QUrl LVToolKnowledgeBaseSearchItem::searchURL(const QString& query)
{
    QString base = LVServers::supportBaseURL().toString();
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    return QUrl(base + QStringLiteral("/hc/en-gb/search?utf8=&query=") + query, QUrl::StrictMode);
}

void LVToolKnowledgeBaseSearchItem::controlTextDidEndEditing(const QString& text)
{
    if (text.isEmpty())
        return;
    const QUrl url = searchURL(text);
    if (url.isValid())
        Platform::workspace().openUrl(url);
}
