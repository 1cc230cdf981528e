#include "LVHelpTitleTextField.h"

#include "LVHelpItem.h"

#include <QFontMetrics>
#include <QMouseEvent>
#include <QPainter>

LVHelpTitleTextField::LVHelpTitleTextField(QWidget* parent) : QWidget(parent)
{
    _textColor = normalColor();
    _textFont = font();
    _textFont.setPixelSize(13);
    setCursor(Qt::PointingHandCursor);
}

QColor LVHelpTitleTextField::normalColor()
{
    return QColor::fromRgbF(0.8, 0.8, 0.8, 1.0);
}

QColor LVHelpTitleTextField::pressedColor()
{
    return QColor(Qt::white);
}

void LVHelpTitleTextField::setTextFont(const QFont& font)
{
    _textFont = font;
    update();
}

void LVHelpTitleTextField::setTextColor(const QColor& color)
{
    _textColor = color;
    update();
}

void LVHelpTitleTextField::setString(const QString& string)
{
    _string = string;
    update();
}

QRect LVHelpTitleTextField::textFrame() const
{
    return QRect(12, 4, width() - 12, height() - 8);
}

void LVHelpTitleTextField::resizeToFit()
{
    const QRect frame = textFrame();
    const QFontMetrics metrics(_textFont);
    const QRect needed = metrics.boundingRect(QRect(0, 0, frame.width(), 1000), Qt::TextWordWrap, _string);
    if (needed.height() > frame.height())
        resize(width(), height() + needed.height() - frame.height());
}

void LVHelpTitleTextField::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    _tracking = true;
    setTextColor(pressedColor());
}

void LVHelpTitleTextField::mouseMoveEvent(QMouseEvent* event)
{
    if (!_tracking)
        return;
    setTextColor(rect().contains(event->position().toPoint()) ? pressedColor() : normalColor());
}

void LVHelpTitleTextField::mouseReleaseEvent(QMouseEvent* event)
{
    if (!_tracking)
        return;
    _tracking = false;
    setTextColor(normalColor());
    if (rect().contains(event->position().toPoint()) && _delegate)
        _delegate->textFieldClicked(event, this);
}

void LVHelpTitleTextField::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(_textColor);
    painter.drawEllipse(QRectF(0, 8, 8, 8));
    painter.setFont(_textFont);
    painter.setPen(_textColor);
    painter.drawText(textFrame(), Qt::TextWordWrap | Qt::AlignLeft | Qt::AlignTop, _string);
}
