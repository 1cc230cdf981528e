#include "LVStatusImages.h"

#include <QFile>
#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace {
QPixmap drawn(const QString& name)
{
    const int side = 32;
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF dot(7, 7, 18, 18);
    const auto statusDot = [&](const QColor& color) {
        QRadialGradient gradient(dot.center() - QPointF(3, 3), 12);
        gradient.setColorAt(0, color.lighter(150));
        gradient.setColorAt(1, color);
        painter.setPen(QPen(color.darker(140), 1));
        painter.setBrush(gradient);
        painter.drawEllipse(dot);
    };
    if (name == QLatin1String("NSStatusAvailable")) {
        statusDot(QColor(0x34, 0xc7, 0x59));
    } else if (name == QLatin1String("NSStatusPartiallyAvailable")) {
        statusDot(QColor(0xff, 0xcc, 0x00));
    } else if (name == QLatin1String("NSStatusNone")) {
        painter.setPen(QPen(QColor(0x8e, 0x8e, 0x93), 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(dot);
    } else if (name == QLatin1String("NSTouchBarDownloadTemplate")) {
        painter.setPen(QPen(QColor(0xe5, 0xe5, 0xea), 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawLine(QPointF(16, 6), QPointF(16, 21));
        painter.drawPolyline(QList<QPointF>{{10, 15}, {16, 21}, {22, 15}});
        painter.drawLine(QPointF(8, 26), QPointF(24, 26));
    } else if (name == QLatin1String("NSStopProgressFreestandingTemplate")) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0xe5, 0xe5, 0xea));
        painter.drawEllipse(QRectF(5, 5, 22, 22));
        painter.setPen(QPen(QColor(0x2c, 0x2c, 0x2e), 2.5, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(12, 12), QPointF(20, 20));
        painter.drawLine(QPointF(20, 12), QPointF(12, 20));
    }
    return pixmap;
}
} // namespace

static void initImageResources()
{
    Q_INIT_RESOURCE(LVImages);
}

QIcon LVStatusImages::named(const QString& name)
{
    // The images live in this library's resources, which a static library must register itself.
    static const bool resources = (initImageResources(), true);
    Q_UNUSED(resources);
    // Made once per name: every row shows them, and an icon keeps the pixmaps it has rendered.
    static QHash<QString, QIcon> icons;
    const auto known = icons.constFind(name);
    if (known != icons.constEnd())
        return *known;
    const QString resource = QStringLiteral(":/%1").arg(name);
    const QIcon icon = QFile::exists(resource) ? QIcon(resource) : QIcon(drawn(name));
    icons.insert(name, icon);
    return icon;
}
