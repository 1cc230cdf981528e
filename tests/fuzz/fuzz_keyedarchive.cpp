// Any bytes offered as a keyed archive, as the command channel receives them: decode, and read
// the command the way the application does. Nothing may crash, leak or hang, whatever the
// references say (cycles, indices outside the table, wrong kinds of object).
#include "foundation/VMKeyedArchive.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    bool ok = false;
    const QVariantMap dictionary = VMKeyedArchive::unarchivedDictionaryWithData(bytes, &ok);
    (void)dictionary.value(QStringLiteral("LVManagerCommand")).toLongLong();
    // What decodes must also survive being written again.
    if (ok)
        (void)VMKeyedArchive::archivedDataWithRootObject(dictionary);
    return 0;
}
