#include "TestMain.h"
#include "foundation/VMKeyedArchive.h"

#include <QDir>
#include <QFile>
#include <QTest>

// The archives under tests/data/keyedarchive are written by Python's plistlib (make-fixtures.py),
// a writer that shares no code with ours.
class tst_VMKeyedArchive : public QObject
{
    Q_OBJECT

    static QByteArray fixture(const QString& name)
    {
        QFile file(qEnvironmentVariable("LV_TEST_DATA_DIR") + QStringLiteral("/keyedarchive/") + name + ".plist");
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void readsArchivesOfAnotherWriter_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("command 0") << "good-command-0" << QVariant(QVariantMap{{"LVManagerCommand", qint64(0)}});
        QTest::newRow("command 7") << "good-command-7" << QVariant(QVariantMap{{"LVManagerCommand", qint64(7)}});
        QTest::newRow("empty") << "good-empty-dictionary" << QVariant(QVariantMap());
        const QVariantList list{qint64(42), 2.5, QByteArray("\x00\x01", 2), QVariant()};
        QTest::newRow("nested, shared") << "good-nested"
                                        << QVariant(QVariantMap{
                                               {"list", list}, {"text", QStringLiteral("hello")}, {"again", list}});
    }
    void readsArchivesOfAnotherWriter()
    {
        QFETCH(QString, file);
        QFETCH(QVariant, expected);
        const QByteArray data = fixture(file);
        QVERIFY(!data.isEmpty());
        QString error;
        bool ok = false;
        QCOMPARE(VMKeyedArchive::unarchivedDictionaryWithData(data, &ok, &error), expected.toMap());
        QVERIFY2(ok, qPrintable(error));
    }

    void refusesCraftedArchives_data()
    {
        QTest::addColumn<QByteArray>("data");
        const QStringList bad = QDir(qEnvironmentVariable("LV_TEST_DATA_DIR") + QStringLiteral("/keyedarchive"))
                                    .entryList({QStringLiteral("bad-*.plist")}, QDir::Files, QDir::Name);
        QVERIFY(bad.size() >= 10);
        for (const QString& name : bad)
            QTest::newRow(qPrintable(name)) << fixture(name.chopped(6));
        const QByteArray good = fixture(QStringLiteral("good-command-7"));
        QTest::newRow("truncated") << good.left(good.size() / 2);
        QTest::newRow("not a plist") << QByteArray("bm90IGFuIGFyY2hpdmU=");
        QTest::newRow("empty") << QByteArray();
    }
    void refusesCraftedArchives()
    {
        QFETCH(QByteArray, data);
        QString error;
        bool ok = true;
        QVERIFY(VMKeyedArchive::unarchivedDictionaryWithData(data, &ok, &error).isEmpty());
        QVERIFY(!ok);
        QVERIFY(!error.isEmpty());
    }

    // A class name is the received text that reaches the log: it cannot start a line of its own.
    void classNamesReachTheLogEscaped()
    {
        const QByteArray archive = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>$archiver</key><string>NSKeyedArchiver</string>
<key>$version</key><integer>100000</integer>
<key>$top</key><dict><key>root</key><dict><key>CF$UID</key><integer>1</integer></dict></dict>
<key>$objects</key><array><string>$null</string>
<dict><key>$class</key><dict><key>CF$UID</key><integer>2</integer></dict></dict>
<dict><key>$classname</key><string>Evil&#10;&#8226; Forged: line&#13;&#8233;\</string>
<key>$classes</key><array><string>Evil</string></array></dict>
</array></dict></plist>)";
        QString error;
        bool ok = true;
        VMKeyedArchive::unarchivedDictionaryWithData(archive, &ok, &error);
        QVERIFY(!ok);
        QCOMPARE(error,
                 QStringLiteral(u"Objects of class Evil\\u000a\u2022 Forged: line\\u000d\\u2029\\\\ can't be read."));
    }

    // Ours, read back, equals what the other writer's archive gives.
    void writerMatchesTheOtherWriter()
    {
        const QVariantMap command{{QStringLiteral("LVManagerCommand"), qint64(7)}};
        const QByteArray ours = VMKeyedArchive::archivedDataWithRootObject(command);
        bool ok = false;
        QCOMPARE(VMKeyedArchive::unarchivedDictionaryWithData(ours, &ok), command);
        QVERIFY(ok);
        QCOMPARE(VMKeyedArchive::unarchivedDictionaryWithData(fixture(QStringLiteral("good-command-7")), &ok), command);
        QVERIFY(VMKeyedArchive::archivedDataWithRootObject(QVariant::fromValue(QObject::staticMetaObject.className()))
                    .isEmpty());
    }
};

LV_TEST_GUILESS_MAIN(tst_VMKeyedArchive)
#include "tst_VMKeyedArchive.moc"
