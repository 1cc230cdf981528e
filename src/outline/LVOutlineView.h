#pragma once

#include <QPersistentModelIndex>
#include <QPointer>
#include <QSet>
#include <QTreeView>

class QTimer;

class LVOutlineItem;
class LVOutlineModel;

// A tree view of row controllers: each row is its controller's own widget (placed as the index
// widget), as high as that widget. Rows decide themselves whether they may be selected, expanded
// or collapsed. The widgets stay owned by their rows: resetting the model only takes them out.
// Only the rows in sight and about a page around them have their views in the list; the others
// are given back to rows that can make them again, so a list of thousands of rows stays light.
// Top-level rows' views are placed by the list itself: an index widget would have the tree lay out
// every row again each time one comes into sight. Child rows (details, bundle members) are few and
// stay index widgets, which the expansion animation draws.
class LVOutlineView : public QTreeView
{
    Q_OBJECT
public:
    explicit LVOutlineView(QWidget* parent = nullptr);
    // Gives the row views back to their rows rather than deleting them.
    ~LVOutlineView() override;

    void setOutlineModel(LVOutlineModel* model);
    LVOutlineModel* outlineModel() const { return _model; }

    // Reloads the rows from the model's provider and puts their views back in place.
    void reloadData();

    // Expands (asking the row first) or collapses (likewise) the row; animated.
    void expandItem(LVOutlineItem* item);
    void collapseItem(LVOutlineItem* item);
    void toggleItem(LVOutlineItem* item);
    bool isItemExpanded(LVOutlineItem* item) const;

    // Makes the row the only selected one and scrolls to it; false when the row is not listed.
    bool selectItem(LVOutlineItem* item);
    LVOutlineItem* selectedItem() const;

    // Shown in the middle of the list while it has no rows.
    void setPlaceholderText(const QString& text);
    QString placeholderText() const { return _placeholderText; }

    // Re-measures the rows, e.g. after a row's view changed its height.
    void noteHeightsChanged();

    // Puts the row's view in place now, shown or not (a screen reader reading the row's controls).
    // The list itself makes the views of the rows it shows, as they come into sight.
    void placeView(const QModelIndex& index);
    // The row's view where the list shows it; null when the row has none in the list now.
    QWidget* rowView(const QModelIndex& index) const;
    // How many rows have their views in the list now.
    int placedViewCount() const { return int(_placed.size()); }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    // Tab and Backtab walk the rows' controls in the rows' order, bringing each row into sight;
    // views are lent from row to row, so the order in which they were made says nothing.
    bool focusNextPrevChild(bool next) override;
    // Tabbed into from outside: on to the first control of the first row in sight, or going back,
    // to the last control of the last one.
    void focusInEvent(QFocusEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void showEvent(QShowEvent* event) override;
    void updateGeometries() override;

private:
    // What the user opened, kept across a reload: expanded rows and the selection by their keys'
    // paths, and the scroll position.
    struct OpenState
    {
        QList<QStringList> expanded;
        QStringList selected;
        int scroll = 0;
    };
    QStringList keyPath(const QModelIndex& index) const;
    void rememberOpenState();
    void restoreOpenState();

    struct RowPlace
    {
        QModelIndex index;
        QRect rect;
    };
    // The rows from `margin` pixels above the viewport to `margin` below it, in order, where they are.
    QList<RowPlace> rowsAround(int margin) const;
    void placeView(const QModelIndex& index, const QRect& rect);
    // The views of the rows in sight at once, then of the half page around them when idle; the
    // views of rows further away go back to their rows.
    void placeVisibleViews();
    void placeNearbyViewsWhenIdle();
    void releaseDistantViews(const QSet<QPersistentModelIndex>& keep);
    // Every view out of the list, back to its row (before a reset).
    void takeOutAllViews();
    // Focuses the first (or last) control of the rows in sight; false when they have none.
    bool focusRowInSight(bool first);
    // Focuses `control` as Tab (or Backtab) does; the list's own moves, which eventFilter lets be.
    void tabTo(QWidget* control, bool next);
    // Focuses the next (or previous) control in the window's Tab order after `from`, the rows'
    // controls left out; the list itself, met there, hands the focus on to its rows in sight.
    bool tabPastRows(QWidget* from, bool next);
    // Once Qt has focused `focused` (the list, or a row's control by its own walk), hands the
    // focus on: to the rows in sight, or past the rows.
    void handFocusOnLater(QWidget* focused, bool next);
    // The top-level row whose view holds `widget`.
    QModelIndex rowHolding(const QWidget* widget) const;

    QTimer* _idlePlacement = nullptr;
    struct PlacedView
    {
        QPersistentModelIndex index;
        QPointer<QWidget> view;
    };
    // The rows whose views are in the list, in the order they were placed.
    QList<PlacedView> _placed;

    LVOutlineModel* _model = nullptr;
    QString _placeholderText;
    bool _steeringFocus = false;
    OpenState _openState;
};
