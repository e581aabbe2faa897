#include "updates/UpdateSignature.h"

#include <openssl/evp.h>

#include <memory>

namespace tarnwell {

namespace {

constexpr qsizetype kEd25519KeyBytes = 32;
constexpr qsizetype kEd25519SignatureBytes = 64;

}  // namespace

bool verifyEd25519(const QByteArray &publicKey, const QByteArray &signature,
                   std::span<const unsigned char> message) {
    if (publicKey.size() != kEd25519KeyBytes || signature.size() != kEd25519SignatureBytes) {
        return false;
    }
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr,
                                    reinterpret_cast<const unsigned char *>(publicKey.constData()),
                                    size_t(publicKey.size())),
        EVP_PKEY_free);
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                          EVP_MD_CTX_free);
    if (!key || !context ||
        EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1) {
        return false;
    }
    return EVP_DigestVerify(context.get(),
                            reinterpret_cast<const unsigned char *>(signature.constData()),
                            size_t(signature.size()), message.data(), message.size()) == 1;
}

QByteArray builtInUpdatePublicKey() {
    return QByteArray::fromBase64(QByteArrayLiteral(TARNWELL_UPDATE_PUBLIC_KEY));
}

}  // namespace tarnwell
