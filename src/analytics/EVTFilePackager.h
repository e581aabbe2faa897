#pragma once

#include <optional>

#include <QByteArray>
#include <QString>

namespace tarnwell {

// Turns a rotated event file into what is uploaded: "<uuid>.log" is
// gzip-compressed to "<uuid>.gz", which is wrapped in a one-part multipart
// body saved as "<boundary>.multipartmime" beside it. Each step replaces its
// input atomically, so an interrupted run leaves a file the next start can
// pick up where it stopped. Only the kit's own files are taken (EVTKitFiles).
class EVTFilePackager {
public:
    static constexpr char kLogExtension[] = "log";
    static constexpr char kCompressedExtension[] = "gz";
    static constexpr char kPackagedExtension[] = "multipartmime";
    static constexpr char kEventsContentType[] = "application/vnd.telemetry.events";

    EVTFilePackager() = delete;

    static std::optional<QString> compress(const QString &logPath);
    static std::optional<QString> package(const QString &compressedPath, const QString &boundary);

    static QString generateBoundary();
    // The upload's Content-Type, from the packaged file's name.
    static QByteArray contentTypeForPackagedFile(const QString &packagedPath);

    static std::optional<QByteArray> gzip(const QByteArray &data);
    // Nothing unless `data` is one whole gzip stream of at most maxBytes.
    static std::optional<QByteArray> gunzip(const QByteArray &data, qint64 maxBytes);
    // The one-part body uploaded for a compressed event file.
    static QByteArray multipartBody(const QString &boundary, const QString &fileName,
                                    const QByteArray &compressed);
};

}  // namespace tarnwell
