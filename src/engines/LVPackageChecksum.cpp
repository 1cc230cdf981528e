#include "engines/LVPackageChecksum.h"

#include "catalogue/LVServers.h"
#include "catalogue/VMVersionItem.h"
#include "foundation/VMLog.h"

#include <QCryptographicHash>
#include <QFile>
#include <QUrl>
#include <algorithm>

namespace {

QUrl resolved(const QString& downloadURL)
{
    return downloadURL.isEmpty() ? QUrl() : LVServers::resolvedPackageURL(QUrl(downloadURL));
}

} // namespace

QString LVPackageChecksum::normalized(const QString& digest)
{
    return digest.trimmed().toLower();
}

bool LVPackageChecksum::isDigest(const QString& text)
{
    return text.size() == 64 && std::all_of(text.begin(), text.end(), [](QChar c) {
               return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
                      (c >= QLatin1Char('a') && c <= QLatin1Char('f'));
           });
}

QString LVPackageChecksum::expectedFor(const VMSingleProductItem& product, const VMVersionItem* version)
{
    VMVersionItemPtr latest;
    if (!version) {
        latest = product.latestVersionItem();
        version = latest.get();
    }
    const QString productDigest = normalized(product.downloadSHA256());
    if (!version)
        return productDigest;
    if (const QString own = normalized(version->downloadSHA256()); !own.isEmpty())
        return own;
    if (version->versionDownloadURL().isEmpty())
        return productDigest; // the version installs the product's own package
    const QUrl productURL = resolved(product.productDownloadURL());
    return !productURL.isEmpty() && productURL == resolved(version->versionDownloadURL()) ? productDigest : QString();
}

bool LVPackageChecksum::isRequired(const VMSingleProductItem& product)
{
    if (!normalized(product.downloadSHA256()).isEmpty())
        return true;
    const QList<VMVersionItemPtr> versions = product.versionItems();
    return std::any_of(versions.begin(), versions.end(), [](const VMVersionItemPtr& version) {
        return version && !normalized(version->downloadSHA256()).isEmpty();
    });
}

void LVPackageChecksum::addExpectation(QVariantMap& options, const VMSingleProductItem& product,
                                       const VMVersionItem* version)
{
    if (!isRequired(product))
        return;
    options.insert(QLatin1String(requiredKey), true);
    options.insert(QLatin1String(expectedKey), expectedFor(product, version));
    options.insert(QLatin1String(productTitleKey), product.title());
}

bool LVPackageChecksum::isVerifiable(const VMSingleProductItem& product)
{
    return isRequired(product);
}

QString LVPackageChecksum::sha256OfFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!hash.addData(&file))
        return QString();
    return QString::fromLatin1(hash.result().toHex());
}

VMError LVPackageChecksum::mismatchError(const QVariantMap& options)
{
    const QString message = QStringLiteral("The installer of '%1' did not match its checksum and was deleted.")
                                .arg(options.value(QLatin1String(productTitleKey)).toString());
    return VMError(QStringLiteral("LVInstaller"), mismatchCode, QStringLiteral("Installation Failed"), message);
}

VMError LVPackageChecksum::verify(const QString& packagePath, const QVariantMap& options)
{
    const QString expected = normalized(options.value(QLatin1String(expectedKey)).toString());
    if (expected.isEmpty() && !options.value(QLatin1String(requiredKey)).toBool())
        return VMError();
    const QString actual = sha256OfFile(packagePath);
    // A digest the catalogue got wrong (or left out) can't be matched either: the package is refused.
    if (isDigest(expected) && actual == expected)
        return VMError();
    QFile::remove(packagePath);
    const VMError error = mismatchError(options);
    VM_LOG_MESSAGE(QStringLiteral("%1 Expected SHA-256 %2, got %3 for %4")
                       .arg(error.localizedFailureReason(),
                            expected.isEmpty() ? QStringLiteral("(none in the catalogue)") : expected,
                            actual.isEmpty() ? QStringLiteral("nothing readable") : actual, packagePath));
    return error;
}
