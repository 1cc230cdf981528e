#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVariantMap>

// The free-form property table that catalogue records and collections carry beside their fields.
// Log lines name the owning class's method, as if each owner had written these itself.
class VMPropertyTable
{
public:
    // A null key logs "key = nil" and does nothing; an invalid value removes the key.
    void setProperty(const QVariant& value, const QString& key);
    QVariant propertyForKey(const QString& key) const;
    QVariantMap properties() const { return _properties; }

protected:
    explicit VMPropertyTable(const char* ownerClassName) : _ownerClassName(ownerClassName) {}
    ~VMPropertyTable() = default;

    QVariantMap _properties;

private:
    void logNilKey(const char* method, int line) const;

    QByteArray _ownerClassName;
};
