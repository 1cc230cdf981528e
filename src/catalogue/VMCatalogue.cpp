#include "VMCatalogue.h"

#include "catalogue/VMCatalogueReader.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMLog.h"
#include "foundation/VMPropertyList.h"

VMCatalogue VMCatalogue::initWithData(const QByteArray& data)
{
    QString error;
    const QVariant root = VMPropertyList::fromData(data, &error);
    if (!root.isValid()) {
        VM_LOG_MESSAGE(error);
        VMCatalogue catalogue;
        catalogue._errorDescription = error;
        return catalogue;
    }
    if (root.typeId() != QMetaType::QVariantMap) {
        VMCatalogue catalogue;
        catalogue._errorDescription =
            QStringLiteral("The catalogue's root is %1, not a dictionary").arg(VMCatalogueReader::typeName(root));
        VM_LOG_MESSAGE(catalogue._errorDescription);
        return catalogue;
    }
    return initWithDict(root.toMap());
}

VMCatalogue VMCatalogue::initWithDict(const QVariantMap& root)
{
    VMCatalogue catalogue;
    catalogue._valid = true;

    bool ok = false;
    const qint64 version = VMCatalogueReader::integerValue(root.value(QStringLiteral("Version Number")), &ok);
    catalogue._versionNumber = ok ? version : 0;
    if (LVPreferences::sharedPreferences()->usesExtendedLogging())
        VM_LOG_MESSAGE(QStringLiteral("Loading Version: %1").arg(catalogue._versionNumber));

    const auto products = root.constFind(QStringLiteral("Products"));
    if (products != root.constEnd())
        catalogue._productsCollection = VMProductsCollection::initWithDict(*products);

    auto news = root.constFind(QStringLiteral("News"));
    if (news == root.constEnd())
        news = root.constFind(QStringLiteral("Announcements"));
    if (news != root.constEnd())
        catalogue._newsCollection = VMNewsCollection::initWithDict(*news);

    const auto help = root.constFind(QStringLiteral("Help Items"));
    if (help != root.constEnd())
        catalogue._helpItemsCollection = VMHelpItemsCollection::initWithDict(*help);

    catalogue._indicateProductAsNewPeriod = root.value(QStringLiteral("Indicate Product as New Period"));

    const auto license = root.constFind(QStringLiteral("License Agreement URL"));
    if (license != root.constEnd()) {
        if (license->typeId() == QMetaType::QString)
            catalogue._licenseAgreementURL = license->toString();
        else
            VM_LOG_MESSAGE(QStringLiteral("Value for key \"License Agreement URL\" is %1, not a string")
                               .arg(VMCatalogueReader::typeName(*license)));
    }
    return catalogue;
}
