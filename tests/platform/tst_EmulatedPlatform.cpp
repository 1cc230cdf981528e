#include "TestEnvironment.h"
#include "TestMain.h"

#include "platform/emulated/EmulatedPlatform.h"

#include <QDir>
#include <QTest>

// Which Mac the platform works on: the emulated one whenever a test or the demo asks for it, so
// that none of them reaches the machine's own "/".
class tst_EmulatedPlatform : public QObject
{
    Q_OBJECT

private slots:
    void choiceFollowsTheEnvironment_data()
    {
        QTest::addColumn<QByteArray>("platform");
        QTest::addColumn<QByteArray>("root"); // "<temp>": the test's own root
        QTest::addColumn<bool>("chosen");
        QTest::addColumn<bool>("realRoot");
        QTest::addColumn<QString>("systemRoot"); // "<temp>", "<default>" or a path
        QTest::newRow("a root folder") << QByteArray() << QByteArray("<temp>") << true << false << "<temp>";
        QTest::newRow("the real root") << QByteArray() << QByteArray("/") << false << true << "/";
        QTest::newRow("the real root, unclean") << QByteArray() << QByteArray("//") << false << true << "/";
        QTest::newRow("nothing named") << QByteArray() << QByteArray() << false << false << "<default>";
        QTest::newRow("forced, a root folder")
            << QByteArray("emulated") << QByteArray("<temp>") << true << false << "<temp>";
        // Forced: "/" is never worked on, the default folder is.
        QTest::newRow("forced, the real root")
            << QByteArray("emulated") << QByteArray("/") << true << false << "<default>";
    }
    void choiceFollowsTheEnvironment()
    {
        QFETCH(QByteArray, platform);
        QFETCH(QByteArray, root);
        QFETCH(bool, chosen);
        QFETCH(bool, realRoot);
        QFETCH(QString, systemRoot);
        TestEnvironment environment;
        const QByteArray saved = qgetenv("LV_PLATFORM");
        qputenv("LV_PLATFORM", platform);
        if (root == "<temp>")
            qputenv("LV_SYSTEM_ROOT", QFile::encodeName(environment.systemRoot()));
        else if (root.isEmpty())
            qunsetenv("LV_SYSTEM_ROOT");
        else
            qputenv("LV_SYSTEM_ROOT", root);

        const bool isChosen = EmulatedPlatform::isChosen();
        const bool usesRealRoot = EmulatedPlatform::usesRealRoot();
        const QString actualRoot = EmulatedPlatform::createSystemInfo()->systemRoot();
        qputenv("LV_PLATFORM", saved);

        QCOMPARE(isChosen, chosen);
        QCOMPARE(usesRealRoot, realRoot);
        if (systemRoot == QLatin1String("<temp>"))
            systemRoot = environment.systemRoot();
        else if (systemRoot == QLatin1String("<default>"))
            systemRoot = environment.home() + QStringLiteral("/.local/share/lumivane-manager/system-root");
        QCOMPARE(actualRoot, systemRoot);
    }

    // The emulated Mac's Trash is its user's .Trash inside the root; a name already there gets a number.
    void trashIsInsideTheRoot()
    {
        TestEnvironment environment;
        Platform::setSystemInfo(EmulatedPlatform::createSystemInfo());
        const QString trash = Platform::systemInfo().trashDirectory();
        QVERIFY2(trash.startsWith(environment.systemRoot() + QStringLiteral("/Users/")), qPrintable(trash));
        QVERIFY(trash.endsWith(QStringLiteral("/.Trash")));
        const auto workspace = EmulatedPlatform::createWorkspace();
        const QString folder = environment.systemRoot() + QStringLiteral("/Applications");
        QStringList trashed;
        for (int i = 0; i < 2; ++i) {
            QDir().mkpath(folder + QStringLiteral("/Glow.app/Contents"));
            QString path;
            QVERIFY(workspace->moveToTrash(folder + QStringLiteral("/Glow.app"), &path));
            trashed << path;
        }
        QCOMPARE(trashed, (QStringList{trash + QStringLiteral("/Glow.app"), trash + QStringLiteral("/Glow 2.app")}));
        int code = 0;
        QVERIFY(!workspace->moveToTrash(folder + QStringLiteral("/Glow.app"), nullptr, nullptr, &code));
        QCOMPARE(code, int(Workspace::TrashNoSuchFile));
    }
};

LV_TEST_GUILESS_MAIN(tst_EmulatedPlatform)
#include "tst_EmulatedPlatform.moc"
