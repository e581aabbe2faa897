#include <gtest/gtest.h>

#include "SigningKey.h"
#include "updates/UpdateSignature.h"

namespace tarnwell::test {
namespace {

std::span<const unsigned char> bytesOf(const QByteArray &data) {
    return {reinterpret_cast<const unsigned char *>(data.constData()), size_t(data.size())};
}

// RFC 8032, section 7.1, TEST 1: the empty message.
TEST(Ed25519, PublishedVectorVerifies) {
    const QByteArray key =
        QByteArray::fromHex("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a");
    const QByteArray signature = QByteArray::fromHex(
        "e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e065224901555fb8821590a33bacc61e39701c"
        "f"
        "9b46bd25bf5f0595bbe24655141438e7a100b");
    EXPECT_TRUE(verifyEd25519(key, signature, {}));
    EXPECT_FALSE(verifyEd25519(key, signature, bytesOf("x")));
}

TEST(Ed25519, AnyChangeToFileSignatureOrKeyFails) {
    const SigningKey key;
    const SigningKey otherKey;
    const QByteArray package("a package's bytes\n");
    const QByteArray signature = key.sign(package);
    ASSERT_TRUE(verifyEd25519(key.publicKey(), signature, bytesOf(package)));

    QByteArray changedPackage = package;
    changedPackage[3] = 'X';
    QByteArray changedSignature = signature;
    changedSignature[10] = char(changedSignature[10] ^ 1);
    EXPECT_FALSE(verifyEd25519(key.publicKey(), signature, bytesOf(changedPackage)));
    EXPECT_FALSE(verifyEd25519(key.publicKey(), changedSignature, bytesOf(package)));
    EXPECT_FALSE(verifyEd25519(otherKey.publicKey(), signature, bytesOf(package)));
    EXPECT_FALSE(verifyEd25519(key.publicKey(), signature.left(63), bytesOf(package)));
    EXPECT_FALSE(verifyEd25519(key.publicKey().left(31), signature, bytesOf(package)));
    EXPECT_FALSE(verifyEd25519(QByteArray(), QByteArray(), bytesOf(package)));
}

TEST(Ed25519, TheBuiltInKeyIsAKey) {
    EXPECT_EQ(builtInUpdatePublicKey().size(), 32);
}

}  // namespace
}  // namespace tarnwell::test
