// Any bytes offered as a desired-state file (--apply): read, then planned against a small
// catalogue. Nothing may crash, leak or hang, and an error never carries megabytes.
#include "FuzzSeeds.h"
#include "catalogue/VMCatalogue.h"
#include "cli/LVApplyPlan.h"
#include "foundation/VMPropertyList.h"
#include "platform/Platform.h"

#include <QCoreApplication>

#include <cstdint>
#include <cstdlib>

namespace {

QVariantMap product(const QString& id, const QStringList& versions)
{
    QVariantList list;
    for (const QString& version : versions)
        list.append(QVariantMap{{"Product Version", version},
                                {"Download URL", QStringLiteral("/VM_installers/%1-%2.pkg").arg(id, version)}});
    return QVariantMap{{"Product ID", id},
                       {"Title", id},
                       {"Identifier", QStringLiteral("com.example.%1").arg(id)},
                       {"Versions", list}};
}

const VMCatalogue& catalogue()
{
    static const VMCatalogue parsed = VMCatalogue::initWithData(VMPropertyList::toXmlData(
        QVariantMap{{"Products", QVariantMap{{"Products", QVariantList{product("LV-A", {"1.0.0", "2.0.1"}),
                                                                       product("LV-B", {"3.1", "3.2.4"})}}}}}));
    return parsed;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static int appArgc = 1;
    static char name[] = "fuzz_desired_state";
    static char* appArgv[] = {name, nullptr};
    static QCoreApplication app(appArgc, appArgv);
    Platform::setSystemLog(std::make_shared<SystemLog>());
    writeSeeds(
        *argc, *argv,
        {R"({"LV-A": "latest", "LV-B": "absent"})", R"({"LV-A": "2.0.1", "LV-A": "1.0.0"})",
         R"({"com.example.LV-B": "3.1", "x": {"LV-A": 1}})", "{}",
         R"(<?xml version="1.0"?><plist version="1.0"><dict><key>LV-A</key><string>1.0.0</string></dict></plist>)"});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QString error;
    const QVariantMap desired = LVApplyPlan::readData(bytes, QStringLiteral("fuzz.json"), &error);
    if (error.isEmpty() && catalogue().productsCollection())
        (void)LVApplyPlan::make(
            desired, *catalogue().productsCollection(),
            [](const VMSingleProductItem& item) {
                return item.productID() == QLatin1String("LV-B") ? QStringLiteral("3.1") : QString();
            },
            &error);
    // Whatever the input, an error stays short enough to print.
    if (error.size() > 1000)
        std::abort();
    return 0;
}
