// Any bytes offered as a catalogue: parse, split into collections and walk every record the way
// the install list and rows do. Nothing may crash, leak or hang.
#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMCatalogue.h"
#include "catalogue/VMSingleProductItem.h"
#include "foundation/LVPreferences.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace {

void walk(const VMNodePtr& node, int depth)
{
    (void)node->title();
    (void)node->titleEditable();
    (void)node->isExpandable();
    if (depth < 3) {
        for (const VMNodePtr& child : node->children())
            walk(child, depth + 1);
    }
}

void exercise(const VMProductsCollectionPtr& products)
{
    walk(products, 0);
    for (const VMProductItemPtr& item : products->productItems()) {
        if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(item)) {
            const VMVersionItemPtr latest = single->latestVersionItem();
            (void)single->installerSettingsForVersionItem(latest.get());
            (void)single->versionItemsWithTag(QStringLiteral("FxPlug3"));
            (void)single->allProductIdentifiers();
            if (latest)
                (void)single->versionItemForVersionString(latest->productVersion());
            for (const VMVersionItemPtr& version : single->versionItems())
                (void)version->installerSettings();
        } else if (auto bundle = std::dynamic_pointer_cast<VMBundleProductItem>(item)) {
            (void)products->productItemsWithProductIDs(bundle->bundleIncludedProductIDs().split(QLatin1Char(' ')));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    static int argc = 1;
    static char name[] = "fuzz_catalogue";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    static QTemporaryDir settings;
    // Lines go nowhere, and every extended-logging path runs.
    Platform::setSystemLog(std::make_shared<SystemLog>());
    LVPreferences::setSettingsFile(settings.filePath(QStringLiteral("defaults.ini")));
    LVPreferences::sharedPreferences()->useExtendedLogging(true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Not copied: the parser must stay inside the bytes it was given.
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const VMCatalogue catalogue = VMCatalogue::initWithData(bytes);
    if (const auto products = catalogue.productsCollection())
        exercise(products);
    if (const auto news = catalogue.newsCollection())
        walk(news, 0);
    if (const auto help = catalogue.helpItemsCollection())
        walk(help, 0);
    return 0;
}
