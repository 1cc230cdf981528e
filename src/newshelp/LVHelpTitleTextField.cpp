#include "LVHelpTitleTextField.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAccessibleWidget>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace {
// Read as a link with the title as its name; pressing it opens the help page as a click does.
class HelpTitleAccessible : public QAccessibleWidget
{
public:
    explicit HelpTitleAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::Link) {}

    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name && widget()->accessibleName().isEmpty())
            return field()->string();
        return QAccessibleWidget::text(t);
    }
    QStringList actionNames() const override { return QStringList{pressAction()} + QAccessibleWidget::actionNames(); }
    void doAction(const QString& name) override
    {
        if (name == pressAction()) {
            field()->click();
            return;
        }
        QAccessibleWidget::doAction(name);
    }

private:
    LVHelpTitleTextField* field() const { return static_cast<LVHelpTitleTextField*>(widget()); }
};

QAccessibleInterface* helpTitleAccessible(const QString& className, QObject* object)
{
    if (className == QLatin1String("LVHelpTitleTextField") && object && object->isWidgetType())
        return new HelpTitleAccessible(static_cast<QWidget*>(object));
    return nullptr;
}
} // namespace

LVHelpTitleTextField::LVHelpTitleTextField(QWidget* parent) : QWidget(parent)
{
    static const bool accessibleFactory = (QAccessible::installFactory(helpTitleAccessible), true);
    Q_UNUSED(accessibleFactory);
    setFocusPolicy(Qt::TabFocus);
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

void LVHelpTitleTextField::setTextColor(const QColor& color)
{
    _textColor = color;
    update();
}

void LVHelpTitleTextField::setString(const QString& string)
{
    _string = string;
    update();
    if (QAccessible::isActive()) {
        QAccessibleEvent event(this, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&event);
    }
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

void LVHelpTitleTextField::click()
{
    emit clicked();
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
    if (rect().contains(event->position().toPoint()))
        click();
}

void LVHelpTitleTextField::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    if (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter) {
        click();
        return;
    }
    QWidget::keyPressEvent(event);
}

void LVHelpTitleTextField::focusInEvent(QFocusEvent* event)
{
    setTextColor(pressedColor());
    QWidget::focusInEvent(event);
}

void LVHelpTitleTextField::focusOutEvent(QFocusEvent* event)
{
    setTextColor(normalColor());
    QWidget::focusOutEvent(event);
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
