#include "VMCollection.h"

#include "catalogue/VMCatalogueReader.h"
#include "platform/Platform.h"

namespace {
QString notADictionary(const char* section, const QString& typeName)
{
    return QStringLiteral("%1 section is %2, not a dictionary").arg(QLatin1String(section), typeName);
}
} // namespace

VMCollectionBase::VMCollectionBase(const VMCollectionNames& names) : VMPropertyTable(names.className), _names(names) {}

QString VMCollectionBase::sectionProblem(const QVariant& section, const VMCollectionNames& names)
{
    if (section.typeId() == QMetaType::QVariantMap)
        return QString();
    return notADictionary(names.section, VMCatalogueReader::typeName(section));
}

QStringList VMCollectionBase::readSection(plist_t section, const EntryReader& readEntry)
{
    if (!VMCatalogueReader::isDictionary(section))
        return {notADictionary(_names.section, VMCatalogueReader::typeName(section))};
    VMCatalogueReader reader(section);
    const bool fallback = _names.fallbackArrayKey && !reader.contains(_names.arrayKey);
    const std::vector<plist_t> entries = reader.readArray(fallback ? _names.fallbackArrayKey : _names.arrayKey);
    // A bad entry ends the walk: what was built before it is kept, and nothing after it is read.
    for (plist_t entry : entries) {
        if (!VMCatalogueReader::isDictionary(entry)) {
            reader.fail(QStringLiteral("%1 entry is %2, not a dictionary")
                            .arg(QLatin1String(_names.entry), VMCatalogueReader::typeName(entry)));
            return reader.problems();
        }
        readEntry(entry, reader);
    }
    QVariantMap properties;
    reader.readDictionary("Properties", properties);
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        _properties.insert(it.key(), it.value());
    return reader.problems();
}

bool VMCollectionBase::isItemsKey(const QString& key) const
{
    if (key == QLatin1String(_names.itemsKey))
        return true;
    Platform::systemLog().write(QStringLiteral("setValue: key '%1' not recognized").arg(key));
    return false;
}
