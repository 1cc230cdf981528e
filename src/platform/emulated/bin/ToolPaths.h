#pragma once

#include <QString>

// Where the stand-in tools find the Mac's "/".
class ToolPaths
{
public:
    // LV_SYSTEM_ROOT, or the same default folder the application uses.
    static QString systemRoot();
    // A Mac path ("/var/db/receipts") inside `root`.
    static QString inRoot(const QString& root, const QString& macPath);
};
