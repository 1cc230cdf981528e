#pragma once

#include <QStringList>

// The application without a window: list, check, install, update and uninstall from a terminal or
// a management script. Exit statuses are stable so that scripts can rely on them.
class LVCommandLine
{
public:
    enum ExitStatus {
        Success = 0,      // done; for --check: everything installed is current
        ActionFailed = 1, // some install, update or uninstall failed
        UsageError = 2,   // bad arguments, unknown product ID or version
        CatalogueUnavailable = 3,
        Locked = 4,           // another copy is installing or uninstalling
        UpdatesAvailable = 5, // --check only
    };

    // Whether the arguments ask for the command line rather than the window.
    static bool isCommand(const QStringList& arguments);
    // Runs the command; a QCoreApplication must exist. Returns the exit status.
    static int run(const QStringList& arguments);
};
