#pragma once

#include <QString>

#include <algorithm>
#include <cstring>
#include <plist/plist.h>

// The text of a string node, read in place. plist_get_string_val asserts (aborting the process) on
// XML text that holds a NUL byte; such text ends here at its first NUL.
inline QString plistStringText(plist_t node)
{
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    if (!text)
        return QString();
    const size_t limit = static_cast<size_t>(std::min<uint64_t>(length, 0x7fffffff));
    return QString::fromUtf8(text, static_cast<qsizetype>(strnlen(text, limit)));
}
