#include "TestEnvironment.h"
#include "TestMain.h"

#include "platform/emulated/EmulatedPrivilegedExecution.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

using Status = PrivilegedExecution::Status;

class tst_PrivilegedExecution : public QObject
{
    Q_OBJECT

private:
    static QString admin() { return QString::fromLatin1(PrivilegedExecution::adminRight); }

private slots:
    void consentDecidesWhetherTheToolRuns_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("expected");
        QTest::newRow("granted") << int(PrivilegedExecution::Success) << int(PrivilegedExecution::Success);
        QTest::newRow("refused") << int(PrivilegedExecution::Denied) << int(PrivilegedExecution::Denied);
        QTest::newRow("cancelled") << int(PrivilegedExecution::Canceled) << int(PrivilegedExecution::Canceled);
        // A provider answering something else must not count as consent.
        QTest::newRow("odd answer") << 42 << int(PrivilegedExecution::Denied);
    }
    void consentDecidesWhetherTheToolRuns()
    {
        QFETCH(int, answer);
        QFETCH(int, expected);
        TestEnvironment environment;
        EmulatedPrivilegedExecution execution;
        QStringList asked;
        execution.setConsentProvider([&](const QString& right) {
            asked << right;
            return answer;
        });

        int status = -1;
        const auto authorization = execution.create(&status);
        QCOMPARE(status, int(PrivilegedExecution::Success));
        QVERIFY(authorization);
        QCOMPARE(execution.copyRights(authorization, admin(), true), expected);
        QCOMPARE(asked, QStringList{admin()});

        const QString marker = environment.path() + QStringLiteral("/ran");
        int exitCode = 99;
        const int run = execution.executeWithPrivileges(authorization, QStringLiteral("/bin/sh"),
                                                        {QStringLiteral("-c"), QStringLiteral("touch \"$0\""), marker},
                                                        nullptr, &exitCode);
        QCOMPARE(run, expected);
        QCOMPARE(QFile::exists(marker), expected == PrivilegedExecution::Success);
        QCOMPARE(exitCode, expected == PrivilegedExecution::Success ? 0 : -1);
        // A granted right is kept: the run did not ask again. A refused one is asked again.
        QCOMPARE(asked.size(), expected == PrivilegedExecution::Success ? 1 : 2);
        execution.free(authorization);
    }

    void heldRightIsNotAskedAgainButFreedAuthorizationIsInvalid()
    {
        TestEnvironment environment;
        EmulatedPrivilegedExecution execution;
        int asked = 0;
        execution.setConsentProvider([&](const QString&) {
            ++asked;
            return int(PrivilegedExecution::Success);
        });
        const auto authorization = execution.create(nullptr);
        QCOMPARE(execution.copyRights(authorization, admin(), false), int(PrivilegedExecution::InteractionNotAllowed));
        QCOMPARE(asked, 0);
        QCOMPARE(execution.copyRights(authorization, admin(), true), int(PrivilegedExecution::Success));
        QCOMPARE(execution.copyRights(authorization, admin(), false), int(PrivilegedExecution::Success));
        QCOMPARE(execution.executeWithPrivileges(authorization, QStringLiteral("/bin/true"), {}, nullptr),
                 int(PrivilegedExecution::Success));
        QCOMPARE(asked, 1);

        // A second authorization holds nothing of the first one's.
        const auto other = execution.create(nullptr);
        QCOMPARE(execution.copyRights(other, admin(), true), int(PrivilegedExecution::Success));
        QCOMPARE(asked, 2);

        execution.free(authorization);
        QCOMPARE(execution.copyRights(authorization, admin(), true), int(PrivilegedExecution::InvalidRef));
        QCOMPARE(execution.executeWithPrivileges(authorization, QStringLiteral("/bin/true"), {}, nullptr),
                 int(PrivilegedExecution::InvalidRef));
        QCOMPARE(execution.executeWithPrivileges(nullptr, QStringLiteral("/bin/true"), {}, nullptr),
                 int(PrivilegedExecution::InvalidRef));
        QCOMPARE(asked, 2);
    }

    void defaultConsentFollowsTheEnvironment_data()
    {
        QTest::addColumn<QByteArray>("autoConsent");
        QTest::addColumn<int>("expected");
        QTest::newRow("unset") << QByteArray() << int(PrivilegedExecution::Denied);
        QTest::newRow("zero") << QByteArray("0") << int(PrivilegedExecution::Denied);
        QTest::newRow("one") << QByteArray("1") << int(PrivilegedExecution::Success);
    }
    void defaultConsentFollowsTheEnvironment()
    {
        QFETCH(QByteArray, autoConsent);
        QFETCH(int, expected);
        TestEnvironment environment;
        const QByteArray saved = qgetenv("LV_AUTO_CONSENT");
        if (autoConsent.isNull())
            qunsetenv("LV_AUTO_CONSENT");
        else
            qputenv("LV_AUTO_CONSENT", autoConsent);
        EmulatedPrivilegedExecution execution;
        // Setting and then clearing a provider puts the default back.
        execution.setConsentProvider([](const QString&) { return int(PrivilegedExecution::Success); });
        execution.setConsentProvider(nullptr);
        if (expected != PrivilegedExecution::Success)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("LV_AUTO_CONSENT")));
        const int status = execution.copyRights(execution.create(nullptr), admin(), true);
        if (saved.isNull())
            qunsetenv("LV_AUTO_CONSENT");
        else
            qputenv("LV_AUTO_CONSENT", saved);
        QCOMPARE(status, expected);
    }

    void outputIsStreamedExitCodeAndStandardErrorReported()
    {
        TestEnvironment environment;
        EmulatedPrivilegedExecution execution;
        execution.setConsentProvider([](const QString&) { return int(PrivilegedExecution::Success); });
        const auto authorization = execution.create(nullptr);

        // The tool prints its second line only once the first one has reached us.
        const QString seen = environment.path() + QStringLiteral("/seen");
        const QString script =
            QStringLiteral("echo first; echo noise >&2; i=0; "
                           "while [ ! -e \"$0\" ] && [ $i -lt 200 ]; do sleep 0.05; i=$((i+1)); done; "
                           "if [ -e \"$0\" ]; then echo second; else echo late; fi; exit 3");
        QByteArray output;
        QList<QByteArray> blocks;
        int exitCode = -1;
        QByteArray errors;
        const int status = execution.executeWithPrivileges(
            authorization, QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script, seen},
            [&](const QByteArray& block) {
                blocks << block;
                output += block;
                if (output.contains("first")) {
                    QFile file(seen);
                    if (file.open(QIODevice::WriteOnly))
                        file.close();
                }
            },
            &exitCode, &errors);
        QCOMPARE(status, int(PrivilegedExecution::Success));
        QCOMPARE(output, QByteArray("first\nsecond\n")); // standard error stays out of it
        QVERIFY(blocks.size() >= 2);
        QCOMPARE(exitCode, 3);
        QCOMPARE(errors, QByteArray("noise\n"));
    }

    void toolThatCannotStartFails()
    {
        TestEnvironment environment;
        EmulatedPrivilegedExecution execution;
        execution.setConsentProvider([](const QString&) { return int(PrivilegedExecution::Success); });
        int exitCode = 0;
        const int status = execution.executeWithPrivileges(
            execution.create(nullptr), environment.path() + QStringLiteral("/no-such-tool"), {}, nullptr, &exitCode);
        QCOMPARE(status, int(PrivilegedExecution::ToolExecuteFailure));
        QCOMPARE(exitCode, -1);
    }
};

LV_TEST_GUILESS_MAIN(tst_PrivilegedExecution)
#include "tst_PrivilegedExecution.moc"
