#include "VMCatalogue.h"

#include "catalogue/VMCatalogueReader.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMLog.h"
#include "foundation/VMPropertyList.h"

VMCatalogue VMCatalogue::initWithData(const QByteArray& data)
{
    QString error;
    VMPropertyList::Tree tree = VMPropertyList::treeFromData(data, &error);
    if (!tree.root()) {
        VM_LOG_MESSAGE(error);
        VMCatalogue catalogue;
        catalogue._errorDescription = error;
        return catalogue;
    }
    VMCatalogue catalogue = initWithNode(tree.root());
    // A large catalogue's tree is freed off the loading (main) thread.
    constexpr qsizetype largeCatalogue = 256 * 1024;
    if (data.size() >= largeCatalogue)
        VMPropertyList::Tree::freeInBackground(std::move(tree));
    return catalogue;
}

VMCatalogue VMCatalogue::initWithDict(const QVariantMap& root)
{
    return initWithNode(VMPropertyList::treeFromVariant(root).root());
}

VMCatalogue VMCatalogue::initWithNode(plist_t root)
{
    if (!VMCatalogueReader::isDictionary(root)) {
        VMCatalogue catalogue;
        catalogue._errorDescription =
            QStringLiteral("The catalogue's root is %1, not a dictionary").arg(VMCatalogueReader::typeName(root));
        VM_LOG_MESSAGE(catalogue._errorDescription);
        return catalogue;
    }
    VMCatalogue catalogue;
    catalogue._valid = true;
    VMCatalogueReader reader(root);

    bool ok = false;
    const qint64 version = VMCatalogueReader::integerValue(reader.value("Version Number"), &ok);
    catalogue._versionNumber = ok ? version : 0;
    if (LVPreferences::sharedPreferences()->usesExtendedLogging())
        VM_LOG_MESSAGE(QStringLiteral("Loading Version: %1").arg(catalogue._versionNumber));

    if (const plist_t products = reader.value("Products"))
        catalogue._productsCollection = VMProductsCollection::initWithNode(products);

    plist_t news = reader.value("News");
    if (!news)
        news = reader.value("Announcements");
    if (news)
        catalogue._newsCollection = VMNewsCollection::initWithNode(news);

    if (const plist_t help = reader.value("Help Items"))
        catalogue._helpItemsCollection = VMHelpItemsCollection::initWithNode(help);

    catalogue._indicateProductAsNewPeriod =
        VMPropertyList::nodeToVariant(reader.value("Indicate Product as New Period"));

    if (const plist_t license = reader.value("License Agreement URL")) {
        if (!VMCatalogueReader::stringValue(license, &catalogue._licenseAgreementURL))
            VM_LOG_MESSAGE(QStringLiteral("Value for key \"License Agreement URL\" is %1, not a string")
                               .arg(VMCatalogueReader::typeName(license)));
    }
    return catalogue;
}
