#include "LVOutlineView.h"

#include "LVOutlineItem.h"
#include "LVOutlineModel.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAccessibleWidget>
#include <QElapsedTimer>
#include <QHash>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QStyledItemDelegate>
#include <QTimer>

namespace {
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

// Screen readers see the outline as a tree of its rows. A row is named by its title and reads as
// expanded or collapsed; its own widgets (buttons, title fields) are its children, followed by the
// rows it shows when expanded. An empty outline reads its placeholder text.
class OutlineAccessible;

class OutlineRowAccessible : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    OutlineRowAccessible(LVOutlineView* view, const QModelIndex& index) : _view(view), _index(index) {}

    const QPersistentModelIndex& index() const { return _index; }
    LVOutlineItem* item() const { return isValid() ? _view->outlineModel()->itemForIndex(_index) : nullptr; }

    bool isValid() const override { return _view && _view->outlineModel() && _index.isValid(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return _view ? _view->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int index) const override;
    int childCount() const override { return int(widgetChildren().size()) + rowChildCount(); }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (int i = 0; i < childCount(); ++i) {
            if (this->child(i) == child)
                return i;
        }
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        for (int i = 0; i < childCount(); ++i) {
            QAccessibleInterface* candidate = child(i);
            if (candidate && candidate->rect().contains(x, y))
                return candidate;
        }
        return nullptr;
    }
    QString text(QAccessible::Text t) const override
    {
        LVOutlineItem* row = item();
        if (t != QAccessible::Name || !row)
            return QString();
        if (!row->title().isEmpty())
            return row->title();
        // Rows without a title of their own go by the first named widget they show.
        for (QAccessibleInterface* widget : widgetChildren()) {
            const QString name = widget->text(QAccessible::Name);
            if (!name.isEmpty())
                return name;
        }
        return QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override
    {
        if (!isValid())
            return QRect();
        const QRect r = _view->visualRect(_index);
        return QRect(_view->viewport()->mapToGlobal(r.topLeft()), r.size());
    }
    QAccessible::Role role() const override { return QAccessible::TreeItem; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        LVOutlineItem* row = item();
        if (!row)
            return state;
        state.invisible = !_view->isVisible() || !_view->visualRect(_index).isValid();
        state.selectable = row->shouldSelect();
        state.selected = _view->selectionModel() && _view->selectionModel()->isSelected(_index);
        if (_view->outlineModel()->hasChildren(_index)) {
            state.expandable = true;
            state.expanded = _view->isExpanded(_index);
            state.collapsed = !state.expanded;
        }
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    QStringList actionNames() const override
    {
        return isValid() && _view->outlineModel()->hasChildren(_index) ? QStringList{toggleAction()} : QStringList();
    }
    void doAction(const QString& name) override
    {
        if (name == toggleAction() && isValid())
            _view->toggleItem(item());
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QList<QAccessibleInterface*> widgetChildren() const
    {
        QList<QAccessibleInterface*> result;
        if (isValid() && !_view->indexWidget(_index))
            _view->placeView(_index);
        QWidget* widget = isValid() ? _view->indexWidget(_index) : nullptr;
        QAccessibleInterface* rowView = widget ? QAccessible::queryAccessibleInterface(widget) : nullptr;
        if (!rowView)
            return result;
        // A row that is one widget (a help title) is its own only child.
        if (rowView->childCount() == 0)
            return {rowView};
        for (int i = 0; i < rowView->childCount(); ++i) {
            if (QAccessibleInterface* child = rowView->child(i))
                result.append(child);
        }
        return result;
    }
    int rowChildCount() const
    {
        return isValid() && _view->isExpanded(_index) ? _view->outlineModel()->rowCount(_index) : 0;
    }

    QPointer<LVOutlineView> _view;
    QPersistentModelIndex _index;
};

class PlaceholderAccessible : public QAccessibleInterface
{
public:
    explicit PlaceholderAccessible(LVOutlineView* view) : _view(view) {}

    bool isValid() const override { return _view; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return _view ? _view->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(_view); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QString text(QAccessible::Text t) const override
    {
        return t == QAccessible::Name && _view ? _view->placeholderText() : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override
    {
        return _view ? QRect(_view->viewport()->mapToGlobal(QPoint(0, 0)), _view->viewport()->size()) : QRect();
    }
    QAccessible::Role role() const override { return QAccessible::StaticText; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.readOnly = true;
        state.invisible = !_view || !_view->isVisible();
        return state;
    }

private:
    QPointer<LVOutlineView> _view;
};

class OutlineAccessible : public QAccessibleWidget
{
public:
    explicit OutlineAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::Tree) {}
    ~OutlineAccessible() override
    {
        for (QAccessible::Id id : std::as_const(_rowIds))
            QAccessible::deleteAccessibleInterface(id);
        if (_placeholderId)
            QAccessible::deleteAccessibleInterface(_placeholderId);
    }

    int childCount() const override
    {
        LVOutlineModel* model = view()->outlineModel();
        const int rows = model ? model->rowCount() : 0;
        return rows == 0 && !view()->placeholderText().isEmpty() ? 1 : rows;
    }
    QAccessibleInterface* child(int index) const override
    {
        LVOutlineModel* model = view()->outlineModel();
        if (index < 0 || index >= childCount())
            return nullptr;
        if (!model || model->rowCount() == 0) {
            if (!_placeholderId)
                _placeholderId = QAccessible::registerAccessibleInterface(new PlaceholderAccessible(view()));
            return QAccessible::accessibleInterface(_placeholderId);
        }
        return row(model->index(index, 0));
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        if (child && child->role() == QAccessible::StaticText)
            return childCount() == 1 && child == this->child(0) ? 0 : -1;
        if (child && child->role() == QAccessible::TreeItem) {
            const auto* r = static_cast<const OutlineRowAccessible*>(child);
            if (r->isValid() && !r->index().parent().isValid())
                return r->index().row();
        }
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        LVOutlineModel* model = view()->outlineModel();
        const QModelIndex index = view()->indexAt(view()->viewport()->mapFromGlobal(QPoint(x, y)));
        if (!model || !index.isValid())
            return nullptr;
        QModelIndex top = index;
        while (top.parent().isValid())
            top = top.parent();
        return row(top);
    }

    // The one interface for the row at `index`, made anew when the row at that place changed.
    QAccessibleInterface* row(const QModelIndex& index) const
    {
        LVOutlineItem* item = view()->outlineModel()->itemForIndex(index);
        if (!item)
            return nullptr;
        const auto found = _rowIds.constFind(item);
        if (found != _rowIds.cend()) {
            auto* existing = static_cast<OutlineRowAccessible*>(QAccessible::accessibleInterface(*found));
            if (existing && existing->index() == index)
                return existing;
            QAccessible::deleteAccessibleInterface(*found);
            _rowIds.remove(item);
        }
        auto* created = new OutlineRowAccessible(view(), index);
        _rowIds.insert(item, QAccessible::registerAccessibleInterface(created));
        return created;
    }

private:
    LVOutlineView* view() const { return static_cast<LVOutlineView*>(widget()); }

    mutable QHash<const LVOutlineItem*, QAccessible::Id> _rowIds;
    mutable QAccessible::Id _placeholderId = 0;
};

OutlineAccessible* outlineAccessible(LVOutlineView* view)
{
    return view ? static_cast<OutlineAccessible*>(QAccessible::queryAccessibleInterface(view)) : nullptr;
}

QAccessibleInterface* OutlineRowAccessible::parent() const
{
    if (!isValid())
        return nullptr;
    const QModelIndex above = _index.parent();
    OutlineAccessible* outline = outlineAccessible(_view);
    return above.isValid() ? outline->row(above) : outline;
}

QAccessibleInterface* OutlineRowAccessible::child(int index) const
{
    const QList<QAccessibleInterface*> widgets = widgetChildren();
    if (index >= 0 && index < widgets.size())
        return widgets.at(index);
    const int row = index - int(widgets.size());
    if (row < 0 || row >= rowChildCount())
        return nullptr;
    return outlineAccessible(_view)->row(_view->outlineModel()->index(row, 0, _index));
}

QAccessibleInterface* outlineAccessibleFactory(const QString& className, QObject* object)
{
    if (className == QLatin1String("LVOutlineView") && object && object->isWidgetType())
        return new OutlineAccessible(static_cast<QWidget*>(object));
    return nullptr;
}
} // namespace

LVOutlineView::LVOutlineView(QWidget* parent) : QTreeView(parent)
{
    static const bool accessibleFactory = (QAccessible::installFactory(outlineAccessibleFactory), true);
    Q_UNUSED(accessibleFactory);
    setHeaderHidden(true);
    setItemDelegate(new RowViewDelegate(this));
    _idlePlacement = new QTimer(this);
    _idlePlacement->setSingleShot(true);
    connect(_idlePlacement, &QTimer::timeout, this, &LVOutlineView::placeMoreViewsWhenIdle);
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
    setFocusPolicy(Qt::NoFocus);
    connect(this, &QTreeView::expanded, this, [this] {
        _idlePlacementDone = false;
        placeVisibleViews();
    });
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
    _model = model;
    _idlePlacementDone = false;
    setModel(model);
    if (model)
        connect(model, &QAbstractItemModel::modelReset, this, [this] {
            _idlePlacementDone = false;
            executeDelayedItemsLayout();
            placeVisibleViews();
        });
    executeDelayedItemsLayout();
    placeVisibleViews();
}

void LVOutlineView::reloadData()
{
    if (_model)
        _model->reload();
}

void LVOutlineView::placeView(const QModelIndex& index)
{
    LVOutlineItem* item = _model ? _model->itemForIndex(index) : nullptr;
    QWidget* view = item ? item->view() : nullptr;
    if (!view || indexWidget(index) == view)
        return;
    view->setAutoFillBackground(false);
    setIndexWidget(index, view);
    view->show();
}

void LVOutlineView::placeVisibleViews()
{
    if (!_model)
        return;
    const int margin = viewport()->height() / 2;
    QModelIndex index = indexAt(QPoint(0, 0));
    // Above the first row in sight, half a page back.
    for (QModelIndex above = indexAbove(index); above.isValid() && visualRect(above).bottom() >= -margin;
         above = indexAbove(above))
        index = above;
    if (!index.isValid())
        index = _model->index(0, 0);
    for (; index.isValid(); index = indexBelow(index)) {
        if (visualRect(index).top() > viewport()->height() + margin)
            break;
        placeView(index);
    }
    if (_idlePlacementDone || _idlePlacement->isActive())
        return;
    _idlePlacement->start(0);
}

void LVOutlineView::showEvent(QShowEvent* event)
{
    QTreeView::showEvent(event);
    placeVisibleViews();
}

void LVOutlineView::placeMoreViewsWhenIdle()
{
    // A hidden list goes on when it is shown again.
    if (!_model || !isVisible())
        return;
    // Well within a frame, so that the list stays smooth meanwhile.
    constexpr qint64 budgetNs = 4'000'000;
    QElapsedTimer clock;
    clock.start();
    // A reset list starts again from its first row.
    QModelIndex index = _nextIdlePlacement.isValid() ? QModelIndex(_nextIdlePlacement) : _model->index(0, 0);
    for (; index.isValid() && clock.nsecsElapsed() < budgetNs; index = indexBelow(index))
        placeView(index);
    _nextIdlePlacement = index;
    _idlePlacementDone = !index.isValid();
    if (!_idlePlacementDone)
        _idlePlacement->start(0);
}

void LVOutlineView::rowsInserted(const QModelIndex& parent, int start, int end)
{
    QTreeView::rowsInserted(parent, start, end);
    // Their views come with the layout that follows, if they are in sight, or when idle.
    _idlePlacementDone = false;
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
