#include "LVSegmentedControl.h"

#include <QFontMetrics>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

LVSegmentedControl::LVSegmentedControl(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);
}

void LVSegmentedControl::setSegments(const QStringList& labels)
{
    _segments.clear();
    for (int i = 0; i < labels.size(); ++i)
        _segments.append(Segment{labels.at(i), i, nullptr});
    _selected = _segments.isEmpty() ? -1 : 0;
    updateGeometry();
    update();
}

QString LVSegmentedControl::labelForSegment(int segment) const
{
    return segment >= 0 && segment < _segments.size() ? _segments.at(segment).label : QString();
}

void LVSegmentedControl::setLabel(const QString& label, int segment)
{
    if (segment < 0 || segment >= _segments.size())
        return;
    _segments[segment].label = label;
    updateGeometry();
    placeBadges();
    update();
}

int LVSegmentedControl::selectedTag() const
{
    return tagForSegment(_selected);
}

int LVSegmentedControl::tagForSegment(int segment) const
{
    return segment >= 0 && segment < _segments.size() ? _segments.at(segment).tag : -1;
}

bool LVSegmentedControl::selectSegmentWithTag(int tag)
{
    for (int i = 0; i < _segments.size(); ++i) {
        if (_segments.at(i).tag == tag) {
            _selected = i;
            update();
            return true;
        }
    }
    return false;
}

void LVSegmentedControl::setBadgeView(int segment, QLabel* badge)
{
    if (segment < 0 || segment >= _segments.size() || !badge)
        return;
    _segments[segment].badge = badge;
    badge->setParent(this);
    badge->setAttribute(Qt::WA_TransparentForMouseEvents);
    badge->show();
    placeBadges();
}

void LVSegmentedControl::setCompact(bool compact)
{
    _compact = compact;
    updateGeometry();
    placeBadges();
    update();
}

QFont LVSegmentedControl::segmentFont() const
{
    QFont f = font();
    f.setPixelSize(_compact ? 12 : 13);
    f.setWeight(QFont::Medium);
    return f;
}

int LVSegmentedControl::segmentWidth() const
{
    const QFontMetrics metrics(segmentFont());
    int widest = 0;
    for (const Segment& s : _segments)
        widest = qMax(widest, metrics.horizontalAdvance(s.label));
    return widest + (_compact ? 28 : 36);
}

QSize LVSegmentedControl::sizeHint() const
{
    // Room above and to the right for the badges that overhang the segments.
    return QSize(segmentWidth() * int(_segments.size()) + 10, _compact ? 30 : 36);
}

QRect LVSegmentedControl::segmentRect(int segment) const
{
    const int h = _compact ? 22 : 26;
    const int w = segmentWidth();
    return QRect(2 + segment * w, height() - h - 2, w, h);
}

void LVSegmentedControl::placeBadges()
{
    for (int i = 0; i < _segments.size(); ++i) {
        QLabel* badge = _segments.at(i).badge;
        if (!badge)
            continue;
        const QSize size = badge->pixmap().isNull() ? QSize(0, 0) : badge->pixmap().deviceIndependentSize().toSize();
        badge->resize(size);
        const QRect r = segmentRect(i);
        badge->move(qMin(r.right() - size.width() / 2 - 2, width() - size.width()), 0);
        badge->raise();
    }
}

void LVSegmentedControl::resizeEvent(QResizeEvent*)
{
    placeBadges();
}

void LVSegmentedControl::paintEvent(QPaintEvent*)
{
    if (_segments.isEmpty())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect first = segmentRect(0);
    const QRectF track = QRectF(first.left(), first.top(), first.width() * _segments.size(), first.height());
    QPainterPath trackPath;
    trackPath.addRoundedRect(track.adjusted(0.5, 0.5, -0.5, -0.5), 7, 7);
    painter.fillPath(trackPath, QColor(0x1c, 0x1c, 0x1e));
    painter.setPen(QPen(QColor(255, 255, 255, 22), 1));
    painter.drawPath(trackPath);

    painter.setFont(segmentFont());
    for (int i = 0; i < _segments.size(); ++i) {
        const QRectF r = QRectF(segmentRect(i));
        if (i == _selected) {
            QPainterPath knob;
            knob.addRoundedRect(r.adjusted(2, 2, -2, -2), 5.5, 5.5);
            painter.fillPath(knob, QColor(0x63, 0x63, 0x66));
            painter.setPen(QPen(QColor(255, 255, 255, 30), 1));
            painter.drawPath(knob);
        } else if (i > 0 && i - 1 != _selected) {
            painter.setPen(QPen(QColor(255, 255, 255, 40), 1));
            painter.drawLine(QPointF(r.left(), r.top() + 7), QPointF(r.left(), r.bottom() - 6));
        }
        painter.setPen(i == _selected ? QColor(Qt::white) : QColor(0xc7, 0xc7, 0xcc));
        painter.drawText(r, Qt::AlignCenter, _segments.at(i).label);
    }
}

void LVSegmentedControl::mousePressEvent(QMouseEvent* event)
{
    for (int i = 0; i < _segments.size(); ++i) {
        if (segmentRect(i).contains(event->position().toPoint())) {
            _selected = i;
            update();
            emit activated(i);
            return;
        }
    }
}
