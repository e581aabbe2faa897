#include "crash/ReportStore.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "CrashTestSupport.h"

namespace tarnwell::crash {
namespace {

namespace fs = std::filesystem;
using namespace testing;

class ReportStoreTest : public ::testing::Test {
protected:
    fs::path root() const { return directory_.path(); }
    // An active report left by a run that has ended (no lock holder).
    fs::path endedRun(const std::string &pid, const char *record, const char *content) {
        const fs::path report = root() / ("active-" + pid);
        fs::create_directories(report);
        std::ofstream(report / "metadata.crsrecord") << "{}\n";
        if (record != nullptr) {
            std::ofstream(report / record) << content;
        }
        return report;
    }
    TemporaryDirectory directory_;
};

TEST_F(ReportStoreTest, EndedRunWithCrashRecordBecomesPending) {
    endedRun("1", "signal.crsrecord", "{\"signal\":{}}\n");
    endedRun("2", "exception.crsrecord", "{\"exception\":{}}\n");
    ReportStore store(root());
    ASSERT_TRUE(store.prepare());
    const auto pending = store.pendingReports();
    ASSERT_EQ(pending.size(), 2u);
    EXPECT_TRUE(ReportStore::holdsCrashRecord(pending[0]));
    EXPECT_TRUE(fs::exists(pending[0] / "metadata.crsrecord"));
    EXPECT_FALSE(fs::exists(pending[0] / ".lock"));
    EXPECT_FALSE(fs::exists(root() / "active-1"));
    EXPECT_FALSE(fs::exists(root() / "active-2"));
    EXPECT_TRUE(fs::is_directory(store.activeDirectory()));
    EXPECT_TRUE(store.activeDirectory().filename().string().starts_with("active-"));
}

TEST_F(ReportStoreTest, EndedRunWithoutCrashIsDropped) {
    endedRun("1", nullptr, "");
    endedRun("2", "signal.crsrecord", "");  // opened, nothing written: no crash
    ReportStore store(root());
    ASSERT_TRUE(store.prepare());
    EXPECT_TRUE(store.pendingReports().empty());
    EXPECT_FALSE(fs::exists(root() / "active-1"));
    EXPECT_FALSE(fs::exists(root() / "active-2"));
}

TEST_F(ReportStoreTest, RunningProcessReportIsLeftAlone) {
    ReportStore running(root());
    ASSERT_TRUE(running.prepare());
    std::ofstream(running.activeDirectory() / "signal.crsrecord") << "{\"signal\":{}}\n";
    // A second store in the same process stands for a second process: its lock is held.
    fs::rename(running.activeDirectory(), root() / "active-other");
    ReportStore second(root());
    EXPECT_TRUE(second.prepare());
    EXPECT_TRUE(fs::exists(root() / "active-other" / "signal.crsrecord"));
    EXPECT_TRUE(second.pendingReports().empty());
}

TEST_F(ReportStoreTest, KeepsTheTenNewest) {
    for (int i = 0; i < 12; ++i) {
        char name[32];
        snprintf(name, sizeof name, "2026010%dT000000Z-%03d", i / 10, i);
        fs::create_directories(root() / "pending" / name);
    }
    ReportStore store(root());
    ASSERT_TRUE(store.prepare());
    const auto pending = store.pendingReports();
    ASSERT_EQ(pending.size(), ReportStore::kMaxPendingReports);
    EXPECT_EQ(pending.front().filename(), "20260101T000000Z-011");
    EXPECT_EQ(pending.back().filename(), "20260100T000000Z-002");
}

TEST_F(ReportStoreTest, UnwritableRootFailsCleanly) {
    std::ofstream(root() / "file") << "x";
    ReportStore store(root() / "file" / "reports");
    EXPECT_FALSE(store.prepare());
}

}  // namespace
}  // namespace tarnwell::crash
