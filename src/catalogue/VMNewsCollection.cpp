#include "VMNewsCollection.h"

bool VMNewsCollection::isNewsItemCurrent(const VMNewsItem& item, const QDateTime& now)
{
    const QDateTime released = item.releaseDate();
    const qint64 showDays = item.showDays();
    if (!released.isValid() || showDays < 1 || !now.isValid())
        return false;
    // Compared in whole days since the release rather than by adding showDays × 86400 seconds to
    // the date, which overflows for the large values a catalogue may hold.
    const qint64 secondsSinceRelease = released.secsTo(now);
    if (secondsSinceRelease < 0)
        return true;
    return secondsSinceRelease / 86400 < showDays;
}
