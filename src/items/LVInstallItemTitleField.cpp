#include "LVInstallItemTitleField.h"

#include "LVInstallItem.h"

#include <QAbstractTextDocumentLayout>
#include <QMouseEvent>
#include <QPainter>

LVInstallItemTitleField::LVInstallItemTitleField(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TranslucentBackground);
}

void LVInstallItemTitleField::setStringValue(const QString& value)
{
    _attributedStringValue = QString();
    _stringValue = value;
    updateGeometry();
    update();
}

void LVInstallItemTitleField::setAttributedStringValue(const QString& value)
{
    _stringValue = QString();
    _attributedStringValue = value;
    updateGeometry();
    update();
}

QFont LVInstallItemTitleField::titleFont()
{
    QFont font;
    font.setPixelSize(13);
    font.setBold(true);
    return font;
}

std::unique_ptr<QTextDocument> LVInstallItemTitleField::documentToDraw() const
{
    if (_attributedStringValue.isNull() && _stringValue.isNull())
        return nullptr;
    auto document = std::make_unique<QTextDocument>();
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
    const auto document = documentToDraw();
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
    const auto document = documentToDraw();
    if (!document)
        return;
    QPainter painter(this);
    // Natural size, left-aligned and hanging from the top edge.
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette.setColor(QPalette::Text, Qt::white);
    context.clip = QRectF(rect());
    document->documentLayout()->draw(&painter, context);
}
