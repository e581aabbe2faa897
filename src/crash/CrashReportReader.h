#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "crash/RecordParser.h"

namespace tarnwell::crash {

struct ReportFrame {
    uint64_t pc = 0;
    std::string imagePath;  // empty when no image of the report holds the address
    std::string imageUuid;
    uint64_t offset = 0;  // from the image's ELF header, as addr2line wants it
    std::string trust;    // how it was found: "context", "cfi", "frame_pointer" or "scan"
};

// A record line that could not be parsed, kept so the reader can say so.
struct DamagedLine {
    std::string file;
    size_t lineNumber = 0;
    std::string text;
};

// What one crash report says, read from its files alone.
struct CrashReport {
    std::string name;    // the report directory's name
    std::string kind;    // "signal", "exception" or "mach_exception"; empty if none found
    uint64_t time = 0;   // seconds since 1970
    std::string title;   // signal name or exception type
    std::string reason;  // signal code name or exception reason
    std::optional<int64_t> signalCode;
    std::optional<uint64_t> faultAddress;
    std::vector<ReportFrame> frames;      // the crashing thread, innermost first
    std::optional<RecordValue> metadata;  // the four metadata lines by key
    std::vector<DamagedLine> damaged;     // the first kMaxDamagedLines of them
    size_t damagedNotListed = 0;
    // Record files left unread or read in part, each as "<file>: <why>".
    std::vector<std::string> unread;
};

// What a reader may take from a reports folder that anybody could have filled.
struct ReportReadLimits {
    static constexpr size_t kMaxRecordBytes = 1 << 20;
    static constexpr size_t kMaxDamagedLines = 20;
    static constexpr size_t kMaxDamagedLineBytes = 200;
    // Shared by every report one reader reads; a record is not read once it is spent.
    size_t bytesLeft = 16 << 20;
};

// Reads a report directory. Never throws on bad content: lines that do not parse are
// listed in `damaged`. Links, FIFOs and devices are left unread, records are read up to
// their limits (the record files hold text lines the kit wrote, far below them).
CrashReport readCrashReport(const std::filesystem::path &directory, ReportReadLimits &limits);
CrashReport readCrashReport(const std::filesystem::path &directory);

}  // namespace tarnwell::crash
