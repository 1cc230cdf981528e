#pragma once

#include "foundation/VMPropertyList.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <array>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

class VMCatalogueKeys;

// One key of a record, resolved when compiled to its place in the record's VMCatalogueKeys.
struct VMCatalogueKey
{
    const VMCatalogueKeys* keys;
    int index;
    const char* name;
};

// The keys one kind of record reads, in byte order (libplist's strcmp). A reader made with them
// walks its dictionary once instead of searching it for every key; the order is checked when
// compiled, as is every name looked up with [].
class VMCatalogueKeys
{
public:
    static constexpr int kMaxKeys = 24;

    template <size_t N> consteval explicit VMCatalogueKeys(const char* const (&names)[N]) : _names(names), _size(N)
    {
        static_assert(N <= kMaxKeys, "too many keys for one record");
        for (size_t i = 1; i < N; ++i) {
            if (!(std::string_view(names[i - 1]) < std::string_view(names[i])))
                throw "record keys must be unique and in byte order";
        }
    }

    consteval VMCatalogueKey operator[](std::string_view name) const
    {
        for (int i = 0; i < _size; ++i) {
            if (name == _names[i])
                return {this, i, _names[i]};
        }
        throw "not one of the record's keys";
    }

    int size() const { return _size; }
    const char* name(int index) const { return _names[index]; }
    // The place of the key node's text, tried first at `guess`; -1 when the record does not read it.
    int indexOfKeyNode(plist_t keyNode, int guess) const;
    int indexOf(const char* name) const;

private:
    const char* const* _names;
    int _size;
};

// A dictionary's entries in the order read: one allocation where a QVariantMap makes one per entry.
// As a map, a later repeated key wins.
using VMCatalogueEntries = QList<std::pair<QString, QVariant>>;

// Key texts met before in a run of alike dictionaries (the versions of one product): a key seen
// again becomes the same shared QString instead of a fresh copy.
class VMCatalogueKeyTexts
{
public:
    // False when libplist gives the key no text.
    bool text(plist_t keyNode, QString* out);

private:
    static constexpr size_t kMaxKept = 8;
    std::vector<std::pair<QByteArray, QString>> _kept;
};

// Typed reads from one catalogue dictionary, straight from the parsed property list's nodes. A
// value of the wrong type loses that key only: its target is set as if the key were absent, the
// reads after it go on, and `problems()` says what was wrong.
class VMCatalogueReader
{
public:
    // `dict` is a dictionary node (or null: every key is absent).
    explicit VMCatalogueReader(plist_t dict);
    // The same, with `keys` found in one walk of the dictionary (the first of a repeated key wins, as
    // in a lookup). `keys` must outlive the reader.
    VMCatalogueReader(plist_t dict, const VMCatalogueKeys& keys);

    bool ok() const { return _problems.isEmpty(); }
    QStringList problems() const { return _problems; }
    void fail(const QString& problem) { _problems.append(problem); }

    bool contains(const char* key) const { return value(key) != nullptr; }
    // The node under `key`; null when absent.
    plist_t value(const char* key) const;
    plist_t value(VMCatalogueKey key) const;

    // Absent: a null string.
    void readString(const char* key, QString& out) { readString(key, value(key), out); }
    void readString(VMCatalogueKey key, QString& out) { readString(key.name, value(key), out); }
    // The string's UTF-8 bytes in place (valid while the tree lives), for text that is only parsed;
    // nothing when absent or (a problem, as in readString) not a string.
    std::optional<QByteArrayView> readStringBytes(VMCatalogueKey key);
    // Booleans and integers take numbers or numeric text, as the catalogue's authors write either.
    void readBool(const char* key, bool& out, bool absent) { readBool(key, value(key), out, absent); }
    void readBool(VMCatalogueKey key, bool& out, bool absent) { readBool(key.name, value(key), out, absent); }
    void readInteger(const char* key, qint64& out, qint64 absent) { readInteger(key, value(key), out, absent); }
    void readInteger(VMCatalogueKey key, qint64& out, qint64 absent) { readInteger(key.name, value(key), out, absent); }
    // Absent: empty.
    void readDictionary(const char* key, QVariantMap& out) { readDictionary(key, value(key), out); }
    void readDictionary(VMCatalogueKey key, QVariantMap& out) { readDictionary(key.name, value(key), out); }
    // The same as entries, with the keys' texts shared through `keyTexts`.
    void readDictionary(VMCatalogueKey key, VMCatalogueEntries& out, VMCatalogueKeyTexts& keyTexts);
    static QVariantMap toMap(const VMCatalogueEntries& entries);
    static VMCatalogueEntries toEntries(const QVariantMap& map);
    // The array's elements; absent: none.
    std::vector<plist_t> readArray(const char* key) { return readArray(key, value(key)); }
    std::vector<plist_t> readArray(VMCatalogueKey key) { return readArray(key.name, value(key)); }

    static bool isDictionary(plist_t node);
    static QString typeName(plist_t node);
    static QString typeName(const QVariant& value);
    static bool stringValue(plist_t node, QString* out);
    static bool boolValue(plist_t node, bool* ok);
    static qint64 integerValue(plist_t node, bool* ok);

private:
    void wrongType(const char* key, plist_t node, const char* expected);
    void readString(const char* key, plist_t node, QString& out);
    void readBool(const char* key, plist_t node, bool& out, bool absent);
    void readInteger(const char* key, plist_t node, qint64& out, qint64 absent);
    void readDictionary(const char* key, plist_t node, QVariantMap& out);
    std::vector<plist_t> readArray(const char* key, plist_t node);

    plist_t _dict;
    const VMCatalogueKeys* _keys = nullptr;
    std::array<plist_t, VMCatalogueKeys::kMaxKeys> _found{};
    QStringList _problems;
};
