#pragma once

#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMSingleProductItem.h"

#include <QCoreApplication>
#include <QPointer>
#include <memory>
#include <vector>

namespace Ui {
class LVSingleInstallItem;
}
class QImage;
class QMenu;
class QTimer;
class QWidget;

// What a product row shows, as values the row works out from the product model.
struct LVProductRowState
{
    VMInstallStatus::Status status = VMInstallStatus::NotComputed;
    // Why the row's button may not act now, read as its description; empty when it may.
    QString refusal;
    // How far a download has come (0 to 1) and its description.
    double progress = 0;
    QString progressDescription;
};

// A product row's widgets, made from its interface file: the headline the list shows, the details
// shown while the row is open, and the actions menu. It renders values and nothing else; the row
// that holds it connects the controls to its actions.
class LVProductRowView
{
    Q_DECLARE_TR_FUNCTIONS(LVProductRowView)
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

    // The names a screen reader reads, which a view lent to another row changes.
    void nameFor(const QString& title);
    void showTitle(const QString& html);
    // The product's icon; a null image shows the title's initial on a tile.
    void showIcon(const QImage& image, const QString& title);
    void showStatus(const LVProductRowState& state);
    void showProgress(double fraction);
    void showProgressDescription(const QString& description);
    // The details as high as their text; true when their height changed.
    bool showDetails(const VMSingleProductItem& product, const QString& installedVersion);

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

private:
    void makeSparesWhenIdle();

    std::vector<std::unique_ptr<LVProductRowView>> _spare;
    std::unique_ptr<QTimer> _idle;
};
