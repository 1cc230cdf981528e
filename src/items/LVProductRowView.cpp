#include "LVProductRowView.h"
#include "ui_LVSingleInstallItem.h"

#include "LVInstallItem.h"

#include <QElapsedTimer>
#include <QMenu>
#include <QTimer>

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

    _ui->_statusButton->setAccessibleName(QObject::tr("Status image"));
    _ui->_statusTextField->setAccessibleDescription(QObject::tr("Install status"));
    _ui->_downloadProgressBar->setAccessibleName(QObject::tr("Download progress"));
    _ui->_menuButton->setToolTip(QObject::tr("More actions"));
    _ui->_moreInfoButton->setAccessibleName(QObject::tr("More Info"));
    _ui->_buyButton->setAccessibleName(QObject::tr("Buy"));
    _ui->_headlineView->setAccessibleDescription(QObject::tr("Product"));

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
