#include "PluginRegistry.h"
#include "PlistFile.h"
#include "ToolPaths.h"

#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QTimeZone>
#include <QUuid>

namespace {

QString canonicalBundlePath(const QString& path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

} // namespace

PluginRegistry::PluginRegistry(const QString& file) : _file(file) {}

QString PluginRegistry::defaultFile()
{
    return ToolPaths::inRoot(ToolPaths::systemRoot(), QStringLiteral("/var/db/pluginkit/registry.plist"));
}

QList<PluginRegistry::Plugin> PluginRegistry::load() const
{
    QList<Plugin> plugins;
    const PlistFile::Node root = PlistFile::read(_file);
    if (!root || plist_get_node_type(root.get()) != PLIST_ARRAY)
        return plugins;
    const uint32_t count = plist_array_get_size(root.get());
    for (uint32_t i = 0; i < count; ++i) {
        plist_t record = plist_array_get_item(root.get(), i);
        Plugin plugin;
        plugin.identifier = PlistFile::string(record, "CFBundleIdentifier");
        plugin.version = PlistFile::string(record, "CFBundleVersion");
        plugin.path = PlistFile::string(record, "Path");
        plugin.uuid = PlistFile::string(record, "UUID");
        plist_t date = plist_dict_get_item(record, "RegistrationDate");
        if (date && plist_get_node_type(date) == PLIST_DATE) {
            plugin.registered = QDateTime::fromSecsSinceEpoch(PlistApi::dateValue(date), QTimeZone::utc());
        }
        if (!plugin.path.isEmpty())
            plugins << plugin;
    }
    return plugins;
}

bool PluginRegistry::save(const QList<Plugin>& plugins, QString* error) const
{
    PlistFile::Node root(plist_new_array());
    for (const Plugin& plugin : plugins) {
        plist_t record = plist_new_dict();
        plist_dict_set_item(record, "CFBundleIdentifier", plist_new_string(plugin.identifier.toUtf8().constData()));
        plist_dict_set_item(record, "CFBundleVersion", plist_new_string(plugin.version.toUtf8().constData()));
        plist_dict_set_item(record, "Path", plist_new_string(plugin.path.toUtf8().constData()));
        plist_dict_set_item(record, "UUID", plist_new_string(plugin.uuid.toUtf8().constData()));
        plist_dict_set_item(record, "RegistrationDate", PlistApi::newDate(plugin.registered.toSecsSinceEpoch()));
        plist_array_append_item(root.get(), record);
    }
    return PlistFile::write(_file, root.get(), error);
}

bool PluginRegistry::add(const QString& bundlePath, QString* error)
{
    const QString path = canonicalBundlePath(bundlePath);
    const PlistFile::Node info = PlistFile::read(path + QStringLiteral("/Contents/Info.plist"));
    const QString identifier = PlistFile::string(info.get(), "CFBundleIdentifier");
    if (identifier.isEmpty()) {
        if (error)
            *error = QStringLiteral("no plug-in with a bundle identifier at '%1'").arg(path);
        return false;
    }
    QDir().mkpath(QFileInfo(_file).absolutePath());
    QLockFile lock(_file + QStringLiteral(".lock"));
    if (!lock.lock()) {
        if (error)
            *error = QStringLiteral("the registry is locked");
        return false;
    }
    QList<Plugin> plugins = load();
    Plugin plugin;
    plugin.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    for (qsizetype i = 0; i < plugins.size(); ++i) {
        if (plugins.at(i).path == path) {
            plugin.uuid = plugins.at(i).uuid;
            plugins.removeAt(i);
            break;
        }
    }
    plugin.identifier = identifier;
    plugin.version = PlistFile::string(info.get(), "CFBundleVersion");
    plugin.path = path;
    plugin.registered = QDateTime::currentDateTimeUtc();
    plugins << plugin;
    return save(plugins, error);
}

bool PluginRegistry::remove(const QString& bundlePath, QString* error)
{
    const QString path = canonicalBundlePath(bundlePath);
    QLockFile lock(_file + QStringLiteral(".lock"));
    if (!QFileInfo::exists(_file) || !lock.lock()) {
        if (error)
            *error = QStringLiteral("'%1' is not registered").arg(path);
        return false;
    }
    QList<Plugin> plugins = load();
    const qsizetype before = plugins.size();
    plugins.removeIf([&](const Plugin& plugin) { return plugin.path == path || plugin.path == bundlePath; });
    if (plugins.size() == before) {
        if (error)
            *error = QStringLiteral("'%1' is not registered").arg(path);
        return false;
    }
    return save(plugins, error);
}

QList<PluginRegistry::Plugin> PluginRegistry::match(const QString& identifier) const
{
    QList<Plugin> found;
    for (const Plugin& plugin : load()) {
        if (identifier.isEmpty() || plugin.identifier == identifier)
            found << plugin;
    }
    return found;
}

QString PluginRegistry::line(const Plugin& plugin, bool verbose)
{
    QString text = QStringLiteral("     %1(%2)").arg(plugin.identifier, plugin.version);
    if (verbose)
        text += QStringLiteral("\t%1\t%2\t%3")
                    .arg(plugin.uuid, plugin.registered.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000")),
                         plugin.path);
    return text;
}

QByteArray PluginRegistry::nonLossyASCII(const QString& text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit == u'\\')
            bytes.append("\\\\");
        else if (unit < 0x80)
            bytes.append(char(unit));
        else
            bytes.append("\\u").append(QByteArray::number(unit, 16).rightJustified(4, '0'));
    }
    return bytes;
}
