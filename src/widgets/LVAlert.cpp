#include "LVAlert.h"

LVAlert::LVAlert(const QString& messageText, const QString& informativeText)
    : _messageText(messageText), _informativeText(informativeText)
{}

LVAlert LVAlert::alertWithError(const VMError& error)
{
    LVAlert alert(error.localizedDescription(), error.localizedFailureReason());
    alert.setAlertStyle(Critical);
    alert.addButtonWithTitle(QStringLiteral("OK"));
    return alert;
}

void LVAlert::addButtonWithTitle(const QString& title, std::function<void()> action)
{
    _buttons.append(Button{title, std::move(action)});
}

QStringList LVAlert::buttonTitles() const
{
    QStringList titles;
    for (const Button& button : _buttons)
        titles.append(button.title);
    return titles;
}
