// Runs the real executable: crashes it on purpose, then reads the report back through
// `tarnwell crash-reports`, as support would on a user's machine.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CaseName.h"
#include "CrashTestSupport.h"
#include "crash/RecordParser.h"
#include "support/HostileEntries.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

class DebugCrashTest : public ::testing::Test {
protected:
    ChildEnd runTarnwell(std::vector<std::string> arguments, const std::string &output = {}) {
        return runInChild([&] {
            setenv("XDG_DATA_HOME", data_.path().c_str(), 1);
            if (!output.empty()) {
                freopen(output.c_str(), "w", stdout);
            }
            freopen("/dev/null", "w", stderr);
            std::vector<char *> argv{const_cast<char *>(TARNWELL_EXECUTABLE)};
            for (std::string &argument : arguments) {
                argv.push_back(argument.data());
            }
            argv.push_back(nullptr);
            execv(TARNWELL_EXECUTABLE, argv.data());
            _exit(127);
        });
    }

    std::string crashReports(const std::vector<std::string> &arguments) {
        const std::string output = data_.path() + "/output";
        const ChildEnd end = runTarnwell(arguments, output);
        EXPECT_EQ(end.exitStatus, 0);
        return readText(output);
    }

    std::filesystem::path pendingDirectory() const {
        return std::filesystem::path(data_.path()) / "telemetry.data" / "app.tarnwell.Tarnwell" /
               "reports" / "pending";
    }

    TemporaryDirectory data_;
};

struct DebugCrashCase {
    const char *name;
    int signal;
    const char *title;
    const char *reason;
    const char *recordFile;
};

class DebugCrashOptionTest : public DebugCrashTest,
                             public ::testing::WithParamInterface<DebugCrashCase> {};

// Read back once as JSON; then, with a line of the record cut short as a crash
// mid-write leaves it, as text that still shows the crash and names the damaged line.
TEST_P(DebugCrashOptionTest, CrashIsReportedAtNextStart) {
    const DebugCrashCase &c = GetParam();
    const ChildEnd end = runTarnwell({std::string("--debug-crash=") + c.name});
    ASSERT_TRUE(end.finished);
    EXPECT_EQ(end.signal, c.signal) << "exit status " << end.exitStatus;

    const std::string json = crashReports({"crash-reports", "--json"});
    const auto parsed = parseRecordLine(json.substr(0, json.find_last_not_of('\n') + 1));
    ASSERT_TRUE(parsed.has_value()) << json;
    ASSERT_EQ(parsed->items.size(), 1u) << json;
    const RecordValue &report = parsed->items[0];
    EXPECT_EQ(report.stringAt("title"), c.title);
    EXPECT_EQ(report.stringAt("reason"), c.reason);
    bool inExecutable = false;
    for (const RecordValue &frame : report.find("frames")->items) {
        inExecutable = inExecutable || frame.stringAt("image") == TARNWELL_EXECUTABLE;
    }
    EXPECT_TRUE(inExecutable) << "no frame tied to the executable: " << json;
    EXPECT_TRUE(report.find("damaged")->items.empty());
    EXPECT_EQ(report.find("metadata")->find("application")->stringAt("bundle_id"),
              "app.tarnwell.Tarnwell");

    for (const auto &pending : std::filesystem::directory_iterator(pendingDirectory())) {
        std::ofstream(pending.path() / c.recordFile, std::ios::app) << "{\"thread\":{\"ti";
    }
    const std::string text = crashReports({"crash-reports"});
    EXPECT_NE(text.find(c.title), std::string::npos) << text;
    EXPECT_NE(text.find(std::string("damaged record: ") + c.recordFile + " line 3"),
              std::string::npos)
        << text;
}

// The other ways are crashed in process by the capture tests; here one of each path.
INSTANTIATE_TEST_SUITE_P(
    Ways, DebugCrashOptionTest,
    ::testing::Values(DebugCrashCase{"segv", SIGSEGV, "SIGSEGV", "", "signal.crsrecord"},
                      DebugCrashCase{"throw", SIGABRT, "std::runtime_error", "deliberate crash",
                                     "exception.crsrecord"}),
    tarnwell::test::caseName);

class HostileReportRecord : public DebugCrashTest,
                            public ::testing::WithParamInterface<tarnwell::testing::HostileEntry> {
};

// What the terminal and a JSON parser get from a record someone else left: bounded,
// escaped, parseable, never a byte from outside the folder.
TEST_P(HostileReportRecord, IsReadWithinLimitsAndPrintedEscaped) {
    using namespace tarnwell::testing;
    if (!canPlace(GetParam())) {
        GTEST_SKIP() << "device nodes need root";
    }
    // Leading zeros, an escape sequence and bytes that are not UTF-8.
    const std::string record =
        "{\"signal\":{\"number\":11,\"code\":007,\"address\":0,\"name\":\"SIGSEGV\x1b[2J\","
        "\"code_name\":\"\xff\xfe\",\"time\":1700000000}}\n";
    TemporaryDirectory outside;
    const bool oddFolder = GetParam().kind == HostileKind::OddName;
    const std::string report =
        (pendingDirectory() / "20261123T093012Z-001").string() + (oddFolder ? kOddSuffix : "");
    std::filesystem::create_directories(report);
    if (oddFolder) {
        std::ofstream(report + "/signal.crsrecord") << record;
    } else {
        placeHostile(GetParam(), report, "signal.crsrecord", record, outside.path());
    }
    for (const bool json : {true, false}) {
        const std::string output =
            crashReports(json ? std::vector<std::string>{"crash-reports", "--json"}
                              : std::vector<std::string>{"crash-reports"});
        EXPECT_LT(output.size(), 64u << 10);
        if (GetParam().kind == HostileKind::LinkOut) {
            EXPECT_EQ(output.find(kForeignBytes), std::string::npos) << output;
        }
        for (const char c : output) {
            ASSERT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << output;
        }
        if (json) {
            const std::string parse =
                "python3 -c 'import json,sys; json.load(open(sys.argv[1]))' " + data_.path() +
                "/output";
            EXPECT_EQ(std::system(parse.c_str()), 0) << output;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Entries, HostileReportRecord,
                         ::testing::ValuesIn(tarnwell::testing::kHostileEntries),
                         tarnwell::testing::hostileCaseName);

TEST_F(DebugCrashTest, NoReportsSaysSo) {
    EXPECT_EQ(crashReports({"crash-reports"}), "No crash reports.\n");
    EXPECT_EQ(crashReports({"crash-reports", "--json"}), "[]\n");
}

TEST_F(DebugCrashTest, UnknownWayIsUsageError) {
    EXPECT_EQ(runTarnwell({"--debug-crash=gently"}).exitStatus, 2);
    EXPECT_EQ(runTarnwell({"crash-reports", "--xml"}).exitStatus, 2);
}

}  // namespace
}  // namespace tarnwell::crash
