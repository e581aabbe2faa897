#pragma once

#include <openssl/evp.h>

#include <QByteArray>

namespace tarnwell::test {

// An Ed25519 key pair made by OpenSSL for one test run, standing in for the
// release key built into the program.
class SigningKey {
public:
    SigningKey();
    ~SigningKey();
    SigningKey(const SigningKey &) = delete;
    SigningKey &operator=(const SigningKey &) = delete;

    QByteArray publicKey() const;                      // raw, 32 bytes
    QByteArray sign(const QByteArray &message) const;  // raw, 64 bytes

private:
    EVP_PKEY *key_;
};

}  // namespace tarnwell::test
