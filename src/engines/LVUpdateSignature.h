#pragma once

#include <QByteArray>
#include <QString>

// Ed25519 signatures of update archives. Keys and signatures travel as base64 of their raw bytes
// (32-byte public keys, 64-byte signatures), as appcasts carry them.
namespace LVUpdateSignature {

// The public key the application trusts: LV_UPDATE_PUBLIC_KEY (base64) when set, which the demo
// uses for the key its server signs with; the built-in key otherwise.
QByteArray trustedPublicKey();
QByteArray builtInPublicKey();
constexpr const char* publicKeyEnvironmentVariable = "LV_UPDATE_PUBLIC_KEY";

// True when `signature` (base64) is `publicKey`'s (base64) signature of `data`. On false,
// `errorString` gives a reason a person can read.
bool verify(const QByteArray& data, const QByteArray& signature, const QByteArray& publicKey,
            QString* errorString = nullptr);

// A new key pair, base64 (for the demo server and the tests).
bool generateKeyPair(QByteArray* privateKey, QByteArray* publicKey);
// The base64 signature of `data` made with the base64 private key; empty on failure.
QByteArray sign(const QByteArray& data, const QByteArray& privateKey);

} // namespace LVUpdateSignature
