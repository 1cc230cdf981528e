#include "LVAlertPresenter.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>

namespace {
// A button with an action runs it instead of closing the box.
class ActionButtonFilter : public QObject
{
public:
    ActionButtonFilter(QPushButton* button, std::function<void()> action)
        : QObject(button), _button(button), _action(std::move(action))
    {}

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::MouseButtonRelease) {
            auto* mouse = static_cast<QMouseEvent*>(event);
            _button->setDown(false);
            if (_button->rect().contains(mouse->position().toPoint()))
                _action();
            return true;
        }
        if (event->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            if (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter) {
                _action();
                return true;
            }
        }
        return false;
    }

private:
    QPushButton* _button;
    std::function<void()> _action;
};
} // namespace

void LVAlertPresenter::present(const LVAlert& alert, QWidget* window, Completion completion)
{
    auto* box = new QMessageBox(window);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    box->setText(alert.messageText());
    box->setInformativeText(alert.informativeText());
    switch (alert.alertStyle()) {
    case LVAlert::Critical:
        box->setIcon(QMessageBox::Critical);
        break;
    case LVAlert::Informational:
        box->setIcon(QMessageBox::Information);
        break;
    case LVAlert::Warning:
        box->setIcon(QMessageBox::Warning);
        break;
    }
    if (!alert.iconName().isEmpty())
        box->setIconPixmap(QPixmap(alert.iconName()).scaled(64, 64, Qt::KeepAspectRatio, Qt::SmoothTransformation));

    QList<LVAlert::Button> buttons = alert.buttons();
    if (buttons.isEmpty())
        buttons.append(LVAlert::Button{QStringLiteral("OK"), {}});
    QList<QPushButton*> pushButtons;
    for (int i = 0; i < buttons.size(); ++i) {
        // The first button is the default; the others follow it in order, as on a Mac.
        const auto role = i == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole;
        QPushButton* button = box->addButton(buttons.at(i).title, role);
        if (buttons.at(i).action)
            button->installEventFilter(new ActionButtonFilter(button, buttons.at(i).action));
        pushButtons.append(button);
        if (i == 0)
            box->setDefaultButton(button);
    }
    QObject::connect(box, &QMessageBox::buttonClicked, box, [pushButtons, completion](QAbstractButton* clicked) {
        const int index = int(pushButtons.indexOf(static_cast<QPushButton*>(clicked)));
        if (completion)
            completion(LVAlert::alertFirstButtonReturn + qMax(index, 0));
    });
    box->open();
}
