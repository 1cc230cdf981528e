#include "LocalHttpServer.h"
#include "RecordingWorkspace.h"
#include "TestEnvironment.h"
#include "TestMain.h"
#include "catalogue/VMHelpItem.h"
#include "catalogue/VMNewsItem.h"
#include "foundation/VMLogger.h"
#include "foundation/VMNotificationCenter.h"
#include "manager/AppDelegate.h"
#include "newshelp/LVHelpItem.h"
#include "newshelp/LVHelpTitleTextField.h"
#include "newshelp/LVMoreInfoNewsItem.h"
#include "newshelp/LVNewsInfoView.h"
#include "newshelp/LVNewsItem.h"

#include <QBuffer>
#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

namespace {
QByteArray pngBytes(const QSize& size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(0x20, 0x80, 0xd0));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

std::unique_ptr<LVNewsItem> newsRow(const QVariantMap& record)
{
    return std::unique_ptr<LVNewsItem>(LVNewsItem::newsItemWithVMNewsItem(VMNewsItem::initWithDict(record)));
}

void sendMouse(QWidget* widget, QEvent::Type type, const QPoint& at, Qt::MouseButtons buttons)
{
    QMouseEvent event(type, QPointF(at), widget->mapToGlobal(QPointF(at)), Qt::LeftButton, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}
} // namespace

class tst_LVNewsHelpRows : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { AppDelegate::configureApplication(); }
    void init();
    void cleanup();

    void nilRecordsGiveNoRow_data();
    void nilRecordsGiveNoRow();
    void newsRowShowsTheHeadlineAndItsChild();
    void moreInfoViewTakesTheStoredImageHeight();
    void imageIsDownloadedOnFirstExpansionOnly();
    void failedImageIsRetriedOnTheNextExpansion();
    void doubleClickOnTheHeadlineAsksForToggling();
    void moreInfoOpensTheLink_data();
    void moreInfoOpensTheLink();
    void helpTitleDrawsTheDotAndGrowsToFit_data();
    void helpTitleDrawsTheDotAndGrowsToFit();
    void helpTitleClickTracking_data();
    void helpTitleClickTracking();

private:
    std::unique_ptr<TestEnvironment> _environment;
    std::unique_ptr<LocalHttpServer> _server;
    std::shared_ptr<RecordingWorkspace> _workspace;
};

void tst_LVNewsHelpRows::init()
{
    _environment = std::make_unique<TestEnvironment>(0.01);
    _server = std::make_unique<LocalHttpServer>();
    _workspace = std::make_shared<RecordingWorkspace>();
    Platform::setWorkspace(_workspace);
}

void tst_LVNewsHelpRows::cleanup()
{
    _server.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Platform::reset();
    _environment.reset();
}

void tst_LVNewsHelpRows::nilRecordsGiveNoRow_data()
{
    QTest::addColumn<bool>("news");
    QTest::addColumn<QString>("message");
    QTest::newRow("news") << true << QStringLiteral("'newsItem = nil' in ");
    QTest::newRow("help") << false << QStringLiteral("'vmHelpItem = nil' in ");
}

void tst_LVNewsHelpRows::nilRecordsGiveNoRow()
{
    QFETCH(bool, news);
    QFETCH(QString, message);
    QSignalSpy logged(VMLogger::sharedLogger(), &VMLogger::lineLogged);
    if (news)
        QCOMPARE(LVNewsItem::newsItemWithVMNewsItem(nullptr), nullptr);
    else
        QCOMPARE(LVHelpItem::helpItemWithVMHelpItem(nullptr), nullptr);
    QTRY_COMPARE(logged.size(), 1);
    QVERIFY(logged.first().at(0).toString().contains(message));
}

void tst_LVNewsHelpRows::newsRowShowsTheHeadlineAndItsChild()
{
    const auto row = newsRow(
        {{"Title", "Sale"}, {"Headline", "Thirty percent off"}, {"Show Days", 5}, {"Release Date", "26.11.01"}});
    QVERIFY(row);
    QVERIFY(row->view());
    QCOMPARE(row->headlineTextField()->text(), QStringLiteral("Thirty percent off"));
    QCOMPARE(row->childItems().size(), 1);
    auto* child = static_cast<LVMoreInfoNewsItem*>(row->childItems().first());
    QCOMPARE(child->newsItem(), row.get());
    QCOMPARE(child->view(), row->moreInfoView());
    QVERIFY(!child->shouldSelect() && !child->shouldExpand() && child->childItems().isEmpty());
    QVERIFY(row->shouldCollapse());
    QVERIFY(row->shouldSelect());
    // No headline: an empty label.
    const auto bare = newsRow({});
    bare->view();
    QCOMPARE(bare->headlineTextField()->text(), QString());
}

void tst_LVNewsHelpRows::moreInfoViewTakesTheStoredImageHeight()
{
    const auto row = newsRow({{"Title", "A"}});
    row->view();
    const int panelHeight = row->moreInfoView()->height();
    QVERIFY(panelHeight > 0);

    const auto sizedRow = newsRow({{"Title", "B"}, {"Properties", QVariantMap{{VMNewsItem::imageHeight, 333.0}}}});
    sizedRow->view();
    QCOMPARE(sizedRow->moreInfoView()->height(), 333);
    QCOMPARE(sizedRow->moreInfoView()->width(), row->moreInfoView()->width());
}

void tst_LVNewsHelpRows::imageIsDownloadedOnFirstExpansionOnly()
{
    LocalHttpServer::Response slow;
    slow.body = pngBytes(QSize(40, 20));
    slow.headers = {{"Content-Type", "image/png"}};
    slow.headerDelayMs = 150;
    _server->setRoute("/news.png", slow);
    const auto row = newsRow({{"Title", "A"}, {"News Image URL", _server->url("/news.png").toString()}});
    QCOMPARE(row->newsImageURL(), _server->url("/news.png").toString());
    // Twice before the image arrives: two downloads.
    QVERIFY(row->shouldExpand());
    QVERIFY(row->shouldExpand());
    QTRY_VERIFY(!row->newsInfoView()->image().isNull());
    QTRY_COMPARE(_server->requests().size(), 2);
    QCOMPARE(row->newsInfoView()->image().size(), QSize(40, 20));
    // Once it is there, none.
    QVERIFY(row->shouldExpand());
    QTest::qWait(50);
    QCOMPARE(_server->requests().size(), 2);
}

void tst_LVNewsHelpRows::failedImageIsRetriedOnTheNextExpansion()
{
    _server->setRoute("/broken.png", QByteArray("not an image"));
    const auto row = newsRow({{"Title", "A"}, {"News Image URL", _server->url("/broken.png").toString()}});
    QVERIFY(row->shouldExpand());
    QTRY_COMPARE(_server->requests().size(), 1);
    QTest::qWait(50);
    QVERIFY(row->newsInfoView()->image().isNull());
    _server->setRoute("/broken.png", pngBytes(QSize(8, 8)));
    QVERIFY(row->shouldExpand());
    QTRY_VERIFY(!row->newsInfoView()->image().isNull());
    QCOMPARE(_server->requests().size(), 2);

    // No image URL: expanding asks nobody.
    const auto noImage = newsRow({{"Title", "B"}});
    QVERIFY(noImage->shouldExpand());
    QTest::qWait(30);
    QCOMPARE(_server->requests().size(), 2);
}

void tst_LVNewsHelpRows::doubleClickOnTheHeadlineAsksForToggling()
{
    const auto row = newsRow({{"Title", "A"}});
    QObject observer;
    QList<QObject*> posted;
    VMNotificationCenter::defaultCenter().addObserver(
        &observer, QStringLiteral("expandLVNewsItem"),
        [&](const VMNotification& n) { posted.append(n.object.value<QObject*>()); });
    QWidget* header = row->view();
    header->resize(300, 50);
    sendMouse(header, QEvent::MouseButtonPress, QPoint(20, 20), Qt::LeftButton);
    sendMouse(header, QEvent::MouseButtonRelease, QPoint(20, 20), Qt::NoButton);
    QVERIFY(posted.isEmpty());
    sendMouse(header, QEvent::MouseButtonDblClick, QPoint(20, 20), Qt::LeftButton);
    QCOMPARE(posted, QList<QObject*>{row.get()});
}

void tst_LVNewsHelpRows::moreInfoOpensTheLink_data()
{
    QTest::addColumn<QString>("moreInfoURL");
    QTest::addColumn<bool>("opens");
    QTest::newRow("a page") << QStringLiteral("http://127.0.0.1/news/sale.html") << true;
    QTest::newRow("none") << QString() << false;
    QTest::newRow("not a URL") << QStringLiteral("http://exa mple.com:port/") << false;
}

void tst_LVNewsHelpRows::moreInfoOpensTheLink()
{
    QFETCH(QString, moreInfoURL);
    QFETCH(bool, opens);
    QVariantMap dict{{"Title", "A"}};
    if (!moreInfoURL.isNull())
        dict.insert("More Info URL", moreInfoURL);
    const auto row = newsRow(dict);
    row->view();
    row->moreInfoButtonAction();
    QCOMPARE(_workspace->opened.size(), opens ? 1 : 0);
    // A click on the image does the same, on release.
    LVNewsInfoView* image = row->newsInfoView();
    image->resize(200, 100);
    sendMouse(image, QEvent::MouseButtonPress, QPoint(10, 10), Qt::LeftButton);
    sendMouse(image, QEvent::MouseMove, QPoint(12, 12), Qt::LeftButton);
    QCOMPARE(_workspace->opened.size(), opens ? 1 : 0);
    sendMouse(image, QEvent::MouseButtonRelease, QPoint(12, 12), Qt::NoButton);
    QCOMPARE(_workspace->opened.size(), opens ? 2 : 0);
    if (opens)
        QCOMPARE(_workspace->opened.first(), QUrl(moreInfoURL));
}

void tst_LVNewsHelpRows::helpTitleDrawsTheDotAndGrowsToFit_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<bool>("grows");
    QTest::newRow("short") << QStringLiteral("Contact support") << false;
    QTest::newRow("long") << QStringLiteral("Troubleshooting: an effect shows a red frame or does not appear in the "
                                            "browser after an update of the host application, and what to do next")
                          << true;
    QTest::newRow("none") << QString() << false;
}

void tst_LVNewsHelpRows::helpTitleDrawsTheDotAndGrowsToFit()
{
    QFETCH(QString, title);
    QFETCH(bool, grows);
    QVariantMap dict{{"Help URL", "http://127.0.0.1/support/a.html"}};
    if (!title.isNull())
        dict.insert("Title", title);
    std::unique_ptr<LVHelpItem> row(LVHelpItem::helpItemWithVMHelpItem(VMHelpItem::initWithDict(dict)));
    QVERIFY(!row->shouldExpand() && !row->shouldCollapse() && row->shouldSelect());
    QVERIFY(row->childItems().isEmpty());
    auto* field = static_cast<LVHelpTitleTextField*>(row->view());
    QCOMPARE(field->string(), title.isNull() ? QString() : title);
    const int laidOut = 30; // the panel's height
    if (grows)
        QVERIFY(field->height() > laidOut);
    else
        QCOMPARE(field->height(), laidOut);
    // The dot: an 8 by 8 circle whose top is 8 below the top edge.
    QImage image(field->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    field->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    QVERIFY(image.pixelColor(4, 12).lightness() > 150);
    QVERIFY(image.pixelColor(4, 3).lightness() < 20);
}

void tst_LVNewsHelpRows::helpTitleClickTracking_data()
{
    QTest::addColumn<QPoint>("releaseAt");
    QTest::addColumn<bool>("opens");
    QTest::newRow("released inside") << QPoint(40, 10) << true;
    QTest::newRow("dragged out and released outside") << QPoint(40, 200) << false;
}

void tst_LVNewsHelpRows::helpTitleClickTracking()
{
    QFETCH(QPoint, releaseAt);
    QFETCH(bool, opens);
    std::unique_ptr<LVHelpItem> row(LVHelpItem::helpItemWithVMHelpItem(
        VMHelpItem::initWithDict({{"Title", "Getting started"}, {"Help URL", "http://127.0.0.1/support/start.html"}})));
    auto* field = static_cast<LVHelpTitleTextField*>(row->view());
    sendMouse(field, QEvent::MouseButtonPress, QPoint(40, 10), Qt::LeftButton);
    QCOMPARE(field->textColor(), LVHelpTitleTextField::pressedColor());
    sendMouse(field, QEvent::MouseMove, QPoint(40, 200), Qt::LeftButton);
    QCOMPARE(field->textColor(), LVHelpTitleTextField::normalColor());
    sendMouse(field, QEvent::MouseMove, releaseAt, Qt::LeftButton);
    sendMouse(field, QEvent::MouseButtonRelease, releaseAt, Qt::NoButton);
    QCOMPARE(field->textColor(), LVHelpTitleTextField::normalColor());
    QCOMPARE(_workspace->opened.size(), opens ? 1 : 0);
    if (opens)
        QCOMPARE(_workspace->opened.first(), QUrl(QStringLiteral("http://127.0.0.1/support/start.html")));
}

LV_TEST_MAIN(tst_LVNewsHelpRows)
#include "tst_LVNewsHelpRows.moc"
