#include "LVAlertPresenter.h"

#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPushButton>

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
        if (const auto action = buttons.at(i).action) {
            // A button with an action runs it and leaves the box up, however it is pressed (mouse,
            // keyboard, accessibility or click()): it no longer reaches the box's closing handler.
            QObject::disconnect(button, &QAbstractButton::clicked, box->findChild<QDialogButtonBox*>(), nullptr);
            QObject::connect(button, &QAbstractButton::clicked, box, action);
        }
        pushButtons.append(button);
        if (i == 0)
            box->setDefaultButton(button);
        // Escape closes the alert: it presses "Cancel", else the first button, never an action.
        if (!buttons.at(i).action && (!box->escapeButton() || buttons.at(i).title == QLatin1String("Cancel")))
            box->setEscapeButton(button);
    }
    QObject::connect(box, &QMessageBox::buttonClicked, box, [pushButtons, completion](QAbstractButton* clicked) {
        const int index = int(pushButtons.indexOf(static_cast<QPushButton*>(clicked)));
        if (completion)
            completion(LVAlert::alertFirstButtonReturn + qMax(index, 0));
    });
    box->open();
}
