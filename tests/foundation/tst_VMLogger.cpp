#include "TestEnvironment.h"
#include "TestMain.h"

#include "foundation/VMClock.h"
#include "foundation/VMLog.h"
#include "foundation/VMLogger.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimeZone>

namespace {
struct Sample
{
    int function(const QString& message)
    {
        VM_LOG_ERROR_CODE(message, -60006);
        return __LINE__ - 1; // the line of the log call above
    }
};
} // namespace

class tst_VMLogger : public QObject
{
    Q_OBJECT
    std::unique_ptr<TestEnvironment> env;

private slots:
    void init()
    {
        env = std::make_unique<TestEnvironment>();
        VMClock::setCurrentDateProvider(
            [] { return QDateTime(QDate(2026, 11, 21), QTime(9, 5, 7), QTimeZone::utc()); });
    }
    void cleanup() { env.reset(); }

    // The window's colour for each kind of line (the text and prefix are the system log's, below).
    void coloursBySeverity()
    {
        QCOMPARE(
            (QList<QColor>{VMLogger::colorForSeverity(VMLogger::Message), VMLogger::colorForSeverity(VMLogger::Error),
                           VMLogger::colorForSeverity(VMLogger::Warning)}),
            (QList<QColor>{Qt::black, Qt::red, QColor(255, 128, 0)}));
    }

    void withoutAWindowEveryLineGoesToTheSystemLog()
    {
        QSignalSpy lines(VMLogger::sharedLogger(), &VMLogger::lineLogged);
        VMLogger::logMessage("one");
        VMLogger::logError("two");
        VMLogger::logWarning("three");
        QCOMPARE(lines.size(), 3);
        QCOMPARE(env->systemLog->lines(),
                 (QStringList{QString::fromUtf8("Message: • 2026-11-21 09:05:07 +0000: one\n"),
                              QString::fromUtf8("Error: • 2026-11-21 09:05:07 +0000: two\n"),
                              QString::fromUtf8("Warning: • 2026-11-21 09:05:07 +0000: three\n")}));
    }

    void emptyMessagesLeaveNoTrace()
    {
        QSignalSpy lines(VMLogger::sharedLogger(), &VMLogger::lineLogged);
        VMLogger::logMessage(QString());
        VMLogger::logError(QLatin1String(""));
        QCOMPARE(lines.size(), 0);
        QVERIFY(env->systemLog->lines().isEmpty());
    }

    void callSiteFormats()
    {
        QSignalSpy lines(VMLogger::sharedLogger(), &VMLogger::lineLogged);
        Sample sample;
        const int line = sample.function(QStringLiteral("Authorization failed %1"));
        QCOMPARE(lines.size(), 1);
        const QString text = lines.first().first().toString();
        QVERIFY2(text.contains(QStringLiteral("'Authorization failed %1': -60006 in ")), qPrintable(text));
        QVERIFY2(text.contains(QLatin1String("Sample::function")), qPrintable(text));
        QVERIFY2(text.endsWith(QStringLiteral(" line %1\n").arg(line)), qPrintable(text));
        QCOMPARE(VMLog::callSite("url = nil", "LVDownloader::LVDownloader()", 12),
                 QStringLiteral("'url = nil' in LVDownloader::LVDownloader() line 12"));
    }

    void linesFromManyThreadsKeepEachThreadsOrder()
    {
        QStringList received;
        connect(VMLogger::sharedLogger(), &VMLogger::lineLogged, this,
                [&](const QString& line) { received.append(line); });
        constexpr int threads = 4, perThread = 250;
        QList<QThread*> workers;
        for (int t = 0; t < threads; ++t) {
            workers.append(QThread::create([t] {
                for (int i = 0; i < perThread; ++i)
                    VMLogger::logMessage(QStringLiteral("t%1 #%2").arg(t).arg(i));
            }));
            workers.last()->start();
        }
        for (QThread* worker : workers) {
            QVERIFY(worker->wait(10000));
            delete worker;
        }
        QTRY_COMPARE(received.size(), threads * perThread);
        QList<int> next(threads, 0);
        static const QRegularExpression pattern(QStringLiteral(": t(\\d) #(\\d+)\n$"));
        for (const QString& line : received) {
            const auto match = pattern.match(line);
            QVERIFY(match.hasMatch());
            const int t = match.captured(1).toInt();
            QCOMPARE(match.captured(2).toInt(), next[t]);
            ++next[t];
        }
    }
};

LV_TEST_MAIN(tst_VMLogger)
#include "tst_VMLogger.moc"
