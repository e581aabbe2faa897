#include "EVTFilePackager.h"

#include <zlib.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUuid>

#include "EVTKitFiles.h"
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

bool replaceWith(const QString &source, const QString &destination, const QByteArray &data) {
    if (!EVTKitFiles::mayReplace(destination)) {
        return false;
    }
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

std::optional<QByteArray> EVTFilePackager::gunzip(const QByteArray &data, qint64 maxBytes) {
    z_stream stream{};
    if (inflateInit2(&stream, kGzipWindowBits) != Z_OK) {
        return std::nullopt;
    }
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.constData()));
    stream.avail_in = static_cast<uInt>(data.size());
    // One byte over the limit tells a stream that is too long from one that fits.
    QByteArray out(static_cast<qsizetype>(maxBytes + 1), '\0');
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const int status = inflate(&stream, Z_FINISH);
    const auto produced = static_cast<qsizetype>(stream.total_out);
    const bool whole = status == Z_STREAM_END && stream.avail_in == 0 && produced <= maxBytes;
    inflateEnd(&stream);
    if (!whole) {
        return std::nullopt;
    }
    out.resize(produced);
    return out;
}

std::optional<QString> EVTFilePackager::compress(const QString &logPath) {
    const QFileInfo info(logPath);
    if (!info.exists() && !info.isSymLink()) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Error: attempting to compress nonexistent file: %1").arg(logPath);
        return std::nullopt;
    }
    const std::optional<QByteArray> data = EVTKitFiles::read(logPath, EVTKitFiles::Kind::Log);
    if (!data) {
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
    const std::optional<QByteArray> data =
        EVTKitFiles::read(compressedPath, EVTKitFiles::Kind::Compressed);
    if (info.isDir() || !data) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Error packaging: %1 is an invalid path.").arg(compressedPath);
        return std::nullopt;
    }
    const QString packagedPath =
        info.dir().filePath(boundary + u'.' + QLatin1String(kPackagedExtension));
    if (!replaceWith(compressedPath, packagedPath,
                     multipartBody(boundary, info.fileName(), *data))) {
        return std::nullopt;
    }
    return packagedPath;
}

QByteArray EVTFilePackager::multipartBody(const QString &boundary, const QString &fileName,
                                          const QByteArray &compressed) {
    const QByteArray b = boundary.toLatin1();
    QByteArray body;
    body.reserve(compressed.size() + 256);
    body.append("--" + b + "\r\n")
        .append("Content-Disposition: form-data; name=\"file\"; filename=\"" + fileName.toUtf8() +
                "\"\r\n")
        .append(QByteArray("Content-Type: ") + kEventsContentType + "\r\n")
        .append("Content-Length: " + QByteArray::number(compressed.size()) + "\r\n\r\n")
        .append(compressed)
        .append("\r\n--" + b + "--\r\n");
    return body;
}

QString EVTFilePackager::generateBoundary() {
    return QStringLiteral("Boundary-") + QUuid::createUuid().toString(QUuid::Id128);
}

QByteArray EVTFilePackager::contentTypeForPackagedFile(const QString &packagedPath) {
    return "multipart/form-data; boundary=" + QFileInfo(packagedPath).completeBaseName().toLatin1();
}

}  // namespace tarnwell
