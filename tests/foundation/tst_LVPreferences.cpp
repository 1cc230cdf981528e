#include "TestEnvironment.h"
#include "TestMain.h"

#include "foundation/LVPreferences.h"
#include "foundation/VMNotificationCenter.h"

#include <QSettings>
#include <QTest>

class tst_LVPreferences : public QObject
{
    Q_OBJECT
    std::unique_ptr<TestEnvironment> env;

private slots:
    void init() { env = std::make_unique<TestEnvironment>(); }
    void cleanup() { env.reset(); }

    void defaultsOfKeysNeverSet_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("menu bar icon") << "LVPrefsShowIconInMenubar" << QVariant(false);
        QTest::newRow("auto launch") << "LVPrefsAutoLaunch" << QVariant(true);
        QTest::newRow("extended logging") << "LVPrefsUseExtendedLogging" << QVariant(false);
        QTest::newRow("first launch") << "LVPrefsIsNotFirstLaunch" << QVariant();
        QTest::newRow("licence") << "LVLicenseAgreementURL" << QVariant();
        QTest::newRow("discontinued") << "showDiscontinuedProducts" << QVariant();
        QTest::newRow("unknown") << "NoSuchKey" << QVariant();
        QTest::newRow("nil key") << QString() << QVariant();
    }
    void defaultsOfKeysNeverSet()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, expected);
        QCOMPARE(LVPreferences::sharedPreferences()->propertyForKey(key), expected);
        QCOMPARE(LVPreferences::initialDefaultValueForKey(key), key.isNull() ? QVariant() : expected);
    }

    void settingStoresAndAnnouncesUnderTheKey_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::newRow("boolean") << "LVPrefsAutoLaunch" << QVariant(false);
        QTest::newRow("string") << "LVLicenseAgreementURL" << QVariant(QStringLiteral("http://127.0.0.1/eula.rtf"));
        QTest::newRow("extended logging") << "LVPrefsUseExtendedLogging" << QVariant(true);
    }
    void settingStoresAndAnnouncesUnderTheKey()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QObject observer;
        QList<QVariant> posted;
        VMNotificationCenter::defaultCenter().addObserver(&observer, key,
                                                          [&](const VMNotification& n) { posted.append(n.object); });
        LVPreferences::sharedPreferences()->setDefaultProperty(value, key);
        QCOMPARE(posted, QList<QVariant>{value});
        QCOMPARE(LVPreferences::sharedPreferences()->propertyForKey(key), value);
        // The switch the downloader reads is this key (the settings window shows the key).
        QCOMPARE(LVPreferences::sharedPreferences()->usesExtendedLogging(), key == "LVPrefsUseExtendedLogging");

        // The value is on disk: a fresh reading of the same defaults sees it.
        LVPreferences::setSettingsFile(env->home() + QStringLiteral("/defaults.ini"));
        QCOMPARE(LVPreferences::sharedPreferences()->propertyForKey(key), value);
    }

    void nilKeyStoresNothing()
    {
        LVPreferences::sharedPreferences()->setDefaultProperty(true, QString());
        LVPreferences::sharedPreferences()->setDefaultProperty(true, QStringLiteral("LVPrefsAutoLaunch"));
        QSettings stored(env->home() + QStringLiteral("/defaults.ini"), QSettings::IniFormat);
        QCOMPARE(stored.allKeys(), QStringList{QStringLiteral("LVPrefsAutoLaunch")});
    }
};

LV_TEST_GUILESS_MAIN(tst_LVPreferences)
#include "tst_LVPreferences.moc"
