#include "TestMain.h"
#include "catalogue/VMCatalogue.h"
#include "cli/LVApplyPlan.h"
#include "foundation/VMPropertyList.h"
#include "support/TestEnvironment.h"

#include <QtTest>

// The plan from a desired state, a catalogue and what is installed, without installing anything.
class tst_LVApplyPlan : public QObject
{
    Q_OBJECT

private slots:
    void plan_data();
    void plan();
    void readsOnlyWellFormedFiles_data();
    void readsOnlyWellFormedFiles();
};

namespace {

QVariantMap product(const QString& id, const QStringList& versions, const QString& identifier = QString())
{
    QVariantList list;
    for (const QString& version : versions)
        list.append(QVariantMap{{"Product Version", version},
                                {"Download URL", QStringLiteral("http://127.0.0.1:1/%1-%2.pkg").arg(id, version)}});
    QVariantMap dict{{"Product ID", id}, {"Title", id}, {"Versions", list}};
    if (!identifier.isEmpty())
        dict.insert("Identifier", identifier);
    return dict;
}

VMCatalogue catalogue()
{
    const QVariantList products = {
        product("A", {"1.0", "1.1", "2.0"}),
        product("B", {"1.0"}),
        product("C", {"3.0"}, "com.example.C"),
        QVariantMap{{"Bundle", true}, {"Product ID", "S"}, {"Included Product IDs", "A B"}},
        QVariantMap{{"Bundle", true}, {"Product ID", "T"}, {"Included Product IDs", "B C"}},
    };
    return VMCatalogue::initWithData(
        VMPropertyList::toXmlData(QVariantMap{{"Products", QVariantMap{{"Products", products}}}}));
}

} // namespace

void tst_LVApplyPlan::plan_data()
{
    QTest::addColumn<QVariantMap>("desired");
    QTest::addColumn<QVariantMap>("installed"); // product ID -> version
    QTest::addColumn<QString>("plan");          // "ID:action:target ..." or "error"

    QTest::newRow("latest, not installed") << QVariantMap{{"A", "latest"}} << QVariantMap{} << "A:install:2.0";
    QTest::newRow("latest, older installed")
        << QVariantMap{{"A", "latest"}} << QVariantMap{{"A", "1.1"}} << "A:update:2.0";
    QTest::newRow("latest, installed") << QVariantMap{{"A", "Latest"}} << QVariantMap{{"A", "2.0.0"}} << "A:none:";
    QTest::newRow("latest, newer than the catalogue")
        << QVariantMap{{"A", "latest"}} << QVariantMap{{"A", "2.1"}} << "A:none:";
    QTest::newRow("pin below installed") << QVariantMap{{"A", "1.1"}} << QVariantMap{{"A", "2.0"}} << "A:downgrade:1.1";
    QTest::newRow("pin above installed") << QVariantMap{{"A", "1.1.0"}} << QVariantMap{{"A", "1.0"}} << "A:update:1.1";
    QTest::newRow("pin met") << QVariantMap{{"A", "1.1"}} << QVariantMap{{"A", "1.1.0"}} << "A:none:";
    QTest::newRow("absent, installed") << QVariantMap{{"B", "absent"}} << QVariantMap{{"B", "1.0"}} << "B:uninstall:";
    QTest::newRow("absent, not installed") << QVariantMap{{"B", "absent"}} << QVariantMap{} << "B:none:";
    QTest::newRow("bundle, in catalogue order")
        << QVariantMap{{"S", "latest"}} << QVariantMap{{"B", "1.0"}} << "A:install:2.0 B:none:";
    QTest::newRow("a product's own entry beats its bundle's")
        << QVariantMap{{"S", "absent"}, {"A", "1.0"}} << QVariantMap{{"A", "2.0"}, {"B", "1.0"}}
        << "A:downgrade:1.0 B:uninstall:";
    QTest::newRow("by plug-in bundle identifier")
        << QVariantMap{{"com.example.C", "absent"}} << QVariantMap{{"C", "3.0"}} << "C:uninstall:";
    QTest::newRow("unknown ID") << QVariantMap{{"A", "latest"}, {"NOPE", "latest"}} << QVariantMap{} << "error";
    QTest::newRow("unknown version") << QVariantMap{{"A", "9.9"}} << QVariantMap{} << "error";
    QTest::newRow("a version with something after it") << QVariantMap{{"A", "2.0x"}} << QVariantMap{} << "error";
    QTest::newRow("bundle pinned to a version") << QVariantMap{{"S", "1.0"}} << QVariantMap{} << "error";
    QTest::newRow("not a string") << QVariantMap{{"A", 2}} << QVariantMap{} << "error";
    QTest::newRow("two bundles disagree") << QVariantMap{{"S", "latest"}, {"T", "absent"}} << QVariantMap{} << "error";
}

void tst_LVApplyPlan::plan()
{
    QFETCH(QVariantMap, desired);
    QFETCH(QVariantMap, installed);
    QFETCH(QString, plan);
    const VMCatalogue source = catalogue();
    QVERIFY(source.productsCollection());
    QString error;
    const QList<LVApplyPlan::Step> steps = LVApplyPlan::make(
        desired, *source.productsCollection(),
        [&installed](const VMSingleProductItem& product) {
            return installed.contains(product.productID()) ? installed.value(product.productID()).toString()
                                                           : QString();
        },
        &error);
    if (plan == QLatin1String("error")) {
        QVERIFY(steps.isEmpty());
        QVERIFY(!error.isEmpty());
        return;
    }
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QStringList described;
    for (const LVApplyPlan::Step& step : steps)
        described.append(step.product->productID() + ':' + LVApplyPlan::actionName(step.action) + ':' +
                         (step.target ? step.target->productVersion() : QString()));
    QCOMPARE(described.join(' '), plan);
}

void tst_LVApplyPlan::readsOnlyWellFormedFiles_data()
{
    QTest::addColumn<QByteArray>("data"); // or "<link to /dev/zero>", "<fifo>"
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("reason");
    const QVariantMap expected{{"LV-PRISM", "latest"}, {"LV-RETRO", "absent"}};
    QTest::newRow("JSON") << QByteArray(R"({"LV-PRISM": "latest", "LV-RETRO": "absent"})") << true << "";
    QTest::newRow("XML property list") << VMPropertyList::toXmlData(expected) << true << "";
    QTest::newRow("binary property list") << VMPropertyList::toBinaryData(expected) << true << "";
    QTest::newRow("an array") << QByteArray(R"(["LV-PRISM"])") << false << "must hold one object";
    QTest::newRow("garbage") << QByteArray("LV-PRISM: latest") << false << "neither";
    QTest::newRow("a key twice") << QByteArray(R"({"LV-PRISM": "latest", "LV-RETRO": "absent", "LV-PRISM": "absent"})")
                                 << false << "names 'LV-PRISM' more than once";
    QTest::newRow("a key twice, escaped once") << QByteArray(R"({"LV-PRISM": "latest", "LV-\u0050RISM": "absent"})")
                                               << false << "names 'LV-PRISM' more than once";
    QTest::newRow("too large") << QByteArray("{}").append(QByteArray(LVApplyPlan::maximumFileSize, ' ')) << false
                               << "is larger than";
    QTest::newRow("a link to an endless device") << QByteArray("<link to /dev/zero>") << false << "not a regular file";
    QTest::newRow("a pipe") << QByteArray("<fifo>") << false << "not a regular file";
}

void tst_LVApplyPlan::readsOnlyWellFormedFiles()
{
    QFETCH(QByteArray, data);
    QFETCH(bool, valid);
    QFETCH(QString, reason);
    TestEnvironment env;
    const QString path = env.path() + QStringLiteral("/state");
    if (data == "<link to /dev/zero>") {
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));
    } else if (data == "<fifo>") {
        QCOMPARE(QProcess::execute(QStringLiteral("mkfifo"), {path}), 0);
    } else {
        QVERIFY(TestEnvironment::writeFile(path, data));
    }
    QString error;
    const QVariantMap read = LVApplyPlan::readFile(path, &error);
    const QVariantMap expected{{"LV-PRISM", "latest"}, {"LV-RETRO", "absent"}};
    QCOMPARE(read, valid ? expected : QVariantMap());
    QCOMPARE(error.isEmpty(), valid);
    if (!valid) {
        QVERIFY2(error.contains(path) && error.contains(reason), qPrintable(error));
        QVERIFY(error.size() < 300);
    }
}

LV_TEST_GUILESS_MAIN(tst_LVApplyPlan)
#include "tst_LVApplyPlan.moc"
