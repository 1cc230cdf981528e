#pragma once

#include <QWidget>
#include <memory>

namespace Ui {
class LVPreferences;
}
class QCheckBox;

// The preferences window. Its check boxes follow the stored values, also when they change
// elsewhere; the extended-logging box shows only while Option is held as the window opens.
class LVPreferencesWindow : public QWidget
{
    Q_OBJECT
public:
    explicit LVPreferencesWindow(QWidget* parent = nullptr);
    ~LVPreferencesWindow() override;

    void show();
    void hide();

    void showIconInMenuBarButtonAction(bool checked);
    void autoLaunchButtonAction(bool checked);
    void useExtendedLoggingButtonAction(bool checked);

    QCheckBox* showIconInMenuBarButton() const;
    QCheckBox* autoLaunchButton() const;
    QCheckBox* useExtendedLoggingButton() const;

private:
    void observeKey(const char* key, QCheckBox* box);

    std::unique_ptr<Ui::LVPreferences> _ui;
};
