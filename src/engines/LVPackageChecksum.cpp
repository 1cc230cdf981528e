#include "engines/LVPackageChecksum.h"

#include "foundation/VMLog.h"

#include <QCryptographicHash>
#include <QFile>
#include <algorithm>

namespace {

// Downloads go over plain HTTP; the catalogue may name the same file with "https:".
QString comparable(QString url)
{
    return url.replace(QLatin1String("https:"), QLatin1String("http:"));
}

bool isDigest(const QString& text)
{
    return text.size() == 64 && std::all_of(text.begin(), text.end(), [](QChar c) {
               return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
                      (c >= QLatin1Char('a') && c <= QLatin1Char('f'));
           });
}

} // namespace

QString LVPackageChecksum::expectedFor(const VMSingleProductItem& product, const QUrl& url)
{
    const QString wanted = comparable(QString::fromUtf8(url.toEncoded()));
    auto matches = [&wanted](const QString& downloadURL) {
        return !downloadURL.isEmpty() && comparable(QString::fromUtf8(QUrl(downloadURL).toEncoded())) == wanted;
    };
    for (const VMVersionItemPtr& version : product.versionItems()) {
        if (version && matches(version->versionDownloadURL()))
            return version->downloadSHA256().trimmed().toLower();
    }
    if (matches(product.productDownloadURL()))
        return product.downloadSHA256().trimmed().toLower();
    return QString();
}

void LVPackageChecksum::addExpectation(QVariantMap& options, const VMSingleProductItem& product, const QUrl& url)
{
    const QString expected = expectedFor(product, url);
    if (expected.isEmpty())
        return;
    options.insert(QLatin1String(expectedKey), expected);
    options.insert(QLatin1String(productTitleKey), product.title());
}

bool LVPackageChecksum::isVerifiable(const VMSingleProductItem& product)
{
    const VMVersionItemPtr latest = product.latestVersionItem();
    const std::optional<QVariantMap> settings = product.installerSettingsForVersionItem(latest.get());
    if (!settings)
        return false;
    return !expectedFor(product, QUrl(settings->value(QStringLiteral("downloadURL")).toString())).isEmpty();
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

VMError LVPackageChecksum::verify(const QString& packagePath, const QVariantMap& options)
{
    const QString expected = options.value(QLatin1String(expectedKey)).toString();
    if (expected.isEmpty())
        return VMError();
    const QString actual = sha256OfFile(packagePath);
    // A digest the catalogue got wrong can't be matched either: the package is refused all the same.
    if (isDigest(expected) && actual == expected)
        return VMError();
    QFile::remove(packagePath);
    const QString message = QStringLiteral("The installer of '%1' did not match its checksum and was deleted.")
                                .arg(options.value(QLatin1String(productTitleKey)).toString());
    VM_LOG_MESSAGE(
        QStringLiteral("%1 Expected SHA-256 %2, got %3 for %4")
            .arg(message, expected, actual.isEmpty() ? QStringLiteral("nothing readable") : actual, packagePath));
    return VMError(QStringLiteral("LVInstaller"), mismatchCode, QStringLiteral("Installation Failed"), message);
}
