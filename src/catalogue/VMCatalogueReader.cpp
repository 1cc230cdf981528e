#include "VMCatalogueReader.h"

#include "platform/SafePlist.h"

#include <algorithm>
#include <cstring>

#include <cmath>
#include <limits>

namespace {

qsizetype skipSpaceAndSign(QStringView text, bool* negative)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    *negative = false;
    if (i < text.size() && (text.at(i) == QLatin1Char('+') || text.at(i) == QLatin1Char('-'))) {
        *negative = text.at(i) == QLatin1Char('-');
        ++i;
    }
    return i;
}

} // namespace

int VMCatalogueKeys::indexOfKeyNode(plist_t keyNode, int guess) const
{
    int low = 0;
    int high = _size - 1;
    // Catalogues are written with their keys sorted, so the key sought is most often at or a few
    // places after the guess (the one after the last key found).
    for (int place = std::max(guess, 0); place < std::min(guess + 3, _size); ++place) {
        const int order = plist_key_val_compare(keyNode, _names[place]);
        if (order == 0)
            return place;
        if (order < 0) {
            // Between the key before this place and this one: not one of ours.
            if (place > guess)
                return -1;
            high = place - 1;
            break;
        }
        low = place + 1;
    }
    while (low <= high) {
        const int middle = (low + high) / 2;
        const int order = plist_key_val_compare(keyNode, _names[middle]);
        if (order == 0)
            return middle;
        if (order < 0)
            high = middle - 1;
        else
            low = middle + 1;
    }
    return -1;
}

int VMCatalogueKeys::indexOf(const char* name) const
{
    const auto end = _names + _size;
    const auto found =
        std::lower_bound(_names, end, name, [](const char* a, const char* b) { return std::strcmp(a, b) < 0; });
    return found != end && std::strcmp(*found, name) == 0 ? static_cast<int>(found - _names) : -1;
}

VMCatalogueReader::VMCatalogueReader(plist_t dict) : _dict(isDictionary(dict) ? dict : nullptr) {}

VMCatalogueReader::VMCatalogueReader(plist_t dict, const VMCatalogueKeys& keys) : VMCatalogueReader(dict)
{
    _keys = &keys;
    if (!_dict)
        return;
    int guess = 0;
    PlistApi::forEachEntry(_dict, [this, &guess](plist_t key, plist_t value) {
        const int index = _keys->indexOfKeyNode(key, guess);
        if (index < 0)
            return;
        guess = index + 1;
        if (!_found[static_cast<size_t>(index)])
            _found[static_cast<size_t>(index)] = value;
    });
}

plist_t VMCatalogueReader::value(const char* key) const
{
    if (!_dict)
        return nullptr;
    if (_keys) {
        const int index = _keys->indexOf(key);
        if (index >= 0)
            return _found[static_cast<size_t>(index)];
    }
    return plist_dict_get_item(_dict, key);
}

plist_t VMCatalogueReader::value(VMCatalogueKey key) const
{
    if (key.keys == _keys && _keys)
        return _found[static_cast<size_t>(key.index)];
    return value(key.name);
}

bool VMCatalogueReader::isDictionary(plist_t node)
{
    return node && plist_get_node_type(node) == PLIST_DICT;
}

QString VMCatalogueReader::typeName(plist_t node)
{
    switch (node ? plist_get_node_type(node) : PLIST_NONE) {
    case PLIST_STRING:
        return QStringLiteral("a string");
    case PLIST_BOOLEAN:
        return QStringLiteral("a boolean");
    case PLIST_UINT:
    case PLIST_REAL:
        return QStringLiteral("a number");
    case PLIST_DICT:
        return QStringLiteral("a dictionary");
    case PLIST_ARRAY:
        return QStringLiteral("an array");
    case PLIST_DATA:
        return QStringLiteral("data");
    case PLIST_DATE:
        return QStringLiteral("a date");
    case PLIST_NONE:
        return node ? QStringLiteral("a value of an unknown type") : QStringLiteral("nothing");
    default:
        return QStringLiteral("a value of an unknown type");
    }
}

QString VMCatalogueReader::typeName(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return QStringLiteral("a string");
    case QMetaType::Bool:
        return QStringLiteral("a boolean");
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Int:
    case QMetaType::Double:
        return QStringLiteral("a number");
    case QMetaType::QVariantMap:
        return QStringLiteral("a dictionary");
    case QMetaType::QVariantList:
        return QStringLiteral("an array");
    case QMetaType::QByteArray:
        return QStringLiteral("data");
    case QMetaType::QDateTime:
        return QStringLiteral("a date");
    default:
        return value.isValid() ? QStringLiteral("a value of an unknown type") : QStringLiteral("nothing");
    }
}

bool VMCatalogueReader::stringValue(plist_t node, QString* out)
{
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return false;
    *out = SafePlist::stringText(node);
    return true;
}

bool VMCatalogueReader::boolValue(plist_t node, bool* ok)
{
    *ok = true;
    switch (node ? plist_get_node_type(node) : PLIST_NONE) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return value != 0;
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value != 0.0;
    }
    case PLIST_STRING: {
        // Text is true when its first significant character is Y, T or a digit 1-9.
        QString text;
        stringValue(node, &text);
        bool negative = false;
        qsizetype i = skipSpaceAndSign(text, &negative);
        while (i < text.size() && text.at(i) == QLatin1Char('0'))
            ++i;
        if (i >= text.size())
            return false;
        const QChar c = text.at(i);
        return c == QLatin1Char('Y') || c == QLatin1Char('y') || c == QLatin1Char('T') || c == QLatin1Char('t') ||
               (c >= QLatin1Char('1') && c <= QLatin1Char('9'));
    }
    default:
        *ok = false;
        return false;
    }
}

qint64 VMCatalogueReader::integerValue(plist_t node, bool* ok)
{
    *ok = true;
    switch (node ? plist_get_node_type(node) : PLIST_NONE) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value ? 1 : 0;
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return static_cast<qint64>(value);
    }
    case PLIST_REAL: {
        double d = 0;
        plist_get_real_val(node, &d);
        if (std::isnan(d))
            return 0;
        if (d >= 9.2e18)
            return std::numeric_limits<qint64>::max();
        if (d <= -9.2e18)
            return std::numeric_limits<qint64>::min();
        return static_cast<qint64>(d);
    }
    case PLIST_STRING: {
        // The leading integer of the text, 0 when there is none.
        QString text;
        stringValue(node, &text);
        bool negative = false;
        qsizetype i = skipSpaceAndSign(text, &negative);
        qint64 result = 0;
        for (; i < text.size(); ++i) {
            const QChar c = text.at(i);
            if (c < QLatin1Char('0') || c > QLatin1Char('9'))
                break;
            const int digit = c.unicode() - '0';
            if (result > (std::numeric_limits<qint64>::max() - digit) / 10)
                return negative ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
            result = result * 10 + digit;
        }
        return negative ? -result : result;
    }
    default:
        *ok = false;
        return 0;
    }
}

void VMCatalogueReader::wrongType(const char* key, plist_t node, const char* expected)
{
    fail(QStringLiteral("Value for key \"%1\" is %2, not %3")
             .arg(QString::fromUtf8(key), typeName(node), QLatin1String(expected)));
}

void VMCatalogueReader::readString(const char* key, plist_t node, QString& out)
{
    out = QString();
    if (node && !stringValue(node, &out))
        wrongType(key, node, "a string");
}

std::optional<QByteArrayView> VMCatalogueReader::readStringBytes(VMCatalogueKey key)
{
    const plist_t node = value(key);
    if (!node)
        return std::nullopt;
    if (plist_get_node_type(node) != PLIST_STRING) {
        wrongType(key.name, node, "a string");
        return std::nullopt;
    }
    return SafePlist::stringBytes(node);
}

void VMCatalogueReader::readBool(const char* key, plist_t node, bool& out, bool absent)
{
    out = absent;
    if (!node)
        return;
    bool valid = false;
    const bool result = boolValue(node, &valid);
    if (!valid)
        return wrongType(key, node, "a boolean");
    out = result;
}

void VMCatalogueReader::readInteger(const char* key, plist_t node, qint64& out, qint64 absent)
{
    out = absent;
    if (!node)
        return;
    bool valid = false;
    const qint64 result = integerValue(node, &valid);
    if (!valid)
        return wrongType(key, node, "a number");
    out = result;
}

bool VMCatalogueKeyTexts::text(plist_t keyNode, QString* out)
{
    for (const auto& [utf8, text] : _kept) {
        if (plist_key_val_compare(keyNode, utf8.constData()) == 0) {
            *out = text;
            return true;
        }
    }
    char* key = nullptr;
    plist_get_key_val(keyNode, &key);
    const PlistApi::Memory owned(key);
    if (!key)
        return false;
    *out = QString::fromUtf8(key);
    if (_kept.size() < kMaxKept)
        _kept.emplace_back(QByteArray(key), *out);
    return true;
}

void VMCatalogueReader::readDictionary(VMCatalogueKey key, VMCatalogueEntries& out, VMCatalogueKeyTexts& keyTexts)
{
    const plist_t node = value(key);
    out = VMCatalogueEntries();
    if (!node)
        return;
    if (!isDictionary(node))
        return wrongType(key.name, node, "a dictionary");
    bool nested = false;
    out.reserve(plist_dict_get_size(node));
    PlistApi::forEachEntry(node, [&](plist_t keyNode, plist_t value) {
        const plist_type type = plist_get_node_type(value);
        nested = nested || type == PLIST_DICT || type == PLIST_ARRAY;
        QString text;
        if (!nested && keyTexts.text(keyNode, &text))
            out.emplace_back(std::move(text), VMPropertyList::nodeToVariant(value));
    });
    // Nested containers go the general way, which also bounds their depth.
    if (nested)
        out = toEntries(VMPropertyList::nodeToVariant(node).toMap());
}

QVariantMap VMCatalogueReader::toMap(const VMCatalogueEntries& entries)
{
    QVariantMap map;
    for (const auto& [key, value] : entries)
        map.insert(key, value);
    return map;
}

VMCatalogueEntries VMCatalogueReader::toEntries(const QVariantMap& map)
{
    VMCatalogueEntries entries;
    entries.reserve(map.size());
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        entries.emplace_back(it.key(), it.value());
    return entries;
}

void VMCatalogueReader::readDictionary(const char* key, plist_t node, QVariantMap& out)
{
    out = QVariantMap();
    if (!node)
        return;
    if (!isDictionary(node))
        return wrongType(key, node, "a dictionary");
    out = VMPropertyList::nodeToVariant(node).toMap();
}

std::vector<plist_t> VMCatalogueReader::readArray(const char* key, plist_t node)
{
    std::vector<plist_t> items;
    if (!node)
        return items;
    if (plist_get_node_type(node) != PLIST_ARRAY) {
        wrongType(key, node, "an array");
        return items;
    }
    const uint32_t count = plist_array_get_size(node);
    items.reserve(count);
    for (uint32_t i = 0; i < count; ++i)
        items.push_back(plist_array_get_item(node, i));
    return items;
}
