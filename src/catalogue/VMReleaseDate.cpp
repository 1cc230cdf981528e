#include "VMReleaseDate.h"

#include <QTimeZone>

namespace {

// Digits only, at most four of them; -1 otherwise.
int number(QStringView digits)
{
    if (digits.isEmpty() || digits.size() > 4)
        return -1;
    int value = 0;
    for (QChar c : digits) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return -1;
        value = value * 10 + (c.unicode() - '0');
    }
    return value;
}

// Looked up once: a local-time QDateTime re-reads the zone file on every construction, which
// dominated loading a large catalogue.
const QTimeZone& zone()
{
    static const QTimeZone systemZone = QTimeZone::systemTimeZone();
    return systemZone;
}

} // namespace

QDateTime VMReleaseDate::fromString(const QString& string)
{
    return atMidnight(dayFromString(string));
}

QDateTime VMReleaseDate::atMidnight(QDate day)
{
    if (!day.isValid())
        return {};
    return QDateTime(day, QTime(0, 0), zone());
}

QDate VMReleaseDate::dayFromString(const QString& string)
{
    // Parsed by hand: QDate::fromString offers no century for "yy" in Qt 6.4, and catalogues hold
    // tens of thousands of these.
    const QStringView text(string);
    const qsizetype firstDot = text.indexOf(QLatin1Char('.'));
    if (firstDot < 0)
        return {};
    const qsizetype secondDot = text.indexOf(QLatin1Char('.'), firstDot + 1);
    if (secondDot < 0)
        return {};
    const QStringView yearText = text.left(firstDot);
    int year = number(yearText);
    const int month = number(text.mid(firstDot + 1, secondDot - firstDot - 1));
    const int day = number(text.mid(secondDot + 1));
    if (year < 0 || month < 0 || day < 0)
        return {};
    if (yearText.size() == 2)
        year += 2000;
    const QDate date(year, month, day);
    if (!date.isValid() || year == 0)
        return {};
    // The zone is fixed when the first date is read, as when each date became a QDateTime at once.
    zone();
    return date;
}

QString VMReleaseDate::description(const QDateTime& date)
{
    if (!date.isValid())
        return QStringLiteral("(null)");
    return date.toTimeZone(QTimeZone::utc()).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
}
