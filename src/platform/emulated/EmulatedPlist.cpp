#include "EmulatedPlist.h"

#include "platform/SafePlist.h"

#include <QFile>

namespace EmulatedPlist {

QVariantMap readStrings(const QString& path)
{
    QVariantMap values;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return values;
    // read(max) would reserve the whole maximum for every file, however small.
    if (file.size() > 16 * 1024 * 1024)
        return values;
    const QByteArray data = file.readAll();
    plist_t root = SafePlist::fromMemory(data.constData(), static_cast<uint32_t>(data.size()));
    if (!root)
        return values;
    if (plist_get_node_type(root) == PLIST_DICT) {
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(root, &it);
        for (; it;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(root, it, &key, &value);
            if (!value) {
                PlistApi::freeMemory(key);
                break;
            }
            if (key && plist_get_node_type(value) == PLIST_STRING) {
                values.insert(QString::fromUtf8(key), SafePlist::stringText(value));
            }
            PlistApi::freeMemory(key);
        }
        PlistApi::freeMemory(it);
    }
    plist_free(root);
    return values;
}

} // namespace EmulatedPlist
