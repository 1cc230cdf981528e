#include "LogCapture.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMCatalogue.h"
#include "catalogue/VMSingleProductItem.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMPropertyList.h"

#include <QFile>
#include <QTest>

namespace {

QString dataPath(const QString& name)
{
    return qEnvironmentVariable("LV_TEST_DATA_DIR") + QStringLiteral("/catalogue/") + name;
}

QByteArray readData(const QString& name)
{
    QFile file(dataPath(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing test data %s", qPrintable(name));
    return file.readAll();
}

QStringList titles(const QList<VMNodePtr>& nodes)
{
    QStringList result;
    for (const VMNodePtr& node : nodes)
        result.append(node->title());
    return result;
}

QStringList productIDs(const QList<VMProductItemPtr>& items)
{
    QStringList result;
    for (const VMProductItemPtr& item : items)
        result.append(item->productID());
    return result;
}

bool anyLineContains(const QStringList& lines, const QString& text)
{
    for (const QString& line : lines) {
        if (line.contains(text))
            return true;
    }
    return false;
}

VMProductItemPtr single(const QString& id, const QString& title = QString())
{
    QVariantMap dict{{QStringLiteral("Product ID"), id}};
    if (!title.isNull())
        dict.insert(QStringLiteral("Title"), title);
    return VMSingleProductItem::initWithDict(dict);
}

} // namespace

class tst_VMCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { _env = std::make_unique<TestEnvironment>(); }
    void init() { LVPreferences::sharedPreferences()->useExtendedLogging(false); }
    void cleanupTestCase() { _env.reset(); }

    void loadsWholeCatalogue_data();
    void loadsWholeCatalogue();
    void announcementsSection_data();
    void announcementsSection();
    void sectionsMissing();
    void sectionWithoutItemArrayKeepsProperties();
    void bundleFlagChoosesClass_data();
    void bundleFlagChoosesClass();
    void malformedData_data();
    void malformedData();
    void wrongTypesKeepWhatWasRead();
    void longProductListKeepsCatalogueOrder();
    void nulBytes();
    void productItemsWithProductIDs_data();
    void productItemsWithProductIDs();
    void propertyTable();
    void collectionBackReferences();

private:
    std::unique_ptr<TestEnvironment> _env;
};

void tst_VMCatalogue::loadsWholeCatalogue_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("xml") << QStringLiteral("catalogue.plist");
    QTest::newRow("binary") << QStringLiteral("catalogue.bplist");
}

void tst_VMCatalogue::loadsWholeCatalogue()
{
    QFETCH(QString, file);
    LogCapture log;
    const VMCatalogue catalogue = VMCatalogue::initWithData(readData(file));
    QVERIFY(catalogue.isValid());
    QVERIFY(catalogue.errorDescription().isNull());
    QCOMPARE(log.lines.size(), 0);
    QCOMPARE(catalogue.versionNumber(), 42);
    QCOMPARE(catalogue.licenseAgreementURL(), QStringLiteral("https://www.lumivane.example/eula/Lumivane-EULA.rtf"));
    QCOMPARE(catalogue.indicateProductAsNewPeriod().toLongLong(), 30);

    const VMProductsCollectionPtr products = catalogue.productsCollection();
    QVERIFY(products);
    QCOMPARE(products->title(), QStringLiteral("Root"));
    // Catalogue order, unsorted.
    QCOMPARE(productIDs(products->productItems()), QStringList({QStringLiteral("LVGlow"), QStringLiteral("LVBlur"),
                                                                QStringLiteral("LVStudio"), QStringLiteral("LVEcho")}));
    QCOMPARE(titles(products->children()),
             QStringList({QStringLiteral("Glow"), QStringLiteral("Blur"), QStringLiteral("Studio Bundle"), QString()}));
    QCOMPARE(products->propertyForKey(QStringLiteral("Editor")).toString(), QStringLiteral("Catalogue Desk"));
    QCOMPARE(products->propertyForKey(QStringLiteral("Revision")).toLongLong(), 7);
    for (const VMProductItemPtr& item : products->productItems())
        QCOMPARE(item->collection(), products.get());

    auto glow = std::dynamic_pointer_cast<VMSingleProductItem>(products->productItems().at(0));
    QVERIFY(glow);
    QCOMPARE(glow->productIdentifier(), QStringLiteral("com.quarnet.FxPlug.GlowXPC"));
    QCOMPARE(glow->productDescription(), QStringLiteral("Soft light blooms for titles and footage."));
    QCOMPARE(glow->productInfoURL(), QStringLiteral("https://www.lumivane.example/glow"));
    QCOMPARE(glow->productDocsURL(), QStringLiteral("https://www.lumivane.example/glow/docs"));
    QCOMPARE(glow->productBuyURL(), QStringLiteral("https://store.lumivane.example/glow"));
    QCOMPARE(glow->productDownloadURL(), QStringLiteral("https://downloads.lumivane.example/VM_installers/Glow.pkg"));
    QCOMPARE(glow->productCheckInstalledDirectory(), QStringLiteral("/Applications/Lumivane/Glow.app"));
    QVERIFY(!glow->productInstallerRequiresAuthentication());
    QCOMPARE(glow->productInstallerArguments(), QStringLiteral("-allowUntrusted"));
    QCOMPARE(glow->productIconURL(), QStringLiteral("https://downloads.lumivane.example/VM_installers/icons/Glow.png"));
    QCOMPARE(glow->productUninstallScriptURL(),
             QStringLiteral("https://downloads.lumivane.example/VM_installers/uninstallers/Glow.bash"));
    QCOMPARE(glow->propertyForKey(QStringLiteral("Family")).toString(), QStringLiteral("Light"));
    QVERIFY(!glow->productDiscontinued());
    QCOMPARE(titles(glow->children()),
             QStringList({QStringLiteral("1.5"), QStringLiteral("1.9"), QStringLiteral("1.10"), QStringLiteral("2.0"),
                          QStringLiteral("2.0.1 (beta)")}));
    QCOMPARE(glow->latestVersionItem()->productVersion(), QStringLiteral("2.0.1"));
    const VMVersionItemPtr two = glow->versionItemForVersionString(QStringLiteral("2"));
    QVERIFY(two);
    QCOMPARE(two->releaseDate(), QDateTime(QDate(2024, 3, 15), QTime(0, 0)));
    QCOMPARE(two->osXVersion(), QStringLiteral("11.0"));
    QCOMPARE(two->hostVersions(), QVariantMap({{QStringLiteral("FCP X"), QStringLiteral("10.6")},
                                               {QStringLiteral("Motion"), QStringLiteral("5.6")}}));
    QCOMPARE(two->newFeatures(), 2);
    QCOMPARE(two->bugFixes(), 1);
    QCOMPARE(two->featuresText(), QStringLiteral("FxPlug 3 rewrite"));
    QCOMPARE(two->bugFixesText(), QStringLiteral("Faster previews"));
    QCOMPARE(glow->allProductIdentifiers(), QStringList({QStringLiteral("com.quarnet.FxPlug.GlowXPC"),
                                                         QStringLiteral("com.quarnet.FxPlug.Glow3XPC")}));

    auto blur = std::dynamic_pointer_cast<VMSingleProductItem>(products->productItems().at(1));
    QVERIFY(blur);
    QVERIFY(blur->productDiscontinued());
    QVERIFY(blur->productInstallerRequiresAuthentication());
    // The version without a number sorts first.
    QCOMPARE(blur->versionItems().first()->productVersion(), QString());
    QCOMPARE(blur->versionItems().first()->title(), QStringLiteral(" (no number)"));

    auto studio = std::dynamic_pointer_cast<VMBundleProductItem>(products->productItems().at(2));
    QVERIFY(studio);
    QCOMPARE(studio->title(), QStringLiteral("Studio Bundle"));
    QCOMPARE(studio->bundleIncludedProductIDs(), QStringLiteral("LVGlow  LVBlur"));
    QCOMPARE(studio->bundleDescription(), QStringLiteral("Everything in one."));
    QCOMPARE(studio->bundleIconURL(),
             QStringLiteral("https://downloads.lumivane.example/VM_installers/icons/Studio.png"));
    QCOMPARE(studio->bundleInfoURL(), QStringLiteral("https://www.lumivane.example/studio"));
    QCOMPARE(studio->bundleDocsURL(), QStringLiteral("https://www.lumivane.example/studio/docs"));
    QCOMPARE(studio->bundleBuyURL(), QStringLiteral("https://store.lumivane.example/studio"));
    QCOMPARE(studio->propertyForKey(QStringLiteral("Badge")).toString(), QStringLiteral("Save 40%"));
    QVERIFY(!studio->bundleDiscontinued());
    QVERIFY(studio->productIdentifier().isNull());
    QVERIFY(studio->productCheckInstalledDirectory().isNull());
    QVERIFY(studio->children().isEmpty());

    // A catalogue product has no "Untitled Product" default, no versions and no settings.
    auto echo = std::dynamic_pointer_cast<VMSingleProductItem>(products->productItems().at(3));
    QVERIFY(echo);
    QVERIFY(echo->title().isNull());
    QVERIFY(echo->versionItems().isEmpty());
    QVERIFY(!echo->latestVersionItem());
    QVERIFY(!echo->installerSettings());
    QVERIFY(echo->productInstallerRequiresAuthentication());

    const VMNewsCollectionPtr news = catalogue.newsCollection();
    QVERIFY(news);
    QCOMPARE(titles(news->children()),
             QStringList({QStringLiteral("Glow 2 is here"), QStringLiteral("Spring sale"), QString()}));
    QCOMPARE(news->propertyForKey(QStringLiteral("Channel")).toString(), QStringLiteral("Main"));
    QCOMPARE(news->newsItems().at(0)->propertyForKey(QStringLiteral("imageHeight")).toDouble(), 120.0);
    QCOMPARE(news->newsItems().at(1)->releaseDate(), QDateTime(QDate(2099, 12, 31), QTime(0, 0)));

    const VMHelpItemsCollectionPtr help = catalogue.helpItemsCollection();
    QVERIFY(help);
    QCOMPARE(titles(help->children()), QStringList({QStringLiteral("Installing plug-ins"), QString()}));
    QCOMPARE(help->helpItems().at(1)->helpURL(), QStringLiteral("https://support.lumivane.example/faq"));
    QCOMPARE(help->propertyForKey(QStringLiteral("Section")).toString(), QStringLiteral("Support"));
}

void tst_VMCatalogue::announcementsSection_data()
{
    QTest::addColumn<QVariantMap>("root");
    QTest::addColumn<QStringList>("expectedTitles");

    const QVariantMap n1{{QStringLiteral("Title"), QStringLiteral("From News")}};
    const QVariantMap a1{{QStringLiteral("Title"), QStringLiteral("From Announcements")}};
    const auto section = [](const QString& key, const QVariantMap& item) {
        return QVariantMap{{key, QVariantList{item}}};
    };
    QTest::newRow("News/News") << QVariantMap{{QStringLiteral("News"), section(QStringLiteral("News"), n1)}}
                               << QStringList{QStringLiteral("From News")};
    QTest::newRow("Announcements/Announcements")
        << QVariantMap{{QStringLiteral("Announcements"), section(QStringLiteral("Announcements"), a1)}}
        << QStringList{QStringLiteral("From Announcements")};
    QTest::newRow("News/Announcements inside")
        << QVariantMap{{QStringLiteral("News"), section(QStringLiteral("Announcements"), a1)}}
        << QStringList{QStringLiteral("From Announcements")};
    QVariantMap both = section(QStringLiteral("News"), n1);
    both.insert(QStringLiteral("Announcements"), QVariantList{a1});
    QTest::newRow("both arrays: News wins")
        << QVariantMap{{QStringLiteral("News"), both}} << QStringList{QStringLiteral("From News")};
    QTest::newRow("both sections: News wins")
        << QVariantMap{{QStringLiteral("News"), section(QStringLiteral("News"), n1)},
                       {QStringLiteral("Announcements"), section(QStringLiteral("Announcements"), a1)}}
        << QStringList{QStringLiteral("From News")};
}

void tst_VMCatalogue::announcementsSection()
{
    QFETCH(QVariantMap, root);
    QFETCH(QStringList, expectedTitles);
    const VMCatalogue catalogue = VMCatalogue::initWithDict(root);
    QVERIFY(catalogue.newsCollection());
    QCOMPARE(titles(catalogue.newsCollection()->children()), expectedTitles);

    // The same from a real file, XML and binary.
    for (const QString& file : {QStringLiteral("announcements.plist"), QStringLiteral("announcements.bplist")}) {
        const VMCatalogue fromFile = VMCatalogue::initWithData(readData(file));
        QVERIFY(fromFile.newsCollection());
        QCOMPARE(titles(fromFile.newsCollection()->children()), QStringList{QStringLiteral("Maintenance")});
        QCOMPARE(fromFile.newsCollection()->newsItems().at(0)->newsImageURL(),
                 QStringLiteral("https://downloads.lumivane.example/VM_installers/news/m.png"));
    }
}

void tst_VMCatalogue::sectionsMissing()
{
    const VMCatalogue catalogue = VMCatalogue::initWithDict({{QStringLiteral("Version Number"), 1}});
    QVERIFY(catalogue.isValid());
    QVERIFY(!catalogue.productsCollection());
    QVERIFY(!catalogue.newsCollection());
    QVERIFY(!catalogue.helpItemsCollection());
    QVERIFY(catalogue.licenseAgreementURL().isNull());
}

void tst_VMCatalogue::sectionWithoutItemArrayKeepsProperties()
{
    const QVariantMap properties{{QStringLiteral("Note"), QStringLiteral("kept")}};
    const VMCatalogue catalogue = VMCatalogue::initWithDict({
        {QStringLiteral("Products"), QVariantMap{{QStringLiteral("Properties"), properties}}},
        {QStringLiteral("News"), QVariantMap{{QStringLiteral("Properties"), properties}}},
        {QStringLiteral("Help Items"), QVariantMap{{QStringLiteral("Properties"), properties}}},
    });
    const QList<const VMCollectionBase*> sections{
        catalogue.productsCollection().get(), catalogue.newsCollection().get(), catalogue.helpItemsCollection().get()};
    for (const VMCollectionBase* section : sections) {
        QVERIFY(section->children().isEmpty());
        QCOMPARE(section->propertyForKey(QStringLiteral("Note")).toString(), QStringLiteral("kept"));
    }
}

void tst_VMCatalogue::bundleFlagChoosesClass_data()
{
    QTest::addColumn<QVariant>("bundle");
    QTest::addColumn<bool>("isBundle");
    QTest::newRow("absent") << QVariant() << false;
    QTest::newRow("false") << QVariant(false) << false;
    QTest::newRow("true") << QVariant(true) << true;
    QTest::newRow("integer 1") << QVariant(qint64(1)) << true;
    QTest::newRow("integer 0") << QVariant(qint64(0)) << false;
    QTest::newRow("text YES") << QVariant(QStringLiteral("YES")) << true;
    QTest::newRow("text NO") << QVariant(QStringLiteral("NO")) << false;
    QTest::newRow("array, read as absent") << QVariant(QVariantList{true}) << false;
}

void tst_VMCatalogue::bundleFlagChoosesClass()
{
    QFETCH(QVariant, bundle);
    QFETCH(bool, isBundle);
    QVariantMap product{{QStringLiteral("Product ID"), QStringLiteral("P")},
                        {QStringLiteral("Title"), QStringLiteral("T")}};
    if (bundle.isValid())
        product.insert(QStringLiteral("Bundle"), bundle);
    const auto collection =
        VMProductsCollection::initWithDict(QVariantMap{{QStringLiteral("Products"), QVariantList{product}}});
    QCOMPARE(collection->productItems().size(), 1);
    const VMProductItemPtr item = collection->productItems().first();
    QCOMPARE(bool(std::dynamic_pointer_cast<VMBundleProductItem>(item)), isBundle);
    QCOMPARE(bool(std::dynamic_pointer_cast<VMSingleProductItem>(item)), !isBundle);
    QCOMPARE(item->title(), QStringLiteral("T"));
}

void tst_VMCatalogue::malformedData_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("expectedLog");

    QTest::newRow("html") << readData(QStringLiteral("malformed-html.plist")) << QString();
    QTest::newRow("truncated xml") << readData(QStringLiteral("malformed-truncated.plist")) << QString();
    QTest::newRow("truncated binary") << readData(QStringLiteral("malformed-truncated.bplist")) << QString();
    QTest::newRow("garbage") << readData(QStringLiteral("malformed-garbage.bin")) << QString();
    QTest::newRow("empty") << QByteArray() << QStringLiteral("The data is empty.");
    QTest::newRow("root array") << readData(QStringLiteral("malformed-root-array.plist"))
                                << QStringLiteral("The catalogue's root is an array, not a dictionary");
    QTest::newRow("bplist header only") << QByteArray("bplist00") << QString();
}

void tst_VMCatalogue::malformedData()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, expectedLog);
    LogCapture log;
    const VMCatalogue catalogue = VMCatalogue::initWithData(data);
    QVERIFY(!catalogue.isValid());
    QVERIFY(!catalogue.errorDescription().isEmpty());
    QVERIFY(!catalogue.productsCollection());
    QVERIFY(!catalogue.newsCollection());
    QVERIFY(!catalogue.helpItemsCollection());
    QCOMPARE(log.lines.size(), 1);
    QVERIFY(log.lines.first().contains(QStringLiteral("'%1' in ").arg(catalogue.errorDescription())));
    if (!expectedLog.isEmpty())
        QCOMPARE(catalogue.errorDescription(), expectedLog);
}

void tst_VMCatalogue::wrongTypesKeepWhatWasRead()
{
    LogCapture log;
    const VMCatalogue catalogue = VMCatalogue::initWithData(readData(QStringLiteral("malformed-wrong-types.plist")));
    QVERIFY(catalogue.isValid());
    const QStringList lines = log.lines;

    // Product A keeps the version before its bad entry; B loses only its numeric title; C only
    // its versions dictionary; the number entry ends the list, so D is never read.
    const VMProductsCollectionPtr products = catalogue.productsCollection();
    QVERIFY(products);
    QCOMPARE(productIDs(products->productItems()),
             QStringList({QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")}));
    auto a = std::dynamic_pointer_cast<VMSingleProductItem>(products->productItems().at(0));
    QCOMPARE(a->title(), QStringLiteral("Alpha"));
    QCOMPARE(a->versionItems().size(), 1);
    QCOMPARE(a->versionItems().first()->productVersion(), QStringLiteral("1.0"));
    QCOMPARE(a->versionItems().first()->productItem(), a.get());
    auto b = std::dynamic_pointer_cast<VMSingleProductItem>(products->productItems().at(1));
    QVERIFY(b->title().isNull());
    QCOMPARE(b->productIdentifier(), QStringLiteral("com.quarnet.B"));
    QCOMPARE(b->versionItems().size(), 1);
    QVERIFY(anyLineContains(lines, QStringLiteral("'Version entry is a string, not a dictionary' in ")));
    QVERIFY(anyLineContains(lines, QStringLiteral("'Value for key \"Title\" is a number, not a string' in ")));
    QVERIFY(anyLineContains(lines, QStringLiteral("'Value for key \"Versions\" is a dictionary, not an array' in ")));
    QVERIFY(anyLineContains(lines, QStringLiteral("'Product entry is a number, not a dictionary' in ")));
    // Reading stopped before the section's properties.
    QVERIFY(!products->propertyForKey(QStringLiteral("Kept")).isValid());

    // A news section that is an array still replaces the news: with nothing.
    QVERIFY(catalogue.newsCollection());
    QVERIFY(catalogue.newsCollection()->newsItems().isEmpty());
    QVERIFY(anyLineContains(lines, QStringLiteral("'News section is an array, not a dictionary' in ")));

    // A help entry with a bad title is kept as far as it was read; the walk goes on.
    QCOMPARE(titles(catalogue.helpItemsCollection()->children()),
             QStringList({QStringLiteral("One"), QString(), QStringLiteral("Three")}));

    QVERIFY(catalogue.licenseAgreementURL().isNull());
    QVERIFY(anyLineContains(lines,
                            QStringLiteral("'Value for key \"License Agreement URL\" is a number, not a string' in ")));
}

// A long list is built in pieces side by side; items and log lines still come in catalogue order.
void tst_VMCatalogue::longProductListKeepsCatalogueOrder()
{
    QVariantList entries;
    QStringList expectedIDs;
    QStringList titleProblems;
    QStringList bundleProblems;
    for (int i = 0; i < 1200; ++i) {
        const QString id = QStringLiteral("P%1").arg(i);
        QVariantMap product{{QStringLiteral("Product ID"), id}, {QStringLiteral("Title"), id}};
        if (i % 97 == 0) {
            product.insert(QStringLiteral("Title"), i);
            titleProblems.append(QStringLiteral("Value for key \"Title\" is a number, not a string"));
        }
        if (i % 101 == 0) {
            product.insert(QStringLiteral("Bundle"), QVariantList{});
            bundleProblems.append(QStringLiteral("Value for key \"Bundle\" is an array, not a boolean"));
        }
        entries.append(product);
        expectedIDs.append(id);
    }
    entries.append(7);
    entries.append(QVariantMap{{QStringLiteral("Product ID"), QStringLiteral("never read")}});
    LogCapture log;
    const auto products = VMProductsCollection::initWithDict(QVariantMap{{QStringLiteral("Products"), entries}});
    QCOMPARE(productIDs(products->productItems()), expectedIDs);
    QCOMPARE(log.messages(), titleProblems + bundleProblems +
                                 QStringList{QStringLiteral("Product entry is a number, not a dictionary")});
}

// Inputs that used to abort the process inside the property-list library: a NUL byte in XML
// text (now the text ends there) and one in a binary dictionary key.
void tst_VMCatalogue::nulBytes()
{
    const VMCatalogue text = VMCatalogue::initWithData(readData(QStringLiteral("nul-byte-in-text.plist")));
    QVERIFY(text.helpItemsCollection());
    QCOMPARE(titles(text.helpItemsCollection()->children()), QStringList{QStringLiteral("Before")});
    const VMCatalogue key = VMCatalogue::initWithData(readData(QStringLiteral("nul-byte-in-binary-key.bplist")));
    QVERIFY(key.isValid());
    QVERIFY(key.newsCollection());
    QCOMPARE(key.versionNumber(), 3);
}

void tst_VMCatalogue::productItemsWithProductIDs_data()
{
    QTest::addColumn<QStringList>("catalogueIDs");
    QTest::addColumn<QStringList>("requested");
    QTest::addColumn<QStringList>("expectedTitles");

    QTest::newRow("request order") << QStringList{"A", "B"} << QStringList{"B", "A"} << QStringList{"B#1", "A#0"};
    QTest::newRow("unknown ID") << QStringList{"A", "B"} << QStringList{"C", "A"} << QStringList{"A#0"};
    QTest::newRow("asked twice") << QStringList{"A", "B"} << QStringList{"A", "A"} << QStringList{"A#0", "A#0"};
    QTest::newRow("two products one ID") << QStringList{"A", "B", "A"} << QStringList{"A"} << QStringList{"A#0", "A#2"};
    QTest::newRow("bundle string with two spaces")
        << QStringList{"A", "B"} << QStringLiteral("A  B").split(QLatin1Char(' ')) << QStringList{"A#0", "B#1"};
    QTest::newRow("empty request") << QStringList{"A"} << QStringList{} << QStringList{};
    QTest::newRow("product without ID never matches")
        << QStringList{QString(), "A"} << QStringList{QString(), ""} << QStringList{};
}

void tst_VMCatalogue::productItemsWithProductIDs()
{
    QFETCH(QStringList, catalogueIDs);
    QFETCH(QStringList, requested);
    QFETCH(QStringList, expectedTitles);
    VMProductsCollection collection;
    QList<VMProductItemPtr> items;
    for (qsizetype i = 0; i < catalogueIDs.size(); ++i) {
        auto item = single(catalogueIDs.at(i), QStringLiteral("%1#%2").arg(catalogueIDs.at(i)).arg(i));
        if (catalogueIDs.at(i).isNull())
            item->setProductID(QString());
        items.append(item);
    }
    collection.setProductItems(items);
    QStringList found;
    for (const VMProductItemPtr& item : collection.productItemsWithProductIDs(requested))
        found.append(item->title());
    QCOMPARE(found, expectedTitles);
}

void tst_VMCatalogue::propertyTable()
{
    VMProductsCollection collection;
    LogCapture log;
    collection.setProperty(5, QStringLiteral("k"));
    collection.setProperty(6, QStringLiteral("k"));
    QCOMPARE(collection.propertyForKey(QStringLiteral("k")).toInt(), 6);
    collection.setProperty(QVariant(), QStringLiteral("k"));
    QVERIFY(!collection.propertyForKey(QStringLiteral("k")).isValid());
    QVERIFY(collection.properties().isEmpty());
    QCOMPARE(log.lines.size(), 0);

    collection.setProperty(5, QString());
    QVERIFY(collection.properties().isEmpty());
    QVERIFY(!collection.propertyForKey(QString()).isValid());
    QCOMPARE(log.lines.size(), 2);
    for (const QString& line : log.lines) {
        QVERIFY2(line.contains(QStringLiteral("'key = nil' in ")), qPrintable(line));
        QVERIFY2(line.contains(QStringLiteral("VMProductsCollection::")), qPrintable(line));
    }
}

void tst_VMCatalogue::collectionBackReferences()
{
    const VMProductItemPtr a = single(QStringLiteral("A"));
    const VMProductItemPtr b = single(QStringLiteral("B"));
    auto first = std::make_shared<VMProductsCollection>();
    first->setProductItems({a, b});
    QCOMPARE(a->collection(), first.get());
    QCOMPARE(b->collection(), first.get());

    // Reassigning lets the old items go.
    first->setProductItems({b});
    QCOMPARE(a->collection(), nullptr);
    QCOMPARE(b->collection(), first.get());

    // An item taken over by another collection keeps its new owner when the old one goes.
    auto second = std::make_shared<VMProductsCollection>();
    second->setProductItems({b});
    first.reset();
    QCOMPARE(b->collection(), second.get());

    // The records outlive a destroyed collection, without a reference to it.
    second.reset();
    QCOMPARE(b->collection(), nullptr);
    QCOMPARE(b->productID(), QStringLiteral("B"));

    auto news = VMNewsCollection::initWithDict(QVariantMap{
        {QStringLiteral("News"), QVariantList{QVariantMap{{QStringLiteral("Title"), QStringLiteral("N")}}}}});
    const VMNewsItemPtr newsItem = news->newsItems().first();
    QCOMPARE(newsItem->collection(), news.get());
    news.reset();
    QCOMPARE(newsItem->collection(), nullptr);

    auto help = VMHelpItemsCollection::initWithDict(QVariantMap{
        {QStringLiteral("Help Items"), QVariantList{QVariantMap{{QStringLiteral("Title"), QStringLiteral("H")}}}}});
    const VMHelpItemPtr helpItem = help->helpItems().first();
    QCOMPARE(helpItem->collection(), help.get());
    help->setHelpItems({});
    QCOMPARE(helpItem->collection(), nullptr);
}

LV_TEST_GUILESS_MAIN(tst_VMCatalogue)
#include "tst_VMCatalogue.moc"
