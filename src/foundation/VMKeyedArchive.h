#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// Keyed archives: a property list with "$archiver", "$objects" (the object table), "$top" (the
// root reference) and UID references between the objects. Dictionaries, arrays, strings, numbers,
// data and dates are understood; they come out as the Qt values VMPropertyList uses.
namespace VMKeyedArchive {

// Nesting deeper than this is refused.
constexpr int maxDepth = 64;
// Objects decoded per archive at most; shared references could otherwise multiply without end.
constexpr int maxDecodedObjects = 100000;

// The archive's root object. Nothing is trusted: a reference outside the object table, a cycle,
// too deep a nesting or an unknown shape gives an invalid QVariant and a reason in `errorString`.
// A root that is nil also gives an invalid QVariant, with an empty reason.
QVariant unarchivedObjectWithData(const QByteArray& data, QString* errorString = nullptr);

// The root dictionary; `ok` is false (and the map empty) when the archive holds none.
QVariantMap unarchivedDictionaryWithData(const QByteArray& data, bool* ok, QString* errorString = nullptr);

// A binary keyed archive of `object` (dictionaries with string keys, arrays, strings, integers,
// reals, booleans, data). Empty when the value holds something else.
QByteArray archivedDataWithRootObject(const QVariant& object);

} // namespace VMKeyedArchive
