#pragma once

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cstring>
#include <plist/plist.h>

// libplist asserts (aborting the process) on text that holds a NUL byte when it is read through
// plist_get_string_val or, for a binary list's dictionary key, plist_dict_next_item. These read
// such lists safely.

// Parses XML or binary data. A binary list goes through its XML form, where such keys end at
// their NUL. Null for anything that is not a property list; the caller frees the result.
inline plist_t safePlistFromMemory(const QByteArray& data)
{
    plist_t root = nullptr;
    plist_from_memory(data.constData(), static_cast<uint32_t>(data.size()), &root);
    if (!root || !data.startsWith("bplist"))
        return root;
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(root, &xml, &length);
    plist_free(root);
    root = nullptr;
    if (xml)
        plist_from_xml(xml, length, &root);
    plist_to_xml_free(xml);
    return root;
}

// The text of a string node, read in place; it ends at its first NUL.
inline QString plistStringText(plist_t node)
{
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    if (!text)
        return QString();
    const size_t limit = static_cast<size_t>(std::min<uint64_t>(length, 0x7fffffff));
    return QString::fromUtf8(text, static_cast<qsizetype>(strnlen(text, limit)));
}
