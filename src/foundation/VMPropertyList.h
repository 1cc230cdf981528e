#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// Property lists (XML or binary) in and out of Qt values: dictionaries become QVariantMap,
// arrays QVariantList, strings QString, integers qint64, reals double, booleans bool, dates
// QDateTime (UTC) and data QByteArray.
namespace VMPropertyList {

// Parses XML or binary property-list bytes. Anything that is not a property list gives an
// invalid QVariant and, when asked for, a reason in `errorString`.
QVariant fromData(const QByteArray& data, QString* errorString = nullptr);

// Reads and parses a file; a missing or unreadable file is reported like bad content.
QVariant fromFile(const QString& path, QString* errorString = nullptr);

// XML property list of `value`; empty when the value holds a type a property list can't carry.
QByteArray toXmlData(const QVariant& value);
QByteArray toBinaryData(const QVariant& value);

} // namespace VMPropertyList
