#include "LVOutlineAccessible.h"

#include "LVOutlineItem.h"
#include "LVOutlineModel.h"
#include "LVOutlineView.h"

#include <QAccessibleActionInterface>
#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>

namespace {
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
        const QRect place = _view->visualRect(_index);
        state.invisible = !_view->isVisible() || !place.isValid();
        // Scrolled away, it is still read: the list makes its view when its controls are asked for.
        state.offscreen = !_view->viewport()->rect().intersects(place);
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
        if (isValid() && !_view->rowView(_index))
            _view->placeView(_index);
        QWidget* widget = isValid() ? _view->rowView(_index) : nullptr;
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

} // namespace

QAccessibleInterface* LVOutlineAccessible::factory(const QString& className, QObject* object)
{
    if (className == QLatin1String("LVOutlineView") && object && object->isWidgetType())
        return new OutlineAccessible(static_cast<QWidget*>(object));
    return nullptr;
}
