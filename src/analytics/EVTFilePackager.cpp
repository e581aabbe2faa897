#include "EVTFilePackager.h"

#include <zlib.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUuid>

#include "EVTLog.h"

namespace tarnwell {

namespace {

// windowBits above 15 asks zlib for a gzip header and trailer.
constexpr int kGzipWindowBits = 15 + 16;
constexpr int kMemoryLevel = 8;

QString withExtension(const QString &path, const char *extension) {
    const QFileInfo info(path);
    return info.dir().filePath(info.completeBaseName() + u'.' + QLatin1String(extension));
}

std::optional<QByteArray> readAll(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return file.readAll();
}

bool replaceWith(const QString &source, const QString &destination, const QByteArray &data) {
    QSaveFile file(destination);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Failed to write %1: %2").arg(destination, file.errorString());
        return false;
    }
    QFile::remove(source);
    return true;
}

}  // namespace

std::optional<QByteArray> EVTFilePackager::gzip(const QByteArray &data) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindowBits, kMemoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        return std::nullopt;
    }
    QByteArray compressed(static_cast<qsizetype>(deflateBound(&stream, data.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.constData()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef *>(compressed.data());
    stream.avail_out = static_cast<uInt>(compressed.size());
    const int status = deflate(&stream, Z_FINISH);
    const auto produced = static_cast<qsizetype>(stream.total_out);
    deflateEnd(&stream);
    if (status != Z_STREAM_END) {
        return std::nullopt;
    }
    compressed.resize(produced);
    return compressed;
}

std::optional<QString> EVTFilePackager::compress(const QString &logPath) {
    const std::optional<QByteArray> data = readAll(logPath);
    if (!data) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Error: attempting to compress nonexistent file: %1").arg(logPath);
        return std::nullopt;
    }
    const std::optional<QByteArray> compressed = gzip(*data);
    const QString compressedPath = withExtension(logPath, kCompressedExtension);
    if (!compressed || !replaceWith(logPath, compressedPath, *compressed)) {
        return std::nullopt;
    }
    return compressedPath;
}

std::optional<QString> EVTFilePackager::package(const QString &compressedPath,
                                                const QString &boundary) {
    const QFileInfo info(compressedPath);
    if (!info.exists()) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Error: attempting to package nonexistent file: %1")
                   .arg(compressedPath);
        return std::nullopt;
    }
    const std::optional<QByteArray> data = readAll(compressedPath);
    if (info.isDir() || !data) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Error packaging: %1 is an invalid path.").arg(compressedPath);
        return std::nullopt;
    }
    const QByteArray b = boundary.toLatin1();
    QByteArray body;
    body.reserve(data->size() + 256);
    body.append("--" + b + "\r\n")
        .append("Content-Disposition: form-data; name=\"file\"; filename=\"" +
                info.fileName().toUtf8() + "\"\r\n")
        .append(QByteArray("Content-Type: ") + kEventsContentType + "\r\n")
        .append("Content-Length: " + QByteArray::number(data->size()) + "\r\n\r\n")
        .append(*data)
        .append("\r\n--" + b + "--\r\n");
    const QString packagedPath =
        info.dir().filePath(boundary + u'.' + QLatin1String(kPackagedExtension));
    if (!replaceWith(compressedPath, packagedPath, body)) {
        return std::nullopt;
    }
    return packagedPath;
}

QString EVTFilePackager::generateBoundary() {
    return QStringLiteral("Boundary-") + QUuid::createUuid().toString(QUuid::Id128);
}

QByteArray EVTFilePackager::contentTypeForPackagedFile(const QString &packagedPath) {
    return "multipart/form-data; boundary=" + QFileInfo(packagedPath).completeBaseName().toLatin1();
}

}  // namespace tarnwell
