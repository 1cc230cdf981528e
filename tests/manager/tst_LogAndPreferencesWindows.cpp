#include "TestEnvironment.h"
#include "TestMain.h"

#include "catalogue/VMUtils.h"
#include "foundation/LVPreferences.h"
#include "manager/AppDelegate.h"
#include "manager/LVPreferencesWindow.h"
#include "manager/VMLoggerWindow.h"

#include <QCheckBox>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QTimeZone>

class tst_LogAndPreferencesWindows : public QObject
{
    Q_OBJECT
    std::unique_ptr<TestEnvironment> env;

    static QList<QTextCharFormat> fragmentFormats(QTextEdit* edit)
    {
        QList<QTextCharFormat> formats;
        for (QTextBlock block = edit->document()->begin(); block.isValid(); block = block.next())
            for (auto it = block.begin(); !it.atEnd(); ++it)
                formats.append(it.fragment().charFormat());
        return formats;
    }

private slots:
    void init()
    {
        env = std::make_unique<TestEnvironment>();
        VMUtils::setCurrentDateProvider(
            [] { return QDateTime(QDate(2026, 11, 21), QTime(9, 5, 7), QTimeZone::utc()); });
    }
    void cleanup() { env.reset(); }

    void logWindowRoutesLines()
    {
        VMLoggerWindow window;
        VMLogger::sharedLogger()->setView(&window);

        // Hidden window: the line is kept in the window and copied to the system log.
        VMLogger::logWarning("Disk almost full");
        QCOMPARE(env->systemLog->lines(),
                 QStringList{QString::fromUtf8("Warning: • 2026-11-21 09:05:07 +0000: Disk almost full\n")});

        // Visible window: the window only.
        VMLogger::sharedLogger()->show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        VMLogger::logError("Install failed");
        VMLogger::logMessage("Catalogue loaded");
        VMLogger::logMessage(QString());
        QCOMPARE(env->systemLog->lines().size(), 1);
        QCOMPARE(window.textView()->toPlainText(),
                 QString::fromUtf8("• 2026-11-21 09:05:07 +0000: Disk almost full\n"
                                   "• 2026-11-21 09:05:07 +0000: Install failed\n"
                                   "• 2026-11-21 09:05:07 +0000: Catalogue loaded\n"));

        const QList<QTextCharFormat> formats = fragmentFormats(window.textView());
        QCOMPARE(formats.size(), 3);
        QCOMPARE(formats.at(0).foreground().color(), QColor(255, 128, 0));
        QCOMPARE(formats.at(1).foreground().color(), QColor(Qt::red));
        QCOMPARE(formats.at(2).foreground().color(), QColor(Qt::black));
        for (const QTextCharFormat& format : formats) {
            QCOMPARE(format.font().family(), QStringLiteral("Helvetica"));
            QCOMPARE(format.font().pointSizeF(), 14.0);
        }

        VMLogger::sharedLogger()->clearText();
        QVERIFY(window.textView()->toPlainText().isEmpty());
        VMLogger::sharedLogger()->hide();
        QVERIFY(!VMLogger::sharedLogger()->isVisible());
        VMLogger::sharedLogger()->setView(nullptr);
    }

    void extendedLoggingBoxShowsOnlyWithOption_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<bool>("visible");
        QTest::newRow("no keys") << int(SystemInfo::NoModifier) << false;
        QTest::newRow("option") << int(SystemInfo::Option) << true;
        QTest::newRow("shift") << int(SystemInfo::Shift) << false;
        QTest::newRow("option and command") << int(SystemInfo::Option | SystemInfo::Command) << true;
    }
    void extendedLoggingBoxShowsOnlyWithOption()
    {
        QFETCH(int, modifiers);
        QFETCH(bool, visible);
        env->systemInfo->modifiers = SystemInfo::ModifierKeys(modifiers);
        LVPreferencesWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.useExtendedLoggingButton()->isVisible(), visible);
        QVERIFY(!window.showIconInMenuBarButton()->isVisible());
        QVERIFY(!window.autoLaunchButton()->isVisible());
        QVERIFY(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    }

    void extendedLoggingBoxShowsAndHidesTheLog()
    {
        env->systemInfo->modifiers = SystemInfo::Option;
        AppDelegate delegate;
        delegate.applicationDidFinishLaunching();
        delegate.loggerWindow()->hideLog();
        LVPreferencesWindow* preferences = delegate.preferencesWindow();
        preferences->show();
        QCheckBox* box = preferences->useExtendedLoggingButton();
        QVERIFY(!box->isChecked());

        QTest::mouseClick(box, Qt::LeftButton, {}, box->rect().center() - QPoint(box->width() / 2 - 8, 0));
        QVERIFY(box->isChecked());
        QVERIFY(LVPreferences::sharedPreferences()->usesExtendedLogging());
        QTRY_VERIFY(delegate.loggerWindow()->isVisible());

        // Changed elsewhere: the box follows and the log window goes away.
        LVPreferences::sharedPreferences()->useExtendedLogging(false);
        QVERIFY(!box->isChecked());
        QTRY_VERIFY(!delegate.loggerWindow()->isVisible());
    }

    void otherBoxesStoreTheirKeys()
    {
        LVPreferencesWindow window;
        window.autoLaunchButtonAction(false);
        window.showIconInMenuBarButtonAction(true);
        QCOMPARE(LVPreferences::sharedPreferences()->propertyForKey("LVPrefsAutoLaunch"), QVariant(false));
        QCOMPARE(LVPreferences::sharedPreferences()->propertyForKey("LVPrefsShowIconInMenubar"), QVariant(true));
        QVERIFY(!window.autoLaunchButton()->isChecked());
        QVERIFY(window.showIconInMenuBarButton()->isChecked());
    }
};

LV_TEST_MAIN(tst_LogAndPreferencesWindows)
#include "tst_LogAndPreferencesWindows.moc"
