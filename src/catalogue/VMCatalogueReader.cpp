#include "VMCatalogueReader.h"

#include <cmath>
#include <limits>

namespace {

qsizetype skipSpaceAndSign(QStringView text, bool* negative)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    *negative = false;
    if (i < text.size() && (text.at(i) == QLatin1Char('+') || text.at(i) == QLatin1Char('-'))) {
        *negative = text.at(i) == QLatin1Char('-');
        ++i;
    }
    return i;
}

} // namespace

void VMCatalogueReader::fail(const QString& problem)
{
    if (ok())
        _problem = problem;
}

QString VMCatalogueReader::typeName(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return QStringLiteral("a string");
    case QMetaType::Bool:
        return QStringLiteral("a boolean");
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Int:
    case QMetaType::Double:
        return QStringLiteral("a number");
    case QMetaType::QVariantMap:
        return QStringLiteral("a dictionary");
    case QMetaType::QVariantList:
        return QStringLiteral("an array");
    case QMetaType::QByteArray:
        return QStringLiteral("data");
    case QMetaType::QDateTime:
        return QStringLiteral("a date");
    default:
        return value.isValid() ? QStringLiteral("a value of an unknown type") : QStringLiteral("nothing");
    }
}

bool VMCatalogueReader::boolValue(const QVariant& value, bool* ok)
{
    *ok = true;
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Int:
        return value.toLongLong() != 0;
    case QMetaType::Double:
        return value.toDouble() != 0.0;
    case QMetaType::QString: {
        // Text is true when its first significant character is Y, T or a digit 1-9.
        const QString text = value.toString();
        bool negative = false;
        qsizetype i = skipSpaceAndSign(text, &negative);
        while (i < text.size() && text.at(i) == QLatin1Char('0'))
            ++i;
        if (i >= text.size())
            return false;
        const QChar c = text.at(i);
        return c == QLatin1Char('Y') || c == QLatin1Char('y') || c == QLatin1Char('T') || c == QLatin1Char('t') ||
               (c >= QLatin1Char('1') && c <= QLatin1Char('9'));
    }
    default:
        *ok = false;
        return false;
    }
}

qint64 VMCatalogueReader::integerValue(const QVariant& value, bool* ok)
{
    *ok = true;
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? 1 : 0;
    case QMetaType::LongLong:
    case QMetaType::Int:
        return value.toLongLong();
    case QMetaType::ULongLong:
        return static_cast<qint64>(value.toULongLong());
    case QMetaType::Double: {
        const double d = value.toDouble();
        if (std::isnan(d))
            return 0;
        if (d >= 9.2e18)
            return std::numeric_limits<qint64>::max();
        if (d <= -9.2e18)
            return std::numeric_limits<qint64>::min();
        return static_cast<qint64>(d);
    }
    case QMetaType::QString: {
        // The leading integer of the text, 0 when there is none.
        const QString text = value.toString();
        bool negative = false;
        qsizetype i = skipSpaceAndSign(text, &negative);
        qint64 result = 0;
        for (; i < text.size(); ++i) {
            const QChar c = text.at(i);
            if (c < QLatin1Char('0') || c > QLatin1Char('9'))
                break;
            const int digit = c.unicode() - '0';
            if (result > (std::numeric_limits<qint64>::max() - digit) / 10)
                return negative ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
            result = result * 10 + digit;
        }
        return negative ? -result : result;
    }
    default:
        *ok = false;
        return 0;
    }
}

void VMCatalogueReader::wrongType(const QString& key, const QVariant& value, const char* expected)
{
    fail(QStringLiteral("Value for key \"%1\" is %2, not %3").arg(key, typeName(value), QLatin1String(expected)));
}

void VMCatalogueReader::readString(const QString& key, QString& out)
{
    if (!ok())
        return;
    const auto it = _dict.constFind(key);
    if (it == _dict.constEnd()) {
        out = QString();
        return;
    }
    if (it->typeId() != QMetaType::QString)
        return wrongType(key, *it, "a string");
    out = it->toString();
}

void VMCatalogueReader::readBool(const QString& key, bool& out, bool absent)
{
    if (!ok())
        return;
    const auto it = _dict.constFind(key);
    if (it == _dict.constEnd()) {
        out = absent;
        return;
    }
    bool valid = false;
    const bool value = boolValue(*it, &valid);
    if (!valid)
        return wrongType(key, *it, "a boolean");
    out = value;
}

void VMCatalogueReader::readInteger(const QString& key, qint64& out, qint64 absent)
{
    if (!ok())
        return;
    const auto it = _dict.constFind(key);
    if (it == _dict.constEnd()) {
        out = absent;
        return;
    }
    bool valid = false;
    const qint64 value = integerValue(*it, &valid);
    if (!valid)
        return wrongType(key, *it, "a number");
    out = value;
}

void VMCatalogueReader::readDictionary(const QString& key, QVariantMap& out)
{
    if (!ok())
        return;
    const auto it = _dict.constFind(key);
    if (it == _dict.constEnd()) {
        out = QVariantMap();
        return;
    }
    if (it->typeId() != QMetaType::QVariantMap)
        return wrongType(key, *it, "a dictionary");
    out = it->toMap();
}

void VMCatalogueReader::readArray(const QString& key, QVariantList& out)
{
    if (!ok())
        return;
    const auto it = _dict.constFind(key);
    if (it == _dict.constEnd()) {
        out = QVariantList();
        return;
    }
    if (it->typeId() != QMetaType::QVariantList)
        return wrongType(key, *it, "an array");
    out = it->toList();
}
