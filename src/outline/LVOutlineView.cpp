#include "LVOutlineView.h"

#include "LVOutlineAccessible.h"
#include "LVOutlineItem.h"
#include "LVOutlineModel.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSet>
#include <QStyledItemDelegate>
#include <QTimer>
#include <algorithm>
#include <utility>

namespace {
constexpr int nearbyPlacementDelayMs = 30;

// Index widgets belong to the rows. The default delegate deletes them when the view lets go of
// them (on every model reset); this one only hides them and gives them back.
class RowViewDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void destroyEditor(QWidget* editor, const QModelIndex&) const override
    {
        editor->hide();
        editor->setParent(nullptr);
    }

    void paint(QPainter*, const QStyleOptionViewItem&, const QModelIndex&) const override
    {
        // The row's own widget draws the row.
    }

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const override
    {
        return index.data(Qt::SizeHintRole).toSize();
    }
};
} // namespace

LVOutlineView::LVOutlineView(QWidget* parent) : QTreeView(parent)
{
    static const bool accessibleFactory = (QAccessible::installFactory(LVOutlineAccessible::factory), true);
    Q_UNUSED(accessibleFactory);
    setHeaderHidden(true);
    setItemDelegate(new RowViewDelegate(this));
    _idlePlacement = new QTimer(this);
    _idlePlacement->setSingleShot(true);
    connect(_idlePlacement, &QTimer::timeout, this, &LVOutlineView::placeNearbyViewsWhenIdle);
    setUniformRowHeights(false);
    setItemsExpandable(false); // expansion goes through the rows' own answers
    setExpandsOnDoubleClick(false);
    setRootIsDecorated(false);
    setIndentation(0);
    setAnimated(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    // The rows' views join the window's focus chain wherever they were lent, so the list itself is
    // the Tab stop at its place and hands the focus on to the rows in sight (focusInEvent).
    setFocusPolicy(Qt::TabFocus);
    for (auto signal : {&QTreeView::expanded, &QTreeView::collapsed}) {
        connect(this, signal, this, &LVOutlineView::placeVisibleViews);
    }
}

LVOutlineView::~LVOutlineView()
{
    for (QWidget* rowView : viewport()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        rowView->hide();
        rowView->setParent(nullptr);
    }
}

void LVOutlineView::setOutlineModel(LVOutlineModel* model)
{
    takeOutAllViews();
    _model = model;
    setModel(model);
    if (model) {
        connect(model, &QAbstractItemModel::modelAboutToBeReset, this, [this] {
            rememberOpenState();
            takeOutAllViews();
        });
        connect(model, &QAbstractItemModel::modelReset, this, [this] {
            executeDelayedItemsLayout();
            restoreOpenState();
            placeVisibleViews();
        });
    }
    executeDelayedItemsLayout();
    placeVisibleViews();
}

QStringList LVOutlineView::keyPath(const QModelIndex& index) const
{
    QStringList path;
    for (QModelIndex at = index; at.isValid(); at = at.parent()) {
        const LVOutlineItem* item = _model->itemForIndex(at);
        const QString key = item ? item->outlineKey() : QString();
        path.prepend(key.isEmpty() ? QStringLiteral("#%1").arg(at.row()) : key);
    }
    return path;
}

void LVOutlineView::rememberOpenState()
{
    _openState = OpenState();
    if (!_model)
        return;
    QList<QModelIndex> pending{QModelIndex()};
    while (!pending.isEmpty()) {
        const QModelIndex parent = pending.takeFirst();
        for (int row = 0; row < _model->rowCount(parent); ++row) {
            const QModelIndex index = _model->index(row, 0, parent);
            if (!isExpanded(index))
                continue;
            _openState.expanded.append(keyPath(index));
            pending.append(index);
        }
    }
    const QModelIndexList selected = selectionModel() ? selectionModel()->selectedIndexes() : QModelIndexList();
    if (!selected.isEmpty())
        _openState.selected = keyPath(selected.first());
    _openState.scroll = verticalScrollBar()->value();
}

void LVOutlineView::restoreOpenState()
{
    const OpenState state = std::exchange(_openState, OpenState());
    if (!_model)
        return;
    // At once, not animated: the list shows the rows where they were.
    const bool animated = isAnimated();
    setAnimated(false);
    QList<QModelIndex> pending{QModelIndex()};
    while (!pending.isEmpty()) {
        const QModelIndex parent = pending.takeFirst();
        for (int row = 0; row < _model->rowCount(parent); ++row) {
            const QModelIndex index = _model->index(row, 0, parent);
            const QStringList path = keyPath(index);
            if (!state.selected.isEmpty() && path == state.selected)
                selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
            if (state.expanded.contains(path)) {
                expand(index);
                pending.append(index);
            }
        }
    }
    setAnimated(animated);
    executeDelayedItemsLayout();
    updateGeometries();
    verticalScrollBar()->setValue(state.scroll);
}

void LVOutlineView::reloadData()
{
    if (_model)
        _model->reload();
}

void LVOutlineView::placeView(const QModelIndex& index)
{
    placeView(index, visualRect(index));
}

void LVOutlineView::placeView(const QModelIndex& index, const QRect& rect)
{
    LVOutlineItem* item = _model ? _model->itemForIndex(index) : nullptr;
    QWidget* view = item ? item->view() : nullptr;
    if (!view || rowView(index) == view)
        return;
    view->setAutoFillBackground(false);
    if (index.parent().isValid()) {
        setIndexWidget(index, view);
    } else {
        if (view->parentWidget() != viewport())
            view->setParent(viewport());
        view->setGeometry(rect);
    }
    view->show();
    // Qt's own Tab walk meets the view's controls wherever the view sits in the focus chain.
    for (QWidget* control : view->findChildren<QWidget*>()) {
        if (control->focusPolicy() & Qt::TabFocus)
            control->installEventFilter(this);
    }
    _placed.append({QPersistentModelIndex(index), view});
}

QWidget* LVOutlineView::rowView(const QModelIndex& index) const
{
    if (index.parent().isValid())
        return indexWidget(index);
    for (const PlacedView& placed : _placed) {
        if (placed.index == index)
            return placed.view;
    }
    return nullptr;
}

void LVOutlineView::takeOutAllViews()
{
    for (const PlacedView& placed : std::exchange(_placed, {})) {
        if (!placed.view || placed.view->parentWidget() != viewport())
            continue;
        // A child's index widget is taken out by the reset itself.
        if (placed.index.isValid() && placed.index.parent().isValid())
            continue;
        placed.view->hide();
        LVOutlineItem* item = placed.index.isValid() ? _model->itemForIndex(placed.index) : nullptr;
        if (item && item->canReleaseView())
            item->releaseView();
        else
            placed.view->setParent(nullptr);
    }
}

QList<LVOutlineView::RowPlace> LVOutlineView::rowsAround(int margin) const
{
    QList<RowPlace> rows;
    QModelIndex index = _model ? indexAt(QPoint(0, 0)) : QModelIndex();
    if (!index.isValid() && _model)
        index = _model->index(0, 0);
    if (!index.isValid())
        return rows;
    // From the first row in sight by the rows' heights: the tree finds a row's place by adding up
    // the heights of every row above it, which a list of thousands cannot afford per row.
    const QRect first = visualRect(index);
    int top = first.top();
    for (QModelIndex above = indexAbove(index); above.isValid() && top > -margin; above = indexAbove(above)) {
        top -= rowHeight(above);
        index = above;
    }
    for (; index.isValid() && top <= viewport()->height() + margin; index = indexBelow(index)) {
        const int height = rowHeight(index);
        rows.append({index, QRect(first.left(), top, first.width(), height)});
        top += height;
    }
    return rows;
}

void LVOutlineView::placeVisibleViews()
{
    // A hidden list (another tab) makes its views when it is shown.
    if (!_model || !isVisible())
        return;
    // A page around the rows in sight keeps its views, so that scrolling back and forth makes
    // nothing anew; the rows in sight get theirs now.
    const QList<RowPlace> kept = rowsAround(viewport()->height());
    QSet<QPersistentModelIndex> keep;
    keep.reserve(kept.size());
    for (const RowPlace& row : kept) {
        keep.insert(row.index);
        if (row.rect.bottom() >= 0 && row.rect.top() <= viewport()->height())
            placeView(row.index, row.rect);
        // Index widgets follow their rows by themselves.
        if (QWidget* view = row.index.parent().isValid() ? nullptr : rowView(row.index))
            view->setGeometry(row.rect);
    }
    releaseDistantViews(keep);
    // The rows around are made once the list rests, not while the user pages through it.
    _idlePlacement->start(nearbyPlacementDelayMs);
}

void LVOutlineView::showEvent(QShowEvent* event)
{
    QTreeView::showEvent(event);
    placeVisibleViews();
}

void LVOutlineView::placeNearbyViewsWhenIdle()
{
    // A hidden list goes on when it is shown again.
    if (!_model || !isVisible())
        return;
    // Well within a frame, so that the list stays smooth meanwhile.
    constexpr qint64 budgetNs = 4'000'000;
    QElapsedTimer clock;
    clock.start();
    for (const RowPlace& row : rowsAround(viewport()->height() / 2)) {
        if (clock.nsecsElapsed() >= budgetNs) {
            _idlePlacement->start(nearbyPlacementDelayMs);
            return;
        }
        placeView(row.index, row.rect);
    }
}

void LVOutlineView::releaseDistantViews(const QSet<QPersistentModelIndex>& keep)
{
    // Latest first: a product row's details go before the row, which takes them back with its own.
    for (qsizetype i = _placed.size() - 1; i >= 0; --i) {
        const PlacedView placed = _placed.at(i);
        const bool listed = placed.view && placed.index.isValid() && rowView(placed.index) == placed.view;
        if (listed && keep.contains(placed.index))
            continue;
        LVOutlineItem* item = listed ? _model->itemForIndex(placed.index) : nullptr;
        if (item && !item->canReleaseView()) {
            // Kept by its row (in use, or a row that keeps its view): it still follows its row.
            if (!placed.index.parent().isValid())
                placed.view->setGeometry(visualRect(placed.index));
            continue;
        }
        _placed.removeAt(i);
        if (!item)
            continue;
        if (placed.index.parent().isValid())
            closePersistentEditor(placed.index);
        else
            placed.view->hide();
        item->releaseView();
    }
}

void LVOutlineView::scrollContentsBy(int dx, int dy)
{
    QTreeView::scrollContentsBy(dx, dy);
    placeVisibleViews();
}

void LVOutlineView::updateGeometries()
{
    QTreeView::updateGeometries();
    placeVisibleViews();
}

void LVOutlineView::expandItem(LVOutlineItem* item)
{
    const QModelIndex index = _model ? _model->indexForItem(item) : QModelIndex();
    if (!index.isValid() || isExpanded(index) || !item->shouldExpand())
        return;
    expand(index);
}

void LVOutlineView::collapseItem(LVOutlineItem* item)
{
    const QModelIndex index = _model ? _model->indexForItem(item) : QModelIndex();
    if (!index.isValid() || !isExpanded(index) || !item->shouldCollapse())
        return;
    collapse(index);
}

void LVOutlineView::toggleItem(LVOutlineItem* item)
{
    if (isItemExpanded(item))
        collapseItem(item);
    else
        expandItem(item);
}

bool LVOutlineView::isItemExpanded(LVOutlineItem* item) const
{
    const QModelIndex index = _model ? _model->indexForItem(item) : QModelIndex();
    return index.isValid() && isExpanded(index);
}

bool LVOutlineView::selectItem(LVOutlineItem* item)
{
    const QModelIndex index = _model ? _model->indexForItem(item) : QModelIndex();
    if (!index.isValid()) {
        if (!item)
            clearSelection();
        return false;
    }
    scrollTo(index);
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    return true;
}

LVOutlineItem* LVOutlineView::selectedItem() const
{
    const QModelIndexList selected = selectionModel() ? selectionModel()->selectedIndexes() : QModelIndexList();
    return selected.isEmpty() ? nullptr : _model->itemForIndex(selected.first());
}

void LVOutlineView::noteHeightsChanged()
{
    scheduleDelayedItemsLayout();
}

void LVOutlineView::mousePressEvent(QMouseEvent* event)
{
    // Clicks on a row's disclosure area toggle it through the row's own answers.
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.isValid() && _model && _model->hasChildren(index)) {
        const int depth = [&] {
            int d = 0;
            for (QModelIndex p = index.parent(); p.isValid(); p = p.parent())
                ++d;
            return d;
        }();
        const int branchRight = (depth + (rootIsDecorated() ? 1 : 0)) * indentation();
        if (event->position().x() < branchRight) {
            toggleItem(_model->itemForIndex(index));
            return;
        }
    }
    QTreeView::mousePressEvent(event);
}

void LVOutlineView::keyPressEvent(QKeyEvent* event)
{
    LVOutlineItem* item = _model ? _model->itemForIndex(currentIndex()) : nullptr;
    if (item && event->key() == Qt::Key_Right) {
        expandItem(item);
        return;
    }
    if (item && event->key() == Qt::Key_Left) {
        collapseItem(item);
        return;
    }
    QTreeView::keyPressEvent(event);
}

QModelIndex LVOutlineView::rowHolding(const QWidget* widget) const
{
    for (const PlacedView& placed : _placed) {
        if (placed.view && placed.index.isValid() && placed.view->isAncestorOf(widget))
            return placed.index;
    }
    return QModelIndex();
}

namespace {
// The controls of a row's view that Tab stops at, in the view's order.
QList<QWidget*> tabStops(const QWidget* view)
{
    QList<QWidget*> stops;
    if (!view)
        return stops;
    for (QWidget* child : view->findChildren<QWidget*>()) {
        if ((child->focusPolicy() & Qt::TabFocus) && child->isVisibleTo(view) && child->isEnabled())
            stops.append(child);
    }
    return stops;
}
} // namespace

bool LVOutlineView::focusNextPrevChild(bool next)
{
    QWidget* focus = QApplication::focusWidget();
    const QModelIndex current = focus ? rowHolding(focus) : QModelIndex();
    if (!current.isValid())
        return QTreeView::focusNextPrevChild(next);
    const QList<QWidget*> here = tabStops(rowView(current));
    const qsizetype at = here.indexOf(focus);
    const qsizetype following = next ? at + 1 : at - 1;
    if (at >= 0 && following >= 0 && following < here.size()) {
        tabTo(here.at(following), next);
        return true;
    }
    for (QModelIndex index = next ? indexBelow(current) : indexAbove(current); index.isValid();
         index = next ? indexBelow(index) : indexAbove(index)) {
        scrollTo(index);
        placeView(index);
        const QList<QWidget*> stops = tabStops(rowView(index));
        if (stops.isEmpty())
            continue;
        tabTo(next ? stops.first() : stops.last(), next);
        return true;
    }
    // Past the last row (or before the first): on to the window's next control outside the list.
    return tabPastRows(this, next);
}

void LVOutlineView::tabTo(QWidget* control, bool next)
{
    const QScopedValueRollback steering(_steeringFocus, true);
    control->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

bool LVOutlineView::tabPastRows(QWidget* from, bool next)
{
    for (QWidget* candidate = next ? from->nextInFocusChain() : from->previousInFocusChain();
         candidate && candidate != from;
         candidate = next ? candidate->nextInFocusChain() : candidate->previousInFocusChain()) {
        if (isAncestorOf(candidate) || !(candidate->focusPolicy() & Qt::TabFocus) || !candidate->isVisible() ||
            !candidate->isEnabled())
            continue;
        tabTo(candidate, next);
        return true;
    }
    return false;
}

bool LVOutlineView::eventFilter(QObject* watched, QEvent* event)
{
    // Tabbed onto a row's control by Qt's own walk (from the window's last control around to its
    // first, say): the rows are not there in the Tab order, so the walk goes on past them.
    if (event->type() == QEvent::FocusIn && !_steeringFocus) {
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        auto* control = qobject_cast<QWidget*>(watched);
        if ((reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) && control && isAncestorOf(control))
            handFocusOnLater(control, reason == Qt::TabFocusReason);
    }
    return QTreeView::eventFilter(watched, event);
}

void LVOutlineView::focusInEvent(QFocusEvent* event)
{
    if (event->reason() != Qt::TabFocusReason && event->reason() != Qt::BacktabFocusReason) {
        QTreeView::focusInEvent(event);
        return;
    }
    handFocusOnLater(this, event->reason() == Qt::TabFocusReason);
}

void LVOutlineView::handFocusOnLater(QWidget* focused, bool next)
{
    // Qt tells a screen reader of the new focus once the FocusIn is handled: moved on from within
    // it, the focus would be read as still on the widget passed by.
    QMetaObject::invokeMethod(
        this,
        [this, focused = QPointer<QWidget>(focused), next] {
            if (!focused || !focused->hasFocus())
                return;
            // With no control in sight, the list is no stop of its own.
            if (focused != this || !focusRowInSight(next))
                tabPastRows(focused, next);
        },
        Qt::QueuedConnection);
}

bool LVOutlineView::focusRowInSight(bool first)
{
    QList<RowPlace> rows = rowsAround(0);
    if (!first)
        std::reverse(rows.begin(), rows.end());
    for (const RowPlace& row : std::as_const(rows)) {
        if (!row.rect.intersects(viewport()->rect()))
            continue;
        placeView(row.index, row.rect);
        const QList<QWidget*> stops = tabStops(rowView(row.index));
        if (stops.isEmpty())
            continue;
        scrollTo(row.index);
        tabTo(first ? stops.first() : stops.last(), first);
        return true;
    }
    return false;
}

void LVOutlineView::resizeEvent(QResizeEvent* event)
{
    QTreeView::resizeEvent(event);
    header()->setStretchLastSection(true);
}

void LVOutlineView::setPlaceholderText(const QString& text)
{
    _placeholderText = text;
    viewport()->update();
}

void LVOutlineView::paintEvent(QPaintEvent* event)
{
    QTreeView::paintEvent(event);
    if (_placeholderText.isEmpty() || !_model || _model->rowCount() > 0)
        return;
    QPainter painter(viewport());
    QFont font = painter.font();
    font.setPixelSize(13);
    painter.setFont(font);
    painter.setPen(QColor(0x8e, 0x8e, 0x93));
    painter.drawText(viewport()->rect().adjusted(24, 0, -24, -40), Qt::AlignCenter | Qt::TextWordWrap,
                     _placeholderText);
}
