#include "TestMain.h"
#include "platform/emulated/EmulatedPlist.h"
#include "platform/macos/MacUserDefaults.h"

#include <QFile>
#include <QHash>
#include <QSet>
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
    void infoPlistCarriesTheBundlesIdentity()
    {
        const QVariantMap info = EmulatedPlist::readStrings(QStringLiteral(LV_INFO_PLIST));
        QVERIFY2(!info.isEmpty(), "the expanded Info.plist is not a property list");
        // The oldest macOS that the Qt the bundle is built with supports.
        const char* minimum = QT_VERSION >= QT_VERSION_CHECK(6, 10, 0)  ? "13.0"
                              : QT_VERSION >= QT_VERSION_CHECK(6, 8, 0) ? "12.0"
                                                                        : "11.0";
        // 65: the build number About shows in brackets.
        const QVariantMap expected{{"CFBundleIdentifier", "com.quarnet.Lumivane-Manager"},
                                   {"CFBundleName", "Lumivane Manager"},
                                   {"CFBundleExecutable", "Lumivane Manager"},
                                   {"CFBundleShortVersionString", LV_VERSION},
                                   {"CFBundleVersion", "65"},
                                   {"LSMinimumSystemVersion", minimum},
                                   {"CFBundleIconFile", "AppIcon"},
                                   {"CFBundlePackageType", "APPL"}};
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QCOMPARE(info.value(it.key()).toString(), it.value().toString());
    }

    // Every size the Dock, the Finder and a Retina screen ask for, 16 to 1024 px.
    void iconHoldsEverySize()
    {
        QFile icon(QStringLiteral(LV_APP_ICNS));
        QVERIFY(icon.open(QIODevice::ReadOnly));
        const QByteArray data = icon.readAll();
        const auto bigEndian = [&data](qsizetype at) {
            return (quint32(quint8(data[at])) << 24) | (quint32(quint8(data[at + 1])) << 16) |
                   (quint32(quint8(data[at + 2])) << 8) | quint32(quint8(data[at + 3]));
        };
        QVERIFY(data.size() >= 8);
        QCOMPARE(data.left(4), QByteArray("icns"));
        QCOMPARE(qsizetype(bigEndian(4)), data.size());
        const QHash<QByteArray, int> pixels{{"is32", 16},   {"il32", 32}, {"ih32", 48},  {"it32", 128}, {"icp4", 16},
                                            {"icp5", 32},   {"icp6", 64}, {"ic07", 128}, {"ic08", 256}, {"ic09", 512},
                                            {"ic10", 1024}, {"ic11", 32}, {"ic12", 64},  {"ic13", 256}, {"ic14", 512}};
        QSet<int> sizes;
        for (qsizetype at = 8; at + 8 <= data.size();) {
            const quint32 length = bigEndian(at + 4);
            QVERIFY2(length >= 8 && at + qsizetype(length) <= data.size(), "an icon element runs past the file");
            if (pixels.contains(data.mid(at, 4)))
                sizes.insert(pixels.value(data.mid(at, 4)));
            at += length;
        }
        for (const int size : {16, 32, 128, 256, 512, 1024})
            QVERIFY2(sizes.contains(size), qPrintable(QStringLiteral("no %1 px image").arg(size)));
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
