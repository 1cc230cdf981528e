#pragma once

#include "LVToolItem.h"

#include <QLineEdit>

// Searches the support site's knowledge base for what the user types.
class LVToolKnowledgeBaseSearchItem : public LVToolItem
{
    Q_OBJECT
public:
    static LVToolKnowledgeBaseSearchItem* tool();

    QString title() const override { return QStringLiteral("Knowledge Base"); }

    // The search page for `query`, the query appended as typed (no percent-encoding); an invalid
    // URL (a query with a space, for one) when the text makes it so.
    static QUrl searchURL(const QString& query);
    // The edited field's text: opens the search page, or nothing when the text is empty or makes
    // the address invalid.
    void controlTextDidEndEditing(const QString& text);

    QLineEdit* searchField() const { return _searchField; }

protected:
    QWidget* loadPanel() override;

private:
    LVToolKnowledgeBaseSearchItem() = default;

    QPointer<QLineEdit> _searchField;
};
