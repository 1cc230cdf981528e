#pragma once

#include <QPointer>
#include <QString>
#include <QTextDocument>
#include <QWidget>
#include <memory>

class LVInstallItem;

// The light, non-editable title of an install row: a plain string drawn bold and white, or a
// styled (rich-text) title that takes precedence. Clicks go to the row.
class LVInstallItemTitleField : public QWidget
{
    Q_OBJECT
public:
    explicit LVInstallItemTitleField(QWidget* parent = nullptr);

    LVInstallItem* delegate() const { return _delegate; }
    void setDelegate(LVInstallItem* delegate) { _delegate = delegate; }

    QString stringValue() const { return _stringValue; }
    void setStringValue(const QString& value);
    // Rich text (HTML); a null string means none.
    QString attributedStringValue() const { return _attributedStringValue; }
    void setAttributedStringValue(const QString& value);

    // The bold 13-point white title a plain string is drawn with.
    static QFont titleFont();

    QSize sizeHint() const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QTextDocument* documentToDraw() const;

    QPointer<LVInstallItem> _delegate;
    QString _stringValue;
    QString _attributedStringValue;
    mutable std::unique_ptr<QTextDocument> _document;
};
