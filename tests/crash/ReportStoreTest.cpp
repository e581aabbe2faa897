#include "crash/ReportStore.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "CrashTestSupport.h"

namespace tarnwell::crash {
namespace {

namespace fs = std::filesystem;
using namespace testing;

class ReportStoreTest : public ::testing::Test {
protected:
    fs::path root() const { return directory_.path(); }
    TemporaryDirectory directory_;
};

// An ended run's report with a crash record, even an empty one (opened by the handler
// on a full disk), becomes pending; one without is dropped. A running process's report
// (its lock held) and one still being made are left alone.
TEST_F(ReportStoreTest, EndedRunWithCrashRecordBecomesPending) {
    ReportStore running(root());
    ASSERT_TRUE(running.prepare());
    std::ofstream(running.activeDirectory() / "signal.crsrecord") << "{\"signal\":{}}\n";
    fs::rename(running.activeDirectory(), root() / "active-running");
    fs::create_directories(root() / "starting-abc123");
    const std::pair<const char *, const char *> endedRuns[] = {
        {"signal.crsrecord", "{\"signal\":{}}\n"},
        {"exception.crsrecord", "{\"exception\":{}}\n"},
        {"signal.crsrecord", ""},
        {"metadata.crsrecord", "{}\n"}};
    for (size_t i = 0; i < std::size(endedRuns); ++i) {
        const fs::path report = root() / ("active-" + std::to_string(i));
        fs::create_directories(report);
        std::ofstream(report / "metadata.crsrecord") << "{}\n";
        std::ofstream(report / endedRuns[i].first) << endedRuns[i].second;
    }
    ReportStore store(root());
    ASSERT_TRUE(store.prepare());
    const auto pending = store.pendingReports();
    ASSERT_EQ(pending.size(), 3u);
    for (const fs::path &report : pending) {
        EXPECT_TRUE(fs::exists(report / "metadata.crsrecord"));
        EXPECT_FALSE(fs::exists(report / ".lock"));
    }
    for (const char *gone : {"active-0", "active-1", "active-2", "active-3"}) {
        EXPECT_FALSE(fs::exists(root() / gone)) << gone;
    }
    EXPECT_TRUE(fs::exists(root() / "active-running" / "signal.crsrecord"));
    EXPECT_TRUE(fs::exists(root() / "starting-abc123"));
    EXPECT_TRUE(store.activeDirectory().filename().string().starts_with("active-"));
    EXPECT_TRUE(fs::is_directory(store.activeDirectory()));
}

// Reports are ranked by the time their records carry, not by folder name; a time
// later than now (a wrong clock) ranks below every believable one, and what is not a
// report neither counts nor goes.
TEST_F(ReportStoreTest, KeepsTheTenNewestRealReports) {
    const fs::path pending = root() / "pending";
    auto report = [&](const std::string &name, uint64_t time) {
        fs::create_directories(pending / name);
        std::ofstream(pending / name / "signal.crsrecord")
            << "{\"signal\":{\"name\":\"SIGSEGV\",\"time\":" << time << "}}\n";
    };
    // Eleven reports of November 2026 (1795000000 + i), in names that sort the other way.
    for (int i = 0; i < 11; ++i) {
        report("2026" + std::to_string(20 - i), 1795000000 + i);
    }
    report("20991231T000000Z-001", 1795000005 - 1000);  // future name, old record
    report("wrong-clock", 4102444800);                  // 2100-01-01
    for (const char *junk : {"99999999T999999Z-999", "zz-not-a-report", "empty"}) {
        fs::create_directories(pending / junk);
    }
    std::ofstream(pending / "zz-file") << "x";

    ReportStore store(root());
    ASSERT_TRUE(store.prepare());
    std::vector<std::string> kept;
    for (const fs::path &path : store.pendingReports()) {
        kept.push_back(path.filename().string());
    }
    EXPECT_EQ(kept, (std::vector<std::string>{"202610", "202611", "202612", "202613", "202614",
                                              "202615", "202616", "202617", "202618", "202619"}));
    for (const char *gone : {"202620", "20991231T000000Z-001", "wrong-clock"}) {
        EXPECT_FALSE(fs::exists(pending / gone)) << gone;
    }
    for (const char *left : {"99999999T999999Z-999", "zz-not-a-report", "empty", "zz-file"}) {
        EXPECT_TRUE(fs::exists(pending / left)) << left;
    }
}

TEST_F(ReportStoreTest, UnwritableRootFailsCleanly) {
    std::ofstream(root() / "file") << "x";
    ReportStore store(root() / "file" / "reports");
    EXPECT_FALSE(store.prepare());
}

}  // namespace
}  // namespace tarnwell::crash
