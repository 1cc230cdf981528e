#include "LVOutlineModel.h"

#include "LVOutlineItem.h"

#include <QWidget>

LVOutlineModel::LVOutlineModel(ListProvider provider, QObject* parent)
    : QAbstractItemModel(parent), _provider(std::move(provider))
{
    refreshRoot();
}

void LVOutlineModel::refreshRoot()
{
    _rootItems = _provider ? _provider() : QList<LVOutlineItem*>();
    _rootItems.removeAll(nullptr);
    _rootRows.clear();
    _rootRows.reserve(_rootItems.size());
    for (int row = 0; row < _rootItems.size(); ++row)
        _rootRows.insert(_rootItems.at(row), row);
    _parents.clear();
}

void LVOutlineModel::reload()
{
    beginResetModel();
    refreshRoot();
    endResetModel();
}

QList<LVOutlineItem*> LVOutlineModel::childrenOf(LVOutlineItem* item) const
{
    if (!item)
        return _rootItems;
    QList<LVOutlineItem*> children = item->childItems();
    children.removeAll(nullptr);
    for (LVOutlineItem* child : std::as_const(children))
        _parents.insert(child, item);
    return children;
}

LVOutlineItem* LVOutlineModel::itemForIndex(const QModelIndex& index) const
{
    if (!index.isValid() || index.model() != this)
        return nullptr;
    return static_cast<LVOutlineItem*>(index.internalPointer());
}

QModelIndex LVOutlineModel::indexForItem(LVOutlineItem* item) const
{
    if (!item)
        return QModelIndex();
    const auto rootRow = _rootRows.constFind(item);
    if (rootRow != _rootRows.cend())
        return createIndex(*rootRow, 0, item);
    LVOutlineItem* parentItem = _parents.value(item);
    if (!parentItem)
        return QModelIndex();
    const QModelIndex parentIndex = indexForItem(parentItem);
    if (!parentIndex.isValid())
        return QModelIndex();
    const int row = childrenOf(parentItem).indexOf(item);
    return row < 0 ? QModelIndex() : createIndex(row, 0, item);
}

QModelIndex LVOutlineModel::index(int row, int column, const QModelIndex& parent) const
{
    if (column != 0 || row < 0)
        return QModelIndex();
    if (!parent.isValid())
        return row < _rootItems.size() ? createIndex(row, 0, _rootItems.at(row)) : QModelIndex();
    const QList<LVOutlineItem*> children = childrenOf(itemForIndex(parent));
    if (row >= children.size())
        return QModelIndex();
    return createIndex(row, 0, children.at(row));
}

QModelIndex LVOutlineModel::parent(const QModelIndex& child) const
{
    LVOutlineItem* item = itemForIndex(child);
    if (!item || _rootRows.contains(item))
        return QModelIndex();
    return indexForItem(_parents.value(item));
}

int LVOutlineModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid() && parent.column() != 0)
        return 0;
    if (!parent.isValid())
        return int(_rootItems.size());
    return int(childrenOf(itemForIndex(parent)).size());
}

int LVOutlineModel::columnCount(const QModelIndex&) const
{
    return 1;
}

bool LVOutlineModel::hasChildren(const QModelIndex& parent) const
{
    return rowCount(parent) > 0;
}

QVariant LVOutlineModel::data(const QModelIndex& index, int role) const
{
    LVOutlineItem* item = itemForIndex(index);
    if (!item)
        return QVariant();
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return item->title();
    case Qt::SizeHintRole:
        // The row is as high as its view; a row without a view takes no room.
        return item->viewSizeHint();
    case ItemRole:
        return QVariant::fromValue(static_cast<void*>(item));
    default:
        return QVariant();
    }
}

Qt::ItemFlags LVOutlineModel::flags(const QModelIndex& index) const
{
    LVOutlineItem* item = itemForIndex(index);
    if (!item)
        return Qt::NoItemFlags;
    Qt::ItemFlags result = Qt::ItemIsEnabled;
    if (item->shouldSelect())
        result |= Qt::ItemIsSelectable;
    if (childrenOf(item).isEmpty())
        result |= Qt::ItemNeverHasChildren;
    return result;
}
