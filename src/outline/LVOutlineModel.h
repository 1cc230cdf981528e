#pragma once

#include <QAbstractItemModel>
#include <QHash>
#include <functional>

class LVOutlineItem;

// The one model behind the four outlines of the main window. It holds no rows of its own: it asks
// a list provider for the top-level rows and each row for its children, so the install outline can
// compute its list anew (the "update all" row first, the discontinued filter applied) on each
// reload. Call reload() whenever the provider's answer may have changed.
class LVOutlineModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Role { ItemRole = Qt::UserRole + 1 };
    using ListProvider = std::function<QList<LVOutlineItem*>()>;

    explicit LVOutlineModel(ListProvider provider, QObject* parent = nullptr);

    void reload();

    LVOutlineItem* itemForIndex(const QModelIndex& index) const;
    QModelIndex indexForItem(LVOutlineItem* item) const;
    QList<LVOutlineItem*> rootItems() const { return _rootItems; }

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    QList<LVOutlineItem*> childrenOf(LVOutlineItem* item) const;
    void refreshRoot();

    ListProvider _provider;
    QList<LVOutlineItem*> _rootItems;
    // The views ask for a row's place often; a list of thousands must not be searched each time.
    QHash<const LVOutlineItem*, int> _rootRows;
    // Filled as children are handed out; a row's parent is the row that listed it.
    mutable QHash<const LVOutlineItem*, LVOutlineItem*> _parents;
};
