#include "VMProductItem.h"

#include "catalogue/VMCatalogueReader.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

VMProductItem::~VMProductItem() = default;

bool VMProductItem::setValue(const QVariant& value, const QString& key)
{
    if (key == QLatin1String("productID")) {
        _productID = value.isValid() ? value.toString() : QString();
        return true;
    }
    logUnrecognizedKey(key);
    return false;
}

void VMProductItem::readBase(VMCatalogueReader& reader)
{
    reader.readString("Product ID", _productID);
    QVariantMap properties;
    reader.readDictionary("Properties", properties);
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        _properties.insert(it.key(), it.value());
}

void VMProductItem::logUnrecognizedKey(const QString& key)
{
    Platform::systemLog().write(QStringLiteral("setValue: key '%1' not recognized").arg(key));
}
