#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QString>

// Release dates as the catalogue writes them: "YY.MM.dd", midnight local time.
class VMReleaseDate
{
public:
    VMReleaseDate() = delete;

    // Two-digit years land in 2000-2099 (QDate would put them in the 1900s). Anything that is not
    // three dot-separated numbers forming a real date gives a null QDateTime.
    static QDateTime fromString(const QString& string);
    // fromString in two steps, for a reader that keeps the day and makes the QDateTime only when
    // asked: fromString(s) == atMidnight(dayFromString(s)). The zone is the one the first date read
    // in this process met.
    static QDate dayFromString(const QString& string);
    // The same from the text's UTF-8 bytes.
    static QDate dayFromUtf8(QByteArrayView text);
    static QDateTime atMidnight(QDate day);

    // How a date reads in the log: "2024-03-15 00:00:00 +0000"; "(null)" for no date.
    static QString description(const QDateTime& date);
};
