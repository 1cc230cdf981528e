#include "TestMain.h"
#include "foundation/VMPropertyList.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <QTest>
#include <QTimeZone>

class tst_VMPropertyList : public QObject
{
    Q_OBJECT

    static QVariantMap sample()
    {
        return QVariantMap{
            {QStringLiteral("string"), QStringLiteral("Lumivane “Glow” ✓")},
            {QStringLiteral("integer"), qint64(42)},
            {QStringLiteral("negative"), qint64(-7)},
            {QStringLiteral("real"), 2.5},
            {QStringLiteral("yes"), true},
            {QStringLiteral("no"), false},
            {QStringLiteral("data"), QByteArray("\x00\x01\xff", 3)},
            {QStringLiteral("date"), QDateTime(QDate(2024, 3, 15), QTime(12, 30, 5), QTimeZone::utc())},
            {QStringLiteral("list"),
             QVariantList{QStringLiteral("a"), qint64(1), QVariantMap{{QStringLiteral("k"), QStringLiteral("v")}}}},
            {QStringLiteral("empty"), QString(QLatin1String(""))},
        };
    }

private slots:
    void roundTripKeepsEveryType_data()
    {
        QTest::addColumn<bool>("binary");
        QTest::newRow("xml") << false;
        QTest::newRow("binary") << true;
    }
    void roundTripKeepsEveryType()
    {
        QFETCH(bool, binary);
        const QVariantMap original = sample();
        const QByteArray bytes = binary ? VMPropertyList::toBinaryData(original) : VMPropertyList::toXmlData(original);
        QVERIFY(!bytes.isEmpty());
        QCOMPARE(bytes.startsWith("bplist00"), binary);

        QString error;
        const QVariant parsed = VMPropertyList::fromData(bytes, &error);
        QVERIFY2(parsed.isValid(), qPrintable(error));
        const QVariantMap map = parsed.toMap();
        QCOMPARE(map, original);
        QCOMPARE(map.value(QStringLiteral("integer")).typeId(), QMetaType::LongLong);
        QCOMPARE(map.value(QStringLiteral("yes")).typeId(), QMetaType::Bool);
    }

    void readsHandWrittenXml()
    {
        const QByteArray xml =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
            "<plist version=\"1.0\"><dict>\n"
            "  <key>Products</key><array><dict><key>Title</key><string>Glow &amp; Grain</string></dict></array>\n"
            "  <key>Version</key><integer>3</integer>\n"
            "  <key>Date</key><date>2026-11-21T08:00:00Z</date>\n"
            "</dict></plist>\n";
        QCOMPARE(VMPropertyList::fromData(xml).toMap(),
                 (QVariantMap{{"Products", QVariantList{QVariantMap{{"Title", "Glow & Grain"}}}},
                              {"Version", qint64(3)},
                              {"Date", QDateTime(QDate(2026, 11, 21), QTime(8, 0), QTimeZone::utc())}}));
    }

    void garbageGivesAClearFailure_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("html") << QByteArray("<html><body><h1>404 Not Found</h1></body></html>");
        QTest::newRow("truncated xml") << QByteArray(
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Products</key><arr");
        QTest::newRow("binary header only") << QByteArray("bplist00");
        QTest::newRow("binary header and junk")
            << QByteArray("bplist00\xff\xff\xff\xff\x01\x02\x03\x04\x05\x06\x07", 19);
        QTest::newRow("plain text") << QByteArray("Product Versions");
        QByteArray noise(4096, '\0');
        QRandomGenerator generator(20261121);
        for (char& c : noise)
            c = static_cast<char>(generator.bounded(256));
        QTest::newRow("random bytes") << noise;
    }
    void garbageGivesAClearFailure()
    {
        QFETCH(QByteArray, bytes);
        QString error;
        const QVariant parsed = VMPropertyList::fromData(bytes, &error);
        QVERIFY(!parsed.isValid());
        QVERIFY(!error.isEmpty());
    }

    void missingFileIsReported()
    {
        QString error;
        QVERIFY(!VMPropertyList::fromFile(QStringLiteral("/nonexistent/Product Versions.plist"), &error).isValid());
        QVERIFY(error.contains(QLatin1String("Product Versions.plist")));
    }

    void valuesAPropertyListCannotHoldGiveNothing()
    {
        QVERIFY(VMPropertyList::toXmlData(QVariant::fromValue(QPoint(1, 2))).isEmpty());
        QVERIFY(VMPropertyList::toXmlData(QVariantMap{{"bad", QVariant::fromValue(QPoint(1, 2))}}).isEmpty());
    }
};

LV_TEST_GUILESS_MAIN(tst_VMPropertyList)
#include "tst_VMPropertyList.moc"
