#include "AccessibleTree.h"
#include "TestEnvironment.h"
#include "TestMain.h"

#include "DemoCatalogue.h"
#include "foundation/VMPropertyList.h"
#include "manager/AppDelegate.h"
#include "manager/LVAboutWindow.h"
#include "manager/LVApplicationItemFactory.h"
#include "manager/LVInstallManager.h"
#include "manager/LVPreferencesWindow.h"
#include "manager/LVUpdateWindow.h"
#include "manager/VMLoggerWindow.h"
#include "tools/LVToolItem.h"
#include "tools/LVToolSearchAndDelete.h"
#include "tools/LVToolsTab.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QLabel>
#include <QTextDocument>
#include <QtTest>

// Every window and row of the application as a screen reader reads it: a label that shows text is
// read as that text, never as a fixed word.
namespace {

QString shownText(const QLabel* label)
{
    const QString text = label->text();
    if (label->textFormat() == Qt::RichText || (label->textFormat() == Qt::AutoText && Qt::mightBeRichText(text))) {
        QTextDocument document;
        document.setHtml(text);
        return document.toPlainText();
    }
    return text;
}

// The labels under `window` that show text, each checked; returns their texts and counts the
// rows' status lines among them.
QStringList checkLabels(QWidget* window, int* statusLines = nullptr)
{
    QStringList read;
    QAccessibleInterface* root = QAccessible::queryAccessibleInterface(window);
    for (QAccessibleInterface* element : descendants(root)) {
        auto* label = qobject_cast<QLabel*>(element->object());
        if (!label || label->text().isEmpty() || !label->isVisibleTo(window))
            continue;
        const QString name = element->text(QAccessible::Name);
        if (name != shownText(label)) {
            QTest::qFail(qPrintable(QStringLiteral("%1 reads \"%2\" but shows \"%3\"")
                                        .arg(label->objectName(), name, shownText(label))),
                         __FILE__, __LINE__);
            return {};
        }
        read.append(name);
        if (statusLines && label->objectName() == QLatin1String("_statusTextField"))
            ++*statusLines;
    }
    return read;
}

// Expands every collapsed row of the outlines in sight, through their toggle action.
void expandRows(QWidget* window)
{
    for (QAccessibleInterface* element : descendants(QAccessible::queryAccessibleInterface(window))) {
        if (element->role() == QAccessible::TreeItem && element->state().collapsed && element->actionInterface())
            element->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    }
}

bool pressTab(QWidget* window, const QString& tabName)
{
    for (QAccessibleInterface* element : descendants(QAccessible::queryAccessibleInterface(window))) {
        if (element->role() == QAccessible::PageTab && element->text(QAccessible::Name).startsWith(tabName)) {
            element->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
            return true;
        }
    }
    return false;
}

} // namespace

class tst_LabelsSpeak : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void everyWindowAndRow();
};

void tst_LabelsSpeak::everyWindowAndRow()
{
    TestEnvironment environment;
    QVERIFY(TestEnvironment::writeFile(LVInstallManager::localVersionsFilePath(),
                                       VMPropertyList::toXmlData(DemoCatalogue::catalogue(
                                           QUrl(QStringLiteral("http://127.0.0.1:9")), QDateTime::currentDateTime()))));

    LVInstallManager manager;
    manager.setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    const QList<LVToolItem*> tools = LVToolsTab::applicationTools();
    manager.setToolItems(QList<LVOutlineItem*>(tools.begin(), tools.end()));
    manager.setAttachedToStatusItem(false);
    manager.show();
    QWidget* window = manager.window();
    window->resize(900, 4000); // every row in sight
    // The rows' status lines, as read: the products' and, once expanded, the bundles' members'.
    QStringList read;
    QTRY_VERIFY2((read = checkLabels(window)).contains(QStringLiteral("Not yet installed")),
                 qPrintable(read.join(QLatin1Char('|'))));
    for (const QString& tab : {QStringLiteral("Bundles"), QStringLiteral("Tools"), QStringLiteral("News"),
                               QStringLiteral("Help"), QStringLiteral("Installs")}) {
        QVERIFY2(pressTab(window, tab), qPrintable(tab));
        expandRows(window);
        QCoreApplication::processEvents();
        int statusLines = 0;
        read += checkLabels(window, &statusLines);
        if (QTest::currentTestFailed())
            return;
        // A bundle's row and, expanded, each of its products' rows.
        if (tab == QLatin1String("Bundles"))
            QVERIFY2(statusLines >= 3, qPrintable(QString::number(statusLines)));
    }

    LVAboutWindow about;
    about.aboutVersionTextField()->setText(QStringLiteral("Version: 0.1.0 [65]")); // as the start-up writes it
    about.show();
    QVERIFY(checkLabels(&about).contains(QStringLiteral("Version: 0.1.0 [65]")));

    SelfUpdateItem item;
    item.title = QStringLiteral("Lumivane Manager 9.0");
    item.displayVersionString = QStringLiteral("9.0");
    LVUpdateWindow update(item, QStringLiteral("0.1.0"));
    update.show();
    update.setFinished(QStringLiteral("The update could not be verified."), false);
    QVERIFY(checkLabels(&update).contains(QStringLiteral("The update could not be verified.")));

    LVToolSearchAndDelete* searchAndDelete = LVToolSearchAndDelete::sharedManager();
    searchAndDelete->show();
    searchAndDelete->searchButtonAction();
    QVERIFY(checkLabels(searchAndDelete->panel()).contains(QStringLiteral("0 files / applications found")));
    searchAndDelete->cancelButtonAction();

    LVPreferencesWindow preferences;
    preferences.show();
    checkLabels(&preferences);
    VMLoggerWindow log;
    log.show();
    checkLabels(&log);
    manager.hide();
}

LV_TEST_MAIN(tst_LabelsSpeak)
#include "tst_LabelsSpeak.moc"
