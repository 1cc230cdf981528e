#include "VMPropertyList.h"

#include "VMDispatch.h"
#include "platform/PlistApi.h"
#include "platform/SafePlist.h"

#include <QDateTime>
#include <QFile>
#include <QTimeZone>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

namespace {

constexpr int kMaxDepth = 512;

using PlistPtr = PlistApi::Node;

QVariant toVariant(plist_t node, int depth)
{
    if (!node || depth > kMaxDepth)
        return {};
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return bool(value);
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return static_cast<qint64>(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING:
        return SafePlist::stringText(node);
    case PLIST_KEY: {
        char* value = nullptr;
        plist_get_key_val(node, &value);
        QString text = value ? QString::fromUtf8(value) : QString(QLatin1String(""));
        PlistApi::freeMemory(value);
        return text;
    }
    case PLIST_DATA: {
        char* value = nullptr;
        uint64_t length = 0;
        plist_get_data_val(node, &value, &length);
        QByteArray bytes(value, static_cast<qsizetype>(length));
        PlistApi::freeMemory(value);
        return bytes;
    }
    case PLIST_DATE:
        return QDateTime::fromSecsSinceEpoch(PlistApi::dateValue(node), QTimeZone::utc());
    case PLIST_UID: {
        uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return QVariant::fromValue<quint64>(value);
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t count = plist_array_get_size(node);
        list.reserve(count);
        for (uint32_t i = 0; i < count; ++i)
            list.append(toVariant(plist_array_get_item(node, i), depth + 1));
        return list;
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        if (!it)
            return map;
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, it, &key, &value);
            if (!value) {
                PlistApi::freeMemory(key);
                break;
            }
            if (key)
                // Property lists usually keep their keys sorted; the hint makes that case linear.
                map.insert(map.cend(), QString::fromUtf8(key), toVariant(value, depth + 1));
            PlistApi::freeMemory(key);
        }
        PlistApi::freeMemory(it);
        return map;
    }
    default:
        return {};
    }
}

plist_t fromVariant(const QVariant& value, int depth)
{
    if (depth > kMaxDepth)
        return nullptr;
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
    case QMetaType::Double:
    case QMetaType::Float:
        return plist_new_real(value.toDouble());
    case QMetaType::QString:
        return plist_new_string(value.toString().toUtf8().constData());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), static_cast<uint64_t>(bytes.size()));
    }
    case QMetaType::QDateTime:
        return PlistApi::newDate(value.toDateTime().toSecsSinceEpoch());
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        plist_t array = plist_new_array();
        for (const QVariant& item : value.toList()) {
            plist_t child = fromVariant(item, depth + 1);
            if (!child) {
                plist_free(array);
                return nullptr;
            }
            plist_array_append_item(array, child);
        }
        return array;
    }
    case QMetaType::QVariantMap: {
        plist_t dict = plist_new_dict();
        const QVariantMap map = value.toMap();
        for (auto it = map.begin(); it != map.end(); ++it) {
            plist_t child = fromVariant(it.value(), depth + 1);
            if (!child) {
                plist_free(dict);
                return nullptr;
            }
            plist_dict_set_item(dict, it.key().toUtf8().constData(), child);
        }
        return dict;
    }
    default:
        return nullptr;
    }
}

} // namespace

namespace VMPropertyList {

Tree::~Tree()
{
    if (_root)
        plist_free(_root);
}

void Tree::freeInBackground(Tree&& tree)
{
    plist_t root = tree._root;
    tree._root = nullptr;
    if (root)
        VMDispatch::performInBackground([root] { plist_free(root); });
}

Tree& Tree::operator=(Tree&& other) noexcept
{
    if (this != &other) {
        if (_root)
            plist_free(_root);
        _root = other._root;
        other._root = nullptr;
    }
    return *this;
}

Tree treeFromData(const QByteArray& data, QString* errorString)
{
    auto fail = [errorString](const QString& why) {
        if (errorString)
            *errorString = why;
        return Tree();
    };
    if (data.isEmpty())
        return fail(QStringLiteral("The data is empty."));
    if (data.size() > std::numeric_limits<int32_t>::max())
        return fail(QStringLiteral("The data is too large for a property list."));

    plist_t root = SafePlist::fromMemory(data.constData(), static_cast<uint32_t>(data.size()));
    if (!root)
        return fail(QStringLiteral("The data couldn't be read because it isn't in the correct format."));
    return Tree(root);
}

Tree treeFromVariant(const QVariant& value)
{
    return Tree(fromVariant(value, 0));
}

QVariant nodeToVariant(plist_t node)
{
    return toVariant(node, 0);
}

QVariant fromData(const QByteArray& data, QString* errorString)
{
    const Tree tree = treeFromData(data, errorString);
    if (!tree.root())
        return QVariant();
    QVariant result = toVariant(tree.root(), 0);
    if (!result.isValid() && errorString)
        *errorString = QStringLiteral("The property list holds nothing that can be read.");
    return result;
}

QVariant fromFile(const QString& path, QString* errorString)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (errorString)
            *errorString = QStringLiteral("The file \"%1\" couldn't be opened: %2").arg(path, file.errorString());
        return {};
    }
    return fromData(file.readAll(), errorString);
}

QByteArray toXmlData(const QVariant& value)
{
    PlistPtr root(fromVariant(value, 0));
    if (!root)
        return {};
    return PlistApi::toXml<QByteArray>(root.get());
}

QByteArray toBinaryData(const QVariant& value)
{
    PlistPtr root(fromVariant(value, 0));
    if (!root)
        return {};
    return PlistApi::toBinary<QByteArray>(root.get());
}

} // namespace VMPropertyList
