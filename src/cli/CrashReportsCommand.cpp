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

// The length of the well-formed UTF-8 sequence at text[i], or 0 when the byte there
// starts none (a record may hold any bytes: a path is only bytes to the kernel).
size_t utf8SequenceLength(std::string_view text, size_t i, char32_t &codePoint) {
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    size_t length = 0;
    char32_t minimum = 0;
    if (lead < 0x80) {
        codePoint = lead;
        return 1;
    } else if ((lead & 0xe0) == 0xc0) {
        length = 2, minimum = 0x80, codePoint = lead & 0x1f;
    } else if ((lead & 0xf0) == 0xe0) {
        length = 3, minimum = 0x800, codePoint = lead & 0x0f;
    } else if ((lead & 0xf8) == 0xf0) {
        length = 4, minimum = 0x10000, codePoint = lead & 0x07;
    } else {
        return 0;
    }
    if (i + length > text.size()) {
        return 0;
    }
    for (size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xc0) != 0x80) {
            return 0;
        }
        codePoint = (codePoint << 6) | (byte(i + k) & 0x3f);
    }
    const bool surrogate = codePoint >= 0xd800 && codePoint <= 0xdfff;
    return codePoint < minimum || codePoint > 0x10ffff || surrogate ? 0 : length;
}

// C0 and C1 controls and DEL: what a terminal takes for a command.
bool isControl(char32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7f && codePoint <= 0x9f);
}

// Calls copy(sequence) for each printable UTF-8 sequence and escape(byte) for each
// byte of a control or of a malformed sequence.
template <typename Copy, typename Escape>
void walkText(std::string_view text, Copy copy, Escape escape) {
    for (size_t i = 0; i < text.size();) {
        char32_t codePoint = 0;
        const size_t length = utf8SequenceLength(text, i, codePoint);
        if (length == 0) {
            escape(static_cast<unsigned char>(text[i++]));
            continue;
        }
        if (isControl(codePoint)) {
            for (size_t k = 0; k < length; ++k) {
                escape(static_cast<unsigned char>(text[i + k]));
            }
        } else {
            copy(text.substr(i, length));
        }
        i += length;
    }
}

// Text for the terminal: controls and malformed bytes as \xNN, so a record cannot
// send escape sequences to the terminal.
std::string printable(std::string_view text) {
    std::string out;
    walkText(
        text, [&](std::string_view sequence) { out += sequence; },
        [&](unsigned char byte) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", unsigned(byte));
            out += escaped;
        });
    return out;
}

// A byte that is not UTF-8 becomes the code point of the same number (as Latin-1
// would read it), so the output always parses.
std::string jsonString(std::string_view text) {
    std::string out = "\"";
    walkText(
        text,
        [&](std::string_view sequence) {
            if (sequence == "\"" || sequence == "\\") {
                out += '\\';
            }
            out += sequence;
        },
        [&](unsigned char byte) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", unsigned(byte));
            out += escaped;
        });
    return out + "\"";
}

// Record numbers are "-?[0-9]+" as written; JSON allows no leading zeros.
std::string jsonNumber(std::string_view digits) {
    std::string out;
    if (digits.starts_with('-')) {
        out.push_back('-');
        digits.remove_prefix(1);
    }
    const size_t first = digits.find_first_not_of('0');
    out += first == std::string_view::npos ? std::string_view("0") : digits.substr(first);
    return out;
}

std::string jsonValue(const RecordValue &value) {
    switch (value.type) {
        case RecordValue::Type::Null:
            return "null";
        case RecordValue::Type::Bool:
            return value.boolean ? "true" : "false";
        case RecordValue::Type::Number:
            return jsonNumber(value.text);
        case RecordValue::Type::String:
            return jsonString(value.text);
        case RecordValue::Type::Array: {
            std::string out = "[";
            for (size_t i = 0; i < value.items.size(); ++i) {
                if (i > 0) {
                    out += ',';
                }
                out += jsonValue(value.items[i]);
            }
            out += ']';
            return out;
        }
        case RecordValue::Type::Object: {
            std::string out = "{";
            for (size_t i = 0; i < value.members.size(); ++i) {
                if (i > 0) {
                    out += ',';
                }
                out += jsonString(value.members[i].first);
                out += ':';
                out += jsonValue(value.members[i].second);
            }
            out += '}';
            return out;
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
        if (i > 0) {
            out += ',';
        }
        out += "{\"file\":" + jsonString(line.file) +
               ",\"line\":" + std::to_string(line.lineNumber) +
               ",\"text\":" + jsonString(line.text) + "}";
    }
    out += "],\"damaged_not_listed\":" + std::to_string(report.damagedNotListed);
    out += ",\"unread\":[";
    for (size_t i = 0; i < report.unread.size(); ++i) {
        if (i > 0) {
            out += ',';
        }
        out += jsonString(report.unread[i]);
    }
    out += "]}";
    return out;
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
    std::printf("%s  %s  %s\n", printable(report.name).c_str(),
                report.time != 0 ? utcTime(report.time).c_str() : "time unknown",
                printable(what).c_str());
    for (size_t i = 0; i < report.frames.size() && i < kTextFrames; ++i) {
        const crash::ReportFrame &frame = report.frames[i];
        // A frame found by scanning the stack may be a leftover of an earlier call.
        const char *doubt = frame.trust == "scan" ? "  (scanned)" : "";
        if (frame.imagePath.empty()) {
            std::printf("  %2zu  0x%" PRIx64 "%s\n", i, frame.pc, doubt);
        } else {
            std::printf("  %2zu  %s + 0x%" PRIx64 "%s\n", i, printable(frame.imagePath).c_str(),
                        frame.offset, doubt);
        }
    }
    if (report.frames.size() > kTextFrames) {
        std::printf("      ... %zu more frames\n", report.frames.size() - kTextFrames);
    }
    for (const crash::DamagedLine &line : report.damaged) {
        std::printf("  damaged record: %s line %zu: %s\n", line.file.c_str(), line.lineNumber,
                    printable(std::string_view(line.text).substr(0, 60)).c_str());
    }
    if (report.damagedNotListed > 0) {
        std::printf("      ... %zu more damaged lines\n", report.damagedNotListed);
    }
    for (const std::string &note : report.unread) {
        std::printf("  record %s\n", printable(note).c_str());
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
    if (!json && reports.empty()) {
        std::printf("No crash reports.\n");
        return kExitOk;
    }
    if (json) {
        std::fputs("[", stdout);
    }
    crash::ReportReadLimits limits;
    size_t shown = 0;
    for (; shown < reports.size() && limits.bytesLeft > 0; ++shown) {
        const CrashReport report = crash::readCrashReport(reports[shown], limits);
        if (json) {
            std::printf("%s%s", shown > 0 ? "," : "", reportJson(report).c_str());
        } else {
            printReport(report);
        }
    }
    if (json) {
        std::fputs("]\n", stdout);
    }
    if (shown < reports.size()) {
        std::fprintf(stderr, "tarnwell: %zu more reports not read: the read limit is spent\n",
                     reports.size() - shown);
    }
    return kExitOk;
}

}  // namespace tarnwell::cli
