#include "TestEnvironment.h"
#include "TestMain.h"

#include "platform/emulated/EmulatedDistributedNotifications.h"
#ifdef LV_TEST_SESSION_BUS
#include "TestSessionBus.h"
#include "platform/linux/LinuxDistributedNotifications.h"
#endif

#include <QDir>
#include <QProcess>
#include <QTest>

#include <memory>

// The command channel's two carriers: the emulated Mac's sockets inside the system root (every test
// and the demo), and the Linux desktop's session bus (the application outside an emulated Mac).
class tst_DistributedNotifications : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
#ifdef LV_TEST_SESSION_BUS
        // Before anything in this process reaches the session bus: Qt keeps its first connection.
        _bus = std::make_unique<TestSessionBus>();
#endif
    }

    void deliveredToObserversOfTheNameUntilTheyEnd_data()
    {
        QTest::addColumn<QString>("carrier");
        QTest::newRow("system root") << "emulated";
#ifdef LV_TEST_SESSION_BUS
        QTest::newRow("session bus") << "linux";
#endif
    }
    void deliveredToObserversOfTheNameUntilTheyEnd()
    {
        QFETCH(QString, carrier);
        TestEnvironment env;
        std::unique_ptr<DistributedNotifications> notifications;
        if (carrier == QLatin1String("emulated"))
            notifications = std::make_unique<EmulatedDistributedNotifications>();
#ifdef LV_TEST_SESSION_BUS
        else if (_bus->isRunning())
            notifications = std::make_unique<LinuxDistributedNotifications>();
#endif
        QVERIFY2(notifications, "no session bus");

        QStringList received;
        auto context = std::make_unique<QObject>();
        QVERIFY(notifications->observe(
            context.get(), QStringLiteral("com.quarnet.test.ping"),
            [&received](const QString& name, const QString& object) { received << name + QLatin1Char('=') + object; }));
        QVERIFY(notifications->post(QStringLiteral("com.quarnet.test.other"), QStringLiteral("no")));
        QVERIFY(notifications->post(QStringLiteral("com.quarnet.test.ping"), QStringLiteral("Grüße 1")));
        QVERIFY(notifications->post(QStringLiteral("com.quarnet.test.ping"), QStringLiteral("2")));
        QTRY_COMPARE(received, (QStringList{"com.quarnet.test.ping=Grüße 1", "com.quarnet.test.ping=2"}));

        context.reset();
        QVERIFY(notifications->post(QStringLiteral("com.quarnet.test.ping"), QStringLiteral("3")));
        QTest::qWait(100);
        QCOMPARE(received.size(), 2);
        if (carrier == QLatin1String("emulated")) {
            // Its socket went with it, and every socket lies inside the test's system root.
            QVERIFY(EmulatedDistributedNotifications::folder().startsWith(env.systemRoot() + QLatin1Char('/')));
            QCOMPARE(QDir(EmulatedDistributedNotifications::folder()).entryList(QDir::System | QDir::Files),
                     QStringList());
        }
    }

private:
#ifdef LV_TEST_SESSION_BUS
    std::unique_ptr<TestSessionBus> _bus;
#endif
};

LV_TEST_GUILESS_MAIN(tst_DistributedNotifications)

#include "tst_DistributedNotifications.moc"
