#pragma once

#include "foundation/VMError.h"

#include <QList>
#include <QString>
#include <functional>

// An alert the application raises: a message, an informative text, its buttons and an icon name.
// A button with an action runs it and leaves the alert open; the others close the alert and answer
// with their response code (the first button gives alertFirstButtonReturn, the next one more).
class LVAlert
{
public:
    static constexpr int alertFirstButtonReturn = 1000;
    static constexpr int alertSecondButtonReturn = 1001;
    static constexpr int alertThirdButtonReturn = 1002;

    enum Style { Warning, Informational, Critical };

    struct Button
    {
        QString title;
        std::function<void()> action;
    };

    LVAlert() = default;
    LVAlert(const QString& messageText, const QString& informativeText);

    // The alert for an error: its description as the message, its failure reason as the details.
    static LVAlert alertWithError(const VMError& error);

    // An alert with no text and no buttons stands for "no alert".
    bool isNull() const { return _messageText.isEmpty() && _informativeText.isEmpty() && _buttons.isEmpty(); }

    QString messageText() const { return _messageText; }
    void setMessageText(const QString& text) { _messageText = text; }
    QString informativeText() const { return _informativeText; }
    void setInformativeText(const QString& text) { _informativeText = text; }
    Style alertStyle() const { return _alertStyle; }
    void setAlertStyle(Style style) { _alertStyle = style; }
    // A resource name (":/icons/...") or empty for the application's icon.
    QString iconName() const { return _iconName; }
    void setIconName(const QString& name) { _iconName = name; }

    // Without buttons the alert shows one "OK".
    QList<Button> buttons() const { return _buttons; }
    void addButtonWithTitle(const QString& title, std::function<void()> action = {});
    QStringList buttonTitles() const;

private:
    QString _messageText;
    QString _informativeText;
    Style _alertStyle = Warning;
    QString _iconName;
    QList<Button> _buttons;
};
