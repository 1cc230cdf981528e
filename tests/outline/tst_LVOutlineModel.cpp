#include "TestInstallItem.h"
#include "TestMain.h"
#include "manager/AppDelegate.h"
#include "outline/LVOutlineModel.h"
#include "outline/LVOutlineView.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QtTest>

// A child row that only has a view.
class ChildRow : public LVOutlineItem
{
public:
    explicit ChildRow(int height) { _view.resize(300, height); }
    QString title() const override { return QStringLiteral("child"); }
    QWidget* view() override { return &_view; }
    bool shouldExpand() override { return false; }

private:
    QWidget _view;
};

// A row that tells its height without making its view, counts the views made and gives its view
// back when the list lets it go.
class LazyRow : public LVOutlineItem
{
public:
    explicit LazyRow(int* made) : _made(made) {}
    QString title() const override { return QStringLiteral("lazy"); }
    QWidget* view() override
    {
        if (!_view) {
            ++*_made;
            _view = std::make_unique<QWidget>();
            _view->resize(300, 50);
            (new QPushButton(QStringLiteral("Press"), _view.get()))->setAccessibleName(QStringLiteral("Press"));
        }
        return _view.get();
    }
    QSize viewSizeHint() override { return QSize(300, 50); }
    bool canReleaseView() const override { return true; }
    void releaseView() override { _view.reset(); }
    bool hasView() const { return bool(_view); }

private:
    int* _made;
    std::unique_ptr<QWidget> _view;
};

class tst_LVOutlineModel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void answersTheOutlineQuestions();
    void rootListIsAskedAnewOnReload();
    void viewsSurviveReloadsAndStayWithTheirRows();
    void expansionAndCollapseAskTheRow_data();
    void expansionAndCollapseAskTheRow();
    void selectionFollowsTheRowsAnswer();
    void viewsAreMadeForRowsInSight();
    void reloadKeepsWhatTheUserOpened_data();
    void reloadKeepsWhatTheUserOpened();
};

void tst_LVOutlineModel::answersTheOutlineQuestions()
{
    TestInstallItem first(QStringLiteral("first"));
    TestInstallItem second(QStringLiteral("second"));
    first.viewHeight = 64;
    ChildRow childA(120), childB(30);
    second.children = {&childA, &childB};
    second.selectable = false;
    QList<LVOutlineItem*> rows{&first, &second};
    LVOutlineModel model([&] { return rows; });
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);

    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.columnCount(), 1);
    const QModelIndex firstIndex = model.index(0, 0);
    const QModelIndex secondIndex = model.index(1, 0);
    // The tester checks that indexes, parents and counts agree; here, that they are these rows.
    QCOMPARE(model.itemForIndex(firstIndex), &first);
    QCOMPARE(model.rowCount(firstIndex), 0);
    QCOMPARE(model.rowCount(secondIndex), 2);

    const QModelIndex childIndex = model.index(0, 0, secondIndex);
    QCOMPARE(model.itemForIndex(childIndex), &childA);
    QCOMPARE(model.indexForItem(&childB), model.index(1, 0, secondIndex));

    // Rows are as high as their views and titled by their controllers.
    QCOMPARE(model.data(firstIndex, Qt::SizeHintRole).toSize().height(), 64);
    QCOMPARE(model.data(childIndex, Qt::SizeHintRole).toSize().height(), 120);
    QCOMPARE(model.data(secondIndex).toString(), QStringLiteral("second"));
    QVERIFY(model.flags(firstIndex).testFlag(Qt::ItemIsSelectable));
    QVERIFY(!model.flags(secondIndex).testFlag(Qt::ItemIsSelectable));
    QVERIFY(model.flags(firstIndex).testFlag(Qt::ItemNeverHasChildren));

    // A row without a view takes no room.
    LVInstallItem bare;
    rows.append(&bare);
    model.reload();
    QCOMPARE(model.data(model.index(2, 0), Qt::SizeHintRole).toSize().height(), 0);
}

void tst_LVOutlineModel::rootListIsAskedAnewOnReload()
{
    TestInstallItem a(QStringLiteral("a")), b(QStringLiteral("b"));
    int asked = 0;
    QList<LVOutlineItem*> rows{&a};
    LVOutlineModel model([&] {
        ++asked;
        return rows;
    });
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const int before = asked;
    rows = {&b, nullptr, &a};
    QCOMPARE(model.rowCount(), 1); // not until reloaded
    model.reload();
    QCOMPARE(asked, before + 1);
    // Null rows are left out.
    QCOMPARE(model.rootItems(), (QList<LVOutlineItem*>{&b, &a}));
    QCOMPARE(model.itemForIndex(model.index(0, 0)), &b);
}

void tst_LVOutlineModel::viewsSurviveReloadsAndStayWithTheirRows()
{
    auto* row = new TestInstallItem(QStringLiteral("row"));
    QList<LVOutlineItem*> rows{row};
    LVOutlineView view;
    LVOutlineModel model([&] { return rows; });
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    view.setOutlineModel(&model);
    view.resize(320, 400);
    view.show();
    QPointer<QWidget> rowView = row->view();
    QCOMPARE(view.rowView(model.index(0, 0)), rowView.data());
    view.reloadData();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(rowView);
    QCOMPARE(view.rowView(model.index(0, 0)), rowView.data());
    // Taken out of the list, the view is hidden but still the row's.
    rows.clear();
    view.reloadData();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(rowView);
    QVERIFY(!rowView->isVisible());
    delete row;
    QVERIFY(!rowView);
}

void tst_LVOutlineModel::expansionAndCollapseAskTheRow_data()
{
    QTest::addColumn<bool>("mayExpand");
    QTest::addColumn<bool>("expandedAfterExpand");
    QTest::newRow("row agrees") << true << true;
    QTest::newRow("row refuses") << false << false;
}

void tst_LVOutlineModel::expansionAndCollapseAskTheRow()
{
    QFETCH(bool, mayExpand);
    QFETCH(bool, expandedAfterExpand);
    TestInstallItem parent(QStringLiteral("parent"));
    ChildRow child(50);
    parent.children = {&child};
    parent.expandable = mayExpand;
    QList<LVOutlineItem*> rows{&parent};
    LVOutlineView view;
    LVOutlineModel model([&] { return rows; });
    view.setOutlineModel(&model);
    view.show();
    view.expandItem(&parent);
    QCOMPARE(view.isItemExpanded(&parent), expandedAfterExpand);
    if (expandedAfterExpand) {
        // The child's view is placed once the parent opens.
        QCOMPARE(view.rowView(model.index(0, 0, model.index(0, 0))), child.view());
    }
    view.toggleItem(&parent);
    QVERIFY(!view.isItemExpanded(&parent));
}

void tst_LVOutlineModel::selectionFollowsTheRowsAnswer()
{
    TestInstallItem selectable(QStringLiteral("yes")), fixed(QStringLiteral("no"));
    fixed.selectable = false;
    TestInstallItem stranger(QStringLiteral("elsewhere"));
    QList<LVOutlineItem*> rows{&selectable, &fixed};
    LVOutlineView view;
    LVOutlineModel model([&] { return rows; });
    view.setOutlineModel(&model);
    view.show();
    QVERIFY(view.selectItem(&selectable));
    QCOMPARE(view.selectedItem(), &selectable);
    QVERIFY(!view.selectItem(&stranger));
    QCOMPARE(view.selectedItem(), &selectable);
    view.selectItem(&fixed);
    QVERIFY(view.selectedItem() != &fixed);
    view.selectItem(nullptr);
    QCOMPARE(view.selectedItem(), nullptr);
}

void tst_LVOutlineModel::viewsAreMadeForRowsInSight()
{
    int made = 0;
    std::vector<std::unique_ptr<LazyRow>> owned;
    QList<LVOutlineItem*> rows;
    for (int i = 0; i < 200; ++i) {
        owned.push_back(std::make_unique<LazyRow>(&made));
        rows.append(owned.back().get());
    }
    LVOutlineView view;
    LVOutlineModel model([&] { return rows; });
    view.resize(320, 400);
    view.setOutlineModel(&model);
    // Hidden (another tab), the list makes nothing; a screen reader still reaches a row's controls.
    QCOMPARE(made, 0);
    QAccessibleInterface* row = QAccessible::queryAccessibleInterface(&view)->child(100);
    QCOMPARE(row->childCount(), 1);
    QCOMPARE(row->child(0)->text(QAccessible::Name), QStringLiteral("Press"));
    QVERIFY(view.rowView(model.index(100, 0)));

    // Shown: the 8 rows in sight, not all 200; paging to the end and back, the list holds views
    // only around the rows in sight.
    view.show();
    QVERIFY2(made >= 8 && made <= 16, qPrintable(QString::number(made)));
    QVERIFY(!view.rowView(model.index(199, 0)));
    QScrollBar* bar = view.verticalScrollBar();
    for (int value = 0; value <= bar->maximum(); value += bar->pageStep()) {
        bar->setValue(value);
        QVERIFY2(view.placedViewCount() <= 40, qPrintable(QString::number(view.placedViewCount())));
    }
    bar->setValue(bar->maximum());
    QVERIFY(view.rowView(model.index(199, 0)));
    QVERIFY(!owned.front()->hasView());
    const int alive = int(std::count_if(owned.cbegin(), owned.cend(), [](const auto& r) { return r->hasView(); }));
    QVERIFY2(alive <= 40, qPrintable(QString::number(alive)));
    bar->setValue(0);
    QVERIFY(view.rowView(model.index(0, 0)));
    QCOMPARE(QAccessible::queryAccessibleInterface(&view)->child(0)->child(0)->text(QAccessible::Name),
             QStringLiteral("Press"));
}

void tst_LVOutlineModel::reloadKeepsWhatTheUserOpened_data()
{
    QTest::addColumn<bool>("newRows");
    QTest::newRow("the same rows") << false;
    // A refreshed catalogue: other row objects for the same products.
    QTest::newRow("new rows for the same keys") << true;
}

void tst_LVOutlineModel::reloadKeepsWhatTheUserOpened()
{
    QFETCH(bool, newRows);
    std::vector<std::unique_ptr<TestInstallItem>> owned;
    std::vector<std::unique_ptr<ChildRow>> children;
    const auto makeRows = [&] {
        QList<LVOutlineItem*> made;
        for (int i = 0; i < 30; ++i) {
            owned.push_back(std::make_unique<TestInstallItem>(QStringLiteral("row %1").arg(i)));
            children.push_back(std::make_unique<ChildRow>(80));
            owned.back()->expandable = true;
            owned.back()->children = {children.back().get()};
            made.append(owned.back().get());
        }
        return made;
    };
    QList<LVOutlineItem*> rows = makeRows();
    LVOutlineView view;
    LVOutlineModel model([&] { return rows; });
    view.resize(320, 300);
    view.setOutlineModel(&model);
    view.show();
    view.expandItem(rows.at(3));
    view.expandItem(rows.at(20));
    QVERIFY(view.selectItem(rows.at(20)));
    view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
    const int scrolled = view.verticalScrollBar()->value();
    QVERIFY(scrolled > 0);

    if (newRows)
        rows = makeRows();
    view.reloadData();
    for (int i = 0; i < rows.size(); ++i)
        QCOMPARE(view.isItemExpanded(rows.at(i)), i == 3 || i == 20);
    QCOMPARE(view.selectedItem(), rows.at(20));
    QCOMPARE(view.verticalScrollBar()->value(), scrolled);
}

LV_TEST_MAIN(tst_LVOutlineModel)
#include "tst_LVOutlineModel.moc"
