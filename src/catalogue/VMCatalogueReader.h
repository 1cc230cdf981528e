#pragma once

#include "foundation/VMPropertyList.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <vector>

// Typed reads from one catalogue dictionary, straight from the parsed property list's nodes. A
// value of the wrong type loses that key only: its target is set as if the key were absent, the
// reads after it go on, and `problems()` says what was wrong.
class VMCatalogueReader
{
public:
    // `dict` is a dictionary node (or null: every key is absent).
    explicit VMCatalogueReader(plist_t dict);

    bool ok() const { return _problems.isEmpty(); }
    QStringList problems() const { return _problems; }
    void fail(const QString& problem) { _problems.append(problem); }

    bool contains(const char* key) const { return value(key) != nullptr; }
    // The node under `key`; null when absent.
    plist_t value(const char* key) const;

    // Absent: a null string.
    void readString(const char* key, QString& out);
    // Booleans and integers take numbers or numeric text, as the catalogue's authors write either.
    void readBool(const char* key, bool& out, bool absent);
    void readInteger(const char* key, qint64& out, qint64 absent);
    // Absent: empty.
    void readDictionary(const char* key, QVariantMap& out);
    // The array's elements; absent: none.
    std::vector<plist_t> readArray(const char* key);

    static bool isDictionary(plist_t node);
    static QString typeName(plist_t node);
    static QString typeName(const QVariant& value);
    static bool stringValue(plist_t node, QString* out);
    static bool boolValue(plist_t node, bool* ok);
    static qint64 integerValue(plist_t node, bool* ok);

private:
    void wrongType(const char* key, plist_t node, const char* expected);

    plist_t _dict;
    QStringList _problems;
};
