#pragma once

#include "catalogue/VMHelpItemsCollection.h"
#include "catalogue/VMNewsCollection.h"
#include "catalogue/VMProductsCollection.h"
#include "foundation/VMPropertyList.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

// One loaded "Product Versions.plist", split into its three collections. A collection whose
// section is missing stays null, so the one already in use can stay in place.
class VMCatalogue
{
public:
    // Parses property-list bytes (XML or binary). Bytes that are no property list, or whose root
    // is no dictionary, are logged and give a catalogue that is not valid and holds nothing.
    static VMCatalogue initWithData(const QByteArray& data);
    // Splits a parsed root dictionary. With extended logging on, logs "Loading Version: %ld".
    static VMCatalogue initWithDict(const QVariantMap& root);
    // The same from the root node of a parsed property list.
    static VMCatalogue initWithNode(plist_t root);

    // Whether the data parsed into a root dictionary.
    bool isValid() const { return _valid; }
    // Why the data did not parse; null when it did.
    QString errorDescription() const { return _errorDescription; }

    // The root's "Version Number", 0 when absent; logged only, it changes nothing.
    qint64 versionNumber() const { return _versionNumber; }
    // From "Products"; null when the key is absent.
    VMProductsCollectionPtr productsCollection() const { return _productsCollection; }
    // From "News", or "Announcements" when there is no "News"; null when both are absent.
    VMNewsCollectionPtr newsCollection() const { return _newsCollection; }
    // From "Help Items"; null when the key is absent.
    VMHelpItemsCollectionPtr helpItemsCollection() const { return _helpItemsCollection; }
    // "License Agreement URL"; null when absent, and then the stored one is to be cleared.
    QString licenseAgreementURL() const { return _licenseAgreementURL; }
    // "Indicate Product as New Period" as written. Deliberately not applied: the period a product
    // is flagged as new stays the application's built-in one.
    QVariant indicateProductAsNewPeriod() const { return _indicateProductAsNewPeriod; }

private:
    bool _valid = false;
    QString _errorDescription;
    qint64 _versionNumber = 0;
    VMProductsCollectionPtr _productsCollection;
    VMNewsCollectionPtr _newsCollection;
    VMHelpItemsCollectionPtr _helpItemsCollection;
    QString _licenseAgreementURL;
    QVariant _indicateProductAsNewPeriod;
};
