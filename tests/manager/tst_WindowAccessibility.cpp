#include "AccessibleTree.h"
#include "RecordingWorkspace.h"
#include "TestEnvironment.h"
#include "TestMain.h"

#include "DemoCatalogue.h"
#include "foundation/VMPropertyList.h"
#include "manager/AppDelegate.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "manager/LVInstallManagerView.h"
#include "outline/LVOutlineView.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QMenu>
#include <QScrollBar>
#include <QToolButton>
#include <QtTest>
#include <functional>

// The main window as a screen reader meets it: everything below is found and used through
// QAccessible alone, from the window's interface down.
namespace {
QStringList childNames(QAccessibleInterface* parent)
{
    QStringList names;
    for (int i = 0; parent && i < parent->childCount(); ++i)
        names.append(parent->child(i)->text(QAccessible::Name));
    return names;
}

// The tab list whose tabs carry these names, badge counts left out.
QAccessibleInterface* tabList(QAccessibleInterface* window, const QStringList& tabs)
{
    for (QAccessibleInterface* candidate : descendants(window)) {
        if (candidate->role() != QAccessible::PageTabList)
            continue;
        QStringList names = childNames(candidate);
        for (QString& name : names)
            name = name.section(QLatin1String(" ("), 0, 0);
        if (names == tabs)
            return candidate;
    }
    return nullptr;
}

QAccessibleInterface* child(QAccessibleInterface* parent, const QString& namePrefix)
{
    for (int i = 0; parent && i < parent->childCount(); ++i) {
        if (parent->child(i)->text(QAccessible::Name).startsWith(namePrefix))
            return parent->child(i);
    }
    return nullptr;
}

void press(QAccessibleInterface* element, const QString& action = QAccessibleActionInterface::pressAction())
{
    QVERIFY(element && element->actionInterface());
    QVERIFY(element->actionInterface()->actionNames().contains(action));
    element->actionInterface()->doAction(action);
}

// The one outline (tree) on screen.
QAccessibleInterface* visibleOutline(QAccessibleInterface* window)
{
    QAccessibleInterface* shown = nullptr;
    for (QAccessibleInterface* candidate : descendants(window)) {
        if (candidate->role() == QAccessible::Tree && !candidate->state().invisible) {
            if (shown)
                return nullptr;
            shown = candidate;
        }
    }
    return shown;
}
} // namespace

class tst_WindowAccessibility : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void walkTheWindow();
    void aLongListByKeyboardAndScreenReader();
};

void tst_WindowAccessibility::walkTheWindow()
{
    TestEnvironment environment;
    auto workspace = std::make_shared<RecordingWorkspace>();
    Platform::setWorkspace(workspace);
    const QString released = QDate::currentDate().addDays(-1).toString(QStringLiteral("yy.MM.dd"));
    const QVariantMap catalogue{
        {"News", QVariantMap{{"News", QVariantList{QVariantMap{{"Title", "Glow 2 is out"},
                                                               {"Headline", "Faster glows on every effect."},
                                                               {"Release Date", released},
                                                               {"Show Days", 10}}}}}},
        {"Help Items",
         QVariantMap{{"Help Items",
                      QVariantList{QVariantMap{{"Title", "Installing"}, {"Help URL", "http://127.0.0.1:9/install"}},
                                   QVariantMap{{"Title", "Licences"}, {"Help URL", "http://127.0.0.1:9/licence"}}}}}},
    };
    QFile file(LVInstallManager::localVersionsFilePath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(VMPropertyList::toXmlData(catalogue));
    file.close();

    LVInstallManager manager;
    manager.show();
    QAccessibleInterface* window = QAccessible::queryAccessibleInterface(manager.window());
    QVERIFY(window);
    QAccessibleInterface* mainTabs = tabList(window, {"Installs", "News", "Help", "Tools"});
    QAccessibleInterface* installTabs = tabList(window, {"Bundles", "Products"});
    QVERIFY(mainTabs && installTabs);
    QVERIFY(mainTabs->state().focusable);
    // The news badge is read with its tab once the catalogue is in.
    QTRY_COMPARE(childNames(mainTabs), (QStringList{"Installs", "News (1)", "Help", "Tools"}));

    // Every button is named; one that shows only an icon is named as its tooltip says.
    int iconButtons = 0;
    for (QAccessibleInterface* element : descendants(window)) {
        if (element->role() != QAccessible::Button)
            continue;
        QVERIFY2(!element->text(QAccessible::Name).isEmpty(), qPrintable(element->object()->objectName()));
        auto* button = qobject_cast<QAbstractButton*>(element->object());
        if (button && button->text().isEmpty()) {
            ++iconButtons;
            QCOMPARE(element->text(QAccessible::Name), button->toolTip());
        }
    }
    QVERIFY(iconButtons >= 5); // header, refresh, about, preferences, quit

    // Installs: both sub-tabs, pressed in turn.
    QVERIFY(mainTabs->child(0)->state().selected);
    for (int tab : {1, 0}) {
        press(installTabs->child(tab));
        QVERIFY(installTabs->child(tab)->state().selected);
        QVERIFY(!installTabs->child(1 - tab)->state().selected);
    }

    // News: the row is named by its title, shows its headline and is expanded.
    press(child(mainTabs, "News"));
    QVERIFY(child(mainTabs, "News")->state().selected);
    QAccessibleInterface* news = visibleOutline(window);
    QVERIFY(news);
    QCOMPARE(childNames(news), QStringList{"Glow 2 is out"});
    QAccessibleInterface* newsRow = news->child(0);
    QCOMPARE(newsRow->role(), QAccessible::TreeItem);
    QVERIFY(childNames(newsRow).contains("Faster glows on every effect."));
    QVERIFY(newsRow->state().expanded);
    QCOMPARE(newsRow->child(newsRow->childCount() - 1)->parent(), newsRow);
    press(newsRow, QAccessibleActionInterface::toggleAction());
    QVERIFY(newsRow->state().collapsed && !newsRow->state().expanded);

    // Help: the titles are read, and pressing one opens its page.
    press(child(mainTabs, "Help"));
    QAccessibleInterface* help = visibleOutline(window);
    QVERIFY(help);
    QCOMPARE(childNames(help), (QStringList{"Installing", "Licences"}));
    QAccessibleInterface* title = help->child(1)->child(0);
    QCOMPARE(title->text(QAccessible::Name), QStringLiteral("Licences"));
    press(title);
    QCOMPARE(workspace->opened, QList<QUrl>{QUrl(QStringLiteral("http://127.0.0.1:9/licence"))});

    // Tools: nothing there, and the placeholder says so.
    press(child(mainTabs, "Tools"));
    QAccessibleInterface* tools = visibleOutline(window);
    QVERIFY(tools);
    QCOMPARE(childNames(tools), QStringList{"No tools."});
    QCOMPARE(tools->child(0)->role(), QAccessible::StaticText);

    // The keyboard: the arrows move along the tabs.
    auto* control = qobject_cast<QWidget*>(mainTabs->object());
    QVERIFY(control && control->focusPolicy() & Qt::TabFocus);
    QTest::keyClick(control, Qt::Key_Left);
    QVERIFY(child(mainTabs, "Help")->state().selected);
    QCOMPARE(childNames(visibleOutline(window)), (QStringList{"Installing", "Licences"}));
    QTest::keyClick(control, Qt::Key_Home);
    QVERIFY(mainTabs->child(0)->state().selected);

    manager.hide();
    Platform::reset();
}

// Three hundred products: only the rows around those in sight have views, yet a screen reader
// reads any row's controls, and Tab walks the rows in their order, bringing each into sight.
void tst_WindowAccessibility::aLongListByKeyboardAndScreenReader()
{
    TestEnvironment environment;
    QFile file(LVInstallManager::localVersionsFilePath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(VMPropertyList::toXmlData(
        DemoCatalogue::catalogue(QUrl(QStringLiteral("http://127.0.0.1:9")), QDateTime::currentDateTime(), 300)));
    file.close();
    LVInstallManager manager;
    manager.setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    manager.setAttachedToStatusItem(false);
    manager.selectInstallsTabViewAtIndex(LVInstallManager::SingleProductsTab);
    manager.show();
    QVERIFY(QTest::qWaitForWindowExposed(manager.window()));
    auto* table = manager.containerView()->findChild<LVOutlineView*>(QStringLiteral("_installItemsTable"));
    QVERIFY(table);
    QTRY_VERIFY(table->model() && table->model()->rowCount() > 250);
    const int rows = table->model()->rowCount();

    // The last row, far out of sight, read and its controls named.
    QAccessibleInterface* outline = QAccessible::queryAccessibleInterface(table);
    QAccessibleInterface* last = outline->child(rows - 1);
    QVERIFY(last && last->state().offscreen && !last->state().invisible);
    const QString lastTitle = last->text(QAccessible::Name);
    QVERIFY2(lastTitle.startsWith(QStringLiteral("Generated Effect")), qPrintable(lastTitle));
    QStringList controls;
    for (QAccessibleInterface* element : descendants(last))
        controls.append(element->text(QAccessible::Name));
    QVERIFY2(controls.contains(QStringLiteral("Download & Install")), qPrintable(controls.join(QLatin1Char('|'))));
    QVERIFY(controls.contains(QStringLiteral("Actions for %1").arg(lastTitle)));
    QVERIFY(controls.contains(QStringLiteral("Not yet installed")));
    // Pressed there, its actions button opens the row's menu.
    QAccessibleInterface* actions = nullptr;
    for (QAccessibleInterface* element : descendants(last)) {
        if (element->text(QAccessible::Name) == QStringLiteral("Actions for %1").arg(lastTitle))
            actions = element;
    }
    QStringList entries;
    QTimer reader;
    connect(&reader, &QTimer::timeout, this, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return;
        reader.stop();
        for (QAction* action : menu->actions()) {
            if (action->isVisible() && action->isEnabled())
                entries.append(action->text());
        }
        menu->close();
    });
    reader.start(20);
    press(actions);
    QTRY_VERIFY(!entries.isEmpty());
    QVERIFY2(entries.contains(QStringLiteral("Install")), qPrintable(entries.join(QLatin1Char('|'))));
    // The menu kept the activation; back in the window, as the user would be.
    manager.window()->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(manager.window()));
    // Read once, given back when the list next moves: views stay about two pages' worth.
    table->verticalScrollBar()->setValue(table->verticalScrollBar()->pageStep());
    QVERIFY2(table->placedViewCount() < 40, qPrintable(QString::number(table->placedViewCount())));

    // Tab from the first product's actions button: every next stop is the next row's button,
    // download and actions in turn, and the row with the focus is in sight.
    table->verticalScrollBar()->setValue(0);
    const QString first = outline->child(1)->text(QAccessible::Name);
    QToolButton* start = nullptr;
    for (auto* button : table->viewport()->findChildren<QToolButton*>()) {
        if (button->isVisible() && button->accessibleName() == QStringLiteral("Actions for %1").arg(first))
            start = button;
    }
    QVERIFY(start);
    start->setFocus(Qt::OtherFocusReason);
    QStringList visited;
    for (int press = 0; press < 60; ++press) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QWidget* focus = QApplication::focusWidget();
        QVERIFY(focus && table->isAncestorOf(focus));
        const QRect shown(focus->mapTo(table->viewport(), QPoint(0, 0)), focus->size());
        QVERIFY(table->viewport()->rect().contains(shown));
        if (focus->accessibleName().startsWith(QStringLiteral("Actions for ")))
            visited.append(focus->accessibleName().mid(12));
    }
    QVERIFY(visited.size() >= 29);
    for (int i = 0; i < visited.size(); ++i)
        QCOMPARE(visited.at(i), outline->child(2 + i)->text(QAccessible::Name));
    QVERIFY(table->verticalScrollBar()->value() > 0);
    // Tabbed into from the control before the list, or back from the one after, wherever the
    // lent views sit in the window's focus chain: the first row in sight takes the focus at its
    // first control, the last row in sight at its last. Around the window's ends, Tab passes the
    // rows by.
    QScrollBar* scroll = table->verticalScrollBar();
    scroll->setValue(scroll->value() + 3 * scroll->pageStep());
    // The window's controls by what a screen reader reads of them; walking the whole tree would
    // make every row's view.
    const auto control = [&manager](const std::function<bool(QAccessibleInterface*)>& matches) -> QWidget* {
        for (auto* widget : manager.window()->findChildren<QWidget*>()) {
            if (QAccessibleInterface* element = QAccessible::queryAccessibleInterface(widget);
                element && matches(element))
                return widget;
        }
        return nullptr;
    };
    const auto named = [&control](const QString& name) {
        return control([&name](QAccessibleInterface* element) { return element->text(QAccessible::Name) == name; });
    };
    QWidget* before = control([](QAccessibleInterface* element) {
        return element->role() == QAccessible::PageTabList && childNames(element).value(0).startsWith("Bundles");
    });
    QWidget* after = named(QStringLiteral("About Lumivane Manager"));
    QWidget* firstControl = named(QStringLiteral("Visit the Lumivane web site"));
    QWidget* lastControl = named(QStringLiteral("Quit Lumivane Manager"));
    QVERIFY(before && after && firstControl && lastControl);
    const auto focusName = [] {
        return QApplication::focusWidget() ? QApplication::focusWidget()->accessibleName() : QString();
    };
    const auto actionsFor = [outline](const QModelIndex& row) {
        return QStringLiteral("Actions for %1").arg(outline->child(row.row())->text(QAccessible::Name));
    };
    lastControl->setFocus(Qt::OtherFocusReason);
    QTest::keyClick(lastControl, Qt::Key_Tab);
    QTRY_COMPARE(QApplication::focusWidget(), firstControl);
    QTest::keyClick(firstControl, Qt::Key_Backtab, Qt::ShiftModifier);
    QTRY_COMPARE(QApplication::focusWidget(), lastControl);
    const QModelIndex top = table->indexAt(QPoint(0, 0));
    before->setFocus(Qt::OtherFocusReason);
    QTest::keyClick(before, Qt::Key_Tab);
    QTRY_VERIFY(table->rowView(top) && table->rowView(top)->isAncestorOf(QApplication::focusWidget()));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(focusName(), actionsFor(top));
    const QModelIndex bottom = table->indexAt(QPoint(0, table->viewport()->height() - 1));
    after->setFocus(Qt::OtherFocusReason);
    QTest::keyClick(after, Qt::Key_Backtab, Qt::ShiftModifier);
    QTRY_COMPARE(focusName(), actionsFor(bottom));
    manager.hide();
}

LV_TEST_MAIN(tst_WindowAccessibility)
#include "tst_WindowAccessibility.moc"
