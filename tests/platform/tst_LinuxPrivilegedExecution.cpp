#include "TestEnvironment.h"
#include "TestMain.h"

#include "platform/linux/LinuxPrivilegedExecution.h"

#include <QFile>
#include <QTest>

// Administrator runs on Linux's real root go through pkexec (here a stand-in that records its calls).
class tst_LinuxPrivilegedExecution : public QObject
{
    Q_OBJECT

private:
    static QString admin() { return QString::fromLatin1(PrivilegedExecution::adminRight); }

    // A stand-in for pkexec: answers as the file "answer" beside it says, else runs the command.
    static QString writeElevator(const QString& directory, const QByteArray& answer)
    {
        const QString path = directory + QStringLiteral("/fake-pkexec");
        const bool written = TestEnvironment::writeFile(path, "#!/bin/sh\n"
                                                              "echo \"$@\" >> \"$(dirname \"$0\")/calls\"\n"
                                                              "case \"$(cat \"$(dirname \"$0\")/answer\")\" in\n"
                                                              "  cancel) exit 126 ;;\n"
                                                              "  refuse) exit 127 ;;\n"
                                                              "esac\n"
                                                              "exec \"$@\"\n") &&
                             QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner) &&
                             TestEnvironment::writeFile(directory + QStringLiteral("/answer"), answer);
        return written ? path : QString();
    }

private slots:
    void realRootRunsThroughTheElevator_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QByteArray>("output");
        QTest::newRow("authenticated") << QByteArray("grant") << int(PrivilegedExecution::Success)
                                       << QByteArray("root=/ a b\n");
        QTest::newRow("dismissed") << QByteArray("cancel") << int(PrivilegedExecution::Canceled) << QByteArray();
        QTest::newRow("not authorized") << QByteArray("refuse") << int(PrivilegedExecution::Denied) << QByteArray();
    }
    void realRootRunsThroughTheElevator()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, expected);
        QFETCH(QByteArray, output);
        TestEnvironment environment;
        const QString elevator = writeElevator(environment.path(), answer);
        QVERIFY(!elevator.isEmpty());
        LinuxPrivilegedExecution execution(elevator);
        execution.setConsentProvider([](const QString&) {
            qWarning("the consent provider must not be asked when polkit asks");
            return int(PrivilegedExecution::Success);
        });
        const auto authorization = execution.create(nullptr);
        QCOMPARE(execution.copyRights(authorization, admin(), true), expected);

        QByteArray printed;
        const int status =
            execution.executeWithPrivileges(authorization, QStringLiteral("/bin/sh"),
                                            {QStringLiteral("-c"), QStringLiteral("echo root=$LV_SYSTEM_ROOT $0 $1"),
                                             QStringLiteral("a"), QStringLiteral("b")},
                                            [&](const QByteArray& block) { printed += block; });
        QCOMPARE(status, expected);
        QCOMPARE(printed, output);

        const QList<QByteArray> lines =
            TestEnvironment::readFile(environment.path() + QStringLiteral("/calls")).split('\n');
        QCOMPARE(lines.value(0), QByteArray("/bin/true"));
        if (expected == PrivilegedExecution::Success)
            QVERIFY(lines.value(1).startsWith("/usr/bin/env LV_SYSTEM_ROOT=/ /bin/sh -c"));
    }
};

LV_TEST_GUILESS_MAIN(tst_LinuxPrivilegedExecution)
#include "tst_LinuxPrivilegedExecution.moc"
