#pragma once

#include "catalogue/VMNode.h"
#include "catalogue/VMPropertyTable.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class VMCatalogueReader;
class VMProductsCollection;

// A product of the catalogue: a single installable plug-in or a bundle of them.
class VMProductItem : public VMNode, public VMPropertyTable
{
public:
    ~VMProductItem() override;

    QString productID() const { return _productID; }
    void setProductID(const QString& productID) { _productID = productID; }

    // Only a single product has these; a bundle answers null.
    virtual QString productIdentifier() const { return QString(); }
    virtual QString productCheckInstalledDirectory() const { return QString(); }

    // Set by the collection that holds the product; cleared when it lets the product go.
    VMProductsCollection* collection() const { return _collection; }
    void setCollection(VMProductsCollection* collection) { _collection = collection; }

    // Key-value setting by property name, with the notifications the outline relies on. Answers
    // whether the key was recognised.
    virtual bool setValue(const QVariant& value, const QString& key);

    QString title() const override { return QString(); }
    bool titleEditable() const override { return false; }
    bool isExpandable() const override { return false; }
    QList<VMNodePtr> children() const override { return {}; }

protected:
    VMProductItem() : VMPropertyTable("VMProductItem") {}
    // Reads "Product ID" and "Properties", the keys every product starts with.
    void readBase(VMCatalogueReader& reader);
    static void logUnrecognizedKey(const QString& key);

    QString _productID;
    VMProductsCollection* _collection = nullptr;
};

using VMProductItemPtr = std::shared_ptr<VMProductItem>;
Q_DECLARE_METATYPE(VMProductItemPtr)
