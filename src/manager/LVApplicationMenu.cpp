#include "LVApplicationMenu.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QWidget>

LVApplicationMenu::LVApplicationMenu(QWidget* window, QObject* parent)
    : QObject(parent), _menuBar(std::make_unique<QMenuBar>())
{
    QMenu* menu = _menuBar->addMenu(QStringLiteral("Lumivane Manager"));
    _aboutAction = menu->addAction(QStringLiteral("About Lumivane Manager"));
    _aboutAction->setMenuRole(QAction::AboutRole);
    _preferencesAction = menu->addAction(QStringLiteral("Preferences…"));
    _preferencesAction->setMenuRole(QAction::PreferencesRole);
    _preferencesAction->setShortcut(QKeySequence::Preferences);
    menu->addSeparator();
    _quitAction = menu->addAction(QStringLiteral("Quit Lumivane Manager"));
    _quitAction->setMenuRole(QAction::QuitRole);
    _quitAction->setShortcut(QKeySequence::Quit);

    connect(_aboutAction, &QAction::triggered, this, &LVApplicationMenu::aboutRequested);
    connect(_preferencesAction, &QAction::triggered, this, &LVApplicationMenu::preferencesRequested);
    connect(_quitAction, &QAction::triggered, this, &LVApplicationMenu::quitRequested);
    if (window)
        window->addActions({_aboutAction, _preferencesAction, _quitAction});
}

LVApplicationMenu::~LVApplicationMenu() = default;
