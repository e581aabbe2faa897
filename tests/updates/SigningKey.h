#pragma once

#include <openssl/evp.h>

#include <memory>
#include <stdexcept>

#include <QByteArray>

namespace tarnwell::test {

// An Ed25519 key pair made by OpenSSL for one test run, standing in for the
// release key built into the program.
class SigningKey {
public:
    SigningKey() : key_(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"), &EVP_PKEY_free) {
        if (!key_) {
            throw std::runtime_error("no Ed25519 key");
        }
    }

    QByteArray publicKey() const {  // raw, 32 bytes
        QByteArray raw(32, '\0');
        size_t length = size_t(raw.size());
        EVP_PKEY_get_raw_public_key(key_.get(), reinterpret_cast<unsigned char *>(raw.data()),
                                    &length);
        return raw;
    }

    QByteArray sign(const QByteArray &message) const {  // raw, 64 bytes
        const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                              EVP_MD_CTX_free);
        QByteArray signature(64, '\0');
        size_t length = size_t(signature.size());
        EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key_.get());
        EVP_DigestSign(context.get(), reinterpret_cast<unsigned char *>(signature.data()), &length,
                       reinterpret_cast<const unsigned char *>(message.constData()),
                       size_t(message.size()));
        return signature;
    }

private:
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key_;
};

}  // namespace tarnwell::test
