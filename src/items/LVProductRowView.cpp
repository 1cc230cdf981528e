#include "LVProductRowView.h"
#include "ui_LVSingleInstallItem.h"

#include "LVInstallItem.h"

#include "LVProductDescription.h"
#include "LVStatusImages.h"

#include <QElapsedTimer>
#include <QMenu>
#include <QPainter>
#include <QTimer>
#include <cmath>

namespace {
QIcon statusImage(const char* name)
{
    return LVStatusImages::named(QLatin1String(name));
}
} // namespace

LVProductRowView::LVProductRowView()
    : _ui(std::make_unique<Ui::LVSingleInstallItem>()), _panel(std::make_unique<QWidget>())
{
    _ui->setupUi(_panel.get());
    // The list places the headline and the details as two rows. They stay in the hidden panel until
    // then: each move to another parent styles the whole view again.
    const int width = _panel->width();
    _headline = _ui->_headlineView;
    _details = _ui->_moreInfoView;
    _headline->resize(width, _headline->minimumHeight());
    _details->resize(width, 76);

    _ui->_statusButton->setAccessibleName(tr("Status image"));
    _ui->_statusTextField->setAccessibleDescription(tr("Install status"));
    _ui->_downloadProgressBar->setAccessibleName(tr("Download progress"));
    _ui->_downloadProgressBar->setValue(0);
    _ui->_downloadProgressBar->hide();
    _ui->_menuButton->setToolTip(tr("More actions"));
    _ui->_moreInfoButton->setAccessibleName(tr("More Info"));
    _ui->_buyButton->setAccessibleName(tr("Buy"));
    _ui->_headlineView->setAccessibleDescription(tr("Product"));

    // The pop-up menu is filled by the row each time it opens.
    _menu = new QMenu(_ui->_menuButton);
    _ui->_menuButton->setMenu(_menu);
    // A click opens the menu at once; unlike an instant pop-up this also lets the accessibility
    // interface press the button and open the menu.
    QObject::connect(_ui->_menuButton, &QToolButton::clicked, _ui->_menuButton, &QToolButton::showMenu);
    // Qt hides the menu before triggering the entry; an entry chosen through the accessibility
    // interface would leave it open otherwise.
    QObject::connect(_menu, &QMenu::triggered, _menu, &QMenu::close);
}

LVProductRowView::~LVProductRowView()
{
    delete _headline;
    delete _details;
}

bool LVProductRowView::isDetailsListed() const
{
    return _details && _details->parentWidget() && _details->parentWidget() != _panel.get();
}

void LVProductRowView::nameFor(const QString& title)
{
    _headline->setAccessibleName(title);
    _details->setAccessibleName(tr("%1 details").arg(title));
    _ui->_titleField->setAccessibleName(title);
    _ui->_productIconImageView->setAccessibleName(tr("%1 icon").arg(title));
    _ui->_menuButton->setAccessibleName(tr("Actions for %1").arg(title));
    _ui->_descriptionTextView->setAccessibleName(tr("Description of %1").arg(title));
    _menu->setAccessibleName(tr("Actions for %1").arg(title));
}

void LVProductRowView::showTitle(const QString& html)
{
    _ui->_titleField->setAttributedStringValue(html);
    _ui->_titleField->setMinimumHeight(html.contains(QLatin1String("<br>")) ? 32 : 16);
}

void LVProductRowView::showIcon(const QImage& image, const QString& title)
{
    QLabel* iconView = _ui->_productIconImageView;
    const qreal ratio = iconView->devicePixelRatioF();
    QPixmap pixmap(iconView->size() * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF bounds(QPointF(0, 0), QSizeF(iconView->size()));
    if (!image.isNull()) {
        const QImage scaled = image.scaled(iconView->size() * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QSizeF size = QSizeF(scaled.size()) / ratio;
        painter.drawImage(
            QRectF(QPointF((bounds.width() - size.width()) / 2, (bounds.height() - size.height()) / 2), size), scaled);
    } else {
        // Until the icon arrives: the product's initial on a tile. One font for every row: it is
        // looked up once.
        static const QFont font = [] {
            QFont initial(QStringLiteral("Helvetica"));
            initial.setPixelSize(20);
            initial.setBold(true);
            return initial;
        }();
        painter.setFont(font);
        painter.setPen(QColor(0xd1, 0xd1, 0xd6));
        painter.drawText(bounds, Qt::AlignCenter, title.left(1).toUpper());
    }
    painter.end();
    iconView->setPixmap(pixmap);
}

void LVProductRowView::showStatus(const LVProductRowState& state)
{
    QLabel* statusText = _ui->_statusTextField;
    QLabel* statusIcon = _ui->_statusButton;
    QToolButton* button = _ui->_downloadButton;
    QProgressBar* progress = _ui->_downloadProgressBar;
    const auto setStatus = [&](const QString& text, const char* image) {
        statusText->setText(text);
        statusText->show();
        statusIcon->setPixmap(statusImage(image).pixmap(QSize(12, 12), statusIcon->devicePixelRatioF()));
        statusIcon->show();
    };
    const auto offerDownload = [&] {
        button->setIcon(statusImage("NSTouchBarDownloadTemplate"));
        button->setToolTip(tr("Download & Install"));
        button->setAccessibleName(tr("Download & Install"));
        button->setAccessibleDescription(state.refusal);
        button->setVisible(true);
        button->setEnabled(state.refusal.isEmpty());
        progress->hide();
    };
    const auto showStop = [&](bool enabled) {
        button->setIcon(statusImage("NSStopProgressFreestandingTemplate"));
        button->setToolTip(tr("Cancel Download"));
        button->setAccessibleName(tr("Cancel Download"));
        button->setAccessibleDescription(state.refusal);
        button->setVisible(true);
        button->setEnabled(enabled && state.refusal.isEmpty());
    };
    switch (state.status) {
    case VMInstallStatus::NotInstalled:
        setStatus(tr("Not yet installed"), "NSStatusNone");
        offerDownload();
        break;
    case VMInstallStatus::LatestInstalled:
        setStatus(tr("Latest version installed"), "NSStatusAvailable");
        button->hide();
        progress->hide();
        break;
    case VMInstallStatus::UpdateAvailable:
    case VMInstallStatus::BundlePartlyInstalled:
        setStatus(tr("Update available"), "NSStatusPartiallyAvailable");
        offerDownload();
        break;
    case VMInstallStatus::Downloading:
        statusText->hide();
        statusIcon->hide();
        showStop(true);
        progress->show();
        showProgress(state.progress);
        showProgressDescription(state.progressDescription);
        break;
    case VMInstallStatus::Installing:
    case VMInstallStatus::WaitingForBundle:
        statusText->setText(tr("Installing..."));
        statusText->show();
        statusIcon->hide();
        showStop(false);
        progress->hide();
        progress->setValue(0);
        break;
    default:
        break;
    }
    if (state.status != VMInstallStatus::Downloading) {
        progress->setToolTip(QString());
        progress->setAccessibleDescription(QString());
    }
}

void LVProductRowView::showProgress(double fraction)
{
    QProgressBar* progress = _ui->_downloadProgressBar;
    progress->setValue(qRound(qBound(0.0, fraction, 1.0) * progress->maximum()));
}

void LVProductRowView::showProgressDescription(const QString& description)
{
    _ui->_downloadProgressBar->setToolTip(description);
    _ui->_downloadProgressBar->setAccessibleDescription(description);
}

bool LVProductRowView::showDetails(const VMSingleProductItem& product, const QString& installedVersion)
{
    QTextDocument* document = _ui->_descriptionTextView->document();
    LVProductDescription::write(document, product, installedVersion);

    // As high as the text at the row's width, within bounds; the buttons' line below it. Measured
    // on a copy: the text view lays its own document out at the width it has, which it gets only
    // once it is shown.
    const QMargins margins = _details->layout()->contentsMargins();
    const int textWidth = qMax(100, _details->width() - margins.left() - margins.right());
    const std::unique_ptr<QTextDocument> measured(document->clone());
    measured->setTextWidth(textWidth);
    const bool empty = document->isEmpty();
    const int used = int(std::ceil(measured->size().height()));
    const int height = empty ? 40 : qMin(used, 280);
    _ui->_descriptionTextView->setFixedHeight(height);
    _ui->_moreInfoButton->setEnabled(!product.productInfoURL().isEmpty());
    _ui->_buyButton->setEnabled(!product.productBuyURL().isEmpty());
    if (_details->height() == height + 36)
        return false;
    _details->resize(_details->width(), height + 36);
    return true;
}

namespace {
// About two pages' worth covers paging either way; more would only hold memory.
constexpr size_t keptSpares = 48;
constexpr size_t preparedSpares = 24;
} // namespace

LVProductRowViews::LVProductRowViews() = default;

LVProductRowViews::~LVProductRowViews() = default;

std::unique_ptr<LVProductRowView> LVProductRowViews::lend()
{
    if (!_idle) {
        _idle = std::make_unique<QTimer>();
        _idle->setSingleShot(true);
        QObject::connect(_idle.get(), &QTimer::timeout, [this] { makeSparesWhenIdle(); });
        _idle->start(0);
    }
    if (_spare.empty())
        return std::make_unique<LVProductRowView>();
    std::unique_ptr<LVProductRowView> view = std::move(_spare.back());
    _spare.pop_back();
    return view;
}

void LVProductRowViews::giveBack(std::unique_ptr<LVProductRowView> view)
{
    if (view && view->headline() && view->details() && _spare.size() < keptSpares)
        _spare.push_back(std::move(view));
}

void LVProductRowViews::makeSparesWhenIdle()
{
    // A couple of milliseconds at a time, so that whatever the window does meanwhile stays smooth.
    QElapsedTimer clock;
    clock.start();
    while (_spare.size() < preparedSpares && clock.nsecsElapsed() < 3'000'000)
        _spare.push_back(std::make_unique<LVProductRowView>());
    if (_spare.size() < preparedSpares)
        _idle->start(0);
}
