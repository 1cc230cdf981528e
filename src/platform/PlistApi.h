#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>

// libplist as every supported version offers it, from Debian 12's 2.2 to 2.7: 2.3 removed the
// plist_to_*_free calls, 2.7 deprecated the dates counted from 2001. The build tells which of today's
// calls the library it found lacks (LV_PLIST_NO_MEM_FREE, LV_PLIST_NO_UNIX_DATE); every user of
// libplist includes this header instead of <plist/plist.h>.
namespace PlistApi {

// Frees what libplist allocated for its caller: XML or binary output, keys, data, iterators.
inline void freeMemory(void* memory)
{
#ifndef LV_PLIST_NO_MEM_FREE
    plist_mem_free(memory);
#else
    std::free(memory);
#endif
}

struct MemoryFree
{
    void operator()(char* memory) const { freeMemory(memory); }
};
using Memory = std::unique_ptr<char, MemoryFree>;

struct NodeFree
{
    void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeFree>;

// Visits a dictionary's entries in order as (key node, value node), without copying the keys (a
// copied key costs an allocation, and libplist asserts on one that holds a NUL byte).
template <typename Visit> void forEachEntry(plist_t dict, Visit visit)
{
    plist_dict_iter it = nullptr;
    plist_dict_new_iter(dict, &it);
    if (!it)
        return;
    for (;;) {
        plist_t value = nullptr;
        plist_dict_next_item(dict, it, nullptr, &value);
        if (!value)
            break;
        visit(plist_dict_item_get_key(value), value);
    }
    freeMemory(it);
}

// Seconds between 1970-01-01 and the Mac's reference date, 2001-01-01 (UTC).
constexpr int64_t kMacEpochOffset = 978307200;

// A date node for whole seconds since 1970 (XML keeps no more).
inline plist_t newDate(int64_t unixSeconds)
{
#ifndef LV_PLIST_NO_UNIX_DATE
    return plist_new_unix_date(unixSeconds);
#else
    return plist_new_date(static_cast<int32_t>(unixSeconds - kMacEpochOffset), 0);
#endif
}

// A date node's whole seconds since 1970.
inline int64_t dateValue(plist_t node)
{
#ifndef LV_PLIST_NO_UNIX_DATE
    int64_t seconds = 0;
    plist_get_unix_date_val(node, &seconds);
    return seconds;
#else
    int32_t seconds = 0;
    int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return int64_t(seconds) + kMacEpochOffset;
#endif
}

// What `write` (plist_to_xml or plist_to_bin) makes of a tree; empty when libplist gives none.
template <typename Bytes, typename Write> Bytes written(plist_t root, Write write)
{
    char* data = nullptr;
    uint32_t length = 0;
    write(root, &data, &length);
    const Memory owned(data);
    return data ? Bytes(data, length) : Bytes();
}

// The XML (or binary) form of a tree; empty when libplist gives none.
template <typename Bytes> Bytes toXml(plist_t root)
{
    return written<Bytes>(root, plist_to_xml);
}

template <typename Bytes> Bytes toBinary(plist_t root)
{
    return written<Bytes>(root, plist_to_bin);
}

} // namespace PlistApi
