#include "VMPropertyTable.h"

#include "foundation/VMLog.h"

void VMPropertyTable::logNilKey(const char* method, int line) const
{
    const QByteArray function = _ownerClassName + "::" + method;
    VMLogger::logMessage(VMLog::callSite(QStringLiteral("key = nil"), function.constData(), line));
}

void VMPropertyTable::setProperty(const QVariant& value, const QString& key)
{
    if (key.isNull()) {
        logNilKey("setProperty(const QVariant&, const QString&)", __LINE__);
        return;
    }
    if (!value.isValid())
        _properties.remove(key);
    else
        _properties.insert(key, value);
}

QVariant VMPropertyTable::propertyForKey(const QString& key) const
{
    if (key.isNull()) {
        logNilKey("propertyForKey(const QString&) const", __LINE__);
        return QVariant();
    }
    return _properties.value(key);
}
