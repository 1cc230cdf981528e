#include "PlistFile.h"

#include "../../SafePlist.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

PlistFile::Node PlistFile::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    // read(max) would reserve the whole maximum for every file, however small.
    if (file.size() > 64 * 1024 * 1024)
        return nullptr;
    const QByteArray data = file.readAll();
    if (data.isEmpty())
        return nullptr;
    plist_t root = SafePlist::fromMemory(data.constData(), static_cast<uint32_t>(data.size()));
    return Node(root);
}

bool PlistFile::write(const QString& path, plist_t root, QString* error)
{
    const QByteArray data = PlistApi::toXml<QByteArray>(root);
    if (data.isEmpty()) {
        if (error)
            *error = QStringLiteral("could not encode the property list");
        return false;
    }

    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    return true;
}

QString PlistFile::string(plist_t dictionary, const char* key)
{
    if (!dictionary || plist_get_node_type(dictionary) != PLIST_DICT)
        return QString();
    plist_t value = plist_dict_get_item(dictionary, key);
    if (!value || plist_get_node_type(value) != PLIST_STRING)
        return QString();
    return SafePlist::stringText(value);
}
