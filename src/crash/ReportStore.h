#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace tarnwell::crash {

// The reports folder: "active-<pid>" is the report a running process writes into;
// "pending/<UTC time of the crash>-<n>" are reports of earlier runs that crashed, kept
// until pushed out by newer ones ("starting-*" is an active directory being made). Several
// processes may run at once (the tray application and a `crash-reports` query), so each owns its
// active directory and holds a lock on it for its whole life; a directory whose lock is free
// belongs to a run that has ended. Normal context only.
class ReportStore {
public:
    static constexpr size_t kMaxPendingReports = 10;

    // The reports folder inside the kit's telemetry folder.
    static std::filesystem::path folderIn(const std::filesystem::path &telemetryDirectory) {
        return telemetryDirectory / "reports";
    }

    explicit ReportStore(std::filesystem::path root);
    ~ReportStore();
    ReportStore(const ReportStore &) = delete;
    ReportStore &operator=(const ReportStore &) = delete;

    // This process's active directory (valid after prepare()).
    std::filesystem::path activeDirectory() const { return active_; }
    std::filesystem::path pendingDirectory() const { return root_ / "pending"; }

    // At start: keeps each ended run's active report as pending when it holds a crash
    // record and drops it otherwise, keeps the newest pending reports, and makes and
    // locks a fresh active directory. False when that directory cannot be made.
    bool prepare();

    // Pending report directories, newest first by the time their records carry; what
    // is not a report is left out.
    std::vector<std::filesystem::path> pendingReports() const;

    // True when the directory holds a signal, exception or Mach exception record file,
    // even an empty one.
    static bool holdsCrashRecord(const std::filesystem::path &report);

    // When the report's crash happened, seconds since 1970: the time its record carries,
    // or, for a record left empty, when the record file was last written.
    static uint64_t crashTime(const std::filesystem::path &report);

private:
    void collectEndedRuns();
    void keepAsPending(const std::filesystem::path &report);
    void prunePending();

    std::filesystem::path root_;
    std::filesystem::path active_;
    int lockDescriptor_ = -1;
};

}  // namespace tarnwell::crash
