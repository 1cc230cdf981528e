#include "LogCapture.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "catalogue/VMHelpItemsCollection.h"
#include "catalogue/VMNewsCollection.h"
#include "catalogue/VMReleaseDate.h"
#include "catalogue/VMUtils.h"
#include "foundation/LVPreferences.h"

#include <QTest>
#include <QTimeZone>

namespace {
const QDateTime kParseTime(QDate(2026, 5, 4), QTime(10, 30), QTimeZone::utc());
}

class tst_VMNewsHelpRecords : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        _env = std::make_unique<TestEnvironment>();
        VMUtils::setCurrentDateProvider([] { return kParseTime; });
    }
    void init() { _env->systemLog->clear(); }
    void cleanupTestCase()
    {
        VMUtils::setCurrentDateProvider(nullptr);
        _env.reset();
    }

    void newsDefaults();
    void newsFromCatalogue();
    void newsImageFallback_data();
    void newsImageFallback();
    void newsExpiry_data();
    void newsExpiry();
    void newsWrongTypes_data();
    void newsWrongTypes();
    void helpItems();
    void releaseDateDescription();

private:
    std::unique_ptr<TestEnvironment> _env;
};

void tst_VMNewsHelpRecords::newsExpiry_data()
{
    QTest::addColumn<qint64>("secondsAfterRelease");
    QTest::addColumn<qint64>("showDays");
    QTest::addColumn<bool>("shown");
    const qint64 max = std::numeric_limits<qint64>::max();
    QTest::newRow("one second before the end") << qint64(3 * 86400 - 1) << qint64(3) << true;
    QTest::newRow("exactly at the end") << qint64(3 * 86400) << qint64(3) << false;
    QTest::newRow("not yet released") << qint64(-60) << qint64(1) << true;
    QTest::newRow("zero show days") << qint64(0) << qint64(0) << false;
    QTest::newRow("negative show days") << qint64(0) << qint64(-2) << false;
    QTest::newRow("the most negative show days") << qint64(0) << std::numeric_limits<qint64>::min() << false;
    // Days whose seconds no 64-bit number holds.
    QTest::newRow("show days beyond any date") << qint64(86400) << max << true;
    QTest::newRow("show days just past the overflow") << qint64(86400) << (max / 86400 + 1) << true;
}

void tst_VMNewsHelpRecords::newsExpiry()
{
    QFETCH(qint64, secondsAfterRelease);
    QFETCH(qint64, showDays);
    QFETCH(bool, shown);
    auto collection = VMNewsCollection::initWithDict(QVariantMap{
        {"News", QVariantList{QVariantMap{{"Title", "N"}, {"Release Date", "26.05.01"}, {"Show Days", showDays}}}}});
    QCOMPARE(collection->newsItems().size(), 1);
    const VMNewsItemPtr item = collection->newsItems().first();
    const QDateTime now = item->releaseDate().addSecs(secondsAfterRelease);
    QCOMPARE(VMNewsCollection::isNewsItemCurrent(*item, now), shown);
}

void tst_VMNewsHelpRecords::newsDefaults()
{
    // From the catalogue the title is always read, so an item without one has none.
    const VMNewsItemPtr parsed = VMNewsItem::initWithDict({{QStringLiteral("Headline"), QStringLiteral("h")}});
    QVERIFY(parsed->title().isNull());
    QCOMPARE(parsed->releaseDate(), kParseTime);
    QCOMPARE(parsed->showDays(), 0);
    QCOMPARE(parsed->headlineText(), QStringLiteral("h"));
    QVERIFY(parsed->newsImageURL().isNull());
}

void tst_VMNewsHelpRecords::newsFromCatalogue()
{
    const VMNewsItemPtr item = VMNewsItem::initWithDict({
        {QStringLiteral("Title"), QStringLiteral("Glow 2")},
        {QStringLiteral("Show Days"), 14},
        {QStringLiteral("Headline"), QStringLiteral("Rebuilt")},
        {QStringLiteral("Release Date"), QStringLiteral("24.03.15")},
        {QStringLiteral("Internal Comment"), QStringLiteral("launch")},
        {QStringLiteral("More Info URL"), QStringLiteral("https://www.lumivane.example/glow")},
        {QStringLiteral("Properties"), QVariantMap{{QStringLiteral("imageHeight"), 120.5}}},
    });
    QCOMPARE(item->title(), QStringLiteral("Glow 2"));
    QCOMPARE(item->showDays(), 14);
    QCOMPARE(item->headlineText(), QStringLiteral("Rebuilt"));
    QCOMPARE(item->releaseDate(), QDateTime(QDate(2024, 3, 15), QTime(0, 0)));
    QCOMPARE(item->internalComment(), QStringLiteral("launch"));
    QCOMPARE(item->moreInfoURL(), QStringLiteral("https://www.lumivane.example/glow"));
    QCOMPARE(item->propertyForKey(QLatin1String(VMNewsItem::imageHeight)).toDouble(), 120.5);
}

void tst_VMNewsHelpRecords::newsImageFallback_data()
{
    QTest::addColumn<QString>("newsImage");
    QTest::addColumn<QString>("announcementImage");
    QTest::addColumn<QString>("expected");
    QTest::newRow("news only") << "n.png" << QString() << "n.png";
    QTest::newRow("announcement only") << QString() << "a.png" << QStringLiteral("a.png");
    QTest::newRow("both: news wins") << QStringLiteral("n.png") << "a.png" << QStringLiteral("n.png");
    QTest::newRow("empty news still wins") << QStringLiteral("") << "a.png" << QStringLiteral("");
    QTest::newRow("neither") << QString() << QString() << QString();
}

void tst_VMNewsHelpRecords::newsImageFallback()
{
    QFETCH(QString, newsImage);
    QFETCH(QString, announcementImage);
    QFETCH(QString, expected);
    QVariantMap dict;
    if (!newsImage.isNull())
        dict.insert(QStringLiteral("News Image URL"), newsImage);
    if (!announcementImage.isNull())
        dict.insert(QStringLiteral("Announcement Image URL"), announcementImage);
    const QString url = VMNewsItem::initWithDict(dict)->newsImageURL();
    QCOMPARE(url, expected);
    QCOMPARE(url.isNull(), expected.isNull());
}

void tst_VMNewsHelpRecords::newsWrongTypes_data()
{
    QTest::addColumn<QVariantMap>("dict");
    QTest::addColumn<QString>("title");
    QTest::addColumn<qint64>("showDays");
    QTest::addColumn<QString>("logged");

    QTest::newRow("show days as text") << QVariantMap{{"Title", "T"}, {"Show Days", "7 days"}} << "T" << qint64(7)
                                       << QString();
    QTest::newRow("show days as array") << QVariantMap{{"Title", "T"},
                                                       {"Show Days", QVariantList{1}},
                                                       {"Headline", "H"}}
                                        << "T" << qint64(0)
                                        << "'Value for key \"Show Days\" is an array, not a number' in ";
    // A bad value is read as if its key were absent; the keys after it are still read.
    QTest::newRow("title as date") << QVariantMap{{"Title", kParseTime}, {"Show Days", 3}} << QString() << qint64(3)
                                   << "'Value for key \"Title\" is a date, not a string' in ";
    QTest::newRow("properties as string")
        << QVariantMap{{"Title", "T"}, {"Show Days", 3}, {"Properties", "x"}} << "T" << qint64(3)
        << "'Value for key \"Properties\" is a string, not a dictionary' in ";
}

void tst_VMNewsHelpRecords::newsWrongTypes()
{
    QFETCH(QVariantMap, dict);
    QFETCH(QString, title);
    QFETCH(qint64, showDays);
    QFETCH(QString, logged);
    LogCapture log;
    const VMNewsItemPtr item = VMNewsItem::initWithDict(dict);
    QVERIFY(item);
    QCOMPARE(item->title(), title);
    QCOMPARE(item->showDays(), showDays);
    if (logged.isNull()) {
        QCOMPARE(log.lines.size(), 0);
    } else {
        QCOMPARE(log.lines.size(), 1);
        QVERIFY2(log.lines.first().contains(logged), qPrintable(log.lines.first()));
        QCOMPARE(item->headlineText(), dict.value(QStringLiteral("Headline")).toString());
    }
}

void tst_VMNewsHelpRecords::helpItems()
{
    LogCapture log;
    const auto collection = VMHelpItemsCollection::initWithDict(QVariantMap{
        {QStringLiteral("Help Items"),
         QVariantList{
             QVariantMap{{QStringLiteral("Title"), QStringLiteral("Install")},
                         {QStringLiteral("Help URL"), QStringLiteral("https://support.lumivane.example/install")},
                         {QStringLiteral("Properties"), QStringLiteral("not even a dictionary")}},
             QVariantMap{{QStringLiteral("Help URL"), QStringLiteral("https://support.lumivane.example/faq")}}}}});
    // "Properties" of a help entry is not read at all, so its wrong type goes unnoticed.
    QCOMPARE(log.lines.size(), 0);
    QCOMPARE(collection->helpItems().size(), 2);
    QCOMPARE(collection->helpItems().at(0)->title(), QStringLiteral("Install"));
    QCOMPARE(collection->helpItems().at(0)->helpURL(), QStringLiteral("https://support.lumivane.example/install"));
    // A catalogue entry starts empty: no "Untitled Help".
    QVERIFY(collection->helpItems().at(1)->title().isNull());
    QCOMPARE(collection->title(), QStringLiteral("Root"));
}

void tst_VMNewsHelpRecords::releaseDateDescription()
{
    QCOMPARE(VMReleaseDate::description(QDateTime(QDate(2024, 3, 15), QTime(13, 5, 9), QTimeZone::utc())),
             QStringLiteral("2024-03-15 13:05:09 +0000"));
    QCOMPARE(VMReleaseDate::description(QDateTime()), QStringLiteral("(null)"));
}

LV_TEST_GUILESS_MAIN(tst_VMNewsHelpRecords)
#include "tst_VMNewsHelpRecords.moc"
