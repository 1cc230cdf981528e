#include "TestEnvironment.h"
#include "TestInstallItem.h"
#include "TestMain.h"
#include "items/LVInstallItemTitleField.h"
#include "manager/AppDelegate.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QtTest>

class tst_LVInstallItem : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void readingAnUncomputedStatusComputesItOnce();
    void onlyRealChangesAreReported();
    void menuIsFilledAnewEachTimeItOpens();
    void titleFieldDrawsThePlainTitleWhiteAndBold();
    void titleFieldDrawsTheStyledTitleInsteadOfThePlainOne();
    void titleFieldRoutesClicksByClickCount();
};

void tst_LVInstallItem::readingAnUncomputedStatusComputesItOnce()
{
    TestInstallItem item(QStringLiteral("A"), LVInstallItem::StatusUpdateAvailable);
    QCOMPARE(item.updateStatusCalls, 0);
    QCOMPARE(item.installStatus(), uint(LVInstallItem::StatusUpdateAvailable));
    QCOMPARE(item.installStatus(), uint(LVInstallItem::StatusUpdateAvailable));
    QCOMPARE(item.updateStatusCalls, 1);

    // A row that still can't tell its status is asked again on every read.
    TestInstallItem unknown(QStringLiteral("B"), LVInstallItem::StatusNotComputed);
    unknown.installStatus();
    unknown.installStatus();
    QCOMPARE(unknown.updateStatusCalls, 2);
}

void tst_LVInstallItem::onlyRealChangesAreReported()
{
    TestInstallItem item;
    QSignalSpy changes(&item, &LVInstallItem::installStatusChanged);
    item.setInstallStatus(LVInstallItem::StatusDownloading);
    item.setInstallStatus(LVInstallItem::StatusDownloading);
    item.setInstallStatus(LVInstallItem::StatusInstalling);
    item.setInstallStatus(LVInstallItem::StatusInstalling);
    QCOMPARE(changes.count(), 2);
    QCOMPARE(changes.at(0).at(0).toUInt(), uint(LVInstallItem::StatusDownloading));
    QCOMPARE(changes.at(1).at(0).toUInt(), uint(LVInstallItem::StatusInstalling));
}

void tst_LVInstallItem::menuIsFilledAnewEachTimeItOpens()
{
    TestInstallItem item;
    QMenu menu;
    menu.addAction(QStringLiteral("Stale entry"));
    item.menuWillOpen(&menu);
    QCOMPARE(menu.actions().size(), 2);
    QCOMPARE(menu.actions().at(0)->text(), QString());
    QCOMPARE(menu.actions().at(1)->text(), QStringLiteral("Reinstall"));
    item.menuWillOpen(&menu);
    QCOMPARE(menu.actions().size(), 2);
    QCOMPARE(item.populateCalls, 2);
    item.menuDidClose(&menu);
    QVERIFY(menu.actions().isEmpty());
}

namespace {
QImage render(QWidget& widget)
{
    QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

// Pixels that are clearly of the colour, and how far right the drawn text reaches.
int countPixels(const QImage& image, const std::function<bool(QColor)>& matches, int* rightmost = nullptr)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = QColor::fromRgba(image.pixel(x, y));
            if (c.alpha() > 200 && matches(c)) {
                ++count;
                if (rightmost)
                    *rightmost = qMax(*rightmost, x);
            }
        }
    }
    return count;
}
} // namespace

void tst_LVInstallItem::titleFieldDrawsThePlainTitleWhiteAndBold()
{
    LVInstallItemTitleField field;
    field.resize(300, 40);
    // Without a string, nothing at all.
    QCOMPARE(countPixels(render(field), [](QColor) { return true; }), 0);
    field.setStringValue(QStringLiteral("Prismatic Glow"));
    const QImage image = render(field);
    int rightmost = 0;
    const int white = countPixels(
        image, [](QColor c) { return c.red() > 240 && c.green() > 240 && c.blue() > 240; }, &rightmost);
    QVERIFY(white > 20);
    // Screen readers read the painted title.
    QCOMPARE(QAccessible::queryAccessibleInterface(&field)->text(QAccessible::Name), QStringLiteral("Prismatic Glow"));
    // Drawn from the left edge at its natural width in the title font.
    QVERIFY(qAbs(rightmost - QFontMetrics(LVInstallItemTitleField::titleFont())
                                 .horizontalAdvance(QStringLiteral("Prismatic Glow"))) < 4);
    // Hanging from the top: the lower half of a 40-pixel field stays empty.
    const QImage lower = image.copy(0, 24, 300, 16);
    QCOMPARE(countPixels(lower, [](QColor) { return true; }), 0);
}

void tst_LVInstallItem::titleFieldDrawsTheStyledTitleInsteadOfThePlainOne()
{
    LVInstallItemTitleField field;
    field.resize(300, 40);
    field.setStringValue(QStringLiteral("Plain"));
    field.setAttributedStringValue(QStringLiteral("<span style=\"color:#ff0000; font-size:14px\">Styled</span>"));
    QVERIFY(field.stringValue().isNull());
    QCOMPARE(QAccessible::queryAccessibleInterface(&field)->text(QAccessible::Name), QStringLiteral("Styled"));
    const QImage image = render(field);
    QVERIFY(countPixels(image, [](QColor c) { return c.red() > 200 && c.green() < 60 && c.blue() < 60; }) > 10);
    QCOMPARE(countPixels(image, [](QColor c) { return c.red() > 240 && c.green() > 240 && c.blue() > 240; }), 0);

    // And back: a plain string replaces the styled one.
    field.setStringValue(QStringLiteral("Plain"));
    QVERIFY(field.attributedStringValue().isNull());
    QCOMPARE(countPixels(render(field), [](QColor c) { return c.red() > 200 && c.green() < 60; }), 0);
}

void tst_LVInstallItem::titleFieldRoutesClicksByClickCount()
{
    TestInstallItem row;
    LVInstallItemTitleField field;
    field.resize(100, 20);
    field.setDelegate(&row);
    const QPointF at(10, 10);
    QMouseEvent press(QEvent::MouseButtonPress, at, field.mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(&field, &press);
    QCOMPARE(row.singleClicks, 1);
    QCOMPARE(row.doubleClicks, 0);
    // The second press of a double click: only the double click is reported.
    QMouseEvent second(QEvent::MouseButtonDblClick, at, field.mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                       Qt::NoModifier);
    QApplication::sendEvent(&field, &second);
    QCOMPARE(row.singleClicks, 1);
    QCOMPARE(row.doubleClicks, 1);
    // Without a delegate nothing happens.
    field.setDelegate(nullptr);
    QApplication::sendEvent(&field, &second);
    QCOMPARE(row.doubleClicks, 1);
}

LV_TEST_MAIN(tst_LVInstallItem)
#include "tst_LVInstallItem.moc"
