#include "crash/ReportStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <system_error>

#include "crash/CrashLog.h"

namespace tarnwell::crash {

namespace fs = std::filesystem;

namespace {

constexpr const char kActivePrefix[] = "active-";
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
    std::error_code error;
    for (const char *name : kCrashRecords) {
        const auto size = fs::file_size(report / name, error);
        if (!error && size > 0) {
            return true;
        }
    }
    return false;
}

bool ReportStore::prepare() {
    collectEndedRuns();
    prunePending();
    std::error_code error;
    active_ = root_ / (std::string(kActivePrefix) + std::to_string(getpid()));
    fs::create_directories(active_, error);
    if (error) {
        CRS_WARN("Unable to create the report directory %s\n", error.message().c_str());
        return false;
    }
    lockDescriptor_ = open((active_ / kLockName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (lockDescriptor_ < 0 || flock(lockDescriptor_, LOCK_EX | LOCK_NB) != 0) {
        CRS_WARN("Unable to lock the report directory\n");
        return false;
    }
    return true;
}

void ReportStore::collectEndedRuns() {
    std::error_code error;
    std::vector<fs::path> ended;
    for (const auto &entry : fs::directory_iterator(root_, error)) {
        if (!entry.path().filename().string().starts_with(kActivePrefix)) {
            continue;
        }
        const int fd = open((entry.path() / kLockName).c_str(), O_RDWR | O_CLOEXEC);
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
    const std::vector<fs::path> reports = pendingReports();
    std::error_code error;
    for (size_t i = kMaxPendingReports; i < reports.size(); ++i) {
        fs::remove_all(reports[i], error);
    }
}

std::vector<fs::path> ReportStore::pendingReports() const {
    std::vector<fs::path> reports;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(pendingDirectory(), error)) {
        if (entry.is_directory(error)) {
            reports.push_back(entry.path());
        }
    }
    std::sort(reports.begin(), reports.end(),
              [](const fs::path &a, const fs::path &b) { return a.filename() > b.filename(); });
    return reports;
}

}  // namespace tarnwell::crash
