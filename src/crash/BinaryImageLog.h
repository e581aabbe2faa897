#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "crash/ImageDetails.h"
#include "crash/ImageTable.h"

namespace tarnwell::crash {

class RecordWriter;

// Keeps the image table and "binary_images.crsrecord" in step with the images loaded into
// the process. ELF has no load callback, so loads and unloads are found by comparing the
// loader's load and unload counters with the last ones seen and, when they moved, the
// image list itself. dl_iterate_phdr takes the loader's lock, so all of this runs in
// normal context; the crash handler only reads the table.
class BinaryImageLog {
public:
    BinaryImageLog(ImageTable &table, std::string logPath);

    // Zeroes the table, replaces the log file with the main executable's details and one
    // "load" line for every image loaded now.
    void start();
    // Logs and tables whatever was loaded or unloaded since the last look. Cheap when
    // nothing changed. Thread-safe.
    void refresh();

    // The details of the loaded image whose build-id string equals `uuid`.
    static bool findImageForUUID(const char *uuid, ImageDetails *found);
    // The details of the main executable.
    static ImageDetails mainExecutableDetails();

private:
    struct KnownImage {
        ImageDetails details;
        std::string path;
    };
    struct Snapshot {
        uint64_t adds = 0;
        uint64_t subs = 0;
        std::vector<KnownImage> images;
    };
    static Snapshot takeSnapshot(bool withImages);
    void recordChange(const KnownImage &image, bool loaded);
    void writeLine(RecordWriter &writer, const KnownImage &image, bool loaded);

    ImageTable &table_;
    std::string logPath_;
    std::mutex lock_;
    bool started_ = false;
    uint64_t adds_ = 0;
    uint64_t subs_ = 0;
    std::vector<KnownImage> known_;
};

// Writes the keyed "executable" object of a report: architecture, uuid, base, size,
// encrypted and the minimum and built system versions.
bool recordExecutableDetails(RecordWriter *writer, const ImageDetails &details);

}  // namespace tarnwell::crash
