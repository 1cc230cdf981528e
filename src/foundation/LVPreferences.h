#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

class QSettings;

// The application's settings in the user defaults, with defaults for keys never set. Every change
// is announced on the default notification centre under the key's name, the value as object.
class LVPreferences : public QObject
{
    Q_OBJECT
public:
    static constexpr const char* LVPrefsShowIconInMenubar = "LVPrefsShowIconInMenubar";
    static constexpr const char* LVPrefsAutoLaunch = "LVPrefsAutoLaunch";
    static constexpr const char* LVPrefsUseExtendedLogging = "LVPrefsUseExtendedLogging";
    static constexpr const char* LVPrefsIsNotFirstLaunch = "LVPrefsIsNotFirstLaunch";
    static constexpr const char* LVLicenseAgreementURL = "LVLicenseAgreementURL";
    static constexpr const char* showDiscontinuedProducts = "showDiscontinuedProducts";

    static LVPreferences* sharedPreferences();

    // Where the defaults are kept. Tests point this at a file of their own before first use;
    // an empty path means the platform's user defaults for this application.
    static void setSettingsFile(const QString& path);

    static QVariant initialDefaultValueForKey(const QString& key);

    QVariant propertyForKey(const QString& key) const;
    void setDefaultProperty(const QVariant& value, const QString& key);

    void useExtendedLogging(bool flag);
    bool usesExtendedLogging() const;

    // Drops the stored value (back to the default); no notification.
    void removePropertyForKey(const QString& key);

    ~LVPreferences() override;

private:
    explicit LVPreferences(QObject* parent = nullptr);
    QSettings* _settings = nullptr;
};
