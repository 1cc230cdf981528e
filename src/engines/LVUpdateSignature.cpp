#include "LVUpdateSignature.h"

#include <openssl/evp.h>

#include <memory>
#include <optional>

namespace {

struct KeyDeleter
{
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct ContextDeleter
{
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, KeyDeleter>;
using ContextPtr = std::unique_ptr<EVP_MD_CTX, ContextDeleter>;

constexpr qsizetype keyLength = 32;
constexpr qsizetype signatureLength = 64;

std::optional<QByteArray> decode(const QByteArray& base64, qsizetype length)
{
    const auto decoded = QByteArray::fromBase64Encoding(base64.trimmed(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.size() != length)
        return std::nullopt;
    return decoded.decoded;
}

// Stands in for the maker's update key until the maker supplies theirs: its private half was
// thrown away, so nothing verifies against it. The demo trusts its server's key through the environment.
constexpr const char* kBuiltInPublicKey = "2Z2tfB7FmfP5wolT+6go351Sd89mTcyK08Vg8jRkBoE=";

} // namespace

namespace LVUpdateSignature {

QByteArray builtInPublicKey()
{
    return QByteArray(kBuiltInPublicKey);
}

QByteArray trustedPublicKey()
{
    const QByteArray configured = qgetenv(publicKeyEnvironmentVariable);
    return configured.isEmpty() ? builtInPublicKey() : configured;
}

bool verify(const QByteArray& data, const QByteArray& signature, const QByteArray& publicKey, QString* errorString)
{
    auto fail = [errorString](const QString& why) {
        if (errorString)
            *errorString = why;
        return false;
    };
    if (signature.trimmed().isEmpty())
        return fail(QStringLiteral("The update is not signed."));
    const auto rawSignature = decode(signature, signatureLength);
    if (!rawSignature)
        return fail(QStringLiteral("The update's signature is malformed."));
    const auto rawKey = decode(publicKey, keyLength);
    if (!rawKey)
        return fail(QStringLiteral("The application's update key is malformed."));
    KeyPtr key(EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr,
                                           reinterpret_cast<const unsigned char*>(rawKey->constData()), keyLength));
    ContextPtr context(EVP_MD_CTX_new());
    if (!key || !context || EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1)
        return fail(QStringLiteral("The update's signature could not be checked."));
    const int verified = EVP_DigestVerify(
        context.get(), reinterpret_cast<const unsigned char*>(rawSignature->constData()), size_t(rawSignature->size()),
        reinterpret_cast<const unsigned char*>(data.constData()), size_t(data.size()));
    if (verified != 1)
        return fail(QStringLiteral("The update's signature does not match: the archive was changed or signed with "
                                   "another key."));
    if (errorString)
        errorString->clear();
    return true;
}

bool generateKeyPair(QByteArray* privateKey, QByteArray* publicKey)
{
    EVP_PKEY* generated = nullptr;
    std::unique_ptr<EVP_PKEY_CTX, void (*)(EVP_PKEY_CTX*)> context(EVP_PKEY_CTX_new_id(EVP_PKEY_ED25519, nullptr),
                                                                   EVP_PKEY_CTX_free);
    if (!context || EVP_PKEY_keygen_init(context.get()) != 1 || EVP_PKEY_keygen(context.get(), &generated) != 1)
        return false;
    KeyPtr key(generated);
    QByteArray rawPrivate(keyLength, '\0');
    QByteArray rawPublic(keyLength, '\0');
    size_t privateLength = keyLength;
    size_t publicLength = keyLength;
    if (EVP_PKEY_get_raw_private_key(key.get(), reinterpret_cast<unsigned char*>(rawPrivate.data()), &privateLength) !=
            1 ||
        EVP_PKEY_get_raw_public_key(key.get(), reinterpret_cast<unsigned char*>(rawPublic.data()), &publicLength) != 1)
        return false;
    if (privateKey)
        *privateKey = rawPrivate.toBase64();
    if (publicKey)
        *publicKey = rawPublic.toBase64();
    return true;
}

QByteArray sign(const QByteArray& data, const QByteArray& privateKey)
{
    const auto rawKey = decode(privateKey, keyLength);
    if (!rawKey)
        return {};
    KeyPtr key(EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr,
                                            reinterpret_cast<const unsigned char*>(rawKey->constData()), keyLength));
    ContextPtr context(EVP_MD_CTX_new());
    if (!key || !context || EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1)
        return {};
    QByteArray signature(signatureLength, '\0');
    size_t length = signatureLength;
    if (EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length,
                       reinterpret_cast<const unsigned char*>(data.constData()), size_t(data.size())) != 1)
        return {};
    return signature.left(qsizetype(length)).toBase64();
}

} // namespace LVUpdateSignature
