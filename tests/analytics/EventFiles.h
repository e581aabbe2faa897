#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QStringList>

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

// The JSON payload (last field) of an event line.
QJsonObject linePayload(const QByteArray &line);
// Each line's name (second field), then its custom event's name if it has one.
QStringList lineNames(const QList<QByteArray> &lines);

}  // namespace tarnwell::test
