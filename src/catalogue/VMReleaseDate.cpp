#include "VMReleaseDate.h"

#include <QTimeZone>

#include <string_view>

namespace {

// Digits only, at most four of them; -1 otherwise.
template <typename Char> int number(std::basic_string_view<Char> digits)
{
    if (digits.empty() || digits.size() > 4)
        return -1;
    int value = 0;
    for (Char c : digits) {
        if (c < Char('0') || c > Char('9'))
            return -1;
        value = value * 10 + (c - Char('0'));
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

// Parsed by hand: QDate::fromString offers no century for "yy" in Qt 6.4, and catalogues hold
// tens of thousands of these. UTF-8 and UTF-16 give the same day: only ASCII digits and dots count.
template <typename Char> QDate dayFrom(std::basic_string_view<Char> text)
{
    const size_t firstDot = text.find(Char('.'));
    if (firstDot == text.npos)
        return {};
    const size_t secondDot = text.find(Char('.'), firstDot + 1);
    if (secondDot == text.npos)
        return {};
    const auto yearText = text.substr(0, firstDot);
    int year = number(yearText);
    const int month = number(text.substr(firstDot + 1, secondDot - firstDot - 1));
    const int day = number(text.substr(secondDot + 1));
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
    return dayFrom(std::u16string_view(reinterpret_cast<const char16_t*>(string.utf16()), string.size()));
}

QDate VMReleaseDate::dayFromUtf8(QByteArrayView text)
{
    return dayFrom(std::string_view(text.data(), static_cast<size_t>(text.size())));
}

QString VMReleaseDate::description(const QDateTime& date)
{
    if (!date.isValid())
        return QStringLiteral("(null)");
    return date.toTimeZone(QTimeZone::utc()).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
}
