#include "VMCollection.h"

#include "catalogue/VMCatalogueReader.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLogger.h"
#include "platform/Platform.h"

#include <algorithm>
#include <vector>

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

QStringList VMCollectionBase::readSection(plist_t section, const EntryReader& readEntry, QList<VMNodePtr>* items)
{
    if (!VMCatalogueReader::isDictionary(section))
        return {notADictionary(_names.section, VMCatalogueReader::typeName(section))};
    VMCatalogueReader reader(section);
    const bool fallback = _names.fallbackArrayKey && !reader.contains(_names.arrayKey);
    const std::vector<plist_t> entries = reader.readArray(fallback ? _names.fallbackArrayKey : _names.arrayKey);
    // A bad entry ends the walk: what was built before it is kept, and nothing after it is read.
    const auto bad = std::find_if_not(entries.begin(), entries.end(), VMCatalogueReader::isDictionary);
    const size_t count = static_cast<size_t>(bad - entries.begin());

    // The preferences' settings object is not shared across threads, so it is read here once.
    const bool extendedLogging = LVPreferences::sharedPreferences()->usesExtendedLogging();
    // Small pieces, taken in turn, keep the threads busy to the end.
    constexpr size_t kEntriesPerPiece = 64;
    const int pieces = static_cast<int>(std::max<size_t>((count + kEntriesPerPiece - 1) / kEntriesPerPiece, 1));
    struct Piece
    {
        QList<VMNodePtr> items;
        QStringList problems;
        VMLogger::HeldLines lines;
    };
    std::vector<Piece> built(static_cast<size_t>(pieces));
    VMDispatch::performConcurrently(pieces, [&](int index) {
        Piece& piece = built[static_cast<size_t>(index)];
        const VMLogger::Hold hold(&piece.lines);
        const size_t end = count * static_cast<size_t>(index + 1) / static_cast<size_t>(pieces);
        for (size_t i = count * static_cast<size_t>(index) / static_cast<size_t>(pieces); i < end; ++i) {
            if (VMNodePtr item = readEntry(entries[i], extendedLogging, piece.problems))
                piece.items.append(std::move(item));
        }
    });
    for (const Piece& piece : built) {
        VMLogger::logHeld(piece.lines);
        items->append(piece.items);
        for (const QString& problem : piece.problems)
            reader.fail(problem);
    }

    if (bad != entries.end()) {
        reader.fail(QStringLiteral("%1 entry is %2, not a dictionary")
                        .arg(QLatin1String(_names.entry), VMCatalogueReader::typeName(*bad)));
        return reader.problems();
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
