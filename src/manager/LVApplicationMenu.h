#pragma once

#include <QObject>
#include <memory>

class QAction;
class QMenuBar;
class QWidget;

// About, Preferences… and Quit as a desktop expects them. On a Mac Qt puts them by their roles
// into the application menu of the menu bar, with ⌘, and ⌘Q; elsewhere that menu bar is never
// shown and the window carries the same actions, so their shortcuts work there too.
class LVApplicationMenu : public QObject
{
    Q_OBJECT

public:
    explicit LVApplicationMenu(QWidget* window, QObject* parent = nullptr);
    ~LVApplicationMenu() override;

    QMenuBar* menuBar() const { return _menuBar.get(); }
    QAction* aboutAction() const { return _aboutAction; }
    QAction* preferencesAction() const { return _preferencesAction; }
    QAction* quitAction() const { return _quitAction; }

signals:
    void aboutRequested();
    void preferencesRequested();
    void quitRequested();

private:
    // Without a parent: on a Mac that makes it the menu bar of the whole application.
    std::unique_ptr<QMenuBar> _menuBar;
    QAction* _aboutAction = nullptr;
    QAction* _preferencesAction = nullptr;
    QAction* _quitAction = nullptr;
};
