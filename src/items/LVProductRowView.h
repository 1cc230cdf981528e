#pragma once

#include <QPointer>
#include <memory>
#include <vector>

namespace Ui {
class LVSingleInstallItem;
}
class QMenu;
class QTimer;
class QWidget;

// A product row's widgets, made from its interface file: the headline the list shows, the details
// shown while the row is open, and the actions menu. The wiring that belongs to no row is made
// here; a row binds the rest while it holds the view.
class LVProductRowView
{
public:
    LVProductRowView();
    ~LVProductRowView();
    LVProductRowView(const LVProductRowView&) = delete;
    LVProductRowView& operator=(const LVProductRowView&) = delete;

    Ui::LVSingleInstallItem& ui() { return *_ui; }
    QWidget* headline() const { return _headline; }
    QWidget* details() const { return _details; }
    QMenu* menu() const { return _menu; }
    // Whether a list shows the details now.
    bool isDetailsListed() const;

private:
    std::unique_ptr<Ui::LVSingleInstallItem> _ui;
    std::unique_ptr<QWidget> _panel;
    // A list that goes first gives them back.
    QPointer<QWidget> _headline;
    QPointer<QWidget> _details;
    QPointer<QMenu> _menu;
};

// The views that rows out of sight have given back, lent to the next rows that come into sight:
// paging through thousands of products makes no widgets once a page's worth exists.
class LVProductRowViews
{
public:
    LVProductRowViews();
    ~LVProductRowViews();

    // A spare view, or a new one. The first loan starts making spares in idle moments, so that
    // the first pages the user turns find their views made.
    std::unique_ptr<LVProductRowView> lend();
    void giveBack(std::unique_ptr<LVProductRowView> view);
    int spareCount() const { return int(_spare.size()); }

private:
    void makeSparesWhenIdle();

    std::vector<std::unique_ptr<LVProductRowView>> _spare;
    std::unique_ptr<QTimer> _idle;
};
