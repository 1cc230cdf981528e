#include "LVAppcast.h"

#include <QXmlStreamReader>

namespace LVAppcast {

QList<SelfUpdateItem> itemsWithData(const QByteArray& xml, QString* errorString)
{
    QList<SelfUpdateItem> items;
    // Prefixed names ("sparkle:version") are matched as written; feeds do not always declare them.
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    SelfUpdateItem item;
    bool inItem = false;
    while (!reader.atEnd()) {
        reader.readNext();
        const QStringView name = reader.qualifiedName();
        if (reader.isStartElement()) {
            if (name == u"item") {
                item = SelfUpdateItem();
                inItem = true;
            } else if (!inItem) {
                continue;
            } else if (name == u"title") {
                item.title = reader.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
            } else if (name == u"description") {
                item.itemDescription = reader.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
            } else if (name == u"sparkle:releaseNotesLink") {
                item.releaseNotesURL = QUrl(reader.readElementText(QXmlStreamReader::SkipChildElements).trimmed());
            } else if (name == u"sparkle:version") {
                item.versionString = reader.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
            } else if (name == u"sparkle:shortVersionString") {
                item.displayVersionString = reader.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
            } else if (name == u"enclosure") {
                const QXmlStreamAttributes attributes = reader.attributes();
                item.fileURL = QUrl(attributes.value(QLatin1String("url")).toString());
                item.contentLength = attributes.value(QLatin1String("length")).toLongLong();
                item.edSignature = attributes.value(QLatin1String("sparkle:edSignature")).toLatin1();
                // The enclosure's own attributes, where older feeds keep the versions.
                const QString version = attributes.value(QLatin1String("sparkle:version")).toString();
                if (!version.isEmpty())
                    item.versionString = version;
                const QString shortVersion = attributes.value(QLatin1String("sparkle:shortVersionString")).toString();
                if (!shortVersion.isEmpty())
                    item.displayVersionString = shortVersion;
            }
        } else if (reader.isEndElement() && name == u"item") {
            inItem = false;
            if (item.fileURL.isValid() && !item.fileURL.isEmpty())
                items.append(item);
        }
    }
    if (reader.hasError()) {
        if (errorString)
            *errorString = reader.errorString();
        return {};
    }
    if (errorString)
        errorString->clear();
    return items;
}

} // namespace LVAppcast
