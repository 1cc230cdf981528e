#pragma once

#include <QString>

// Files that must not outlive a run that is stopped by SIGTERM, SIGINT or SIGHUP (partial
// downloads): once the handlers are installed, such a signal removes every registered file, then
// ends the process as the signal would have.
namespace InterruptCleanup {

// Installs the handlers; for programs that run without a window.
void install();

// Registers a file; the answer is what to pass to remove(), or -1 when no room is left.
int add(const QString& path);
void remove(int slot);

} // namespace InterruptCleanup
