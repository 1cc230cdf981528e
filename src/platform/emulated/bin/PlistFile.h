#pragma once

#include "../../PlistApi.h"

#include <QString>

// Property-list files for the stand-in tools, on libplist (XML or binary in, XML out).
class PlistFile
{
public:
    using Node = PlistApi::Node;

    // The file's root node, or null when it is missing or no property list.
    static Node read(const QString& path);
    // Writes `root` as XML, replacing the file only once the new one is complete.
    static bool write(const QString& path, plist_t root, QString* error);

    // A string value of a dictionary; a null string when absent or not a string.
    static QString string(plist_t dictionary, const char* key);
};
