#include "LVBadgeImage.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <cmath>

namespace LVBadgeImage {

QImage imageWithNumber(qint64 number, const QColor& color)
{
    QFont font(QStringLiteral("Helvetica"));
    font.setPixelSize(18);
    const QString text = QString::number(number);
    const QFontMetricsF metrics(font);
    const qreal textWidth = metrics.horizontalAdvance(text);
    const qreal textHeight = metrics.height();
    const QSizeF size(qMax(textHeight, textWidth + 12.0), textHeight);

    QImage image(QSize(int(std::ceil(size.width())), int(std::ceil(size.height()))),
                 QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QPainterPath pill;
    pill.addRoundedRect(QRectF(QPointF(0, 0), size), textHeight * 0.5, textHeight * 0.5);
    painter.fillPath(pill, color);
    painter.setFont(font);
    painter.setPen(Qt::white);
    // Drawn 1 point above the bottom edge, as the text box sits in the badge.
    const QRectF textBox((size.width() - textWidth) * 0.5, size.height() - textHeight - 1.0, textWidth, textHeight);
    painter.drawText(textBox, Qt::AlignLeft | Qt::AlignTop, text);
    return image;
}

QColor systemOrangeColor()
{
    return QColor(0xff, 0x9f, 0x0a);
}

} // namespace LVBadgeImage
