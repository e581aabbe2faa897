#include "KitTestSupport.h"

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
    QByteArray out(1 << 20, '\0');  // far more than any event file holds
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(compressed.constData()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    // 15 + 32: accept a gzip (or zlib) header.
    const bool whole =
        inflateInit2(&stream, 15 + 32) == Z_OK && inflate(&stream, Z_FINISH) == Z_STREAM_END;
    out.resize(whole ? static_cast<qsizetype>(stream.total_out) : 0);
    inflateEnd(&stream);
    return out;
}

UnpackedUpload unpack(const QByteArray &body, QByteArray boundary) {
    if (const qsizetype at = boundary.indexOf("boundary="); at >= 0) {
        boundary = boundary.mid(at + 9);
    }
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
    upload.lines = lines(gunzip(part));
    return upload;
}

QList<QByteArray> lines(const QByteArray &file) {
    QList<QByteArray> lines;
    for (const QByteArray &line : file.split('\n')) {
        if (!line.isEmpty()) {
            lines.append(line + '\n');
        }
    }
    return lines;
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
