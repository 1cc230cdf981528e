#include "LVNewsItem.h"
#include "ui_LVNewsItem.h"

#include "LVMoreInfoNewsItem.h"
#include "LVNewsInfoView.h"
#include "LVNewsItemHeaderView.h"
#include "catalogue/VMNewsItem.h"
#include "engines/LVFetch.h"
#include "foundation/VMLog.h"
#include "foundation/VMNotificationCenter.h"
#include "platform/Platform.h"

#include <QBoxLayout>
#include <QFontMetrics>
#include <QLocale>
#include <QPushButton>
#include <cmath>

LVNewsItem::LVNewsItem(const std::shared_ptr<VMNewsItem>& newsItem)
    : _newsItem(newsItem), _newsImageURL(newsItem->newsImageURL()),
      _moreInfoItem(std::make_unique<LVMoreInfoNewsItem>(this))
{}

LVNewsItem::~LVNewsItem()
{
    delete _headlineView;
    delete _moreInfoView;
    delete _panel;
}

LVNewsItem* LVNewsItem::initWithVMNewsItem(const std::shared_ptr<VMNewsItem>& newsItem)
{
    if (!newsItem) {
        VM_LOG_MESSAGE(QStringLiteral("newsItem = nil"));
        return nullptr;
    }
    return new LVNewsItem(newsItem);
}

LVNewsItem* LVNewsItem::newsItemWithVMNewsItem(const std::shared_ptr<VMNewsItem>& newsItem)
{
    return initWithVMNewsItem(newsItem);
}

QString LVNewsItem::title() const
{
    return _newsItem->title();
}

void LVNewsItem::loadView()
{
    _ui = std::make_unique<Ui::LVNewsItem>();
    _panel = new QWidget;
    _ui->setupUi(_panel);
    // The panel holds the two row views; each row takes its own out of it.
    _headlineView = _ui->_headlineView;
    _moreInfoView = _ui->_moreInfoView;
    const int width = _panel->width();
    _headlineView->setParent(nullptr);
    _moreInfoView->setParent(nullptr);

    connect(_headlineView, &LVNewsItemHeaderView::doubleClicked, this, &LVNewsItem::requestToggle);
    connect(_ui->_newsInfoView, &LVNewsInfoView::clicked, this, &LVNewsItem::moreInfoButtonAction);
    _moreInfoItem->setView(_moreInfoView);
    connect(_ui->_moreInfoButton, &QPushButton::clicked, this, &LVNewsItem::moreInfoButtonAction);
    _ui->_moreInfoButton->setVisible(!_newsItem->moreInfoURL().isEmpty());

    const QString headline = _newsItem->headlineText();
    _ui->_headlineTextField->setText(headline.isNull() ? QString() : headline);
    _ui->_titleTextField->setText(_newsItem->title());
    const QDateTime released = _newsItem->releaseDate();
    _ui->_dateTextField->setText(released.isValid() ? QLocale().toString(released.date(), QStringLiteral("d MMM yyyy"))
                                                    : QString());

    // Any height to spare goes below the text.
    static_cast<QBoxLayout*>(_headlineView->layout())->addStretch(1);
    // The row's height is set below; the wrapped label's rough minimum must not override it.
    _headlineView->layout()->setSizeConstraint(QLayout::SetNoConstraint);
    _headlineView->setMinimumSize(0, 0);
    // Tall enough for the headline as it wraps at the row's width, measured in the labels' own fonts.
    _headlineView->ensurePolished();
    _ui->_titleTextField->ensurePolished();
    _ui->_headlineTextField->ensurePolished();
    const QMargins margins = _headlineView->layout()->contentsMargins();
    const int textWidth = width - margins.left() - margins.right();
    const int titleHeight =
        qMax(QFontMetrics(_ui->_titleTextField->font()).height(), QFontMetrics(_ui->_dateTextField->font()).height());
    const int headlineHeight =
        QFontMetrics(_ui->_headlineTextField->font())
            .boundingRect(QRect(0, 0, textWidth, 10000), Qt::TextWordWrap, _ui->_headlineTextField->text())
            .height();
    const int textHeight = titleHeight + _headlineView->layout()->spacing() + headlineHeight;
    _headlineView->resize(width, textHeight + margins.top() + margins.bottom());
    _moreInfoView->resize(width, _moreInfoView->height());

    // The catalogue's number, kept to a height a view can have.
    const QVariant imageHeight = _newsItem->propertyForKey(QLatin1String(VMNewsItem::imageHeight));
    const double height = imageHeight.toDouble();
    if (imageHeight.isValid() && std::isfinite(height))
        _moreInfoView->resize(_moreInfoView->width(), int(qBound(0.0, height, 10000.0)));
}

QWidget* LVNewsItem::view()
{
    if (!_ui)
        loadView();
    return _headlineView;
}

QList<LVOutlineItem*> LVNewsItem::childItems()
{
    return {_moreInfoItem.get()};
}

bool LVNewsItem::shouldExpand()
{
    view();
    if (_ui->_newsInfoView->image().isNull() && !_newsImageURL.isEmpty()) {
        // The child stays empty when the fetch fails; the next expansion tries again.
        LVFetch::data(QUrl(_newsImageURL), this, [this](const LVFetch::Result& result) {
            const QImage image = result.succeeded ? QImage::fromData(result.data) : QImage();
            if (!image.isNull() && _ui)
                _ui->_newsInfoView->setImage(image);
        });
    }
    return true;
}

void LVNewsItem::requestToggle()
{
    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("expandLVNewsItem"),
                                                           QVariant::fromValue(static_cast<QObject*>(this)));
}

void LVNewsItem::moreInfoButtonAction()
{
    const QUrl url(_newsItem->moreInfoURL(), QUrl::StrictMode);
    if (_newsItem->moreInfoURL().isEmpty() || !url.isValid())
        return;
    Platform::workspace().openUrl(url);
}

QLabel* LVNewsItem::headlineTextField() const
{
    return _ui ? _ui->_headlineTextField : nullptr;
}

QWidget* LVNewsItem::moreInfoView() const
{
    return _moreInfoView;
}

LVNewsInfoView* LVNewsItem::newsInfoView() const
{
    return _ui ? _ui->_newsInfoView : nullptr;
}
