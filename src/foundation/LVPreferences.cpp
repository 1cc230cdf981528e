#include "LVPreferences.h"

#include "foundation/VMNotificationCenter.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <QSettings>

namespace {
QString g_settingsFile;
LVPreferences* g_shared = nullptr;
} // namespace

LVPreferences* LVPreferences::sharedPreferences()
{
    if (!g_shared) {
        g_shared = new LVPreferences(QCoreApplication::instance());
        if (auto* app = QCoreApplication::instance())
            QObject::connect(app, &QObject::destroyed, [] { g_shared = nullptr; });
    }
    return g_shared;
}

void LVPreferences::setSettingsFile(const QString& path)
{
    g_settingsFile = path;
    if (g_shared) {
        delete g_shared->_settings;
        g_shared->_settings =
            path.isEmpty() ? Platform::createUserDefaults() : new QSettings(path, QSettings::IniFormat);
    }
}

LVPreferences::LVPreferences(QObject* parent)
    : QObject(parent), _settings(g_settingsFile.isEmpty() ? Platform::createUserDefaults()
                                                          : new QSettings(g_settingsFile, QSettings::IniFormat))
{}

LVPreferences::~LVPreferences()
{
    delete _settings;
}

QVariant LVPreferences::initialDefaultValueForKey(const QString& key)
{
    if (key == QLatin1String(LVPrefsShowIconInMenubar))
        return false;
    if (key == QLatin1String(LVPrefsAutoLaunch))
        return true;
    if (key == QLatin1String(LVPrefsUseExtendedLogging))
        return false;
    return QVariant();
}

QVariant LVPreferences::propertyForKey(const QString& key) const
{
    if (key.isNull())
        return QVariant();
    const QVariant stored = _settings->value(key);
    if (!stored.isValid())
        return initialDefaultValueForKey(key);
    // Text settings files give booleans back as "true"/"false".
    if (stored.typeId() == QMetaType::QString) {
        const QString text = stored.toString();
        if (text == QLatin1String("true") || text == QLatin1String("false"))
            return text == QLatin1String("true");
    }
    return stored;
}

void LVPreferences::setDefaultProperty(const QVariant& value, const QString& key)
{
    if (key.isNull())
        return;
    if (value.isValid())
        _settings->setValue(key, value);
    else
        _settings->remove(key);
    _settings->sync();
    VMNotificationCenter::defaultCenter().postNotification(key, value);
}

void LVPreferences::removePropertyForKey(const QString& key)
{
    _settings->remove(key);
    _settings->sync();
}

void LVPreferences::useExtendedLogging(bool flag)
{
    setDefaultProperty(flag, QLatin1String(LVPrefsUseExtendedLogging));
}

bool LVPreferences::usesExtendedLogging() const
{
    return propertyForKey(QLatin1String(LVPrefsUseExtendedLogging)).toBool();
}
