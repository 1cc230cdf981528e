#pragma once

#include <QList>
#include <QWidget>

class LVOutlineItem;
class LVOutlineModel;
class LVOutlineView;
class LVRowHost;

// A tab page of the main window that shows one outline: the outline view laid out inside the page
// (by the window's .ui file), the model that lists the page's rows, and the text shown while the
// list is empty. Subclasses keep the rows and answer rows().
class LVOutlineTab : public QWidget
{
    Q_OBJECT
public:
    explicit LVOutlineTab(QWidget* parent = nullptr);
    ~LVOutlineTab() override;

    // Binds the outline view among the page's children to a model of rows(); call once the page's
    // children exist.
    void setUpOutline(const QString& placeholderText);

    LVOutlineView* outlineView() const { return _outlineView; }
    LVOutlineModel* outlineModel() const { return _model; }
    void setPlaceholderText(const QString& text);
    // Lists rows() anew and puts their views in place.
    void reloadData();
    // Selects the row when it is listed and scrolls to it.
    bool selectItem(LVOutlineItem* item);

    // The list controller the page's rows are given (their installManager).
    LVRowHost* rowHost() const { return _rowHost; }
    void setRowHost(LVRowHost* host) { _rowHost = host; }

protected:
    virtual QList<LVOutlineItem*> rows() const = 0;

    template <typename T> static QList<LVOutlineItem*> outlineItems(const QList<T*>& list)
    {
        QList<LVOutlineItem*> items;
        items.reserve(list.size());
        for (T* row : list)
            items.append(row);
        return items;
    }

private:
    LVOutlineView* _outlineView = nullptr;
    LVOutlineModel* _model = nullptr;
    LVRowHost* _rowHost = nullptr;
};
