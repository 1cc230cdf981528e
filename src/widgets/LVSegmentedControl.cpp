#include "LVSegmentedControl.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAccessibleWidget>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

// One segment as a page tab: named, selectable, pressable.
class SegmentAccessible : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    SegmentAccessible(LVSegmentedControl* control, int segment) : _control(control), _segment(segment) {}

    bool isValid() const override { return _control && _segment < _control->segmentCount(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return _control ? _control->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(_control); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QString text(QAccessible::Text t) const override
    {
        return t == QAccessible::Name && isValid() ? _control->accessibleNameForSegment(_segment) : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override
    {
        if (!isValid())
            return QRect();
        const QRect r = _control->segmentRect(_segment);
        return QRect(_control->mapToGlobal(r.topLeft()), r.size());
    }
    QAccessible::Role role() const override { return QAccessible::PageTab; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid())
            return state;
        state.selectable = true;
        state.focusable = true;
        state.selected = _control->selectedSegment() == _segment;
        state.focused = state.selected && _control->hasFocus();
        state.invisible = !_control->isVisible();
        state.disabled = !_control->isEnabled();
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override
    {
        if (name == pressAction() && isValid() && _control->isEnabled())
            _control->pressSegment(_segment);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QPointer<LVSegmentedControl> _control;
    int _segment;
};

class SegmentedControlAccessible : public QAccessibleWidget
{
public:
    explicit SegmentedControlAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::PageTabList) {}
    ~SegmentedControlAccessible() override
    {
        for (QAccessible::Id id : std::as_const(_segmentIds))
            QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return control()->segmentCount(); }
    QAccessibleInterface* child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        while (_segmentIds.size() <= index)
            _segmentIds.append(
                QAccessible::registerAccessibleInterface(new SegmentAccessible(control(), int(_segmentIds.size()))));
        return QAccessible::accessibleInterface(_segmentIds.at(index));
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (qsizetype i = 0; i < _segmentIds.size(); ++i) {
            if (QAccessible::accessibleInterface(_segmentIds.at(i)) == child)
                return int(i);
        }
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        const QPoint local = control()->mapFromGlobal(QPoint(x, y));
        for (int i = 0; i < childCount(); ++i) {
            if (control()->segmentRect(i).contains(local))
                return child(i);
        }
        return nullptr;
    }
    QAccessibleInterface* focusChild() const override
    {
        return control()->hasFocus() ? child(control()->selectedSegment()) : nullptr;
    }

private:
    LVSegmentedControl* control() const { return static_cast<LVSegmentedControl*>(widget()); }

    mutable QList<QAccessible::Id> _segmentIds;
};

QAccessibleInterface* segmentedControlAccessible(const QString& className, QObject* object)
{
    if (className == QLatin1String("LVSegmentedControl") && object && object->isWidgetType())
        return new SegmentedControlAccessible(static_cast<QWidget*>(object));
    return nullptr;
}

} // namespace

LVSegmentedControl::LVSegmentedControl(QWidget* parent) : QWidget(parent)
{
    static const bool accessibleFactory = (QAccessible::installFactory(segmentedControlAccessible), true);
    Q_UNUSED(accessibleFactory);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
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

QString LVSegmentedControl::accessibleNameForSegment(int segment) const
{
    if (segment < 0 || segment >= _segments.size())
        return QString();
    const Segment& s = _segments.at(segment);
    if (s.badge && !s.badge->isHidden() && !s.badge->accessibleName().isEmpty())
        return QStringLiteral("%1 (%2)").arg(s.label, s.badge->accessibleName());
    return s.label;
}

void LVSegmentedControl::pressSegment(int segment)
{
    if (segment < 0 || segment >= _segments.size())
        return;
    _selected = segment;
    update();
    notifySelection();
    emit activated(segment);
}

void LVSegmentedControl::notifySelection()
{
    if (!QAccessible::isActive() || _selected < 0)
        return;
    QAccessibleEvent selection(this, QAccessible::Selection);
    selection.setChild(_selected);
    QAccessible::updateAccessibility(&selection);
    if (hasFocus()) {
        QAccessibleEvent focus(this, QAccessible::Focus);
        focus.setChild(_selected);
        QAccessible::updateAccessibility(&focus);
    }
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
            notifySelection();
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
        if (QAccessible::isActive()) { // the count is read with the tab's name
            QAccessibleEvent nameChanged(this, QAccessible::NameChanged);
            nameChanged.setChild(i);
            QAccessible::updateAccessibility(&nameChanged);
        }
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
        if (i == _selected && _focusRing && hasFocus()) {
            QPainterPath ring;
            ring.addRoundedRect(r.adjusted(1, 1, -1, -1), 6.5, 6.5);
            painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
            painter.drawPath(ring);
        }
        painter.setPen(i == _selected ? QColor(Qt::white) : QColor(0xc7, 0xc7, 0xcc));
        painter.drawText(r, Qt::AlignCenter, _segments.at(i).label);
    }
}

void LVSegmentedControl::mousePressEvent(QMouseEvent* event)
{
    for (int i = 0; i < _segments.size(); ++i) {
        if (segmentRect(i).contains(event->position().toPoint())) {
            _focusRing = false;
            pressSegment(i);
            return;
        }
    }
}

void LVSegmentedControl::keyPressEvent(QKeyEvent* event)
{
    int segment = _selected;
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up:
        segment = layoutDirection() == Qt::RightToLeft && event->key() == Qt::Key_Left ? _selected + 1 : _selected - 1;
        break;
    case Qt::Key_Right:
    case Qt::Key_Down:
        segment = layoutDirection() == Qt::RightToLeft && event->key() == Qt::Key_Right ? _selected - 1 : _selected + 1;
        break;
    case Qt::Key_Home:
        segment = 0;
        break;
    case Qt::Key_End:
        segment = int(_segments.size()) - 1;
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    if (segment >= 0 && segment < _segments.size() && segment != _selected)
        pressSegment(segment);
}

void LVSegmentedControl::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    _focusRing = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
    update();
    notifySelection();
    QWidget::focusInEvent(event);
}

void LVSegmentedControl::focusOutEvent(QFocusEvent* event)
{
    _focusRing = false;
    update();
    QWidget::focusOutEvent(event);
}
