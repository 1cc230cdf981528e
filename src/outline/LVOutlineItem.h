#pragma once

#include <QSize>
#include <QWidget>

#include <QList>
#include <QString>

class LVRowHost;
class QWidget;

// What the main window's outlines ask of a row controller: its view, its children and how it
// takes selection, expansion and collapse. Install, news, help and tool rows all answer it.
class LVOutlineItem
{
public:
    // Which tab a row belongs on; rows say so themselves instead of being recognised by class name.
    enum class Kind { Other, Install, News, Help, Tool };

    virtual ~LVOutlineItem() = default;

    virtual Kind outlineKind() const { return Kind::Other; }
    virtual QString title() const { return QString(); }
    // What names the row across reloads (a refreshed catalogue makes new rows for the same
    // products), so that the list keeps it open and selected; empty: its position.
    virtual QString outlineKey() const { return title(); }
    virtual QWidget* view() { return nullptr; }
    // The size the row's view takes in the list. Lists make views only for the rows they show, so
    // a row that can tell its size without making its view answers here without making it.
    virtual QSize viewSizeHint()
    {
        QWidget* rowView = view();
        if (!rowView)
            return QSize(0, 0);
        // As high as the view asks within its bounds, the way an item view sizes its index widgets.
        const int height = qBound(rowView->minimumHeight(), qMax(rowView->height(), rowView->sizeHint().height()),
                                  rowView->maximumHeight());
        return QSize(rowView->width(), height);
    }
    // Lists make views only for the rows in sight. A row that can make its view again from what it
    // knows lets the list take it back once the row is out of sight, so that memory stays flat in
    // the number of rows: canReleaseView() says whether it may be taken now (not while it is in use),
    // releaseView() is called once the list no longer shows it.
    virtual bool canReleaseView() const { return false; }
    virtual void releaseView() {}
    virtual QList<LVOutlineItem*> childItems() { return {}; }
    virtual bool shouldExpand() { return false; }
    virtual bool shouldCollapse() { return true; }
    virtual bool shouldSelect() { return false; }
    // The list controller that shows the row; null when the row is dropped from the list.
    virtual void setInstallManager(LVRowHost*) {}
};
