#include "TestEnvironment.h"
#include "TestMain.h"
#include "catalogue/LVServers.h"
#include "foundation/LVPreferences.h"

#include <QtTest>

class tst_LVServers : public QObject
{
    Q_OBJECT
private slots:
    void builtInHostsAreUsedWithoutOverride();
    void overrideOrder();
};

void tst_LVServers::builtInHostsAreUsedWithoutOverride()
{
    TestEnvironment environment;
    qunsetenv(LVServers::overrideEnvironmentVariable);
    LVServers::setOverrideURL(QUrl());
    QVERIFY(LVServers::overrideURL().isEmpty());
    QCOMPARE(LVServers::catalogueBaseURL().scheme(), QStringLiteral("https"));
    QVERIFY(LVServers::catalogueBaseURL().host() != LVServers::downloadBaseURL().host());
    QVERIFY(LVServers::supportBaseURL().host() != LVServers::downloadBaseURL().host());
}

void tst_LVServers::overrideOrder()
{
    TestEnvironment environment;
    LVServers::setOverrideURL(QUrl());
    // The user default is the weakest, then the environment, then the program's own setting.
    LVPreferences::sharedPreferences()->setDefaultProperty(QStringLiteral("http://127.0.0.1:1111"),
                                                           QLatin1String(LVServers::overrideDefaultsKey));
    qunsetenv(LVServers::overrideEnvironmentVariable);
    QCOMPARE(LVServers::downloadURL(QStringLiteral("/a")).toString(), QStringLiteral("http://127.0.0.1:1111/a"));
    qputenv(LVServers::overrideEnvironmentVariable, "http://127.0.0.1:2222/base/");
    QCOMPARE(LVServers::supportURL(QStringLiteral("/b")).toString(), QStringLiteral("http://127.0.0.1:2222/base/b"));
    LVServers::setOverrideURL(QUrl(QStringLiteral("http://127.0.0.1:3333")));
    QCOMPARE(LVServers::catalogueURL(QStringLiteral("/c")).toString(), QStringLiteral("http://127.0.0.1:3333/c"));
    LVServers::setOverrideURL(QUrl());
    qunsetenv(LVServers::overrideEnvironmentVariable);
    LVPreferences::sharedPreferences()->removePropertyForKey(QLatin1String(LVServers::overrideDefaultsKey));
}

LV_TEST_GUILESS_MAIN(tst_LVServers)
#include "tst_LVServers.moc"
