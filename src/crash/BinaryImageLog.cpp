#include "crash/BinaryImageLog.h"

#include <limits.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "crash/CrashLog.h"
#include "crash/RecordWriter.h"

namespace tarnwell::crash {

namespace {

std::string executablePath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return length > 0 ? std::string(path, size_t(length)) : std::string();
}

bool sameImage(const ImageDetails &a, const std::string &pathA, const ImageDetails &b,
               const std::string &pathB) {
    return a.node.base == b.node.base && pathA == pathB;
}

}  // namespace

BinaryImageLog::BinaryImageLog(ImageTable &table, std::string logPath)
    : table_(table), logPath_(std::move(logPath)) {}

BinaryImageLog::Snapshot BinaryImageLog::takeSnapshot(bool withImages) {
    Snapshot snapshot;
    struct Walk {
        Snapshot *snapshot;
        bool withImages;
        bool first = true;
    } walk{&snapshot, withImages};
    dl_iterate_phdr(
        [](dl_phdr_info *info, size_t size, void *data) -> int {
            auto &walk = *static_cast<Walk *>(data);
            if (walk.first && size >= offsetof(dl_phdr_info, dlpi_subs) + sizeof info->dlpi_subs) {
                walk.snapshot->adds = info->dlpi_adds;
                walk.snapshot->subs = info->dlpi_subs;
            }
            walk.first = false;
            if (!walk.withImages) {
                return 1;
            }
            KnownImage image;
            computeImageDetails(*info, image.details);
            const bool mainExecutable = info->dlpi_name == nullptr || info->dlpi_name[0] == '\0';
            image.path = mainExecutable ? executablePath() : std::string(info->dlpi_name);
            if (image.details.node.base != 0) {
                walk.snapshot->images.push_back(std::move(image));
            }
            return 0;
        },
        &walk);
    return snapshot;
}

void BinaryImageLog::start() {
    const std::lock_guard<std::mutex> guard(lock_);
    memset(&table_, 0, sizeof table_);
    known_.clear();
    if (unlink(logPath_.c_str()) != 0 && errno != ENOENT) {
        CRS_WARN("Unable to reset the binary image log file %s\n", strerrordesc_np(errno));
    }
    RecordWriter writer;
    if (!writer.open(logPath_.c_str(), true, true)) {
        CRS_WARN("Error: Unable to open the binary image log file during init\n");
    }
    Snapshot snapshot = takeSnapshot(true);
    adds_ = snapshot.adds;
    subs_ = snapshot.subs;
    if (writer.isOpen()) {
        recordExecutableDetails(&writer, mainExecutableDetails());
    }
    for (KnownImage &image : snapshot.images) {
        storeImageNode(table_, image.details.node, true, image.details.codeOffset);
        if (writer.isOpen()) {
            writeLine(writer, image, true);
        }
        known_.push_back(std::move(image));
    }
    if (writer.isOpen()) {
        writer.close();
    }
    started_ = true;
}

void BinaryImageLog::refresh() {
    const std::lock_guard<std::mutex> guard(lock_);
    if (!started_) {
        return;
    }
    const Snapshot counters = takeSnapshot(false);
    if (counters.adds == adds_ && counters.subs == subs_) {
        return;
    }
    Snapshot snapshot = takeSnapshot(true);
    adds_ = snapshot.adds;
    subs_ = snapshot.subs;
    // Unloads first: an image unloaded and another loaded at the same address since the
    // last look must free the old node before the new one is claimed.
    for (auto it = known_.begin(); it != known_.end();) {
        const bool stillLoaded =
            std::any_of(snapshot.images.begin(), snapshot.images.end(), [&](const KnownImage &k) {
                return sameImage(k.details, k.path, it->details, it->path);
            });
        if (stillLoaded) {
            ++it;
            continue;
        }
        recordChange(*it, false);
        it = known_.erase(it);
    }
    for (KnownImage &image : snapshot.images) {
        const bool known = std::any_of(known_.begin(), known_.end(), [&](const KnownImage &k) {
            return sameImage(k.details, k.path, image.details, image.path);
        });
        if (!known) {
            recordChange(image, true);
            known_.push_back(std::move(image));
        }
    }
}

void BinaryImageLog::recordChange(const KnownImage &image, bool loaded) {
    storeImageNode(table_, image.details.node, loaded, image.details.codeOffset);
    RecordWriter writer;
    if (!writer.open(logPath_.c_str(), true, false)) {
        CRS_WARN("Error: unable to open binary image log file\n");
        return;
    }
    writeLine(writer, image, loaded);
    writer.close();
}

void BinaryImageLog::writeLine(RecordWriter &writer, const KnownImage &image, bool loaded) {
    writer.beginKeyedObject(loaded ? "load" : "unload");
    writer.beginObject();
    writer.writeString("path", image.path.empty() ? nullptr : image.path.c_str());
    writer.writeString("uuid", image.details.uuid);
    writer.writeUnsigned("base", image.details.node.base);
    writer.writeUnsigned("size", image.details.node.size);
    writer.endObject();
    writer.endRecord();
}

bool BinaryImageLog::findImageForUUID(const char *uuid, ImageDetails *found) {
    if (uuid == nullptr || found == nullptr) {
        CRS_WARN("null input\n");
        return false;
    }
    for (const KnownImage &image : takeSnapshot(true).images) {
        if (strncmp(image.details.uuid, uuid, sizeof image.details.uuid) == 0) {
            *found = image.details;
            return true;
        }
    }
    return false;
}

ImageDetails BinaryImageLog::mainExecutableDetails() {
    ImageDetails details{};
    dl_iterate_phdr(
        [](dl_phdr_info *info, size_t, void *data) -> int {
            // The loader lists the main executable first.
            computeImageDetails(*info, *static_cast<ImageDetails *>(data));
            return 1;
        },
        &details);
    return details;
}

bool recordExecutableDetails(RecordWriter *writer, const ImageDetails &details) {
    if (writer == nullptr || !writer->isOpen()) {
        CRS_WARN("Error: file is invalid\n");
        return false;
    }
    return writer->beginKeyedObject("executable") && writer->beginObject() &&
           writer->writeString("architecture", details.architecture) &&
           writer->writeString("uuid", details.uuid) &&
           writer->writeUnsigned("base", details.node.base) &&
           writer->writeUnsigned("size", details.node.size) &&
           writer->writeBool("encrypted", details.encrypted) &&
           writer->writeString("minimum_sdk_version", details.minimumSystemVersion) &&
           writer->writeString("built_sdk_version", details.builtSystemVersion) &&
           writer->endObject() && writer->endRecord();
}

}  // namespace tarnwell::crash
