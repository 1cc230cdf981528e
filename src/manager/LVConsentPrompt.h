#pragma once

#include <QString>

// Asks the user to allow an administrator action where the system has no password prompt of its
// own (an emulated system root). Answers with the authorization statuses: granted or cancelled.
namespace LVConsentPrompt {

// Puts the prompt in place for every later privileged action.
void install();

// Shows the prompt on the main thread (blocking the calling thread until answered).
int ask(const QString& right);

} // namespace LVConsentPrompt
