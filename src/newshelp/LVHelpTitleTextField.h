#pragma once

#include <QColor>
#include <QFont>
#include <QWidget>

// The clickable title of a help row: a dot and the title, lighter while pressed or focused; a click
// that ends inside the field, Space or Return emit clicked().
class LVHelpTitleTextField : public QWidget
{
    Q_OBJECT
public:
    explicit LVHelpTitleTextField(QWidget* parent = nullptr);

    static QColor normalColor();
    static QColor pressedColor();

    QColor textColor() const { return _textColor; }
    void setTextColor(const QColor& color);
    QString string() const { return _string; }
    void setString(const QString& string);

    // Where the text goes: 12 in from the left (past the dot), 4 in from top and bottom.
    QRect textFrame() const;
    // Grows the field to fit its text; it never shrinks.
    void resizeToFit();

    // What a click that ends inside the field does.
    void click();

signals:
    void clicked();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QFont _textFont;
    QColor _textColor;
    QString _string;
    bool _tracking = false;
};
