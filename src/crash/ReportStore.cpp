#include "crash/ReportStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <system_error>

#include "crash/CrashLog.h"
#include "crash/CrashReportReader.h"

namespace tarnwell::crash {

namespace fs = std::filesystem;

namespace {

constexpr const char kActivePrefix[] = "active-";
constexpr const char kStartingPrefix[] = "starting-";
constexpr const char kStartingPattern[] = "starting-XXXXXX";
constexpr const char kLockName[] = ".lock";
constexpr const char *kCrashRecords[] = {"signal.crsrecord", "exception.crsrecord",
                                         "mach_exception.crsrecord"};

// Names ("20261123T093012Z-001") sort in time order, so the newest reports are the
// greatest names.
std::string pendingName(fs::file_time_type written) {
    const auto system = std::chrono::file_clock::to_sys(written);
    const std::time_t seconds = std::chrono::system_clock::to_time_t(system);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char name[32];
    std::strftime(name, sizeof name, "%Y%m%dT%H%M%SZ", &utc);
    return name;
}

}  // namespace

ReportStore::ReportStore(fs::path root) : root_(std::move(root)) {}

ReportStore::~ReportStore() {
    if (lockDescriptor_ >= 0) {
        close(lockDescriptor_);
    }
}

bool ReportStore::holdsCrashRecord(const fs::path &report) {
    // The files are made only by a capture path, so one that exists marks a crash even
    // when it stayed empty (a full disk): the report's metadata still says which run.
    std::error_code error;
    for (const char *name : kCrashRecords) {
        if (fs::is_regular_file(fs::symlink_status(report / name, error))) {
            return true;
        }
    }
    return false;
}

uint64_t ReportStore::crashTime(const fs::path &report) {
    const uint64_t recorded = readCrashReport(report).time;
    if (recorded != 0) {
        return recorded;
    }
    std::error_code error;
    uint64_t written = 0;
    for (const char *name : kCrashRecords) {
        const auto time = fs::last_write_time(report / name, error);
        if (!error) {
            const auto system = std::chrono::file_clock::to_sys(time);
            const auto seconds =
                std::chrono::duration_cast<std::chrono::seconds>(system.time_since_epoch());
            written = std::max(written, uint64_t(std::max<int64_t>(seconds.count(), 0)));
        }
    }
    return written;
}

bool ReportStore::prepare() {
    collectEndedRuns();
    prunePending();
    // Made and locked under a name no other start collects, then renamed: an active
    // directory is never seen without its lock held, so a process starting at the same
    // moment cannot take it for the remains of an ended run.
    std::error_code error;
    fs::create_directories(root_, error);
    std::string starting = (root_ / kStartingPattern).string();
    if (error || mkdtemp(starting.data()) == nullptr) {
        CRS_WARN("Unable to create the report directory %s\n", error.message().c_str());
        return false;
    }
    lockDescriptor_ =
        open((fs::path(starting) / kLockName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    active_ = root_ / (std::string(kActivePrefix) + std::to_string(getpid()));
    if (lockDescriptor_ < 0 || flock(lockDescriptor_, LOCK_EX | LOCK_NB) != 0 ||
        rename(starting.c_str(), active_.c_str()) != 0) {
        CRS_WARN("Unable to lock the report directory\n");
        fs::remove_all(starting, error);
        return false;
    }
    return true;
}

void ReportStore::collectEndedRuns() {
    std::error_code error;
    std::vector<fs::path> ended;
    for (const auto &entry : fs::directory_iterator(root_, error)) {
        const std::string name = entry.path().filename().string();
        const bool starting = name.starts_with(kStartingPrefix);
        if (!name.starts_with(kActivePrefix) && !starting) {
            continue;
        }
        // A directory still being made has no lock file yet; only a free lock says its
        // maker has gone.
        if (starting && !fs::exists(entry.path() / kLockName, error)) {
            continue;
        }
        // Anything may sit there: no following a link, no blocking on a FIFO.
        const int fd = open((entry.path() / kLockName).c_str(),
                            O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        // No lock file at all: the run ended before it could take one.
        const bool free = fd < 0 || flock(fd, LOCK_EX | LOCK_NB) == 0;
        if (fd >= 0) {
            close(fd);
        }
        if (free) {
            ended.push_back(entry.path());
        }
    }
    for (const fs::path &report : ended) {
        if (holdsCrashRecord(report)) {
            keepAsPending(report);
        }
        fs::remove_all(report, error);
    }
}

void ReportStore::keepAsPending(const fs::path &report) {
    std::error_code error;
    fs::file_time_type written = fs::file_time_type::min();
    for (const char *name : kCrashRecords) {
        const auto time = fs::last_write_time(report / name, error);
        if (!error) {
            written = std::max(written, time);
        }
    }
    fs::create_directories(pendingDirectory(), error);
    const std::string base = pendingName(written);
    fs::path target;
    for (int sequence = 1; target.empty() || fs::exists(target, error); ++sequence) {
        char suffix[16];
        std::snprintf(suffix, sizeof suffix, "-%03d", sequence);
        target = pendingDirectory() / (base + suffix);
    }
    fs::rename(report, target, error);
    if (error) {
        CRS_WARN("Unable to keep the crash report %s\n", error.message().c_str());
        return;
    }
    fs::remove(target / kLockName, error);
}

void ReportStore::prunePending() {
    // Only real reports count and only they are removed: whatever else lies in the
    // folder is not ours to judge.
    const std::vector<fs::path> reports = pendingReports();
    std::error_code error;
    for (size_t i = kMaxPendingReports; i < reports.size(); ++i) {
        fs::remove_all(reports[i], error);
    }
}

std::vector<fs::path> ReportStore::pendingReports() const {
    struct Dated {
        uint64_t time;
        fs::path report;
    };
    // A time later than now was written by a wrong clock and tells nothing about the
    // crash's age; such a report goes before any report with a believable time.
    const auto now = uint64_t(std::time(nullptr));
    std::vector<Dated> dated;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(pendingDirectory(), error)) {
        if (entry.is_directory(error) && !entry.is_symlink(error) &&
            holdsCrashRecord(entry.path())) {
            const uint64_t time = crashTime(entry.path());
            dated.push_back({time > now ? 0 : time, entry.path()});
        }
    }
    std::sort(dated.begin(), dated.end(), [](const Dated &a, const Dated &b) {
        return a.time != b.time ? a.time > b.time : a.report.filename() > b.report.filename();
    });
    std::vector<fs::path> reports;
    for (Dated &entry : dated) {
        reports.push_back(std::move(entry.report));
    }
    return reports;
}

}  // namespace tarnwell::crash
