#pragma once

#include <QByteArray>
#include <QString>
#include <span>

namespace tarnwell {

// Ed25519 (RFC 8032, pure: the whole file is the message) over a downloaded
// update. publicKey is the 32-byte raw key, signature the 64-byte raw
// signature; anything else does not verify.
bool verifyEd25519(const QByteArray &publicKey, const QByteArray &signature,
                   std::span<const unsigned char> message);

// The key release packages are signed with, compiled into the program.
QByteArray builtInUpdatePublicKey();

}  // namespace tarnwell
