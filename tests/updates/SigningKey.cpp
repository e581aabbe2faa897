#include "SigningKey.h"

#include <openssl/evp.h>

#include <memory>
#include <stdexcept>

namespace tarnwell::test {

SigningKey::SigningKey() : key_(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")) {
    if (!key_) {
        throw std::runtime_error("no Ed25519 key");
    }
}

SigningKey::~SigningKey() {
    EVP_PKEY_free(key_);
}

QByteArray SigningKey::publicKey() const {
    QByteArray raw(32, '\0');
    size_t length = size_t(raw.size());
    EVP_PKEY_get_raw_public_key(key_, reinterpret_cast<unsigned char *>(raw.data()), &length);
    return raw;
}

QByteArray SigningKey::sign(const QByteArray &message) const {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                          EVP_MD_CTX_free);
    QByteArray signature(64, '\0');
    size_t length = size_t(signature.size());
    EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key_);
    EVP_DigestSign(context.get(), reinterpret_cast<unsigned char *>(signature.data()), &length,
                   reinterpret_cast<const unsigned char *>(message.constData()),
                   size_t(message.size()));
    return signature;
}

}  // namespace tarnwell::test
