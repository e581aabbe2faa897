#include "EventFiles.h"

#include <zlib.h>

#include <QFile>
#include <QJsonDocument>

namespace tarnwell::test {

QByteArray readAll(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray gunzip(const QByteArray &compressed) {
    z_stream stream{};
    // 15 + 32: accept a gzip (or zlib) header.
    if (inflateInit2(&stream, 15 + 32) != Z_OK) {
        return {};
    }
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(compressed.constData()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    QByteArray out;
    char chunk[4096];
    int status = Z_OK;
    while (status == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef *>(chunk);
        stream.avail_out = sizeof chunk;
        status = inflate(&stream, Z_NO_FLUSH);
        out.append(chunk, static_cast<qsizetype>(sizeof chunk - stream.avail_out));
    }
    inflateEnd(&stream);
    return status == Z_STREAM_END ? out : QByteArray();
}

QByteArray boundaryOf(const QByteArray &contentType) {
    const qsizetype at = contentType.indexOf("boundary=");
    return at < 0 ? QByteArray() : contentType.mid(at + 9);
}

UnpackedUpload unpack(const QByteArray &body, const QByteArray &boundary) {
    UnpackedUpload upload;
    const QByteArray opening = "--" + boundary + "\r\n";
    const QByteArray closing = "\r\n--" + boundary + "--\r\n";
    if (!body.startsWith(opening) || !body.endsWith(closing)) {
        return upload;
    }
    const qsizetype headersEnd = body.indexOf("\r\n\r\n", opening.size());
    upload.partHeaders = body.mid(opening.size(), headersEnd - opening.size());
    const QByteArray part =
        body.mid(headersEnd + 4, body.size() - closing.size() - (headersEnd + 4));
    for (const QByteArray &line : gunzip(part).split('\n')) {
        if (!line.isEmpty()) {
            upload.lines.append(line + '\n');
        }
    }
    return upload;
}

QJsonObject linePayload(const QByteArray &line) {
    return QJsonDocument::fromJson(line.trimmed().split('\t').value(3)).object();
}

QStringList lineNames(const QList<QByteArray> &lines) {
    QStringList names;
    for (const QByteArray &line : lines) {
        const QString customType = linePayload(line).value("custom_type").toString();
        names << (QString::fromUtf8(line.split('\t').value(1)) + ' ' + customType).trimmed();
    }
    return names;
}

}  // namespace tarnwell::test
