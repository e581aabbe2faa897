// The reports folder: where it is, which reports it keeps, and how one report reads.
#include "crash/CrashReportReader.h"
#include "crash/ReportStore.h"
#include "crash/TelemetryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
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
// (its lock held) and one still being made are left alone. A root that cannot be made
// fails.
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
    std::ofstream(root() / "file") << "x";
    EXPECT_FALSE(ReportStore(root() / "file" / "reports").prepare()) << "a root under a file";
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

TEST(CrashReportReaderTest, TiesFramesToImagesAndListsDamagedLines) {
    TemporaryDirectory report;
    std::ofstream(report.path() + "/binary_images.crsrecord")
        << R"({"load":{"path":"/usr/bin/a","uuid":"aa","base":4096,"size":100}}
{"unload":{"path":"/usr/bin/a","uuid":"aa","base":4096,"size":0}}
{"load":{"path":"/usr/lib/b.so","uuid":"bb","base":4096,"size":100}}
{"load":{"path":"/usr/lib/c.so","uu
)";
    std::ofstream(report.path() + "/signal.crsrecord")
        << R"({"signal":{"number":6,"code":-6,"address":0,"name":"SIGABRT","code_name":"ABORT","errno":0,"time":1700000000}}
{"thread":{"tid":5,"crashed":true,"frames":[{"pc":4106,"image_base":4096,"offset":10,"trust":"context"},{"pc":9,"trust":"scan"}]}}
{"thread":{"tid":5,"crashed":true,"frames":[{"pc":4)";

    const CrashReport read = readCrashReport(report.path());
    EXPECT_EQ(read.kind, "signal");
    EXPECT_EQ(read.title, "SIGABRT");
    EXPECT_EQ(read.reason, "ABORT");
    EXPECT_EQ(read.time, 1700000000u);
    EXPECT_EQ(read.signalCode, -6);
    EXPECT_EQ(read.faultAddress, 0u);
    ASSERT_EQ(read.frames.size(), 2u);
    // The latest load at that base wins: the first image was unloaded before.
    EXPECT_EQ(read.frames[0].imagePath, "/usr/lib/b.so");
    EXPECT_EQ(read.frames[0].imageUuid, "bb");
    EXPECT_EQ(read.frames[0].offset, 10u);
    EXPECT_EQ(read.frames[1].imagePath, "");
    EXPECT_EQ(read.frames[1].trust, "scan");

    ASSERT_EQ(read.damaged.size(), 2u);
    EXPECT_EQ(read.damaged[0].file, "binary_images.crsrecord");
    EXPECT_EQ(read.damaged[0].lineNumber, 4u);
    EXPECT_EQ(read.damaged[1].file, "signal.crsrecord");
    EXPECT_EQ(read.damaged[1].lineNumber, 3u);
    EXPECT_FALSE(read.metadata.has_value());
}

TEST(CrashReportReaderTest, ExceptionReportAndMissingFolder) {
    TemporaryDirectory report;
    std::ofstream(report.path() + "/exception.crsrecord")
        << R"({"exception":{"kind":2,"type":"std::runtime_error","reason":"x","time":5}})" << '\n';
    std::ofstream(report.path() + "/metadata.crsrecord") << R"({"identity":{"session_id":"s"}}
{"host":{"platform":"linux"}}
)";
    const CrashReport read = readCrashReport(report.path());
    EXPECT_EQ(read.kind, "exception");
    EXPECT_EQ(read.title, "std::runtime_error");
    EXPECT_EQ(read.reason, "x");
    ASSERT_TRUE(read.metadata.has_value());
    EXPECT_EQ(read.metadata->find("host")->stringAt("platform"), "linux");
    EXPECT_TRUE(read.damaged.empty());

    const CrashReport missing = readCrashReport(report.path() + "/missing");
    EXPECT_EQ(missing.kind, "");
    EXPECT_TRUE(missing.frames.empty() && missing.damaged.empty());
}

void assign(const char *name, const std::optional<std::string> &value) {
    if (value) {
        setenv(name, value->c_str(), 1);
    } else {
        unsetenv(name);
    }
}

std::optional<std::string> valueOf(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

TEST(TelemetryDirectoryTest, BuildsFolderFromDataHomeOrHome) {
    const std::optional<std::string> dataHome = valueOf("XDG_DATA_HOME"), home = valueOf("HOME");
    const struct {
        std::optional<std::string> dataHome, home;
        const char *bundleIdentifier, *expected;
    } cases[] = {
        {"/d", "/h", "app.tarnwell.Tarnwell", "/d/telemetry.data/app.tarnwell.Tarnwell"},
        {{}, "/h", "app.tarnwell.Tarnwell", "/h/.local/share/telemetry.data/app.tarnwell.Tarnwell"},
        {"", "/h", "x", "/h/.local/share/telemetry.data/x"},         // empty: ignored
        {"rel/dir", "/h", "x", "/h/.local/share/telemetry.data/x"},  // relative: ignored
        {"/d", {}, "/a/b//c", "/d/telemetry.data/_a_b__c"},
        {{}, {}, "x", ""},
        {{}, "", "x", ""}};
    for (const auto &c : cases) {
        assign("XDG_DATA_HOME", c.dataHome);
        assign("HOME", c.home);
        EXPECT_EQ(telemetryDirectory(c.bundleIdentifier), c.expected) << "row " << (&c - cases);
    }
    assign("XDG_DATA_HOME", dataHome);
    assign("HOME", home);
}

}  // namespace
}  // namespace tarnwell::crash
