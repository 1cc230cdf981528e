#pragma once

#include "PlistApi.h"

#include <QByteArrayView>
#include <QLatin1String>
#include <QString>

#include <algorithm>
#include <cstring>
#include <string>

// Reading libplist's trees without its assertions: libplist asserts (aborting the process) on text
// that holds a NUL byte when it is read through plist_get_string_val or, for a binary list's
// dictionary key, plist_dict_next_item. Every reader of property lists goes through these.
namespace SafePlist {

// Parses XML or binary data; null for anything that is not a property list. A binary list goes
// through its XML form, where a key ends at its NUL. The caller frees the result.
inline plist_t fromMemory(const char* data, uint32_t length)
{
    plist_t root = nullptr;
    if (!plist_is_binary(data, length)) {
        plist_from_xml(data, length, &root);
        return root;
    }
    plist_from_bin(data, length, &root);
    if (!root)
        return nullptr;
    const std::string xml = PlistApi::toXml<std::string>(root);
    plist_free(root);
    root = nullptr;
    if (!xml.empty())
        plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &root);
    return root;
}

// The UTF-8 bytes of a string node, in place (valid while the node lives): they end at the first
// NUL (the recorded length can run past it). Empty when the node holds none.
inline QByteArrayView stringBytes(plist_t node)
{
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    if (!text)
        return QByteArrayView("", 0);
    const size_t limit = static_cast<size_t>(std::min<uint64_t>(length, 0x7fffffff));
    return QByteArrayView(text, static_cast<qsizetype>(strnlen(text, limit)));
}

// The text of a string node, as stringBytes reads it.
inline QString stringText(plist_t node)
{
    const QByteArrayView bytes = stringBytes(node);
    if (bytes.isEmpty())
        return QString(QLatin1String(""));
    return QString::fromUtf8(bytes);
}

} // namespace SafePlist
