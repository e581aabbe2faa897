#pragma once

#include <optional>

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace tarnwell {

// Tells the files the kit wrote itself from anything else in its folders. Anybody
// who can write there (another program of the user, a careless script, someone who
// wants a file of theirs uploaded) may leave links, FIFOs, devices or garbage
// under the kit's names. Only a regular file (never a link) with a name the kit
// makes, a size within the kit's limits and the content the kit writes is ever
// compressed, packaged, sent or removed; anything else is left alone and logged
// once per process. Files are opened without following links and never block.
class EVTKitFiles {
public:
    enum class Kind {
        Log,         // "<UUID>.log": event lines
        Compressed,  // "<UUID>.gz": a gzip of an event file
        Packaged,    // "Boundary-<32 hex digits>.multipartmime": a multipart of a .gz
    };

    // The largest file a rotation lets through: the size limit of the settings is
    // capped at this, and a file is rotated once it is over the limit, so an event
    // file holds at most this plus one event line.
    static constexpr qint64 kLargestPayloadSize = 1 << 20;
    static constexpr qint64 kLargestEventLine = 256 << 10;

    EVTKitFiles() = delete;

    // The kit's files of one kind in a folder, by name.
    static QStringList list(const QString &directory, Kind kind);
    // The file's bytes when it is one the kit wrote, else nothing (logged once).
    static std::optional<QByteArray> read(const QString &path, Kind kind);
    // True when QSaveFile may put a new file at `path`: nothing is there, or a
    // regular file. QSaveFile follows links and renames over what it finds, so a
    // link or a device in the way would be replaced or written through.
    static bool mayReplace(const QString &path);
};

}  // namespace tarnwell
