#pragma once

#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

// Typed reads from one catalogue dictionary. A value of the wrong type stops the reading: that read
// and every later one leave their targets as they were, and `problem()` says what was wrong, so a
// record keeps what it had read before the bad value.
class VMCatalogueReader
{
public:
    explicit VMCatalogueReader(const QVariantMap& dict) : _dict(dict) {}

    bool ok() const { return _problem.isNull(); }
    QString problem() const { return _problem; }
    void fail(const QString& problem);

    bool contains(const QString& key) const { return ok() && _dict.contains(key); }

    // Absent: a null string.
    void readString(const QString& key, QString& out);
    // Booleans and integers take numbers or numeric text, as the catalogue's authors write either.
    void readBool(const QString& key, bool& out, bool absent);
    void readInteger(const QString& key, qint64& out, qint64 absent);
    // Absent: empty.
    void readDictionary(const QString& key, QVariantMap& out);
    void readArray(const QString& key, QVariantList& out);

    static QString typeName(const QVariant& value);
    static bool boolValue(const QVariant& value, bool* ok);
    static qint64 integerValue(const QVariant& value, bool* ok);

private:
    void wrongType(const QString& key, const QVariant& value, const char* expected);

    const QVariantMap _dict;
    QString _problem;
};
