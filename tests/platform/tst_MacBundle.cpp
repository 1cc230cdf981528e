#include "TestMain.h"
#include "platform/emulated/EmulatedPlist.h"
#include "platform/macos/MacUserDefaults.h"

#include <QFile>
#include <QSettings>
#include <QStringList>
#include <QTest>

#include <algorithm>
#include <memory>

// The application bundle's Info.plist, expanded from its template as a Mac build does, and the
// defaults domain the Mac's settings are kept in.
class tst_MacBundle : public QObject
{
    Q_OBJECT

private slots:
    void infoPlistCarriesTheBundlesIdentity_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("identifier") << "CFBundleIdentifier"
                                    << "com.quarnet.Lumivane-Manager";
        QTest::newRow("name") << "CFBundleName"
                              << "Lumivane Manager";
        QTest::newRow("executable") << "CFBundleExecutable"
                                    << "Lumivane Manager";
        QTest::newRow("short version") << "CFBundleShortVersionString" << LV_VERSION;
        // The build number About shows in brackets.
        QTest::newRow("build number") << "CFBundleVersion"
                                      << "65";
        QTest::newRow("minimum macOS") << "LSMinimumSystemVersion"
                                       << "11.0";
        QTest::newRow("icon") << "CFBundleIconFile"
                              << "AppIcon";
        QTest::newRow("package type") << "CFBundlePackageType"
                                      << "APPL";
    }
    void infoPlistCarriesTheBundlesIdentity()
    {
        QFETCH(QString, key);
        QFETCH(QString, expected);
        const QVariantMap info = EmulatedPlist::readStrings(QStringLiteral(LV_INFO_PLIST));
        QVERIFY2(!info.isEmpty(), "the expanded Info.plist is not a property list");
        QCOMPARE(info.value(key).toString(), expected);
    }

    void iconIsAnIcnsFile()
    {
        QFile icon(QStringLiteral(LV_APP_ICNS));
        QVERIFY(icon.open(QIODevice::ReadOnly));
        const QByteArray data = icon.readAll();
        QCOMPARE(data.left(4), QByteArray("icns"));
        // The header's length is the file's.
        const quint32 length = (quint32(quint8(data[4])) << 24) | (quint32(quint8(data[5])) << 16) |
                               (quint32(quint8(data[6])) << 8) | quint32(quint8(data[7]));
        QCOMPARE(qsizetype(length), data.size());
    }

    // QSettings keeps a Mac's native settings in the domain "<reversed organization domain>.<application>"
    // ("mysoft.com", "Star Runner" → com.mysoft.Star Runner): that must be the bundle identifier.
    void defaultsDomainIsTheBundleIdentifier()
    {
        const QString identifier = EmulatedPlist::readStrings(QStringLiteral(LV_INFO_PLIST))
                                       .value(QStringLiteral("CFBundleIdentifier"))
                                       .toString();
        QCOMPARE(identifier, QStringLiteral(LV_BUNDLE_IDENTIFIER));
        std::unique_ptr<QSettings> settings(MacUserDefaults::open(identifier));
        QCOMPARE(settings->format(), QSettings::NativeFormat);
        QCOMPARE(settings->scope(), QSettings::UserScope);
        QStringList domain = settings->organizationName().split(QLatin1Char('.'));
        std::reverse(domain.begin(), domain.end());
        domain.append(settings->applicationName());
        QCOMPARE(domain.join(QLatin1Char('.')), identifier);
    }
};

LV_TEST_GUILESS_MAIN(tst_MacBundle)
#include "tst_MacBundle.moc"
