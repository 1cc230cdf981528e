#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

// The plug-in registry that `pluginkit` keeps in <root>/var/db/pluginkit/registry.plist: one
// record per registered plug-in bundle path.
class PluginRegistry
{
public:
    struct Plugin
    {
        QString identifier;
        QString version;
        QString path;
        QString uuid;
        QDateTime registered;
    };

    explicit PluginRegistry(const QString& file);
    static QString defaultFile();

    // Registers the bundle at `bundlePath` (its Contents/Info.plist names it); registering the
    // same path again refreshes the record and keeps its UUID.
    bool add(const QString& bundlePath, QString* error);
    // Forgets the bundle registered at `bundlePath`; false when there was none.
    bool remove(const QString& bundlePath, QString* error);
    // The records for `identifier` (every record when it is empty), in registration order.
    QList<Plugin> match(const QString& identifier) const;

    // The listing lines: "     id(version)" and, verbose, that plus tab, UUID, tab, date, tab, path.
    static QString line(const Plugin& plugin, bool verbose);
    // The text as the Mac's tool writes it: ASCII as is, a backslash doubled, anything else as \uXXXX
    // (UTF-16 code units), which the non-lossy ASCII decoding reads back exactly.
    static QByteArray nonLossyASCII(const QString& text);

private:
    QList<Plugin> load() const;
    bool save(const QList<Plugin>& plugins, QString* error) const;

    QString _file;
};
