#include "LogCapture.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMCatalogue.h"
#include "catalogue/VMCatalogueReader.h"
#include "catalogue/VMHelpItemsCollection.h"
#include "catalogue/VMNewsCollection.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMNotificationCenter.h"

#include <QTest>
#include <QTimeZone>

namespace {

const QDateTime kParseTime(QDate(2026, 5, 4), QTime(10, 30), QTimeZone::utc());

QVariantMap version(const QString& number, const QVariantMap& extra = {})
{
    QVariantMap dict = extra;
    if (!number.isNull())
        dict.insert(QStringLiteral("Product Version"), number);
    return dict;
}

VMSingleProductItemPtr productWithVersions(const QVariantList& versions, const QVariantMap& extra = {})
{
    QVariantMap dict = extra;
    dict.insert(QStringLiteral("Product ID"), QStringLiteral("P"));
    if (!dict.contains(QStringLiteral("Title")))
        dict.insert(QStringLiteral("Title"), QStringLiteral("Product"));
    dict.insert(QStringLiteral("Versions"), versions);
    return VMSingleProductItem::initWithDict(dict);
}

// "number" or "number (comment)" per version, in the product's order.
QStringList versionTitles(const QList<VMVersionItemPtr>& versions)
{
    QStringList result;
    for (const VMVersionItemPtr& item : versions)
        result.append(item->title());
    return result;
}

} // namespace

class tst_VMProductRecords : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        _env = std::make_unique<TestEnvironment>();
        VMUtils::setCurrentDateProvider([] { return kParseTime; });
    }
    void init()
    {
        LVPreferences::sharedPreferences()->useExtendedLogging(false);
        _env->systemLog->clear();
    }
    void cleanupTestCase()
    {
        VMUtils::setCurrentDateProvider(nullptr);
        _env.reset();
    }

    void catalogueVersionDefaults();
    void versionOrder_data();
    void versionOrder();
    void versionItemForVersionString_data();
    void versionItemForVersionString();
    void tags_data();
    void tags();
    void versionItemsWithTag();
    void installerSettings_data();
    void installerSettings();
    void requiresAuthentication_data();
    void requiresAuthentication();
    void wrongTypeLosesOnlyThatKey_data();
    void wrongTypeLosesOnlyThatKey();
    void releaseDate_data();
    void releaseDate();
    void loggedOnlyWithExtendedLogging_data();
    void loggedOnlyWithExtendedLogging();
    void setValue_data();
    void setValue();
    void versionBackReferences();
    void oneWalkFindsWhatLookupsFind_data();
    void hostVersionsAsAnyDictionary_data();
    void hostVersionsAsAnyDictionary();
    void oneWalkFindsWhatLookupsFind();

private:
    std::unique_ptr<TestEnvironment> _env;
};

void tst_VMProductRecords::catalogueVersionDefaults()
{
    // Every key overwrites the new-version defaults, so absent numbers are null, not 1.0 / 10.15.
    const VMVersionItemPtr version = VMVersionItem::initWithDict({});
    QVERIFY(version->productVersion().isNull());
    QVERIFY(version->osXVersion().isNull());
    QVERIFY(version->hostVersions().isEmpty());
    QVERIFY(version->versionInstallerRequiresAuthentication());
    QVERIFY(version->versionDownloadURL().isNull());
    QVERIFY(version->versionTags().isNull());
    // Only the release date keeps its default: the moment of parsing.
    QCOMPARE(version->releaseDate(), kParseTime);
    QVERIFY(version->title().isNull());
}

void tst_VMProductRecords::versionOrder_data()
{
    QTest::addColumn<QVariantList>("catalogue");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QString>("latest");

    QTest::newRow("2.0 1.5 2.0.1") << QVariantList{version("2.0"), version("1.5"), version("2.0.1")}
                                   << QStringList{"1.5", "2.0", "2.0.1"} << "2.0.1";
    QTest::newRow("1.10 after 1.9") << QVariantList{version("1.10"), version("1.9")} << QStringList{"1.9", "1.10"}
                                    << "1.10";
    QTest::newRow("no number first") << QVariantList{version("0.1"), version(QString(), {{"Internal Comment", "x"}})}
                                     << QStringList{" (x)", "0.1"} << "0.1";
    QTest::newRow("equal numbers keep catalogue order")
        << QVariantList{version("2", {{"Internal Comment", "a"}}), version("1.0"),
                        version("2.0", {{"Internal Comment", "b"}})}
        << QStringList{"1.0", "2 (a)", "2.0 (b)"} << "2.0 (b)";
    QTest::newRow("carry: 1.0.100 equals 1.1")
        << QVariantList{version("1.1", {{"Internal Comment", "a"}}), version("1.0.100"), version("1.0.99")}
        << QStringList{"1.0.99", "1.1 (a)", "1.0.100"} << "1.0.100";
    QTest::newRow("latest ignores date and requirements")
        << QVariantList{version("3.0", {{"Release Date", "20.01.01"}, {"OSX Version", "99.0"}}),
                        version("2.9", {{"Release Date", "25.01.01"}})}
        << QStringList{"2.9", "3.0"} << "3.0";
    QTest::newRow("none") << QVariantList{} << QStringList{} << QString();
}

void tst_VMProductRecords::versionOrder()
{
    QFETCH(QVariantList, catalogue);
    QFETCH(QStringList, expected);
    QFETCH(QString, latest);
    const VMSingleProductItemPtr product = productWithVersions(catalogue);
    QCOMPARE(versionTitles(product->versionItems()), expected);
    QStringList children;
    for (const VMNodePtr& node : product->children())
        children.append(node->title());
    QCOMPARE(children, expected);
    if (latest.isNull())
        QVERIFY(!product->latestVersionItem());
    else
        QCOMPARE(product->latestVersionItem()->title(), latest);
}

void tst_VMProductRecords::versionItemForVersionString_data()
{
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QString>("found");
    QTest::newRow("exact") << QStringLiteral("1.5") << "1.5";
    QTest::newRow("2.1 finds 2.1.0") << QStringLiteral("2.1") << "2.1.0";
    QTest::newRow("2 finds 2.0") << QStringLiteral("2") << "2.0";
    QTest::newRow("first of equal numbers") << QStringLiteral("3.0") << "3 (first)";
    QTest::newRow("miss") << "9.9" << QString();
    QTest::newRow("null") << QString() << QString();
}

void tst_VMProductRecords::versionItemForVersionString()
{
    QFETCH(QString, asked);
    QFETCH(QString, found);
    const VMSingleProductItemPtr product = productWithVersions({version("2.1.0"), version("1.5"), version("2.0"),
                                                                version("3", {{"Internal Comment", "first"}}),
                                                                version("3.0.0", {{"Internal Comment", "second"}})});
    const VMVersionItemPtr item = product->versionItemForVersionString(asked);
    if (found.isNull())
        QVERIFY(!item);
    else
        QCOMPARE(item ? item->title() : QString(), found);
}

void tst_VMProductRecords::tags_data()
{
    QTest::addColumn<QString>("versionTags");
    QTest::addColumn<QString>("tag");
    QTest::addColumn<bool>("contains");
    QTest::newRow("first of two") << QStringLiteral("FxPlug3, Metal") << "FxPlug3" << true;
    QTest::newRow("second of two") << QStringLiteral("FxPlug3, Metal") << "Metal" << true;
    QTest::newRow("case matters") << QStringLiteral("FxPlug3, Metal") << "fxplug3" << false;
    QTest::newRow("spaces only") << QStringLiteral("Metal  FxPlug3") << "FxPlug3" << true;
    QTest::newRow("commas only") << QStringLiteral("Metal,FxPlug3,") << "FxPlug3" << true;
    QTest::newRow("no partial match") << QStringLiteral("FxPlug3X") << "FxPlug3" << false;
    QTest::newRow("empty pieces never match") << QStringLiteral("Metal,, ,FxPlug3") << "" << false;
    QTest::newRow("no tags") << QString() << "FxPlug3" << false;
    QTest::newRow("null tag") << "FxPlug3" << QString() << false;
}

void tst_VMProductRecords::tags()
{
    QFETCH(QString, versionTags);
    QFETCH(QString, tag);
    QFETCH(bool, contains);
    VMVersionItem item;
    item.setVersionTags(versionTags);
    QCOMPARE(item.containsTag(tag), contains);
}

void tst_VMProductRecords::versionItemsWithTag()
{
    const VMSingleProductItemPtr product =
        productWithVersions({version("3.0", {{"Version Tags", "FxPlug3"}}), version("1.0"),
                             version("2.0", {{"Version Tags", "Metal, FxPlug3"}})});
    QCOMPARE(versionTitles(product->versionItemsWithTag(QStringLiteral("FxPlug3"))), QStringList({"2.0", "3.0"}));
    QVERIFY(product->versionItemsWithTag(QStringLiteral("fxplug3")).isEmpty());
}

void tst_VMProductRecords::installerSettings_data()
{
    QTest::addColumn<QVariantMap>("productKeys");
    QTest::addColumn<QVariantMap>("versionKeys");
    QTest::addColumn<QVariant>("productSettings");
    QTest::addColumn<QVariant>("versionSettings");
    QTest::addColumn<QVariant>("chosenSettings");

    const QVariant none;
    const QVariantMap productUrl{{"Download URL", "p.pkg"}};
    const QVariantMap productSettings{{"downloadURL", "p.pkg"}, {"requiresAuthentication", true}};

    QTest::newRow("no URLs") << QVariantMap{} << QVariantMap{} << none << none << none;
    QTest::newRow("empty product URL still gives settings")
        << QVariantMap{{"Download URL", ""}} << QVariantMap{}
        << QVariant(QVariantMap{{"downloadURL", ""}, {"requiresAuthentication", true}}) << none
        << QVariant(QVariantMap{{"downloadURL", ""}, {"requiresAuthentication", true}});
    QTest::newRow("empty version URL falls back to product")
        << productUrl << QVariantMap{{"Download URL", ""}, {"Installer Arguments", "-v"}} << QVariant(productSettings)
        << none << QVariant(productSettings);
    QTest::newRow("version URL wins")
        << productUrl << QVariantMap{{"Download URL", "v.pkg"}, {"Installer Requires Authentication", false}}
        << QVariant(productSettings)
        << QVariant(QVariantMap{{"downloadURL", "v.pkg"}, {"requiresAuthentication", false}})
        << QVariant(QVariantMap{{"downloadURL", "v.pkg"}, {"requiresAuthentication", false}});
    QTest::newRow("arguments, empty ones too")
        << QVariantMap{{"Download URL", "p.pkg"},
                       {"Installer Arguments", ""},
                       {"Installer Requires Authentication", false}}
        << QVariantMap{{"Download URL", "v.pkg"}, {"Installer Arguments", "-allowUntrusted"}}
        << QVariant(QVariantMap{{"downloadURL", "p.pkg"}, {"arguments", ""}, {"requiresAuthentication", false}})
        << QVariant(QVariantMap{
               {"downloadURL", "v.pkg"}, {"arguments", "-allowUntrusted"}, {"requiresAuthentication", true}})
        << QVariant(QVariantMap{
               {"downloadURL", "v.pkg"}, {"arguments", "-allowUntrusted"}, {"requiresAuthentication", true}});
    QTest::newRow("version URL without product URL")
        << QVariantMap{} << QVariantMap{{"Download URL", "v.pkg"}} << none
        << QVariant(QVariantMap{{"downloadURL", "v.pkg"}, {"requiresAuthentication", true}})
        << QVariant(QVariantMap{{"downloadURL", "v.pkg"}, {"requiresAuthentication", true}});
}

void tst_VMProductRecords::installerSettings()
{
    QFETCH(QVariantMap, productKeys);
    QFETCH(QVariantMap, versionKeys);
    QFETCH(QVariant, productSettings);
    QFETCH(QVariant, versionSettings);
    QFETCH(QVariant, chosenSettings);
    versionKeys.insert(QStringLiteral("Product Version"), QStringLiteral("1.0"));
    const VMSingleProductItemPtr product = productWithVersions({versionKeys}, productKeys);
    const VMVersionItemPtr item = product->latestVersionItem();
    const auto asVariant = [](const std::optional<QVariantMap>& settings) {
        return settings ? QVariant(*settings) : QVariant();
    };
    QCOMPARE(asVariant(product->installerSettings()), productSettings);
    QCOMPARE(asVariant(item->installerSettings()), versionSettings);
    QCOMPARE(asVariant(product->installerSettingsForVersionItem(item.get())), chosenSettings);
    QCOMPARE(asVariant(product->installerSettingsForVersionItem(nullptr)), productSettings);
    if (productSettings.isValid())
        QCOMPARE(productSettings.toMap().value(QStringLiteral("requiresAuthentication")).typeId(), QMetaType::Bool);
}

void tst_VMProductRecords::requiresAuthentication_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("required");
    QTest::newRow("absent") << QVariant() << true;
    QTest::newRow("false") << QVariant(false) << false;
    QTest::newRow("true") << QVariant(true) << true;
    QTest::newRow("integer 0") << QVariant(qint64(0)) << false;
    QTest::newRow("text NO") << QVariant(QStringLiteral("NO")) << false;
    QTest::newRow("text true") << QVariant(QStringLiteral("true")) << true;
}

void tst_VMProductRecords::requiresAuthentication()
{
    QFETCH(QVariant, value);
    QFETCH(bool, required);
    QVariantMap keys;
    if (value.isValid())
        keys.insert(QStringLiteral("Installer Requires Authentication"), value);
    QCOMPARE(VMSingleProductItem::initWithDict(keys)->productInstallerRequiresAuthentication(), required);
    QCOMPARE(VMVersionItem::initWithDict(keys)->versionInstallerRequiresAuthentication(), required);
}

void tst_VMProductRecords::wrongTypeLosesOnlyThatKey_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("logged");
    QTest::newRow("numeric directory") << QStringLiteral("Check Installed Directory") << QVariant(qint64(7))
                                       << QStringLiteral("is a number, not a string");
    QTest::newRow("title array") << QStringLiteral("Title") << QVariant(QVariantList{QStringLiteral("x")})
                                 << QStringLiteral("is an array, not a string");
    QTest::newRow("flag dictionary") << QStringLiteral("Installer Requires Authentication")
                                     << QVariant(QVariantMap{{QStringLiteral("a"), true}})
                                     << QStringLiteral("is a dictionary, not a boolean");
}

// A bad value costs its own key (read as absent) and nothing after it: not the authentication
// flag, not the versions, not the flags of the versions.
void tst_VMProductRecords::wrongTypeLosesOnlyThatKey()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(QString, logged);
    LogCapture log;
    const QVariantMap versionKeys{{QStringLiteral("Product Version"), QStringLiteral("2.0")},
                                  {QStringLiteral("New Features"), QVariantList()},
                                  {QStringLiteral("Installer Requires Authentication"), false},
                                  {QStringLiteral("Version Tags"), QStringLiteral("FxPlug3")}};
    const VMSingleProductItemPtr product =
        productWithVersions({version(QStringLiteral("1.0")), versionKeys},
                            {{key, value},
                             {QStringLiteral("Identifier"), QStringLiteral("com.quarnet.X")},
                             {QStringLiteral("Installer Arguments"), QStringLiteral("-verbose")},
                             {QStringLiteral("Discontinued"), true}});
    const QString expectedTitle = key == QLatin1String("Title") ? QString() : QStringLiteral("Product");
    QCOMPARE(product->title(), expectedTitle);
    QCOMPARE(product->productIdentifier(), QStringLiteral("com.quarnet.X"));
    QVERIFY(product->productCheckInstalledDirectory().isNull());
    QVERIFY(product->productInstallerRequiresAuthentication());
    QCOMPARE(product->productInstallerArguments(), QStringLiteral("-verbose"));
    QVERIFY(product->productDiscontinued());
    QCOMPARE(versionTitles(product->versionItems()), QStringList({QStringLiteral("1.0"), QStringLiteral("2.0")}));
    const VMVersionItemPtr latest = product->latestVersionItem();
    QCOMPARE(latest->newFeatures(), qint64(0));
    QVERIFY(!latest->versionInstallerRequiresAuthentication());
    QVERIFY(latest->containsTag(QStringLiteral("FxPlug3")));
    const QStringList lines = log.lines;
    QVERIFY2(lines.filter(QStringLiteral("\"%1\" %2").arg(key, logged)).size() == 1, qPrintable(lines.join('\n')));
    QVERIFY2(lines.filter(QStringLiteral("\"New Features\" is an array, not a number")).size() == 1,
             qPrintable(lines.join('\n')));
}

void tst_VMProductRecords::releaseDate_data()
{
    QTest::addColumn<QVariant>("text");
    QTest::addColumn<QDate>("expected");
    QTest::newRow("24.03.15") << QVariant("24.03.15") << QDate(2024, 3, 15);
    QTest::newRow("99.12.31 stays in this century") << QVariant("99.12.31") << QDate(2099, 12, 31);
    QTest::newRow("00.02.29 leap day") << QVariant("00.02.29") << QDate(2000, 2, 29);
    QTest::newRow("single-digit month and day") << QVariant("24.3.5") << QDate(2024, 3, 5);
    QTest::newRow("four-digit year as written") << QVariant("2023.11.02") << QDate(2023, 11, 2);
    QTest::newRow("no such day") << QVariant("23.02.29") << QDate();
    QTest::newRow("no such month") << QVariant("24.13.01") << QDate();
    QTest::newRow("dashes") << QVariant("24-03-15") << QDate();
    QTest::newRow("trailing text") << QVariant("24.03.15x") << QDate();
    QTest::newRow("empty") << QVariant("") << QDate();
    QTest::newRow("words") << QVariant("March 15") << QDate();
    QTest::newRow("full-width digit") << QVariant(QStringLiteral("24.03.1\uFF15")) << QDate();
    QTest::newRow("accent after the day") << QVariant(QStringLiteral("24.03.15\u00E9")) << QDate();
    QTest::newRow("absent keeps parse time") << QVariant() << kParseTime.date();
    QTest::newRow("a number keeps parse time") << QVariant(qint64(240315)) << kParseTime.date();
}

void tst_VMProductRecords::releaseDate()
{
    QFETCH(QVariant, text);
    QFETCH(QDate, expected);
    QVariantMap keys;
    if (text.isValid())
        keys.insert(QStringLiteral("Release Date"), text);
    const QDateTime date = VMVersionItem::initWithDict(keys)->releaseDate();
    if (text.typeId() != QMetaType::QString) {
        QCOMPARE(date, kParseTime);
        return;
    }
    // Midnight on that day, local time; news reads its text the same way.
    const QDateTime midnight = expected.isValid() ? QDateTime(expected, QTime(0, 0)) : QDateTime();
    QCOMPARE(date, midnight);
    QCOMPARE(VMNewsItem::initWithDict(keys)->releaseDate(), midnight);
}

void tst_VMProductRecords::loggedOnlyWithExtendedLogging_data()
{
    QTest::addColumn<int>("reading");
    QTest::addColumn<QString>("line");
    const QString releaseDate =
        QDateTime(QDate(2024, 3, 15), QTime(0, 0)).toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    QTest::newRow("version not found") << 0
                                       << "E: 'No Version Item found for version string '4.2' in product 'Glow'' in ";
    QTest::newRow("release date") << 1 << QStringLiteral("M: 'Release date: %1 +0000' in ").arg(releaseDate);
    QTest::newRow("catalogue version") << 2 << "'Loading Version: 42' in ";
    QTest::newRow("wrapper not found") << 3 << "E: Wrapper app not found: 'com.quarnet.FxPlug.NoneXPC'";
}

void tst_VMProductRecords::loggedOnlyWithExtendedLogging()
{
    QFETCH(int, reading);
    QFETCH(QString, line);
    const VMSingleProductItemPtr glow = productWithVersions({version("1.0")}, {{"Title", "Glow"}});
    const auto read = [&] {
        if (reading == 0)
            QVERIFY(!glow->versionItemForVersionString(QStringLiteral("4.2")));
        else if (reading == 1)
            VMVersionItem::initWithDict({{QStringLiteral("Release Date"), QStringLiteral("24.03.15")}});
        else if (reading == 2)
            VMCatalogue::initWithDict({{QStringLiteral("Version Number"), 42}});
        else
            VMUtils::launchWrapperApp({{VMUtils::optionBundleIdentifier, "com.quarnet.FxPlug.NoneXPC"}});
    };
    LogCapture log;
    read();
    QCOMPARE(log.lines, QStringList());
    LVPreferences::sharedPreferences()->useExtendedLogging(true);
    read();
    QCOMPARE(log.lines.size(), 1);
    QVERIFY2(log.lines.first().contains(line), qPrintable(log.lines.first()));
}

void tst_VMProductRecords::setValue_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("notification"); // "-" for a key the record does not know

    const auto row = [](const char* name, const char* record, const char* key, const QVariant& value,
                        const QString& notification = QString()) {
        QTest::newRow(name) << QString::fromLatin1(record) << QString::fromLatin1(key) << value << notification;
    };
    const QString item = QStringLiteral("reloadItemInNodeTable");
    const QString table = QStringLiteral("reloadNodeTable");
    const QString unknown = QStringLiteral("-");
    row("product title", "product", "title", "Glow", item);
    row("product versionItems", "product", "versionItems",
        QVariant::fromValue(QList<VMVersionItemPtr>{std::make_shared<VMVersionItem>()}), table);
    row("product download URL", "product", "productDownloadURL", "u.pkg");
    row("product ID", "product", "productID", "LVX");
    row("product discontinued", "product", "productDiscontinued", true);
    row("product, unknown key", "product", "colour", 1, unknown);
    row("bundle title", "bundle", "title", "Pack", item);
    row("bundle IDs", "bundle", "bundleIncludedProductIDs", "A B");
    row("bundle has no versions", "bundle", "bundleVersions", 1, unknown);
    row("bundle has no download URL of its own", "bundle", "productDownloadURL", "x", unknown);
    row("version number", "version", "productVersion", "4.0", table);
    row("version comment", "version", "internalComment", "rc1", item);
    row("version tags", "version", "versionTags", "FxPlug3");
    row("version date", "version", "releaseDate", kParseTime.addDays(-3));
    row("news title", "news", "title", "New", item);
    row("news show days", "news", "showDays", 9);
    row("news image", "news", "newsImageURL", "i.png");
    row("news headline", "news", "headlineText", "H");
    row("help title", "help", "title", "Help", item);
    row("help URL", "help", "helpURL", "https://x.example");
    row("help, unknown key", "help", "showDays", 1, unknown);
    const QVariant products = QVariant::fromValue(QList<VMProductItemPtr>{
        VMSingleProductItem::initWithDict({{QStringLiteral("Product ID"), QStringLiteral("A")}})});
    const QVariant news = QVariant::fromValue(QList<VMNewsItemPtr>{std::make_shared<VMNewsItem>()});
    const QVariant help = QVariant::fromValue(QList<VMHelpItemPtr>{std::make_shared<VMHelpItem>()});
    row("products", "products", "productItems", products, table);
    row("products, other key", "products", "newsItems", products, unknown);
    row("news collection", "newsCollection", "newsItems", news, table);
    row("news collection, other key", "newsCollection", "productItems", news, unknown);
    row("help collection", "helpCollection", "helpItems", help, table);
    row("help collection, other key", "helpCollection", "title", help, unknown);
}

void tst_VMProductRecords::setValue()
{
    QFETCH(QString, record);
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(QString, notification);

    QObject context;
    QList<VMNotification> received;
    for (const char* name : {"reloadNodeTable", "reloadItemInNodeTable"}) {
        VMNotificationCenter::defaultCenter().addObserver(&context, QLatin1String(name),
                                                          [&received](const VMNotification& n) { received.append(n); });
    }

    VMNodePtr node;
    bool recognised = false;
    QVariant readBack;
    const auto set = [&](const auto& made, const auto& read) {
        node = made;
        recognised = made->setValue(value, key);
        readBack = read(*made).value(key);
    };
    if (record == QLatin1String("product")) {
        set(VMSingleProductItem::initWithDict({}), [](const VMSingleProductItem& r) {
            return QVariantMap{{"title", r.title()},
                               {"versionItems", QVariant::fromValue(r.versionItems())},
                               {"productDownloadURL", r.productDownloadURL()},
                               {"productID", r.productID()},
                               {"productDiscontinued", r.productDiscontinued()}};
        });
    } else if (record == QLatin1String("bundle")) {
        set(VMBundleProductItem::initWithDict({}), [](const VMBundleProductItem& r) {
            return QVariantMap{{"title", r.title()}, {"bundleIncludedProductIDs", r.bundleIncludedProductIDs()}};
        });
    } else if (record == QLatin1String("version")) {
        set(VMVersionItem::initWithDict({}), [](const VMVersionItem& r) {
            return QVariantMap{{"productVersion", r.productVersion()},
                               {"internalComment", r.internalComment()},
                               {"versionTags", r.versionTags()},
                               {"releaseDate", r.releaseDate()}};
        });
    } else if (record == QLatin1String("news")) {
        set(VMNewsItem::initWithDict({}), [](const VMNewsItem& r) {
            return QVariantMap{{"title", r.title()},
                               {"showDays", int(r.showDays())},
                               {"newsImageURL", r.newsImageURL()},
                               {"headlineText", r.headlineText()}};
        });
    } else if (record == QLatin1String("help")) {
        set(VMHelpItem::initWithDict({}), [](const VMHelpItem& r) {
            return QVariantMap{{"title", r.title()}, {"helpURL", r.helpURL()}};
        });
    } else if (record == QLatin1String("products")) {
        set(std::make_shared<VMProductsCollection>(), [](const VMProductsCollection& r) {
            return QVariantMap{{"productItems", QVariant::fromValue(r.productItems())}};
        });
    } else if (record == QLatin1String("newsCollection")) {
        set(std::make_shared<VMNewsCollection>(), [](const VMNewsCollection& r) {
            return QVariantMap{{"newsItems", QVariant::fromValue(r.newsItems())}};
        });
    } else {
        set(std::make_shared<VMHelpItemsCollection>(), [](const VMHelpItemsCollection& r) {
            return QVariantMap{{"helpItems", QVariant::fromValue(r.helpItems())}};
        });
    }
    if (notification == QLatin1String("-")) {
        QVERIFY(!recognised);
        QCOMPARE(_env->systemLog->lines(), QStringList{QStringLiteral("setValue: key '%1' not recognized").arg(key)});
        QVERIFY(received.isEmpty());
        QVERIFY(node->children().isEmpty());
        return;
    }
    QVERIFY(recognised);
    QVERIFY(_env->systemLog->lines().isEmpty());
    // The value is in place before anyone hears of it.
    QCOMPARE(readBack, value);
    if (notification.isNull()) {
        QVERIFY(received.isEmpty());
    } else {
        QCOMPARE(received.size(), 1);
        QCOMPARE(received.first().name, notification);
        QCOMPARE(received.first().object.value<VMNodePtr>(), node);
    }
}

void tst_VMProductRecords::versionBackReferences()
{
    auto product = productWithVersions({version("1.0"), version("2.0")});
    const QList<VMVersionItemPtr> first = product->versionItems();
    for (const VMVersionItemPtr& item : first)
        QCOMPARE(item->productItem(), product.get());

    // Reassigning detaches the old versions.
    const auto replacement = std::make_shared<VMVersionItem>();
    product->setVersionItems({replacement, first.at(1)});
    QCOMPARE(first.at(0)->productItem(), nullptr);
    QCOMPARE(first.at(1)->productItem(), product.get());
    QCOMPARE(replacement->productItem(), product.get());

    // A version moved to another product keeps that product when the first one goes.
    auto other = productWithVersions({});
    other->setVersionItems({first.at(1)});
    product.reset();
    QCOMPARE(replacement->productItem(), nullptr);
    QCOMPARE(first.at(1)->productItem(), other.get());
    other.reset();
    QCOMPARE(first.at(1)->productItem(), nullptr);
}

namespace {

constexpr const char* kWalkedKeyNames[] = {"A", "B", "Bug Fixes", "Bug Fixes Description", "C", "Zed", "\xC3\x84pfel"};
constexpr VMCatalogueKeys kWalkedKeys(kWalkedKeyNames);

} // namespace

void tst_VMProductRecords::oneWalkFindsWhatLookupsFind_data()
{
    QTest::addColumn<QByteArray>("entries");
    const auto s = [](const char* key, const char* value) {
        return QByteArray("<key>") + key + "</key><string>" + value + "</string>";
    };
    QTest::newRow("sorted, some absent") << s("A", "a") + s("Bug Fixes", "f") + s("Zed", "z");
    QTest::newRow("reversed") << s("\xC3\x84pfel", "\xC3\xA4") + s("Zed", "z") + s("C", "c") + s("B", "b") +
                                     s("A", "a");
    QTest::newRow("prefix after the longer key") << s("Bug Fixes Description", "d") + s("Bug Fixes", "f");
    QTest::newRow("unknown keys between")
        << s("0", "x") + s("A", "a") + s("AB", "x") + s("Bug", "x") + s("C", "c") + s("Zz", "x");
    QTest::newRow("wrong types") << QByteArray(
                                        "<key>A</key><integer>1</integer><key>C</key><array/><key>Zed</key><dict/>") +
                                        s("B", "b");
    QTest::newRow("empty") << QByteArray();
}

// Reading a record's keys from one walk of its dictionary gives the nodes, values and problems
// that a lookup per key gives, whatever the order of the keys.
void tst_VMProductRecords::oneWalkFindsWhatLookupsFind()
{
    QFETCH(QByteArray, entries);
    const QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>" + entries + "</dict></plist>";
    const VMPropertyList::Tree tree = VMPropertyList::treeFromData(xml);
    QVERIFY(tree.root());
    VMCatalogueReader walked(tree.root(), kWalkedKeys);
    VMCatalogueReader looked(tree.root());
    int found = 0;
    for (int i = 0; i < kWalkedKeys.size(); ++i) {
        const VMCatalogueKey key{&kWalkedKeys, i, kWalkedKeys.name(i)};
        QCOMPARE(walked.value(key), looked.value(key.name));
        found += looked.value(key.name) != nullptr;
        QString fromWalk, fromLookup;
        walked.readString(key, fromWalk);
        looked.readString(key.name, fromLookup);
        QCOMPARE(fromWalk, fromLookup);
        QCOMPARE(fromWalk.isNull(), fromLookup.isNull());
    }
    QCOMPARE(walked.problems(), looked.problems());
    QCOMPARE(found > 0, !entries.isEmpty());
}

void tst_VMProductRecords::hostVersionsAsAnyDictionary_data()
{
    QTest::addColumn<QByteArray>("entries");
    QTest::newRow("out of order") << QByteArray(
        "<key>Motion</key><string>5.4</string><key>FCP X</key><string>10.4</string>");
    QTest::newRow("number and flag") << QByteArray("<key>FCP X</key><real>10.5</real><key>Motion</key><true/>");
    QTest::newRow("nested") << QByteArray(
        "<key>FCP X</key><string>10.4</string><key>Motion</key><dict><key>min</key><string>5</string></dict>");
    QTest::newRow("non-ASCII keys") << QByteArray(
        "<key>\xC3\xA9</key><string>1</string><key>z</key><string>2</string>");
    QTest::newRow("empty") << QByteArray();
}

// The versions of one product share their host names; what each reads is the dictionary as any
// other reading of it gives it.
void tst_VMProductRecords::hostVersionsAsAnyDictionary()
{
    QFETCH(QByteArray, entries);
    const QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict><key>Versions</key><array>"
        "<dict><key>Host Versions</key><dict>" +
        entries +
        "</dict><key>Product Version</key><string>1.0</string></dict>"
        "<dict><key>Host Versions</key><dict>" +
        entries +
        "</dict><key>Product Version</key><string>2.0</string></dict>"
        "</array></dict></plist>";
    const VMPropertyList::Tree tree = VMPropertyList::treeFromData(xml);
    QVERIFY(tree.root());
    const QVariantMap general = VMPropertyList::nodeToVariant(tree.root())
                                    .toMap()
                                    .value(QStringLiteral("Versions"))
                                    .toList()
                                    .value(0)
                                    .toMap()
                                    .value(QStringLiteral("Host Versions"))
                                    .toMap();
    QCOMPARE(general.isEmpty(), entries.isEmpty());
    const VMSingleProductItemPtr product = VMSingleProductItem::initWithNode(tree.root());
    QCOMPARE(product->versionItems().size(), 2);
    for (const VMVersionItemPtr& version : product->versionItems())
        QCOMPARE(version->hostVersions(), general);
}

LV_TEST_GUILESS_MAIN(tst_VMProductRecords)
#include "tst_VMProductRecords.moc"
