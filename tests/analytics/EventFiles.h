#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace tarnwell::test {

// Reading back what the kit wrote or sent.
QByteArray readAll(const QString &path);  // empty when it cannot be read
QByteArray gunzip(const QByteArray &compressed);

struct UnpackedUpload {
    QByteArray partHeaders;
    QList<QByteArray> lines;  // the decompressed event file, one entry a line
};
// Splits a one-part multipart body at the boundary and decompresses the part.
UnpackedUpload unpack(const QByteArray &body, const QByteArray &boundary);
QByteArray boundaryOf(const QByteArray &contentType);

// The name (second field) of an event line.
QString lineName(const QByteArray &line);
QByteArray linePayload(const QByteArray &line);

}  // namespace tarnwell::test
