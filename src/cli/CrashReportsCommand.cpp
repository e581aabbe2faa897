#include "cli/CrashReportsCommand.h"

#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>

#include "BuildInfo.h"
#include "crash/CrashReportReader.h"
#include "crash/ReportStore.h"
#include "crash/TelemetryDirectory.h"

namespace tarnwell::cli {

namespace {

using crash::CrashReport;
using crash::RecordValue;

// Frames shown per report in the text listing; --json has them all.
constexpr size_t kTextFrames = 12;

std::string utcTime(uint64_t seconds) {
    const std::time_t time = std::time_t(seconds);
    std::tm utc{};
    gmtime_r(&time, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &utc);
    return text;
}

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", unsigned(c));
                    out += escaped;
                } else {
                    out += c;
                }
        }
    }
    return out + "\"";
}

std::string jsonValue(const RecordValue &value) {
    switch (value.type) {
        case RecordValue::Type::Null:
            return "null";
        case RecordValue::Type::Bool:
            return value.boolean ? "true" : "false";
        case RecordValue::Type::Number:
            return value.text;
        case RecordValue::Type::String:
            return jsonString(value.text);
        case RecordValue::Type::Array: {
            std::string out = "[";
            for (size_t i = 0; i < value.items.size(); ++i) {
                out += (i > 0 ? "," : "") + jsonValue(value.items[i]);
            }
            return out + "]";
        }
        case RecordValue::Type::Object: {
            std::string out = "{";
            for (size_t i = 0; i < value.members.size(); ++i) {
                out += (i > 0 ? "," : "") + jsonString(value.members[i].first) + ":" +
                       jsonValue(value.members[i].second);
            }
            return out + "}";
        }
    }
    return "null";
}

std::string reportJson(const CrashReport &report) {
    std::string out = "{\"name\":" + jsonString(report.name);
    out += ",\"kind\":" + (report.kind.empty() ? std::string("null") : jsonString(report.kind));
    out += ",\"time\":" + std::to_string(report.time);
    out += ",\"title\":" + jsonString(report.title);
    out += ",\"reason\":" + jsonString(report.reason);
    out += ",\"signal_code\":" +
           (report.signalCode ? std::to_string(*report.signalCode) : std::string("null"));
    out += ",\"address\":" +
           (report.faultAddress ? std::to_string(*report.faultAddress) : std::string("null"));
    out += ",\"frames\":[";
    for (size_t i = 0; i < report.frames.size(); ++i) {
        const crash::ReportFrame &frame = report.frames[i];
        out += i > 0 ? "," : "";
        out += "{\"pc\":" + std::to_string(frame.pc) + ",\"trust\":" + jsonString(frame.trust);
        if (!frame.imagePath.empty()) {
            out += ",\"image\":" + jsonString(frame.imagePath) +
                   ",\"uuid\":" + jsonString(frame.imageUuid) +
                   ",\"offset\":" + std::to_string(frame.offset);
        }
        out += "}";
    }
    out += "],\"metadata\":" + (report.metadata ? jsonValue(*report.metadata) : "null");
    out += ",\"damaged\":[";
    for (size_t i = 0; i < report.damaged.size(); ++i) {
        const crash::DamagedLine &line = report.damaged[i];
        out += (i > 0 ? "," : "") + std::string("{\"file\":") + jsonString(line.file) +
               ",\"line\":" + std::to_string(line.lineNumber) +
               ",\"text\":" + jsonString(line.text) + "}";
    }
    return out + "]}";
}

void printReport(const CrashReport &report) {
    std::string what = report.title.empty() ? std::string("unknown crash") : report.title;
    if (!report.reason.empty()) {
        what += report.kind == "exception" ? ": " + report.reason : " (" + report.reason + ")";
    }
    // Only a fault raised by the processor has an address; a sent signal carries the
    // sender's process id in the same place.
    if (report.faultAddress && report.signalCode.value_or(0) > 0) {
        char address[32];
        std::snprintf(address, sizeof address, " at 0x%" PRIx64, *report.faultAddress);
        what += address;
    }
    std::printf("%s  %s  %s\n", report.name.c_str(),
                report.time != 0 ? utcTime(report.time).c_str() : "time unknown", what.c_str());
    for (size_t i = 0; i < report.frames.size() && i < kTextFrames; ++i) {
        const crash::ReportFrame &frame = report.frames[i];
        // A frame found by scanning the stack may be a leftover of an earlier call.
        const char *doubt = frame.trust == "scan" ? "  (scanned)" : "";
        if (frame.imagePath.empty()) {
            std::printf("  %2zu  0x%" PRIx64 "%s\n", i, frame.pc, doubt);
        } else {
            std::printf("  %2zu  %s + 0x%" PRIx64 "%s\n", i, frame.imagePath.c_str(), frame.offset,
                        doubt);
        }
    }
    if (report.frames.size() > kTextFrames) {
        std::printf("      ... %zu more frames\n", report.frames.size() - kTextFrames);
    }
    for (const crash::DamagedLine &line : report.damaged) {
        std::printf("  damaged record: %s line %zu: %.60s\n", line.file.c_str(), line.lineNumber,
                    line.text.c_str());
    }
}

}  // namespace

int runCrashReports(Arguments args) {
    bool json = false;
    for (const char *arg : args) {
        if (std::string_view(arg) == "--json") {
            json = true;
        } else {
            return usageError("crash-reports: unknown option '" + std::string(arg) + "'");
        }
    }
    const std::string telemetry = crash::telemetryDirectory(kBundleIdentifier);
    if (telemetry.empty()) {
        std::fprintf(stderr, "tarnwell: no data folder: neither XDG_DATA_HOME nor HOME is set\n");
        return kExitFailure;
    }
    const crash::ReportStore store(crash::ReportStore::folderIn(telemetry));
    const auto reports = store.pendingReports();
    if (json) {
        std::printf("[");
        for (size_t i = 0; i < reports.size(); ++i) {
            std::printf("%s%s", i > 0 ? "," : "",
                        reportJson(crash::readCrashReport(reports[i])).c_str());
        }
        std::printf("]\n");
        return kExitOk;
    }
    if (reports.empty()) {
        std::printf("No crash reports.\n");
        return kExitOk;
    }
    for (const auto &directory : reports) {
        printReport(crash::readCrashReport(directory));
    }
    return kExitOk;
}

}  // namespace tarnwell::cli
