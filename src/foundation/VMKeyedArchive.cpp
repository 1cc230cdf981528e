#include "VMKeyedArchive.h"
#include "VMPropertyList.h"
#include "platform/PlistApi.h"

#include <QDateTime>
#include <QHash>
#include <QTimeZone>

#include <memory>
#include <optional>
#include <vector>

namespace {

// A reference: a UID, which VMPropertyList gives as an unsigned 64-bit number (every plain
// integer is a signed one), or its XML spelling, a dictionary of the one key "CF$UID" (libplist
// reads that back as a dictionary).
std::optional<quint64> referenceIndex(const QVariant& value)
{
    if (value.typeId() == QMetaType::ULongLong)
        return value.value<quint64>();
    if (value.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    const QVariantMap map = value.toMap();
    const QVariant index = map.value(QStringLiteral("CF$UID"));
    if (map.size() != 1 || index.typeId() != QMetaType::LongLong || index.toLongLong() < 0)
        return std::nullopt;
    return quint64(index.toLongLong());
}

// Received text that reaches the log: control characters are escaped, so that an archive cannot
// start a line of its own in the log.
QString printable(const QString& text)
{
    QString escaped;
    for (const QChar c : text) {
        if (c == u'\\')
            escaped += QStringLiteral("\\\\");
        else if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format ||
                 c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph)
            escaped += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            escaped += c;
    }
    return escaped;
}

class Decoder
{
public:
    explicit Decoder(const QVariantList& objects) : _objects(objects), _visiting(size_t(objects.size()), false) {}

    QVariant decodeReference(const QVariant& reference, int depth)
    {
        const std::optional<quint64> found = referenceIndex(reference);
        if (!found)
            return fail(QStringLiteral("An object is stored where a reference belongs."));
        const quint64 index = *found;
        if (index >= quint64(_objects.size()))
            return fail(QStringLiteral("Reference %1 lies outside the object table of %2 objects.")
                            .arg(index)
                            .arg(_objects.size()));
        if (depth > VMKeyedArchive::maxDepth)
            return fail(QStringLiteral("The archive is nested too deeply."));
        if (++_decoded > VMKeyedArchive::maxDecodedObjects)
            return fail(QStringLiteral("The archive holds too many objects."));
        if (_visiting[index])
            return fail(QStringLiteral("Object %1 refers back to itself.").arg(index));
        _visiting[index] = true;
        QVariant result = decodeObject(_objects.at(qsizetype(index)), depth);
        _visiting[index] = false;
        return result;
    }

    bool failed() const { return !_error.isNull(); }
    QString error() const { return _error; }

private:
    QVariant fail(const QString& why)
    {
        if (_error.isNull())
            _error = why;
        return {};
    }

    QString className(const QVariantMap& object)
    {
        const std::optional<quint64> index = referenceIndex(object.value(QStringLiteral("$class")));
        if (!index || *index >= quint64(_objects.size()))
            return QString();
        const QVariant classObject = _objects.at(qsizetype(*index));
        if (classObject.typeId() != QMetaType::QVariantMap)
            return QString();
        const QVariant name = classObject.toMap().value(QStringLiteral("$classname"));
        return name.typeId() == QMetaType::QString ? name.toString() : QString();
    }

    QVariantList decodeList(const QVariant& references, int depth)
    {
        QVariantList list;
        if (references.typeId() != QMetaType::QVariantList) {
            fail(QStringLiteral("A collection's members are not an array."));
            return list;
        }
        for (const QVariant& reference : references.toList()) {
            list.append(decodeReference(reference, depth + 1));
            if (failed())
                return {};
        }
        return list;
    }

    QVariant decodeObject(const QVariant& object, int depth)
    {
        switch (object.typeId()) {
        case QMetaType::QString:
            return object.toString() == QLatin1String("$null") ? QVariant() : object;
        case QMetaType::LongLong:
        case QMetaType::Double:
        case QMetaType::Bool:
        case QMetaType::QByteArray:
        case QMetaType::QDateTime:
            return object;
        case QMetaType::QVariantMap:
            break;
        default:
            return fail(QStringLiteral("An object of an unknown kind is in the object table."));
        }

        const QVariantMap map = object.toMap();
        const QString name = className(map);
        if (name.isNull())
            return fail(QStringLiteral("An object has no class."));
        const QString keysKey = QStringLiteral("NS.keys");
        const QString objectsKey = QStringLiteral("NS.objects");
        if (map.contains(keysKey)) {
            const QVariantList keys = decodeList(map.value(keysKey), depth);
            const QVariantList values = decodeList(map.value(objectsKey), depth);
            if (failed())
                return {};
            if (keys.size() != values.size())
                return fail(
                    QStringLiteral("A dictionary has %1 keys and %2 values.").arg(keys.size()).arg(values.size()));
            QVariantMap dictionary;
            for (qsizetype i = 0; i < keys.size(); ++i) {
                if (keys.at(i).typeId() != QMetaType::QString)
                    return fail(QStringLiteral("A dictionary key is not a string."));
                dictionary.insert(keys.at(i).toString(), values.at(i));
            }
            return dictionary;
        }
        if (map.contains(objectsKey)) {
            const QVariantList list = decodeList(map.value(objectsKey), depth);
            return failed() ? QVariant() : QVariant(list);
        }
        for (const char* key : {"NS.string", "NS.bytes", "NS.data"}) {
            const QVariant value = map.value(QLatin1String(key));
            if (value.typeId() == QMetaType::QString || value.typeId() == QMetaType::QByteArray)
                return value;
        }
        const QVariant time = map.value(QStringLiteral("NS.time"));
        if (time.typeId() == QMetaType::Double || time.typeId() == QMetaType::LongLong) {
            static const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
            return reference.addMSecs(qint64(time.toDouble() * 1000.0));
        }
        return fail(QStringLiteral("Objects of class %1 can't be read.").arg(printable(name)));
    }

    const QVariantList& _objects;
    std::vector<bool> _visiting;
    int _decoded = 0;
    QString _error;
};

using PlistPtr = PlistApi::Node;

class Encoder
{
public:
    Encoder() : _objects(plist_new_array()) { plist_array_append_item(_objects.get(), plist_new_string("$null")); }

    // The object's index in the table, or -1 when it can't be archived.
    qint64 encode(const QVariant& value, int depth)
    {
        if (depth > VMKeyedArchive::maxDepth)
            return -1;
        plist_t node = nullptr;
        switch (value.typeId()) {
        case QMetaType::Bool:
            node = plist_new_bool(value.toBool());
            break;
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            node = plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
            break;
        case QMetaType::Double:
            node = plist_new_real(value.toDouble());
            break;
        case QMetaType::QString:
            node = plist_new_string(value.toString().toUtf8().constData());
            break;
        case QMetaType::QByteArray: {
            const QByteArray bytes = value.toByteArray();
            PlistPtr object(plist_new_dict());
            plist_dict_set_item(object.get(), "NS.data", plist_new_data(bytes.constData(), uint64_t(bytes.size())));
            plist_dict_set_item(object.get(), "$class", plist_new_uid(uint64_t(classIndex("NSData", "NSObject"))));
            node = object.release();
            break;
        }
        case QMetaType::QStringList:
        case QMetaType::QVariantList: {
            PlistPtr references(plist_new_array());
            for (const QVariant& item : value.toList()) {
                const qint64 index = encode(item, depth + 1);
                if (index < 0)
                    return -1;
                plist_array_append_item(references.get(), plist_new_uid(uint64_t(index)));
            }
            PlistPtr object(plist_new_dict());
            plist_dict_set_item(object.get(), "NS.objects", references.release());
            plist_dict_set_item(object.get(), "$class", plist_new_uid(uint64_t(classIndex("NSArray", "NSObject"))));
            node = object.release();
            break;
        }
        case QMetaType::QVariantMap: {
            PlistPtr keys(plist_new_array());
            PlistPtr values(plist_new_array());
            const QVariantMap map = value.toMap();
            for (auto it = map.begin(); it != map.end(); ++it) {
                const qint64 key = encode(it.key(), depth + 1);
                const qint64 item = encode(it.value(), depth + 1);
                if (key < 0 || item < 0)
                    return -1;
                plist_array_append_item(keys.get(), plist_new_uid(uint64_t(key)));
                plist_array_append_item(values.get(), plist_new_uid(uint64_t(item)));
            }
            PlistPtr object(plist_new_dict());
            plist_dict_set_item(object.get(), "NS.keys", keys.release());
            plist_dict_set_item(object.get(), "NS.objects", values.release());
            plist_dict_set_item(object.get(), "$class",
                                plist_new_uid(uint64_t(classIndex("NSDictionary", "NSObject"))));
            node = object.release();
            break;
        }
        default:
            return -1;
        }
        return append(node);
    }

    QByteArray archive(qint64 rootIndex)
    {
        PlistPtr root(plist_new_dict());
        plist_dict_set_item(root.get(), "$version", plist_new_uint(100000));
        plist_dict_set_item(root.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
        plist_t top = plist_new_dict();
        plist_dict_set_item(top, "root", plist_new_uid(uint64_t(rootIndex)));
        plist_dict_set_item(root.get(), "$top", top);
        plist_dict_set_item(root.get(), "$objects", _objects.release());
        return PlistApi::toBinary<QByteArray>(root.get());
    }

private:
    qint64 append(plist_t node)
    {
        plist_array_append_item(_objects.get(), node);
        return qint64(plist_array_get_size(_objects.get())) - 1;
    }

    qint64 classIndex(const char* name, const char* superclass)
    {
        const auto known = _classes.constFind(QByteArray(name));
        if (known != _classes.cend())
            return *known;
        plist_t classes = plist_new_array();
        plist_array_append_item(classes, plist_new_string(name));
        plist_array_append_item(classes, plist_new_string(superclass));
        plist_t object = plist_new_dict();
        plist_dict_set_item(object, "$classname", plist_new_string(name));
        plist_dict_set_item(object, "$classes", classes);
        const qint64 index = append(object);
        _classes.insert(QByteArray(name), index);
        return index;
    }

    PlistPtr _objects;
    QHash<QByteArray, qint64> _classes;
};

} // namespace

namespace VMKeyedArchive {

QVariant unarchivedObjectWithData(const QByteArray& data, QString* errorString)
{
    auto fail = [errorString](const QString& why) {
        if (errorString)
            *errorString = why;
        return QVariant();
    };
    if (errorString)
        *errorString = QString();
    QString plistError;
    const QVariant plist = VMPropertyList::fromData(data, &plistError);
    if (plist.typeId() != QMetaType::QVariantMap)
        return fail(plistError.isEmpty() ? QStringLiteral("The archive is not a dictionary.") : plistError);
    const QVariantMap archive = plist.toMap();
    if (archive.value(QStringLiteral("$archiver")).typeId() != QMetaType::QString)
        return fail(QStringLiteral("The archive names no archiver."));
    const QVariant objects = archive.value(QStringLiteral("$objects"));
    if (objects.typeId() != QMetaType::QVariantList)
        return fail(QStringLiteral("The archive has no object table."));
    const QVariant top = archive.value(QStringLiteral("$top"));
    if (top.typeId() != QMetaType::QVariantMap || !top.toMap().contains(QStringLiteral("root")))
        return fail(QStringLiteral("The archive has no root object."));

    const QVariantList table = objects.toList();
    Decoder decoder(table);
    const QVariant root = decoder.decodeReference(top.toMap().value(QStringLiteral("root")), 0);
    if (decoder.failed())
        return fail(decoder.error());
    return root;
}

QVariantMap unarchivedDictionaryWithData(const QByteArray& data, bool* ok, QString* errorString)
{
    QString error;
    const QVariant root = unarchivedObjectWithData(data, &error);
    const bool isDictionary = root.typeId() == QMetaType::QVariantMap;
    if (!isDictionary && error.isEmpty())
        error = QStringLiteral("The archive's root object is not a dictionary.");
    if (ok)
        *ok = isDictionary;
    if (errorString)
        *errorString = isDictionary ? QString() : error;
    return isDictionary ? root.toMap() : QVariantMap();
}

QByteArray archivedDataWithRootObject(const QVariant& object)
{
    Encoder encoder;
    const qint64 root = encoder.encode(object, 0);
    return root < 0 ? QByteArray() : encoder.archive(root);
}

} // namespace VMKeyedArchive
