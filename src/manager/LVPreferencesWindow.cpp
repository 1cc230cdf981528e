#include "LVPreferencesWindow.h"
#include "ui_LVPreferences.h"

#include "LVAppearance.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMNotificationCenter.h"
#include "platform/Platform.h"

#include <QGuiApplication>
#include <QScreen>

LVPreferencesWindow::LVPreferencesWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::WindowStaysOnTopHint), _ui(std::make_unique<Ui::LVPreferences>())
{
    _ui->setupUi(this);
    LVAppearance::applyDark(this);
    QFont title = _ui->_titleLabel->font();
    title.setBold(true);
    _ui->_titleLabel->setFont(title);
    _ui->_versionLabel->setText(
        tr("%1 %2").arg(QCoreApplication::applicationName(), QCoreApplication::applicationVersion()));
    _ui->_versionLabel->setForegroundRole(QPalette::PlaceholderText);

    // Stored only; nothing in the application acts on them any more.
    _ui->_showIconInMenuBarButton->setVisible(false);
    _ui->_autoLaunchButton->setVisible(false);

    auto* preferences = LVPreferences::sharedPreferences();
    _ui->_showIconInMenuBarButton->setChecked(
        preferences->propertyForKey(QLatin1String(LVPreferences::LVPrefsShowIconInMenubar)).toBool());
    _ui->_autoLaunchButton->setChecked(
        preferences->propertyForKey(QLatin1String(LVPreferences::LVPrefsAutoLaunch)).toBool());
    _ui->_useExtendedLoggingButton->setChecked(preferences->usesExtendedLogging());

    connect(_ui->_showIconInMenuBarButton, &QCheckBox::clicked, this,
            &LVPreferencesWindow::showIconInMenuBarButtonAction);
    connect(_ui->_autoLaunchButton, &QCheckBox::clicked, this, &LVPreferencesWindow::autoLaunchButtonAction);
    connect(_ui->_useExtendedLoggingButton, &QCheckBox::clicked, this,
            &LVPreferencesWindow::useExtendedLoggingButtonAction);

    observeKey(LVPreferences::LVPrefsShowIconInMenubar, _ui->_showIconInMenuBarButton);
    observeKey(LVPreferences::LVPrefsAutoLaunch, _ui->_autoLaunchButton);
    observeKey(LVPreferences::LVPrefsUseExtendedLogging, _ui->_useExtendedLoggingButton);
}

LVPreferencesWindow::~LVPreferencesWindow() = default;

void LVPreferencesWindow::observeKey(const char* key, QCheckBox* box)
{
    VMNotificationCenter::defaultCenter().addObserver(
        box, QLatin1String(key), [box](const VMNotification& note) { box->setChecked(note.object.toInt() != 0); });
}

void LVPreferencesWindow::show()
{
    const bool optionHeld = Platform::systemInfo().heldModifierKeys().testFlag(SystemInfo::Option);
    _ui->_useExtendedLoggingButton->setVisible(optionHeld);
    adjustSize();
    if (!isVisible()) {
        if (const QScreen* screen = QGuiApplication::primaryScreen())
            move(screen->availableGeometry().center() - rect().center());
    }
    QWidget::show();
    raise();
    activateWindow();
}

void LVPreferencesWindow::hide()
{
    QWidget::hide();
}

void LVPreferencesWindow::showIconInMenuBarButtonAction(bool checked)
{
    LVPreferences::sharedPreferences()->setDefaultProperty(checked,
                                                           QLatin1String(LVPreferences::LVPrefsShowIconInMenubar));
}

void LVPreferencesWindow::autoLaunchButtonAction(bool checked)
{
    LVPreferences::sharedPreferences()->setDefaultProperty(checked, QLatin1String(LVPreferences::LVPrefsAutoLaunch));
}

void LVPreferencesWindow::useExtendedLoggingButtonAction(bool checked)
{
    LVPreferences::sharedPreferences()->useExtendedLogging(checked);
}

QCheckBox* LVPreferencesWindow::showIconInMenuBarButton() const
{
    return _ui->_showIconInMenuBarButton;
}
QCheckBox* LVPreferencesWindow::autoLaunchButton() const
{
    return _ui->_autoLaunchButton;
}
QCheckBox* LVPreferencesWindow::useExtendedLoggingButton() const
{
    return _ui->_useExtendedLoggingButton;
}
