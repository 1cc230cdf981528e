#include "MacStandIns.h"
#include "TestEnvironment.h"
#include "TestMain.h"

#include "platform/macos/MacRichTextConverter.h"
#include "platform/macos/MacWorkspace.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

// The Mac classes that run the Mac's programs, driven with stand-ins that answer like them.
class tst_MacPrograms : public QObject
{
    Q_OBJECT

private:
    static MacWorkspace workspace(QStringList found = {})
    {
        return MacWorkspace([found](const QString&) { return found; },
                            MacWorkspacePrograms{MacStandIns::program("open"), MacStandIns::program("pkill")});
    }

    static QString makeBundle(const QString& path, const QString& executable)
    {
        QDir().mkpath(path + QStringLiteral("/Contents/MacOS"));
        return TestEnvironment::writeFile(path + QStringLiteral("/Contents/Info.plist"),
                                          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                                          "<key>CFBundleExecutable</key><string>" +
                                              executable.toUtf8() + "</string></dict></plist>\n")
                   ? path
                   : QString();
    }

private slots:
    void licenceIsConvertedByTextutil_data()
    {
        QTest::addColumn<QByteArray>("rtf");
        QTest::addColumn<QString>("expected"); // null: no HTML
        QTest::newRow("document") << QByteArray("{\\rtf1\\ansi{\\fonttbl\\f0 Helvetica;}\\f0 End User \\b Licence\\b0"
                                                "\\par Second line}")
                                  << QStringLiteral("<p class=\"p1\">End User Licence</p>\n"
                                                    "<p class=\"p1\">Second line</p>");
        QTest::newRow("unreadable") << QByteArray("{}") << QString();
        QTest::newRow("empty, textutil not asked") << QByteArray() << QString();
    }
    void licenceIsConvertedByTextutil()
    {
        QFETCH(QByteArray, rtf);
        QFETCH(QString, expected);
        TestEnvironment environment;
        MacStandIns standIns(environment.path());
        const QString html = MacRichTextConverter(MacStandIns::program("textutil")).rtfToHtml(rtf);
        QCOMPARE(html.isNull(), expected.isNull());
        if (!expected.isNull())
            QVERIFY2(html.contains(expected), qPrintable(html));
        const QStringList expectedCalls =
            rtf.isEmpty()
                ? QStringList()
                : QStringList{MacStandIns::call(QStringLiteral("textutil"), {"-convert", "html", "-stdin", "-stdout"})};
        QCOMPARE(standIns.calls(), expectedCalls);
    }

    void revealUsesOpenR_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::newRow("file") << true;
        QTest::newRow("missing file") << false;
    }
    void revealUsesOpenR()
    {
        QFETCH(bool, exists);
        TestEnvironment environment;
        MacStandIns standIns(environment.path());
        const QString file = environment.home() + QStringLiteral("/Downloads/Glow 2.pkg");
        if (exists)
            QVERIFY(TestEnvironment::writeFile(file));
        QCOMPARE(workspace().revealFile(file), exists);
        QCOMPARE(standIns.calls(), QStringList{MacStandIns::call(QStringLiteral("open"), {"-R", file})});
    }

    void applicationsLaunchHiddenWithArgumentsAndTerminate_data()
    {
        QTest::addColumn<bool>("hides");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("openArguments");
        QTest::newRow("hidden, with arguments")
            << true << QStringList{"-register", "/Applications/Lumivane/Glow.app"}
            << QStringList{"-g", "-j", "-a", "%1", "--args", "-register", "/Applications/Lumivane/Glow.app"};
        QTest::newRow("shown, no arguments") << false << QStringList() << QStringList{"-a", "%1"};
    }
    void applicationsLaunchHiddenWithArgumentsAndTerminate()
    {
        QFETCH(bool, hides);
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, openArguments);
        TestEnvironment environment;
        MacStandIns standIns(environment.path());
        const QString bundle = makeBundle(environment.path() + QStringLiteral("/Apps/Glow (1).app"), "Glow");
        QVERIFY(!bundle.isEmpty());
        MacWorkspace mac = workspace({bundle});
        QCOMPARE(mac.absolutePathForAppBundleWithIdentifier(QStringLiteral("com.quarnet.glow")), bundle);

        Workspace::OpenConfiguration configuration;
        configuration.hides = hides;
        configuration.arguments = arguments;
        QString error = QStringLiteral("not called");
        Workspace::RunningApplication launched;
        mac.openApplication(bundle, configuration, [&](const Workspace::RunningApplication& app, const QString& e) {
            launched = app;
            error = e;
        });
        QCOMPARE(error, QString());
        QCOMPARE(launched.path, bundle);
        QVERIFY(mac.terminateApplication(launched));

        openArguments.replaceInStrings(QStringLiteral("%1"), bundle);
        const QStringList calls = standIns.calls();
        QCOMPARE(calls.size(), 2);
        QCOMPARE(calls.at(0), MacStandIns::call(QStringLiteral("open"), openArguments));
        // pkill is given the executable's path as a pattern that matches it literally, and nothing else.
        const QString prefix = QStringLiteral("pkill [-TERM] [-f] [");
        QVERIFY2(calls.at(1).startsWith(prefix) && calls.at(1).endsWith(QLatin1Char(']')), qPrintable(calls.at(1)));
        const QRegularExpression pattern(calls.at(1).mid(prefix.size()).chopped(1));
        QVERIFY(pattern.isValid());
        const QString executable = bundle + QStringLiteral("/Contents/MacOS/Glow");
        QVERIFY(pattern.match(executable).hasMatch());
        QVERIFY(pattern.match(executable + QStringLiteral(" -register x")).hasMatch());
        QVERIFY(!pattern.match(executable + QStringLiteral("Helper")).hasMatch());
        QVERIFY(!pattern.match(environment.path() + QStringLiteral("/Apps/Glow 1.app/Contents/MacOS/Glow")).hasMatch());
    }

    void missingApplicationReportsOpensError()
    {
        TestEnvironment environment;
        MacStandIns standIns(environment.path());
        const QString missing = environment.path() + QStringLiteral("/Apps/Gone.app");
        QString error;
        workspace().openApplication(missing, Workspace::OpenConfiguration(),
                                    [&](const Workspace::RunningApplication&, const QString& e) { error = e; });
        QCOMPARE(error, QStringLiteral("Unable to find application named '%1'").arg(missing));
        QVERIFY(!workspace().terminateApplication(Workspace::RunningApplication{0, missing}));
    }
};

LV_TEST_GUILESS_MAIN(tst_MacPrograms)
#include "tst_MacPrograms.moc"
