#include "crash/CrashReportReader.h"

#include <charconv>
#include <fstream>

namespace tarnwell::crash {

namespace fs = std::filesystem;

namespace {

struct LoadedImage {
    uint64_t base;
    std::string path;
    std::string uuid;
};

// Calls `visit` for each parsed line of a record file and notes the lines that fail.
template <typename Visit>
void readRecords(const fs::path &file, CrashReport &report, Visit visit) {
    std::ifstream input(file);
    std::string line;
    size_t number = 0;
    while (std::getline(input, line)) {
        ++number;
        if (line.empty()) {
            continue;
        }
        std::optional<RecordValue> record = parseRecordLine(line);
        if (!record || record->type != RecordValue::Type::Object) {
            report.damaged.push_back({file.filename().string(), number, line});
            continue;
        }
        visit(*record);
    }
}

std::vector<LoadedImage> readImages(const fs::path &directory, CrashReport &report) {
    std::vector<LoadedImage> images;
    readRecords(directory / "binary_images.crsrecord", report, [&](const RecordValue &record) {
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
    CrashReport report;
    report.name = directory.filename().string();
    const std::vector<LoadedImage> images = readImages(directory, report);

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
        readRecords(directory / name, report, readCrashRecord);
    }

    RecordValue metadata;
    metadata.type = RecordValue::Type::Object;
    readRecords(directory / "metadata.crsrecord", report, [&](const RecordValue &record) {
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
