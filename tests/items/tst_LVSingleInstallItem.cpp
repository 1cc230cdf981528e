#include "LocalHttpServer.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "TestRowHost.h"

#include "catalogue/VMUtils.h"
#include "engines/LVDownloader.h"
#include "engines/LVProductOperation.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVInstallItemTitleField.h"
#include "items/LVSingleInstallItem.h"
#include "manager/AppDelegate.h"

#include "engines/LVProductOperations.h"
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QTextEdit>
#include <QTimeZone>
#include <QToolButton>

#include <QtTest>

// The product row's rules where they decide something: its status, what its description lists,
// which menu entries it enables, when it asks before installing and which completions concern it.
class tst_LVSingleInstallItem : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void statusFollowsTheInstalledVersion_data();
    void statusFollowsTheInstalledVersion();
    void descriptionListsWhatIsNewerThanTheInstalledVersion_data();
    void descriptionListsWhatIsNewerThanTheInstalledVersion();
    void titleMarksNewAndDiscontinuedProducts_data();
    void titleMarksNewAndDiscontinuedProducts();
    void menuEnablesWhatTheStatusAllows_data();
    void menuEnablesWhatTheStatusAllows();
    void fxPlug3VersionAsksFirstOnAppleSilicon_data();
    void fxPlug3VersionAsksFirstOnAppleSilicon();
    void installCompletionConcernsRowsSharingAnIdentifier_data();
    void installCompletionConcernsRowsSharingAnIdentifier();
    void iconThatCannotBeHadIsAskedForOnce();

private:
    VMSingleProductItemPtr product(const QVariantList& versions, const QVariantMap& extra = {}) const;
    std::unique_ptr<LVSingleInstallItem> row(const VMSingleProductItemPtr& product, const QString& installed);

    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    std::unique_ptr<TestRowHost> _host;
    std::shared_ptr<TestAlertPresenter> _alerts;
};

namespace {
QVariantMap version(const QString& number, const QVariantMap& extra = {})
{
    QVariantMap map{{"Product Version", number},
                    {"Release Date", "20.01.01"},
                    {"New Features Description", "feature " + number},
                    {"Bug Fixes Description", "fix " + number}};
    for (auto it = extra.begin(); it != extra.end(); ++it)
        map.insert(it.key(), it.value());
    return map;
}

QStringList actionTitles(QMenu& menu, bool enabledOnly)
{
    QStringList titles;
    for (QAction* action : menu.actions())
        if (action->isVisible() && !action->isSeparator() && (!enabledOnly || action->isEnabled()))
            titles.append(action->text());
    return titles;
}
} // namespace

void tst_LVSingleInstallItem::initTestCase()
{
    AppDelegate::configureApplication();
}

void tst_LVSingleInstallItem::init()
{
    _env = std::make_unique<TestEnvironment>();
    _env->systemInfo->osVersion = QVersionNumber(13, 0);
    _server = std::make_unique<LocalHttpServer>();
    // A package that never finishes, so a download stays running for as long as a test needs.
    LocalHttpServer::Response stalled;
    stalled.body = LocalHttpServer::generatedBody(0, 10000);
    stalled.stallAfterBytes = 4000;
    _server->setRoute("/stalled.pkg", stalled);
    _host = std::make_unique<TestRowHost>();
    _alerts = _host->alerts;
    VMUtils::setCurrentDateProvider([] { return QDateTime(QDate(2024, 6, 1), QTime(12, 0), QTimeZone::utc()); });
}

void tst_LVSingleInstallItem::cleanup()
{
    // Operations outlive rows: the next case starts when they have wound down.
    QTRY_VERIFY(LVProductOperations::shared().isIdle());
    VMUtils::setCurrentDateProvider({});
    _alerts.reset();
    _host.reset();
    _server.reset();
    _env.reset();
}

VMSingleProductItemPtr tst_LVSingleInstallItem::product(const QVariantList& versions, const QVariantMap& extra) const
{
    QVariantMap dict{{"Product ID", "GLOW"},
                     {"Title", "Glow"},
                     {"Identifier", "com.quarnet.FxPlug.GlowXPC"},
                     {"Description", "Soft light."},
                     {"Versions", versions}};
    for (auto it = extra.begin(); it != extra.end(); ++it)
        dict.insert(it.key(), it.value());
    return VMSingleProductItem::initWithDict(dict);
}

std::unique_ptr<LVSingleInstallItem> tst_LVSingleInstallItem::row(const VMSingleProductItemPtr& product,
                                                                  const QString& installed)
{
    std::unique_ptr<LVSingleInstallItem> item(LVSingleInstallItem::installItemWithSingleProductItem(product));
    item->setInstallManager(_host.get());
    item->view();
    item->setInstalledVersion(installed);
    item->updateStatus();
    // Opened, as the user sees the details.
    item->detailsView();
    return item;
}

void tst_LVSingleInstallItem::statusFollowsTheInstalledVersion_data()
{
    QTest::addColumn<QString>("installed");
    QTest::addColumn<uint>("status");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("offersDownload");

    QTest::newRow("none") << QString() << 1u << "Not yet installed" << true;
    QTest::newRow("older") << "1.0" << 3u << "Update available" << true;
    QTest::newRow("older, no record") << "1.0.5" << 3u << "Update available" << true;
    QTest::newRow("latest") << "1.10" << 2u << "Latest version installed" << false;
    QTest::newRow("newer, no record") << "2.0" << 2u << "Latest version installed" << false;
}

void tst_LVSingleInstallItem::statusFollowsTheInstalledVersion()
{
    QFETCH(QString, installed);
    QFETCH(uint, status);
    QFETCH(QString, text);
    QFETCH(bool, offersDownload);

    // 1.10 is the latest although 1.9 comes later in the catalogue.
    auto item = row(product({version("1.0"), version("1.10"), version("1.9")}), installed);
    QCOMPARE(item->installStatus(), status);
    QCOMPARE(item->statusTextField()->text(), text);
    QCOMPARE(item->downloadButton()->isVisibleTo(item->view()), offersDownload);
    if (offersDownload)
        QCOMPARE(item->downloadButton()->accessibleName(), QStringLiteral("Download & Install"));
}

void tst_LVSingleInstallItem::descriptionListsWhatIsNewerThanTheInstalledVersion_data()
{
    QTest::addColumn<QString>("installed");
    QTest::addColumn<QString>("osVersion");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QStringList>("absent");

    QTest::newRow("not installed: the latest only")
        << QString() << QString() << QStringList{"Soft light.", "\nFeatures:\n• feature 1.2", "\nBug Fixes:\n• fix 1.2"}
        << QStringList{"feature 1.1", "requires"};
    QTest::newRow("older: every newer version")
        << "1.0" << QString()
        << QStringList{"\nFeatures:\n• feature 1.1\n• feature 1.2", "\nBug Fixes:\n• fix 1.1\n• fix 1.2"}
        << QStringList{"feature 1.0"};
    QTest::newRow("latest: nothing new") << "1.2" << QString() << QStringList{"Soft light."}
                                         << QStringList{"Features:", "Bug Fixes:"};
    QTest::newRow("newer without a record: the latest")
        << "1.5" << QString() << QStringList{"\nFeatures:\n• feature 1.2"} << QStringList{"feature 1.1"};
    QTest::newRow("system too old") << "1.2"
                                    << "99.1" << QStringList{"\nThis update requires OS X 99.1, please update"}
                                    << QStringList{"FCP X"};
}

void tst_LVSingleInstallItem::descriptionListsWhatIsNewerThanTheInstalledVersion()
{
    QFETCH(QString, installed);
    QFETCH(QString, osVersion);
    QFETCH(QStringList, expected);
    QFETCH(QStringList, absent);

    QVariantMap latest = version("1.2");
    if (!osVersion.isNull())
        latest.insert("OSX Version", osVersion);
    auto item = row(product({version("1.0"), version("1.1"), latest}), installed);
    const QString text = item->descriptionTextView()->toPlainText();
    for (const QString& part : expected)
        QVERIFY2(text.contains(part), qPrintable(text));
    for (const QString& part : absent)
        QVERIFY2(!text.contains(part), qPrintable(text));

    // The requirement is the one orange line.
    if (!osVersion.isNull()) {
        QTextCursor cursor = item->descriptionTextView()->document()->find(QStringLiteral("This update requires"));
        QVERIFY(!cursor.isNull());
        QCOMPARE(cursor.charFormat().foreground().color().name(), QStringLiteral("#ff9f0a"));
    }
    // The view is as high as its text where it is shown, never more than 280 points, plus the line
    // of buttons.
    QTextEdit* view = item->descriptionTextView();
    QCOMPARE(item->moreInfoView()->height(), view->height() + 36);
    view->window()->show();
    QCoreApplication::sendPostedEvents();
    const int needed = int(std::ceil(view->document()->size().height()));
    QVERIFY2(qAbs(view->height() - qMin(needed, 280)) <= 1, qPrintable(QString::number(view->height())));
}

void tst_LVSingleInstallItem::titleMarksNewAndDiscontinuedProducts_data()
{
    QTest::addColumn<QString>("released");
    QTest::addColumn<bool>("discontinued");
    QTest::addColumn<QString>("mark");

    QTest::newRow("recent") << "24.05.25" << false << " New";
    QTest::newRow("recent and discontinued: new wins") << "24.05.25" << true << " New";
    QTest::newRow("old and discontinued") << "23.01.01" << true << "Discontinued";
    QTest::newRow("old") << "23.01.01" << false << "";
}

void tst_LVSingleInstallItem::titleMarksNewAndDiscontinuedProducts()
{
    QFETCH(QString, released);
    QFETCH(bool, discontinued);
    QFETCH(QString, mark);

    auto item =
        row(product({version("1.0", {{"Release Date", released}})}, {{"Discontinued", discontinued}}), QString());
    QTextDocument document;
    document.setHtml(item->titleField()->attributedStringValue());
    const QString plain = document.toPlainText();
    QCOMPARE(plain.startsWith(QLatin1String("Glow")), true);
    QCOMPARE(plain.mid(4).trimmed(), mark.trimmed());
}

void tst_LVSingleInstallItem::menuEnablesWhatTheStatusAllows_data()
{
    QTest::addColumn<QString>("installed");
    QTest::addColumn<bool>("withLinks");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("enabled");

    const QStringList all{"Install",      "Install FxPlug3 Version", "Uninstall", "Uninstall FxPlug3 Version",
                          "More Info...", "Documentation...",        "Buy...",    "Download Installer Manually..."};
    QTest::newRow("not installed") << QString() << true << all
                                   << QStringList{"Install",      "Install FxPlug3 Version",
                                                  "More Info...", "Documentation...",
                                                  "Buy...",       "Download Installer Manually..."};
    QStringList latest = all;
    latest[0] = "Reinstall";
    QTest::newRow("latest, no links") << "2.0" << false << latest
                                      << QStringList{"Reinstall", "Install FxPlug3 Version", "Uninstall",
                                                     "Download Installer Manually..."};
    QStringList older = all;
    older[0] = "Install Latest Version";
    QTest::newRow("update") << "1.5" << true << older << QStringList{"Install Latest Version",
                                                                     "Install FxPlug3 Version",
                                                                     "Uninstall",
                                                                     "More Info...",
                                                                     "Documentation...",
                                                                     "Buy...",
                                                                     "Download Installer Manually..."};
}

void tst_LVSingleInstallItem::menuEnablesWhatTheStatusAllows()
{
    QFETCH(QString, installed);
    QFETCH(bool, withLinks);
    QFETCH(QStringList, entries);
    QFETCH(QStringList, enabled);

    QVariantMap extra{{"Uninstall Script", _server->url("/uninstall.bash").toString()}};
    if (withLinks) {
        extra.insert("Info URL", "https://example.invalid/info");
        extra.insert("Docs URL", "https://example.invalid/docs");
        extra.insert("Buy URL", "https://example.invalid/buy");
    }
    const QVariantMap fxplug3{{"Version Tags", "FxPlug3"},
                              {"Download URL", _server->url("/glow-fx3.pkg").toString()},
                              {"Uninstall Script", _server->url("/uninstall-fx3.bash").toString()}};
    auto item = row(product({version("1.5", fxplug3), version("2.0", {{"Download URL", "http://x/glow.pkg"}})}, extra),
                    installed);
    QMenu menu;
    item->menuWillOpen(&menu);
    QCOMPARE(actionTitles(menu, false), entries);
    QCOMPARE(actionTitles(menu, true), enabled);
}

void tst_LVSingleInstallItem::fxPlug3VersionAsksFirstOnAppleSilicon_data()
{
    QTest::addColumn<QString>("machine");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("asks");
    QTest::addColumn<bool>("downloads");

    QTest::newRow("Intel") << "x86_64" << 0 << false << true;
    QTest::newRow("Apple silicon, Install") << "arm64" << LVAlert::alertFirstButtonReturn << true << true;
    QTest::newRow("Apple silicon, Cancel") << "arm64" << LVAlert::alertSecondButtonReturn << true << false;
}

void tst_LVSingleInstallItem::fxPlug3VersionAsksFirstOnAppleSilicon()
{
    QFETCH(QString, machine);
    QFETCH(int, answer);
    QFETCH(bool, asks);
    QFETCH(bool, downloads);

    _env->systemInfo->machine = machine;
    auto item = row(product({version("1.0", {{"Version Tags", "FxPlug3"},
                                             {"Download URL", _server->url("/stalled.pkg").toString()}})}),
                    QString());
    item->downloadButton()->click();
    QCOMPARE(_alerts->pendingCount(), asks ? 1 : 0);
    if (asks) {
        QCOMPARE(_alerts->alerts().last().messageText(), QStringLiteral("Install incompatible Version?"));
        QCOMPARE(
            _alerts->alerts().last().informativeText(),
            QStringLiteral("This version of 'Glow' cannot be run natively on your hardware, see here for details."));
        QCOMPARE(_alerts->alerts().last().buttonTitles(), (QStringList{"Install", "Cancel", "More Info"}));
        QVERIFY(!item->operation()->downloader());
        _alerts->answer(answer);
    }
    QCOMPARE(item->operation()->downloader() != nullptr, downloads);
    if (!downloads)
        return;
    QTRY_COMPARE(item->installStatus(), uint(LVInstallItem::StatusDownloading));
    QCOMPARE(item->downloadButton()->accessibleName(), QStringLiteral("Cancel Download"));
    QVERIFY(!item->statusTextField()->isVisibleTo(item->view()));
    // Stalled at 40 %: the bar says so.
    QTRY_COMPARE(item->downloadProgressBar()->value(), item->downloadProgressBar()->maximum() * 4 / 10);

    // The same button cancels (asking first again where it asks), and nothing of the package is left.
    const QString package = item->operation()->downloader()->downloadFilePath();
    item->downloadButton()->click();
    if (asks)
        QVERIFY(_alerts->answer(LVAlert::alertFirstButtonReturn));
    QTRY_COMPARE(item->installStatus(), uint(LVInstallItem::StatusNotInstalled));
    QVERIFY(!item->operation()->downloader());
    QTRY_VERIFY(!QFile::exists(package));
}

void tst_LVSingleInstallItem::installCompletionConcernsRowsSharingAnIdentifier_data()
{
    QTest::addColumn<QString>("otherID");
    QTest::addColumn<QString>("otherIdentifier");
    QTest::addColumn<bool>("concerned");

    QTest::newRow("same product ID") << "GLOW" << QString() << true;
    QTest::newRow("identifier of one of its versions") << "GLOW3"
                                                       << "com.quarnet.FxPlug.Glow3XPC" << true;
    QTest::newRow("unrelated") << "BLUR"
                               << "com.quarnet.FxPlug.BlurXPC" << false;
}

void tst_LVSingleInstallItem::installCompletionConcernsRowsSharingAnIdentifier()
{
    QFETCH(QString, otherID);
    QFETCH(QString, otherIdentifier);
    QFETCH(bool, concerned);

    const VMSingleProductItemPtr glow =
        product({version("1.0"), version("2.0", {{"Identifier", "com.quarnet.FxPlug.Glow3XPC"}})});
    auto item = row(glow, QStringLiteral("1.0"));
    QCOMPARE(item->installStatus(), uint(LVInstallItem::StatusUpdateAvailable));

    QVariantMap otherDict{{"Product ID", otherID}, {"Title", "Other"}};
    if (!otherIdentifier.isNull())
        otherDict.insert("Identifier", otherIdentifier);
    const VMSingleProductItemPtr other = VMSingleProductItem::initWithDict(otherDict);
    glow->setProperty(QStringLiteral("2.0"), QStringLiteral("temporaryVersionStr"));
    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("productInstallCompleted"),
                                                           QVariant::fromValue(VMProductItemPtr(other)));
    glow->setProperty(QVariant(), QStringLiteral("temporaryVersionStr"));

    QCOMPARE(item->installedVersion(), concerned ? QStringLiteral("2.0") : QStringLiteral("1.0"));
    QCOMPARE(item->installStatus(),
             uint(concerned ? LVInstallItem::StatusLatestInstalled : LVInstallItem::StatusUpdateAvailable));
    // No installation of its own ran, so the row does not announce one.
    QCOMPARE(_alerts->alerts().size(), 0);
}

LV_TEST_MAIN(tst_LVSingleInstallItem)
// A row whose view comes back into sight does not ask again for an icon it could not have.
void tst_LVSingleInstallItem::iconThatCannotBeHadIsAskedForOnce()
{
    _server->setRoute("/missing.png", QByteArray("no such icon"), 404);
    const auto asked = [this] {
        int count = 0;
        for (const LocalHttpServer::Request& request : _server->requests())
            count += request.path == "/missing.png";
        return count;
    };
    auto item = row(product({version("1.0")}, {{"Icon URL", _server->url("/missing.png").toString()}}), QString());
    QTRY_COMPARE(asked(), 1);
    for (int shown = 0; shown < 2; ++shown) {
        QVERIFY(item->canReleaseView());
        item->releaseView();
        item->view();
        QTest::qWait(100);
    }
    QCOMPARE(asked(), 1);
}

#include "tst_LVSingleInstallItem.moc"
