#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "foundation/VMError.h"

#include <QString>
#include <QVariantMap>

// The catalogue may give the SHA-256 of an installer package ("Download SHA256", beside the
// "Download URL" of a product or a version). Once a product carries any digest, every package of
// it must match the one its version is given before the package installer runs; a package that
// does not (or has none to match) is deleted. A product without any digest is installed as before.
class LVPackageChecksum
{
public:
    // Installer options carrying the expectation from the download to the installer.
    static constexpr const char* expectedKey = "expectedSHA256";
    static constexpr const char* requiredKey = "checksumRequired";
    static constexpr const char* productTitleKey = "productTitle";
    static constexpr qint64 mismatchCode = -3;

    // The expected hex digest (lower case) of the package that installs `version` of `product`
    // (the latest when null): the version's own, else the product's when the version's package
    // is the product's (the same URL, resolved as for the download); empty when none applies.
    static QString expectedFor(const VMSingleProductItem& product, const VMVersionItem* version);
    // Whether the product carries any digest, so that each of its packages must verify.
    static bool isRequired(const VMSingleProductItem& product);
    // Adds the expectation for `version` and the product's title to `options`; leaves them alone
    // when the product carries no digest.
    static void addExpectation(QVariantMap& options, const VMSingleProductItem& product, const VMVersionItem* version);
    // Whether installing the latest version checks its package (and refuses one that can't be checked).
    static bool isVerifiable(const VMSingleProductItem& product);

    // A digest as the catalogue gives it, compared the same way everywhere: white space around it
    // dropped, lower case.
    static QString normalized(const QString& digest);
    // Whether `text` is a normalized hex SHA-256.
    static bool isDigest(const QString& text);

    // Checks the package against the expectation in `options`. On a mismatch (or an unreadable
    // package, or a required check with nothing to check against) the file is deleted, the reason
    // logged and returned; null when it matches or nothing is expected.
    static VMError verify(const QString& packagePath, const QVariantMap& options);
    // The error of a refused package, for a check made elsewhere (the administrator step).
    static VMError mismatchError(const QVariantMap& options);
    // Hex SHA-256 of a file, read in pieces; empty when it can't be read.
    static QString sha256OfFile(const QString& path);
};
