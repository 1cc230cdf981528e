#include "MacStandIns.h"
#include "TestEnvironment.h"
#include "TestMain.h"

#include "platform/macos/MacBundleUpdater.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

// Replacing the running application bundle with a verified update, with stand-ins for ditto,
// codesign and open: a swap that works, and one that fails at each step and leaves the old bundle.
class tst_MacBundleUpdater : public QObject
{
    Q_OBJECT

private:
    struct BundleSpec
    {
        QByteArray version;
        QByteArray identifier = "com.quarnet.Lumivane-Manager";
        QByteArray team = "QUARNET42";
        bool signedBundle = true;
    };

    // A bundle "Lumivane Manager.app" in `folder`, its version in Contents/Resources/version.
    static void makeBundle(const QString& folder, const BundleSpec& spec)
    {
        const QString bundle = folder + QStringLiteral("/Lumivane Manager.app");
        QDir().mkpath(bundle + QStringLiteral("/Contents/MacOS"));
        QVERIFY(TestEnvironment::writeFile(bundle + QStringLiteral("/Contents/Info.plist"),
                                           "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                                           "<key>CFBundleIdentifier</key><string>" +
                                               spec.identifier + "</string></dict></plist>\n"));
        QVERIFY(TestEnvironment::writeFile(bundle + QStringLiteral("/Contents/Resources/version"), spec.version));
        if (spec.signedBundle) {
            QVERIFY(TestEnvironment::writeFile(bundle + QStringLiteral("/Contents/_CodeSignature/CodeResources"),
                                               "<plist/>"));
            QVERIFY(TestEnvironment::writeFile(bundle + QStringLiteral("/Contents/_CodeSignature/team"), spec.team));
        }
    }

    // A zip archive of what `folder` holds, made with CMake's tar as ditto -c -k would.
    static QString zip(const QString& folder, const QString& archive)
    {
        QProcess tar;
        tar.setWorkingDirectory(folder);
        QStringList entries = QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        tar.start(QStringLiteral(LV_CMAKE_COMMAND), QStringList{"-E", "tar", "cf", archive, "--format=zip"} + entries);
        return tar.waitForFinished(60000) && tar.exitCode() == 0 ? archive : QString();
    }

    // A process id that has already ended: the relaunch helper need not wait.
    static qint64 endedProcessId()
    {
        QProcess process;
        process.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("exit 0")});
        process.waitForFinished();
        return process.processId() > 0 ? process.processId() : 999999;
    }

    static QStringList leftovers(const QString& folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private slots:
    void swapsVerifiedBundleOrLeavesTheOldOne_data()
    {
        QTest::addColumn<QString>("archive"); // "update", "corrupt", "empty"
        QTest::addColumn<QString>("problem"); // what is wrong, or empty
        QTest::addColumn<QString>("reason");  // the user is told; empty: installed
        const auto row = [](const char* name, const char* archive, const char* problem, const char* reason) {
            QTest::newRow(name) << QString(archive) << QString(problem) << QString(reason);
        };
        row("installed", "update", "", "");
        row("archive can't be unpacked", "corrupt", "", "The archive could not be unpacked.");
        row("no application inside", "empty", "", "The archive does not hold one application.");
        row("new bundle not signed", "update", "unsigned", "The new application's code signature is not valid.");
        row("signed by another team", "update", "other team",
            "The new application is not signed by the same developer.");
        row("another application", "update", "other identifier", "The archive holds another application.");
        row("running bundle unsigned", "update", "running unsigned",
            "The running application is not signed by a developer.");
        row("relaunch fails after the swap", "update", "no relaunch", "The new application could not be started.");
    }
    void swapsVerifiedBundleOrLeavesTheOldOne()
    {
        QFETCH(QString, archive);
        QFETCH(QString, problem);
        QFETCH(QString, reason);
        TestEnvironment environment;
        MacStandIns standIns(environment.path());

        const QString applications = environment.systemRoot() + QStringLiteral("/Applications");
        makeBundle(applications, BundleSpec{"old", "com.quarnet.Lumivane-Manager", "QUARNET42",
                                            problem != QLatin1String("running unsigned")});
        const QString running = applications + QStringLiteral("/Lumivane Manager.app");

        const QString source = environment.path() + QStringLiteral("/source");
        QDir().mkpath(source);
        BundleSpec update{"new"};
        update.signedBundle = problem != QLatin1String("unsigned");
        if (problem == QLatin1String("other team"))
            update.team = "SOMEONE99";
        if (problem == QLatin1String("other identifier"))
            update.identifier = "com.example.Other";
        if (archive == QLatin1String("update"))
            makeBundle(source, update);
        else
            QVERIFY(TestEnvironment::writeFile(source + QStringLiteral("/ReadMe.txt"), "no application here"));
        QString archivePath = environment.path() + QStringLiteral("/update.zip");
        if (archive == QLatin1String("corrupt"))
            QVERIFY(TestEnvironment::writeFile(archivePath, "PK\x03\x04 this is not a zip archive"));
        else
            QCOMPARE(zip(source, archivePath), archivePath);

        MacBundleUpdater::Programs programs{MacStandIns::program("ditto"), MacStandIns::program("codesign"),
                                            MacStandIns::program("open"), QStringLiteral("/bin/sh")};
        if (problem == QLatin1String("no relaunch"))
            programs.shell = environment.path() + QStringLiteral("/no-such-shell");
        MacBundleUpdater updater(running, endedProcessId(), programs);
        QVERIFY(updater.replacesApplication());
        QString told;
        const bool installed = updater.install(archivePath, &told);

        QCOMPARE(installed, reason.isEmpty());
        QCOMPARE(told, reason.isEmpty() ? QString() : QStringLiteral("The update was not installed. ") + reason);
        QCOMPARE(TestEnvironment::readFile(running + QStringLiteral("/Contents/Resources/version")),
                 QByteArray(reason.isEmpty() ? "new" : "old"));
        // Nothing but the application is left beside it: no staging folder, no old copy.
        QCOMPARE(leftovers(applications), QStringList{QStringLiteral("Lumivane Manager.app")});
        if (reason.isEmpty()) {
            // The new bundle is opened once this process has ended (it already has).
            const QString opened = MacStandIns::call(QStringLiteral("open"), {running});
            QTRY_VERIFY_WITH_TIMEOUT(standIns.calls().contains(opened), 10000);
            // Unpacked beside the running bundle; the new bundle's signature and both teams checked.
            const QString log = standIns.calls().join(QLatin1Char('\n'));
            const QString staged =
                QRegularExpression::escape(applications) + QStringLiteral("/\\.Lumivane Manager update-[^/\\]]+/new");
            QVERIFY2(log.contains(QRegularExpression(QStringLiteral("ditto \\[-x\\] \\[-k\\] \\[") +
                                                     QRegularExpression::escape(archivePath) +
                                                     QStringLiteral("\\] \\[") + staged + QStringLiteral("\\]"))),
                     qPrintable(log));
            QVERIFY2(log.contains(QRegularExpression(QStringLiteral("codesign \\[--verify\\] \\[--deep\\] "
                                                                    "\\[--strict\\] \\[") +
                                                     staged + QStringLiteral("/Lumivane Manager\\.app\\]"))),
                     qPrintable(log));
            QVERIFY(log.contains(MacStandIns::call(QStringLiteral("codesign"), {"-dv", "--verbose=2", running})));
        }
    }
};

LV_TEST_GUILESS_MAIN(tst_MacBundleUpdater)
#include "tst_MacBundleUpdater.moc"
