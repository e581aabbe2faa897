#include "crash/CrashReportReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

#include "crash/RegularFile.h"

namespace tarnwell::crash {

namespace fs = std::filesystem;

namespace {

struct LoadedImage {
    uint64_t base;
    std::string path;
    std::string uuid;
};

// One report directory opened without following a link, so every record is read
// from inside it.
class ReportFolder {
public:
    ReportFolder(const fs::path &directory, CrashReport &report, ReportReadLimits &limits)
        : report_(report), limits_(limits) {
        fd_ = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd_ < 0 && errno != ENOENT) {
            report_.unread.push_back("report folder: a link or not a folder");
        }
    }
    ~ReportFolder() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    ReportFolder(const ReportFolder &) = delete;
    ReportFolder &operator=(const ReportFolder &) = delete;

    // Calls `visit` for each parsed line of a record file and notes the lines that fail.
    template <typename Visit>
    void readRecords(const char *name, Visit visit) {
        if (fd_ < 0) {
            return;
        }
        if (limits_.bytesLeft == 0) {
            report_.unread.push_back(std::string(name) + ": not read, the read limit is spent");
            return;
        }
        const size_t cap = std::min(limits_.bytesLeft, ReportReadLimits::kMaxRecordBytes);
        BoundedRead read = readRegularFile(fd_, name, cap);
        if (read.refusal == FileRefusal::Missing) {
            return;
        }
        limits_.bytesLeft -= read.bytes.size();
        if (read.refusal == FileRefusal::TooLarge) {
            report_.unread.push_back(std::string(name) + ": read up to " +
                                     std::to_string(read.bytes.size()) + " of " +
                                     std::to_string(read.size) + " bytes");
            // The line the cut fell in is not the record's own end.
            const size_t lastNewline = read.bytes.rfind('\n');
            read.bytes.resize(lastNewline == std::string::npos ? 0 : lastNewline + 1);
        } else if (read.refusal != FileRefusal::None) {
            report_.unread.push_back(std::string(name) + ": " + describeRefusal(read.refusal));
            return;
        }
        const std::string_view text = read.bytes;
        size_t number = 0;
        for (size_t start = 0; start < text.size();) {
            size_t end = text.find('\n', start);
            end = end == std::string_view::npos ? text.size() : end;
            const std::string_view line = text.substr(start, end - start);
            start = end + 1;
            ++number;
            if (line.empty()) {
                continue;
            }
            std::optional<RecordValue> record = parseRecordLine(line);
            if (!record || record->type != RecordValue::Type::Object) {
                noteDamaged(name, number, line);
                continue;
            }
            visit(*record);
        }
    }

private:
    void noteDamaged(const char *name, size_t number, std::string_view line) {
        if (report_.damaged.size() == ReportReadLimits::kMaxDamagedLines) {
            ++report_.damagedNotListed;
            return;
        }
        report_.damaged.push_back(
            {name, number, std::string(line.substr(0, ReportReadLimits::kMaxDamagedLineBytes))});
    }

    CrashReport &report_;
    ReportReadLimits &limits_;
    int fd_ = -1;
};

std::vector<LoadedImage> readImages(ReportFolder &folder) {
    std::vector<LoadedImage> images;
    folder.readRecords("binary_images.crsrecord", [&](const RecordValue &record) {
        if (const RecordValue *load = record.find("load")) {
            images.push_back(
                {load->unsignedAt("base"), load->stringAt("path"), load->stringAt("uuid")});
        }
    });
    return images;
}

void readThread(const RecordValue &thread, const std::vector<LoadedImage> &images,
                CrashReport &report) {
    const RecordValue *frames = thread.find("frames");
    if (frames == nullptr) {
        return;
    }
    for (const RecordValue &frame : frames->items) {
        ReportFrame out;
        out.pc = frame.unsignedAt("pc");
        out.trust = frame.stringAt("trust");
        if (frame.find("image_base") != nullptr) {
            const uint64_t base = frame.unsignedAt("image_base");
            out.offset = frame.unsignedAt("offset");
            // The latest load at that base: an address can be reused after an unload.
            for (auto it = images.rbegin(); it != images.rend(); ++it) {
                if (it->base == base) {
                    out.imagePath = it->path;
                    out.imageUuid = it->uuid;
                    break;
                }
            }
        }
        report.frames.push_back(std::move(out));
    }
}

}  // namespace

CrashReport readCrashReport(const fs::path &directory) {
    ReportReadLimits limits;
    return readCrashReport(directory, limits);
}

CrashReport readCrashReport(const fs::path &directory, ReportReadLimits &limits) {
    CrashReport report;
    report.name = directory.filename().string();
    ReportFolder folder(directory, report, limits);
    const std::vector<LoadedImage> images = readImages(folder);

    bool crashedThreadSeen = false;
    auto readCrashRecord = [&](const RecordValue &record) {
        if (const RecordValue *signal = record.find("signal")) {
            report.kind = "signal";
            report.title = signal->stringAt("name");
            report.reason = signal->stringAt("code_name");
            report.time = signal->unsignedAt("time");
            if (const RecordValue *code = signal->find("code")) {
                int64_t value = 0;
                std::from_chars(code->text.data(), code->text.data() + code->text.size(), value);
                report.signalCode = value;
            }
            if (signal->find("address") != nullptr) {
                report.faultAddress = signal->unsignedAt("address");
            }
        } else if (const RecordValue *exception = record.find("exception")) {
            report.kind = "exception";
            report.title = exception->stringAt("type");
            report.reason = exception->stringAt("reason");
            report.time = exception->unsignedAt("time");
        } else if (const RecordValue *mach = record.find("mach_exception")) {
            report.kind = "mach_exception";
            report.title = mach->stringAt("name");
            report.reason = mach->stringAt("code_name");
            report.time = mach->unsignedAt("time");
        } else if (const RecordValue *thread = record.find("thread")) {
            if (!crashedThreadSeen) {
                crashedThreadSeen = true;
                readThread(*thread, images, report);
            }
        }
    };
    for (const char *name :
         {"signal.crsrecord", "exception.crsrecord", "mach_exception.crsrecord"}) {
        folder.readRecords(name, readCrashRecord);
    }

    RecordValue metadata;
    metadata.type = RecordValue::Type::Object;
    folder.readRecords("metadata.crsrecord", [&](const RecordValue &record) {
        for (const auto &member : record.members) {
            metadata.members.push_back(member);
        }
    });
    if (!metadata.members.empty()) {
        report.metadata = std::move(metadata);
    }
    return report;
}

}  // namespace tarnwell::crash
