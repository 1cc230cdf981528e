#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "foundation/VMError.h"

#include <QString>
#include <QUrl>
#include <QVariantMap>

// The catalogue may give the SHA-256 of an installer package ("Download SHA256", beside the
// "Download URL" of a product or a version). A package with one is checked after its download and
// before the package installer runs; one that does not match is deleted. Without one nothing changes.
class LVPackageChecksum
{
public:
    // Installer options carrying the expectation from the download to the installer.
    static constexpr const char* expectedKey = "expectedSHA256";
    static constexpr const char* productTitleKey = "productTitle";
    static constexpr qint64 mismatchCode = -3;

    // The expected hex digest (lower case) for the package downloaded from `url`: the one given
    // beside the product's or a version's download URL that names it (the scheme downgrade
    // disregarded); empty when the catalogue gives none.
    static QString expectedFor(const VMSingleProductItem& product, const QUrl& url);
    // Adds the expectation for `url` and the product's title to `options`; leaves them alone when
    // the catalogue gives no digest.
    static void addExpectation(QVariantMap& options, const VMSingleProductItem& product, const QUrl& url);
    // Whether the catalogue lets the latest version's package be checked.
    static bool isVerifiable(const VMSingleProductItem& product);

    // Checks the package against the expectation in `options`. On a mismatch (or an unreadable
    // package) the file is deleted, the reason logged and returned; null when it matches or
    // nothing is expected.
    static VMError verify(const QString& packagePath, const QVariantMap& options);
    // Hex SHA-256 of a file, read in pieces; empty when it can't be read.
    static QString sha256OfFile(const QString& path);
};
