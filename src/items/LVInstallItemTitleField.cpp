#include "LVInstallItemTitleField.h"

#include "LVInstallItem.h"

#include <QAbstractTextDocumentLayout>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QTextDocumentFragment>

namespace {
// Read as static text: the plain string, or the styled title's text.
class TitleFieldAccessible : public QAccessibleWidget
{
public:
    explicit TitleFieldAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::StaticText) {}

    QString text(QAccessible::Text t) const override
    {
        if (t != QAccessible::Name || !widget()->accessibleName().isEmpty())
            return QAccessibleWidget::text(t);
        const auto* field = static_cast<const LVInstallItemTitleField*>(widget());
        if (!field->attributedStringValue().isNull())
            return QTextDocumentFragment::fromHtml(field->attributedStringValue()).toPlainText();
        return field->stringValue();
    }
};

QAccessibleInterface* titleFieldAccessible(const QString& className, QObject* object)
{
    if (className == QLatin1String("LVInstallItemTitleField") && object && object->isWidgetType())
        return new TitleFieldAccessible(static_cast<QWidget*>(object));
    return nullptr;
}

void noteNameChanged(QWidget* field)
{
    if (QAccessible::isActive()) {
        QAccessibleEvent event(field, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&event);
    }
}
} // namespace

LVInstallItemTitleField::LVInstallItemTitleField(QWidget* parent) : QWidget(parent)
{
    static const bool accessibleFactory = (QAccessible::installFactory(titleFieldAccessible), true);
    Q_UNUSED(accessibleFactory);
    setAttribute(Qt::WA_TranslucentBackground);
}

void LVInstallItemTitleField::setStringValue(const QString& value)
{
    _attributedStringValue = QString();
    _stringValue = value;
    _document.reset();
    updateGeometry();
    update();
    noteNameChanged(this);
}

void LVInstallItemTitleField::setAttributedStringValue(const QString& value)
{
    if (value == _attributedStringValue && _stringValue.isNull())
        return;
    _stringValue = QString();
    _attributedStringValue = value;
    _document.reset();
    updateGeometry();
    update();
    noteNameChanged(this);
}

QFont LVInstallItemTitleField::titleFont()
{
    QFont font;
    font.setPixelSize(13);
    font.setBold(true);
    return font;
}

QTextDocument* LVInstallItemTitleField::documentToDraw() const
{
    if (_attributedStringValue.isNull() && _stringValue.isNull())
        return nullptr;
    // Laid out once per title: lists paint and measure their rows' titles often.
    if (_document)
        return _document.get();
    _document = std::make_unique<QTextDocument>();
    QTextDocument* document = _document.get();
    document->setDocumentMargin(0);
    if (!_attributedStringValue.isNull()) {
        document->setHtml(_attributedStringValue);
    } else {
        document->setDefaultFont(titleFont());
        document->setDefaultStyleSheet(QStringLiteral("body { color: #ffffff; }"));
        document->setHtml(QStringLiteral("<body>%1</body>").arg(_stringValue.toHtmlEscaped()));
    }
    return document;
}

QSize LVInstallItemTitleField::sizeHint() const
{
    const QTextDocument* document = documentToDraw();
    return document ? document->size().toSize() : QSize(0, 0);
}

void LVInstallItemTitleField::mousePressEvent(QMouseEvent* event)
{
    // A press with a click count of 2 or more arrives as a double click.
    if (_delegate)
        _delegate->singleClicked(event, this);
}

void LVInstallItemTitleField::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (_delegate)
        _delegate->doubleClicked(event, this);
}

void LVInstallItemTitleField::paintEvent(QPaintEvent*)
{
    QTextDocument* document = documentToDraw();
    if (!document)
        return;
    QPainter painter(this);
    // Natural size, left-aligned and hanging from the top edge.
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette.setColor(QPalette::Text, Qt::white);
    context.clip = QRectF(rect());
    document->documentLayout()->draw(&painter, context);
}
