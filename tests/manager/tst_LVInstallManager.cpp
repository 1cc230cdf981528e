#include "LocalHttpServer.h"
#include "TestAlertPresenter.h"
#include "TestEnvironment.h"
#include "TestInstallItem.h"
#include "TestMain.h"
#include "catalogue/LVServers.h"
#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMHelpItemsCollection.h"
#include "catalogue/VMNewsCollection.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLogger.h"
#include "foundation/VMNotificationCenter.h"
#include "foundation/VMPropertyList.h"
#include "items/LVInstallItemFactory.h"
#include "manager/AppDelegate.h"
#include "manager/LVInstallManager.h"
#include "manager/LVInstallManagerDelegate.h"
#include "manager/LVInstallManagerView.h"
#include "newshelp/LVHelpItem.h"
#include "newshelp/LVNewsItem.h"
#include "outline/LVOutlineModel.h"
#include "outline/LVOutlineView.h"
#include "widgets/LVBadgeImage.h"
#include "widgets/LVSegmentedControl.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QLabel>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QtTest>

namespace {
const QByteArray cataloguePath = "/VM_installers/Product+Versions.plist";

QVariantMap product(const QString& id, bool discontinued = false)
{
    return QVariantMap{{"Product ID", id}, {"Title", id}, {"Discontinued", discontinued}};
}

QVariantMap bundle(const QString& id, const QString& members)
{
    return QVariantMap{{"Product ID", id}, {"Title", id}, {"Bundle", true}, {"Included Product IDs", members}};
}

QVariantMap newsEntry(const QString& title, const QDateTime& released, const QVariant& showDays)
{
    QVariantMap entry{{"Title", title},
                      {"Headline", title + " headline"},
                      {"Release Date", released.date().toString(QStringLiteral("yy.MM.dd"))}};
    if (showDays.isValid())
        entry.insert("Show Days", showDays);
    return entry;
}

// The window's parts, found by their names in the .ui file.
template <typename T> T* part(const LVInstallManager& manager, const char* name)
{
    return manager.containerView()->findChild<T*>(QLatin1String(name));
}

// Product and bundle rows of our own: their status is what the test says.
class RowFactory : public LVInstallItemFactory
{
public:
    LVInstallItem* singleInstallItem(const std::shared_ptr<VMSingleProductItem>& single) override
    {
        events->append(QStringLiteral("row ") + single->productID());
        auto* row = new TestInstallItem(single->productID(), statusForProduct->value(single->productID(), 1));
        row->isDiscontinued = single->productDiscontinued();
        row->product = single;
        return row;
    }
    LVInstallItem* bundleInstallItem(const std::shared_ptr<VMBundleProductItem>& bundleItem,
                                     const std::shared_ptr<VMProductsCollection>&) override
    {
        auto* row = new TestInstallItem(QStringLiteral("bundle"), statusForProduct->value(QStringLiteral("bundle"), 1));
        row->product = std::static_pointer_cast<VMProductItem>(bundleItem);
        return row;
    }
    LVInstallItem* updateAllInstalledItem() override { return updateAll; }

    QHash<QString, uint>* statusForProduct = nullptr;
    QStringList* events = nullptr;
    LVInstallItem* updateAll = nullptr;
};

QByteArray catalogueData(const QVariantMap& root)
{
    return VMPropertyList::toXmlData(root);
}

QVariantMap fullCatalogue()
{
    const QDateTime now = QDateTime::currentDateTime();
    return QVariantMap{
        {"Version Number", 7},
        {"Products", QVariantMap{{"Products", QVariantList{product("P1"), product("P2"), product("OLD", true),
                                                           bundle("B1", "P1 P2")}}}},
        {"News", QVariantMap{{"News", QVariantList{newsEntry("Current", now.addDays(-1), 10),
                                                   newsEntry("Expired", now.addDays(-40), 10)}}}},
        {"Help Items", QVariantMap{{"Help Items", QVariantList{QVariantMap{{"Title", "Help one"}},
                                                               QVariantMap{{"Title", "Help two"}}}}}},
        {"Indicate Product as New Period", 30},
        {"License Agreement URL", "http://127.0.0.1/eula.rtf"},
    };
}

// What the delegate saw when it was told that a load had ended.
struct LoadSnapshot
{
    int singleRows = 0;
    int bundleRows = 0;
    int newsRows = 0;
    int helpRows = 0;
    QString licenseAgreementURL;
    bool overlayShown = false;
};

class RecordingDelegate : public LVInstallManagerDelegate
{
public:
    void configDataLoaded(LVInstallManager* manager) override
    {
        if (log)
            log->append(QStringLiteral("configDataLoaded"));
        loads.append(LoadSnapshot{int(manager->singleProductInstallItems().size()),
                                  int(manager->bundleProductInstallItems().size()), int(manager->newsItems().size()),
                                  int(manager->helpItems().size()), manager->licenseAgreementURL(),
                                  manager->isUpdating()});
    }
    void quitApplication() override {}
    void openAbout() override {}
    void openPreferences() override {}

    QList<LoadSnapshot> loads;
    QStringList* log = nullptr; // where the moment of the call is recorded among other events
};
} // namespace

class tst_LVInstallManager : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void refreshRule_data();
    void refreshRule();
    void optionHeldRefreshesAndEmptiesTheIconCache();
    void localOverrideFileIsUsedWithoutNetwork();
    void remoteCatalogueIsDownloadedFromTheServer();
    void loadAppliesProductsAtOnceAndTheRestASecondLater();
    void badDataStillCountsAsALoad();
    void nilDataChangesNothing();
    void missingSectionsKeepWhatWasThere();
    void announcementsStandInForNews();
    void failedDownloadShowsTheErrorAndKeepsEverything();
    void newsExpiryBoundary_data();
    void newsExpiryBoundary();
    void expiredNewsIsLoggedWithExtendedLogging();
    void installsBadgeCountsRowsNeedingAttention_data();
    void installsBadgeCountsRowsNeedingAttention();
    void badgeImageShape_data();
    void badgeImageShape();
    void discontinuedFilter();
    void installsSubTabs();
    void mainTabsFollowTheSegmentedControl();
    void selectItemPicksTheTabByRowKind();
    void installItemWithProductIDNeverAnswersABundle();
    void alertsGoThroughThePresenter();
    void outlineOfTheInstallTableIsConsistent();
    void expandNotificationsToggleRows();

private:
    std::unique_ptr<LVInstallManager> makeManager();
    void load(LVInstallManager& manager, const QVariantMap& root);
    void waitForLoadEnd(LVInstallManager& manager);

    std::unique_ptr<TestEnvironment> _environment;
    std::unique_ptr<LocalHttpServer> _server;
    std::shared_ptr<TestAlertPresenter> _alerts;
    std::shared_ptr<RowFactory> _rows;
    RecordingDelegate _delegate;
    QHash<QString, uint> _statusForProduct;
    QStringList _events;
};

void tst_LVInstallManager::initTestCase()
{
    AppDelegate::configureApplication();
}

void tst_LVInstallManager::init()
{
    _environment = std::make_unique<TestEnvironment>(0.01);
    _server = std::make_unique<LocalHttpServer>();
    LVServers::setOverrideURL(_server->origin());
    _alerts = std::make_shared<TestAlertPresenter>();
    _delegate = RecordingDelegate();
    _statusForProduct.clear();
    _events.clear();
    LVInstallManager::clearImageCache();
    _rows = std::make_shared<RowFactory>();
    _rows->statusForProduct = &_statusForProduct;
    _rows->events = &_events;
}

void tst_LVInstallManager::cleanup()
{
    VMUtils::setCurrentDateProvider({});
    LVServers::setOverrideURL(QUrl());
    _server.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    _environment.reset();
}

std::unique_ptr<LVInstallManager> tst_LVInstallManager::makeManager()
{
    auto manager = std::make_unique<LVInstallManager>();
    manager->setInstallItemFactory(_rows);
    manager->setAlertPresenter(_alerts);
    manager->setDelegate(&_delegate);
    VMNotificationCenter::defaultCenter().addObserver(
        manager.get(), QStringLiteral("productsChanged"),
        [this](const VMNotification&) { _events.append("productsChanged"); });
    return manager;
}

void tst_LVInstallManager::waitForLoadEnd(LVInstallManager& manager)
{
    QTRY_VERIFY_WITH_TIMEOUT(!manager.isUpdating() && manager.lastUpdateDate().isValid(), 5000);
}

void tst_LVInstallManager::load(LVInstallManager& manager, const QVariantMap& root)
{
    manager.updateWithConfigData(catalogueData(root));
    waitForLoadEnd(manager);
}

void tst_LVInstallManager::refreshRule_data()
{
    QTest::addColumn<qint64>("secondsSinceLastLoad"); // -1: never loaded
    QTest::addColumn<bool>("refreshes");
    QTest::newRow("never loaded") << qint64(-1) << true;
    QTest::newRow("an hour ago") << qint64(3600) << false;
    QTest::newRow("exactly a day ago") << qint64(86400) << false;
    QTest::newRow("a day and a second ago") << qint64(86401) << true;
}

void tst_LVInstallManager::refreshRule()
{
    QFETCH(qint64, secondsSinceLastLoad);
    QFETCH(bool, refreshes);
    const QDateTime now = QDateTime::currentDateTime();
    VMUtils::setCurrentDateProvider([now] { return now; });
    auto manager = makeManager();
    _server->setRoute(cataloguePath, catalogueData(fullCatalogue()));
    if (secondsSinceLastLoad >= 0)
        manager->setLastUpdateDate(now.addSecs(-secondsSinceLastLoad));
    manager->willShow();
    if (refreshes) {
        QTRY_COMPARE_WITH_TIMEOUT(_delegate.loads.size(), 1, 5000);
        QCOMPARE(_server->requests().size(), 1);
    } else {
        // A refresh would have asked the server at once; give it the time a request takes.
        QTest::qWait(100);
        QCOMPARE(_server->requests().size(), 0);
        QVERIFY(_delegate.loads.isEmpty());
    }
}

void tst_LVInstallManager::optionHeldRefreshesAndEmptiesTheIconCache()
{
    auto manager = makeManager();
    _server->setRoute(cataloguePath, catalogueData(fullCatalogue()));
    manager->willShow();
    QTRY_COMPARE(_delegate.loads.size(), 1);
    waitForLoadEnd(*manager);
    const QUrl iconURL(QStringLiteral("http://127.0.0.1/icon.png"));
    QImage icon(4, 4, QImage::Format_ARGB32);
    icon.fill(Qt::red);
    LVInstallManager::setCachedIcon(icon, iconURL);
    QVERIFY(!LVInstallManager::cachedIconForURL(iconURL).isNull());

    // Within the day (see refreshRule), but with Option held.
    _environment->systemInfo->modifiers = SystemInfo::Option;
    manager->willShow();
    QVERIFY(LVInstallManager::cachedIconForURL(iconURL).isNull());
    QTRY_COMPARE(_delegate.loads.size(), 2);
    manager->willShow();
    QTRY_COMPARE(_delegate.loads.size(), 3);
    QCOMPARE(_server->requests().size(), 3);
}

void tst_LVInstallManager::localOverrideFileIsUsedWithoutNetwork()
{
    auto manager = makeManager();
    const QString path = LVInstallManager::localVersionsFilePath();
    QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("Product Versions.plist"));
    QCOMPARE(QFileInfo(path).absolutePath(), QDir(_environment->home()).absolutePath());
    QVERIFY(TestEnvironment::writeFile(path, catalogueData(fullCatalogue())));
    _server->setRoute(cataloguePath, catalogueData(QVariantMap{
                                         {"Products", QVariantMap{{"Products", QVariantList{product("REMOTE")}}}}}));

    manager->update();
    // Applied at once, from the file.
    QCOMPARE(_delegate.loads.size(), 1);
    QCOMPARE(manager->singleProductInstallItems().size(), 3);
    QVERIFY(part<QWidget>(*manager, "_usingLocalConfig")->isVisibleTo(manager->containerView()));
    QTest::qWait(50);
    QCOMPARE(_server->requests().size(), 0);

    QVERIFY(QFile::remove(path));
    manager->update();
    QVERIFY(!part<QWidget>(*manager, "_usingLocalConfig")->isVisibleTo(manager->containerView()));
    QTRY_COMPARE(_delegate.loads.size(), 2);
    QCOMPARE(_server->requests().size(), 1);
    QCOMPARE(manager->singleProductInstallItems().size(), 1);
    QCOMPARE(manager->singleProductInstallItems().first()->title(), QStringLiteral("REMOTE"));
}

void tst_LVInstallManager::remoteCatalogueIsDownloadedFromTheServer()
{
    auto manager = makeManager();
    _server->setRoute(cataloguePath, catalogueData(fullCatalogue()));
    manager->update();
    QTRY_COMPARE(_delegate.loads.size(), 1);
    QCOMPARE(_server->requests().first().target, cataloguePath);
    waitForLoadEnd(*manager);
    QCOMPARE(manager->newsItems().size(), 1);
    // The catalogue's own period is read and deliberately left unapplied.
    QCOMPARE(manager->indicateAsNewProductPeriod(), 14);
    // The downloaded catalogue is not kept on disk.
    QVERIFY(!QFile::exists(QDir(_environment->home()).filePath(QStringLiteral("Remote Product Versions.plist"))));
}

void tst_LVInstallManager::loadAppliesProductsAtOnceAndTheRestASecondLater()
{
    auto manager = makeManager();
    _delegate.log = &_events;

    QElapsedTimer timer;
    timer.start();
    manager->updateWithConfigData(catalogueData(fullCatalogue()));
    QCOMPARE(_events, (QStringList{"row P1", "row P2", "row OLD", "productsChanged", "configDataLoaded"}));
    QCOMPARE(_delegate.loads.size(), 1);
    const LoadSnapshot seen = _delegate.loads.first();
    QCOMPARE(seen.singleRows, 3);
    QCOMPARE(seen.bundleRows, 1);
    QCOMPARE(seen.licenseAgreementURL, QStringLiteral("http://127.0.0.1/eula.rtf"));
    QCOMPARE(seen.newsRows, 0);
    QCOMPARE(seen.helpRows, 0);
    QVERIFY(seen.overlayShown);
    QVERIFY(manager->isUpdating());
    QVERIFY(!manager->lastUpdateDate().isValid());

    waitForLoadEnd(*manager);
    QVERIFY(timer.elapsed() >= VMDispatch::scaledMilliseconds(1.0));
    QCOMPARE(manager->newsItems().size(), 1);
    QCOMPARE(manager->helpItems().size(), 2);
    QCOMPARE(part<LVSegmentedControl>(*manager, "_mainSegmentedControl")->labelForSegment(1), QStringLiteral("News"));
    // The first news row is opened.
    QVERIFY(part<LVOutlineView>(*manager, "_newsItemsTable")->isItemExpanded(manager->newsItems().first()));
}

void tst_LVInstallManager::badDataStillCountsAsALoad()
{
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    const auto products = manager->productsCollection();
    const QDateTime firstLoad = manager->lastUpdateDate();
    QTest::qWait(5);

    manager->updateWithConfigData("<html><body>502 Bad Gateway</body></html>");
    QVERIFY(manager->isUpdating());
    QCOMPARE(_delegate.loads.size(), 2);
    waitForLoadEnd(*manager);
    QVERIFY(manager->lastUpdateDate() > firstLoad);
    QCOMPARE(manager->productsCollection(), products);
    QCOMPARE(manager->singleProductInstallItems().size(), 3);
    QCOMPARE(manager->newsItems().size(), 1);
    // The licence URL of a load that did not parse stays.
    QCOMPARE(manager->licenseAgreementURL(), QStringLiteral("http://127.0.0.1/eula.rtf"));
}

void tst_LVInstallManager::nilDataChangesNothing()
{
    auto manager = makeManager();
    QSignalSpy logged(VMLogger::sharedLogger(), &VMLogger::lineLogged);
    manager->updateWithConfigData(QByteArray());
    QVERIFY(!manager->isUpdating());
    QVERIFY(_delegate.loads.isEmpty());
    QTRY_VERIFY(!logged.isEmpty());
    QVERIFY(logged.last().at(0).toString().contains(QStringLiteral("'configData = nil' in ")));
}

void tst_LVInstallManager::missingSectionsKeepWhatWasThere()
{
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    _events.clear();
    load(*manager, QVariantMap{{"Version Number", 8}});
    QCOMPARE(manager->singleProductInstallItems().size(), 3);
    QCOMPARE(manager->newsItems().size(), 1);
    QCOMPARE(manager->helpItems().size(), 2);
    QVERIFY(!_events.contains(QStringLiteral("productsChanged")));
    // The licence URL follows the catalogue: gone when the key is.
    QVERIFY(manager->licenseAgreementURL().isNull());
}

void tst_LVInstallManager::announcementsStandInForNews()
{
    const QDateTime now = QDateTime::currentDateTime();
    auto manager = makeManager();
    load(*manager,
         QVariantMap{{"Announcements", QVariantMap{{"Announcements", QVariantList{newsEntry("A", now, 5)}}}}});
    QCOMPARE(manager->newsItems().size(), 1);
    QCOMPARE(manager->newsItems().first()->title(), QStringLiteral("A"));

    load(*manager,
         QVariantMap{{"Announcements", QVariantMap{{"Announcements", QVariantList{newsEntry("A", now, 5)}}}},
                     {"News", QVariantMap{{"News", QVariantList{newsEntry("N1", now, 5), newsEntry("N2", now, 5)}}}}});
    QCOMPARE(manager->newsItems().size(), 2);
    QCOMPARE(manager->newsItems().first()->title(), QStringLiteral("N1"));
}

void tst_LVInstallManager::failedDownloadShowsTheErrorAndKeepsEverything()
{
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    const QDateTime loaded = manager->lastUpdateDate();
    // Nothing listens on the server's port any more.
    _server.reset();
    manager->update();
    QTRY_COMPARE_WITH_TIMEOUT(_alerts->alerts().size(), 1, 15000);
    QVERIFY(!_alerts->alerts().first().messageText().isEmpty());
    QCOMPARE(_alerts->alerts().first().buttonTitles(), QStringList{QStringLiteral("OK")});
    QVERIFY(!manager->isUpdating());
    QCOMPARE(manager->lastUpdateDate(), loaded);
    QCOMPARE(manager->singleProductInstallItems().size(), 3);
    QCOMPARE(_delegate.loads.size(), 1);
}

void tst_LVInstallManager::newsExpiryBoundary_data()
{
    QTest::addColumn<int>("secondsAfterEnd"); // now relative to release + showDays days
    QTest::addColumn<QVariant>("showDays");
    QTest::addColumn<bool>("shown");
    // The rule itself is the news collection's (tst_VMNewsHelpRecords); here, what the tab shows.
    QTest::newRow("one second before the end") << -1 << QVariant(3) << true;
    QTest::newRow("exactly at the end") << 0 << QVariant(3) << false;
    QTest::newRow("show days beyond any date") << 0 << QVariant(std::numeric_limits<qint64>::max()) << true;
    QTest::newRow("the most negative show days") << -86400 << QVariant(std::numeric_limits<qint64>::min()) << false;
}

void tst_LVInstallManager::newsExpiryBoundary()
{
    QFETCH(int, secondsAfterEnd);
    QFETCH(QVariant, showDays);
    QFETCH(bool, shown);
    // "YY.MM.dd" dates are midnight, local time.
    const QDateTime released(QDate::currentDate().addDays(-3), QTime(0, 0));
    const QDateTime end = released.addSecs(3 * 86400);
    VMUtils::setCurrentDateProvider([end, secondsAfterEnd] { return end.addSecs(secondsAfterEnd); });
    auto manager = makeManager();
    const auto news = VMNewsCollection::initWithDict(QVariantMap{
        {"News", QVariantList{newsEntry("Boundary", released, showDays), newsEntry("Other", released, 400)}}});
    manager->setNewsCollection(news);
    QCOMPARE(manager->newsCollection(), news);
    const int expected = shown ? 2 : 1;
    QCOMPARE(manager->newsItems().size(), expected);
    QCOMPARE(manager->newsItems().last()->title(), QStringLiteral("Other"));
    // The badge counts the rows shown.
    QCOMPARE(part<QLabel>(*manager, "_newsCountImageView")->pixmap().toImage(),
             LVInstallManager::batchImageWithNumber(expected, LVBadgeImage::systemOrangeColor())
                 .convertToFormat(part<QLabel>(*manager, "_newsCountImageView")->pixmap().toImage().format()));
}

void tst_LVInstallManager::expiredNewsIsLoggedWithExtendedLogging()
{
    const QDateTime now = QDateTime::currentDateTime();
    auto manager = makeManager();
    QSignalSpy logged(VMLogger::sharedLogger(), &VMLogger::lineLogged);
    const auto news =
        VMNewsCollection::initWithDict(QVariantMap{{"News", QVariantList{newsEntry("Old %1", now.addDays(-30), 2)}}});
    manager->setNewsCollection(news);
    QCoreApplication::processEvents();
    for (const auto& line : logged)
        QVERIFY(!line.at(0).toString().contains(QStringLiteral("News item expired")));
    QVERIFY(part<QLabel>(*manager, "_newsCountImageView")->pixmap().isNull());

    LVPreferences::sharedPreferences()->useExtendedLogging(true);
    manager->setNewsCollection(news);
    QTRY_VERIFY(std::any_of(logged.begin(), logged.end(), [](const QList<QVariant>& line) {
        // The title is written as it stands, "%1" and all.
        return line.at(0).toString().contains(QStringLiteral("News item expired: Old %1, ")) &&
               line.at(0).toString().contains(QStringLiteral(", 2"));
    }));
    LVPreferences::sharedPreferences()->useExtendedLogging(false);
}

void tst_LVInstallManager::installsBadgeCountsRowsNeedingAttention_data()
{
    QTest::addColumn<QList<uint>>("statuses"); // P1, P2, OLD (discontinued), bundle
    QTest::addColumn<int>("count");
    QTest::newRow("all up to date or absent") << QList<uint>{2, 1, 2, 2} << 0;
    QTest::newRow("one update") << QList<uint>{3, 1, 2, 2} << 1;
    QTest::newRow("busy rows and a partial bundle") << QList<uint>{5, 6, 1, 4} << 3;
    QTest::newRow("a discontinued product counts too") << QList<uint>{2, 2, 3, 2} << 1;
    QTest::newRow("waiting for the bundle") << QList<uint>{7, 7, 7, 7} << 4;
}

void tst_LVInstallManager::installsBadgeCountsRowsNeedingAttention()
{
    QFETCH(QList<uint>, statuses);
    QFETCH(int, count);
    _statusForProduct = {{"P1", statuses[0]}, {"P2", statuses[1]}, {"OLD", statuses[2]}, {"bundle", statuses[3]}};
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    const QPixmap badge = part<QLabel>(*manager, "_installsCountImageView")->pixmap();
    if (count == 0) {
        QVERIFY(badge.isNull());
    } else {
        const QImage expected = LVInstallManager::batchImageWithNumber(count, LVBadgeImage::systemOrangeColor());
        QCOMPARE(badge.toImage().convertToFormat(expected.format()), expected);
    }

    // A row reporting a change moves the badge with it.
    auto* first = static_cast<TestInstallItem*>(manager->singleProductInstallItems().first());
    const bool firstCounted = statuses[0] != 1 && statuses[0] != 2;
    first->setInstallStatus(firstCounted ? LVInstallItem::StatusLatestInstalled : LVInstallItem::StatusUpdateAvailable);
    const int after = count + (firstCounted ? -1 : 1);
    if (after == 0)
        QVERIFY(part<QLabel>(*manager, "_installsCountImageView")->pixmap().isNull());
    else
        QCOMPARE(part<QLabel>(*manager, "_installsCountImageView")
                     ->pixmap()
                     .toImage()
                     .convertToFormat(QImage::Format_ARGB32_Premultiplied),
                 LVInstallManager::batchImageWithNumber(after, LVBadgeImage::systemOrangeColor())
                     .convertToFormat(QImage::Format_ARGB32_Premultiplied));
}

void tst_LVInstallManager::badgeImageShape_data()
{
    QTest::addColumn<qint64>("number");
    QTest::newRow("7") << qint64(7);
    QTest::newRow("12") << qint64(12);
    QTest::newRow("1234") << qint64(1234);
}

void tst_LVInstallManager::badgeImageShape()
{
    QFETCH(qint64, number);
    const QColor orange = LVBadgeImage::systemOrangeColor();
    const QImage image = LVInstallManager::batchImageWithNumber(number, orange);
    // Whatever face "Helvetica" is here: a circle while the number and its margins fit the text's
    // height, a pill beyond.
    QFont font(QStringLiteral("Helvetica"));
    font.setPixelSize(18);
    const QFontMetricsF metrics(font);
    const bool circle = metrics.horizontalAdvance(QString::number(number)) + 12.0 <= metrics.height();
    QCOMPARE(image.height(), int(std::ceil(metrics.height())));
    if (circle) {
        QCOMPARE(image.width(), image.height());
    } else {
        QVERIFY(image.width() > image.height());
        QCOMPARE(image.width(), int(std::ceil(metrics.horizontalAdvance(QString::number(number)) + 12.0)));
    }
    // Filled in the colour, with white text and transparent corners.
    const QColor left = image.pixelColor(2, image.height() / 2);
    QVERIFY(qAbs(left.red() - orange.red()) < 8 && qAbs(left.green() - orange.green()) < 8);
    QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
    bool white = false;
    for (int x = 0; x < image.width() && !white; ++x)
        for (int y = 0; y < image.height() && !white; ++y)
            white = image.pixelColor(x, y) == QColor(Qt::white);
    QVERIFY(white);
}

void tst_LVInstallManager::discontinuedFilter()
{
    _statusForProduct = {{"OLD", 3}};
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    manager->selectInstallsTabViewAtIndex(LVInstallManager::SingleProductsTab);
    auto titles = [&] {
        QStringList result;
        for (LVInstallItem* row : manager->installItems())
            result.append(row->title());
        return result;
    };
    QCOMPARE(titles(), (QStringList{"P1", "P2"}));
    QCOMPARE(part<LVOutlineView>(*manager, "_installItemsTable")->outlineModel()->rowCount(), 2);
    // Counted although hidden.
    QVERIFY(!part<QLabel>(*manager, "_installsCountImageView")->pixmap().isNull());

    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("notifShowDiscontinuedProductsChanged"),
                                                           true);
    QVERIFY(LVInstallManager::showDiscontinuedProducts());
    QCOMPARE(LVPreferences::sharedPreferences()->propertyForKey(QStringLiteral("showDiscontinuedProducts")).toBool(),
             true);
    QCOMPARE(titles(), (QStringList{"P1", "P2", "OLD"}));
    QCOMPARE(part<LVOutlineView>(*manager, "_installItemsTable")->outlineModel()->rowCount(), 3);

    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("notifShowDiscontinuedProductsChanged"),
                                                           false);
    QCOMPARE(titles(), (QStringList{"P1", "P2"}));
    QCOMPARE(LVPreferences::sharedPreferences()->propertyForKey(QStringLiteral("showDiscontinuedProducts")).toBool(),
             false);
}

void tst_LVInstallManager::installsSubTabs()
{
    TestInstallItem updateAll(QStringLiteral("Update All Installed Products"));
    _rows->updateAll = &updateAll;
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    auto titles = [&] {
        QStringList result;
        for (LVInstallItem* row : manager->installItems())
            result.append(row->title());
        return result;
    };
    QCOMPARE(part<LVSegmentedControl>(*manager, "_installsSegmentedControl")->selectedTag(), 0);
    QCOMPARE(titles(), (QStringList{"Update All Installed Products", "bundle"}));
    part<LVSegmentedControl>(*manager, "_installsSegmentedControl")->selectSegmentWithTag(1);
    manager->installsSegmentedControlAction(part<LVSegmentedControl>(*manager, "_installsSegmentedControl"));
    QCOMPARE(titles(), (QStringList{"Update All Installed Products", "P1", "P2"}));
    manager->selectInstallsTabViewAtIndex(5);
    QCOMPARE(titles(), QStringList{"Update All Installed Products"});
    QCOMPARE(part<LVOutlineView>(*manager, "_installItemsTable")->outlineModel()->rowCount(), 1);
    // A new catalogue keeps the sub-tab the control shows.
    manager->selectInstallsTabViewAtIndex(1);
    load(*manager, fullCatalogue());
    QCOMPARE(titles(), (QStringList{"Update All Installed Products", "P1", "P2"}));
}

void tst_LVInstallManager::mainTabsFollowTheSegmentedControl()
{
    auto manager = makeManager();
    QCOMPARE(manager->selectedMainTabIndex(), 0);
    LVSegmentedControl* control = part<LVSegmentedControl>(*manager, "_mainSegmentedControl");
    control->resize(control->sizeHint());
    for (int tab : {2, 1, 3, 0}) {
        QTest::mouseClick(control, Qt::LeftButton, Qt::NoModifier, control->segmentRect(tab).center());
        QCOMPARE(part<QStackedWidget>(*manager, "_mainTabView")->currentIndex(), tab);
        QCOMPARE(control->selectedTag(), tab);
    }
    manager->selectMainTabViewAtIndex(2);
    QCOMPARE(part<QStackedWidget>(*manager, "_mainTabView")->currentWidget()->findChild<LVOutlineView*>(),
             part<LVOutlineView>(*manager, "_helpItemsTable"));
    // No such tab: nothing changes.
    manager->selectMainTabViewAtIndex(9);
    QCOMPARE(manager->selectedMainTabIndex(), 2);
}

void tst_LVInstallManager::selectItemPicksTheTabByRowKind()
{
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    manager->containerView()->resize(460, 640);
    manager->selectItem(manager->helpItems().last());
    QCOMPARE(manager->selectedMainTabIndex(), 2);
    QCOMPARE(part<LVOutlineView>(*manager, "_helpItemsTable")->selectedItem(), manager->helpItems().last());
    manager->selectItem(manager->newsItems().first());
    QCOMPARE(manager->selectedMainTabIndex(), 1);
    manager->selectItem(manager->bundleProductInstallItems().first());
    QCOMPARE(manager->selectedMainTabIndex(), 0);
    QCOMPARE(part<LVOutlineView>(*manager, "_installItemsTable")->selectedItem(),
             manager->bundleProductInstallItems().first());
    QObject stranger;
    manager->selectItem(&stranger);
    QCOMPARE(manager->selectedMainTabIndex(), 0);
    manager->selectInstallItem(nullptr);
    QCOMPARE(part<LVOutlineView>(*manager, "_installItemsTable")->selectedItem(), nullptr);
}

void tst_LVInstallManager::installItemWithProductIDNeverAnswersABundle()
{
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    QCOMPARE(manager->installItemWithProductID(QStringLiteral("P2")), manager->singleProductInstallItems().at(1));
    QCOMPARE(manager->installItemWithProductID(QStringLiteral("B1")), nullptr);
    QCOMPARE(manager->installItemWithProductID(QStringLiteral("NOPE")), nullptr);
    QCOMPARE(manager->installItemWithProductID(QString()), nullptr);
}

void tst_LVInstallManager::alertsGoThroughThePresenter()
{
    auto manager = makeManager();
    manager->show();
    LVAlert alert(QStringLiteral("Install failed"), QStringLiteral("The package could not be opened."));
    alert.addButtonWithTitle(QStringLiteral("Retry"));
    alert.addButtonWithTitle(QStringLiteral("Cancel"));
    int response = 0;
    manager->showAlert(alert, [&](int r) { response = r; });
    manager->showAlert(LVAlert(QStringLiteral("Second"), QString()));
    manager->showAlert(LVAlert());
    manager->showError(VMError());
    manager->showError(VMError(QStringLiteral("NSURLErrorDomain"), -1004,
                               QStringLiteral("Could not connect to the server."),
                               QStringLiteral("The server is not reachable.")));
    QCOMPARE(_alerts->alerts().size(), 3);
    QCOMPARE(_alerts->lastWindow(), manager->window());
    QCOMPARE(_alerts->alerts().at(0).buttonTitles(), (QStringList{"Retry", "Cancel"}));
    QCOMPARE(_alerts->alerts().at(2).messageText(), QStringLiteral("Could not connect to the server."));
    QCOMPARE(_alerts->alerts().at(2).informativeText(), QStringLiteral("The server is not reachable."));
    QVERIFY(_alerts->answer(LVAlert::alertSecondButtonReturn));
    QCOMPARE(response, LVAlert::alertSecondButtonReturn);
    manager->hide();
}

void tst_LVInstallManager::outlineOfTheInstallTableIsConsistent()
{
    auto manager = makeManager();
    QAbstractItemModelTester tester(part<LVOutlineView>(*manager, "_installItemsTable")->outlineModel(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    QAbstractItemModelTester newsTester(part<LVOutlineView>(*manager, "_newsItemsTable")->outlineModel(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
    load(*manager, fullCatalogue());
    manager->selectInstallsTabViewAtIndex(1);
    load(*manager, fullCatalogue());
    QCOMPARE(part<LVOutlineView>(*manager, "_installItemsTable")->outlineModel()->rowCount(), 2);
    // The news row has its more-info child.
    const QModelIndex news = part<LVOutlineView>(*manager, "_newsItemsTable")->outlineModel()->index(0, 0);
    QCOMPARE(part<LVOutlineView>(*manager, "_newsItemsTable")->outlineModel()->rowCount(news), 1);
}

void tst_LVInstallManager::expandNotificationsToggleRows()
{
    auto manager = makeManager();
    load(*manager, fullCatalogue());
    LVNewsItem* row = manager->newsItems().first();
    QVERIFY(part<LVOutlineView>(*manager, "_newsItemsTable")->isItemExpanded(row));
    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("expandLVNewsItem"),
                                                           QVariant::fromValue(static_cast<QObject*>(row)));
    QVERIFY(!part<LVOutlineView>(*manager, "_newsItemsTable")->isItemExpanded(row));
    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("expandLVNewsItem"),
                                                           QVariant::fromValue(static_cast<QObject*>(row)));
    QVERIFY(part<LVOutlineView>(*manager, "_newsItemsTable")->isItemExpanded(row));
    // Without a row: nothing.
    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("expandLVNewsItem"));
    QVERIFY(part<LVOutlineView>(*manager, "_newsItemsTable")->isItemExpanded(row));
}

LV_TEST_MAIN(tst_LVInstallManager)
#include "tst_LVInstallManager.moc"
