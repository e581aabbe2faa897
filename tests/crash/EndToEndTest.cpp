// Runs the real executable: crashes it on purpose, then reads the report back through
// `tarnwell crash-reports`, as support would on a user's machine; and runs it in the
// terminal to see what both kits write.

#include <regex>

#include "CrashTestSupport.h"
#include "support/HostileEntries.h"

namespace tarnwell::crash {
namespace {

namespace fs = std::filesystem;
using namespace testing;

class EndToEndTest : public ::testing::Test {
protected:
    // Everything the program finds about it in the environment is the test's: its
    // folders, a captured machine, an events server that is not there, no display.
    ChildEnd runTarnwell(std::vector<std::string> arguments, const std::string &output = {},
                         const std::function<bool()> &interruptWhen = {}) {
        const auto run = [&] {
            for (const char *folder :
                 {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) {
                setenv(folder, data_.path().c_str(), 1);
            }
            setenv("TARNWELL_MEMORY_ROOT", TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap",
                   1);
            setenv("TARNWELL_EVENTS_URL", "http://127.0.0.1:9/events", 1);
            setenv("TARNWELL_EVENTS_KEY", "shared-account-key", 1);
            unsetenv("DISPLAY");
            unsetenv("WAYLAND_DISPLAY");
            freopen(output.empty() ? "/dev/null" : output.c_str(), "w", stdout);
            freopen("/dev/null", "w", stderr);
            std::vector<char *> argv{const_cast<char *>(TARNWELL_EXECUTABLE)};
            for (std::string &argument : arguments) {
                argv.push_back(argument.data());
            }
            argv.push_back(nullptr);
            execv(TARNWELL_EXECUTABLE, argv.data());
            _exit(127);
        };
        return runInChild(run, 30, interruptWhen);
    }

    // What `tarnwell crash-reports` prints, as text or as JSON.
    std::string crashReports(bool json = false) {
        const std::string output = data_.path() + "/output";
        const std::vector<std::string> text{"crash-reports"}, asJson{"crash-reports", "--json"};
        EXPECT_EQ(runTarnwell(json ? asJson : text, output).exitStatus, 0);
        return readText(output);
    }

    fs::path telemetry() const {
        return fs::path(data_.path()) / "telemetry.data/app.tarnwell.Tarnwell";
    }

    TemporaryDirectory data_;
};

// Nothing to report at first. After the crash, read back once as JSON; then, with a line
// of the record cut short as a crash mid-write leaves it, as text that still shows the
// crash and names the damaged line. Other ways of crashing are run in process by the
// capture tests.
TEST_F(EndToEndTest, DebugCrashIsReportedAtNextStart) {
    EXPECT_EQ(crashReports(), "No crash reports.\n");
    EXPECT_EQ(crashReports(true), "[]\n");
    const ChildEnd end = runTarnwell({"--debug-crash=segv"});
    EXPECT_EQ(end.signal, SIGSEGV) << "exit status " << end.exitStatus;

    const std::string json = crashReports(true);
    const auto parsed = parseRecordLine(json.substr(0, json.find_last_not_of('\n') + 1));
    ASSERT_TRUE(parsed.has_value()) << json;
    ASSERT_EQ(parsed->items.size(), 1u) << json;
    const RecordValue &report = parsed->items[0];
    EXPECT_EQ(report.stringAt("title"), "SIGSEGV");
    EXPECT_EQ(report.stringAt("reason"), "");
    bool inExecutable = false;
    for (const RecordValue &frame : report.find("frames")->items) {
        inExecutable = inExecutable || frame.stringAt("image") == TARNWELL_EXECUTABLE;
    }
    EXPECT_TRUE(inExecutable) << "no frame tied to the executable: " << json;
    EXPECT_TRUE(report.find("damaged")->items.empty());
    EXPECT_EQ(report.find("metadata")->find("application")->stringAt("bundle_id"),
              "app.tarnwell.Tarnwell");

    for (const auto &pending : fs::directory_iterator(telemetry() / "reports/pending")) {
        std::ofstream(pending.path() / "signal.crsrecord", std::ios::app) << "{\"thread\":{\"ti";
    }
    const std::string text = crashReports();
    EXPECT_NE(text.find("SIGSEGV"), std::string::npos) << text;
    EXPECT_NE(text.find("damaged record: signal.crsrecord line 3"), std::string::npos) << text;
}

class HostileReportRecord : public EndToEndTest,
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
    const std::string report = (telemetry() / "reports/pending/20261123T093012Z-001").string() +
                               (oddFolder ? kOddSuffix : "");
    fs::create_directories(report);
    if (oddFolder) {
        std::ofstream(report + "/signal.crsrecord") << record;
    } else {
        placeHostile(GetParam(), report, "signal.crsrecord", record, outside.path());
    }
    for (const bool json : {true, false}) {
        const std::string output = crashReports(json);
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

TEST_F(EndToEndTest, UnknownWayIsUsageError) {
    EXPECT_EQ(runTarnwell({"--debug-crash=gently"}).exitStatus, 2);
    EXPECT_EQ(runTarnwell({"crash-reports", "--xml"}).exitStatus, 2);
}

// One installation and one run: both kits of a process must name the same ones, as the
// real program in the terminal writes them.
TEST_F(EndToEndTest, BothKitsOfARunNameTheSameOne) {
    const fs::path eventsMetadata = telemetry() / "analytics/v2/crash_metadata";
    // The events kit writes its metadata when it starts; then the run is ended as Ctrl-C would.
    const ChildEnd end = runTarnwell({"--console"}, {}, [&] { return fs::exists(eventsMetadata); });
    ASSERT_EQ(end.exitStatus, 0) << "signal " << end.signal;

    const auto events = parsedRecords(eventsMetadata.string());
    ASSERT_EQ(events.size(), 1u);
    const auto crash =
        parsedRecords(activeFile((telemetry() / "reports").string(), "metadata.crsrecord"));
    ASSERT_EQ(crash.size(), 4u);
    const RecordValue *identity = crash[0].find("identity");
    const RecordValue *executable = crash[3].find("executable");
    ASSERT_TRUE(identity != nullptr && executable != nullptr);
    EXPECT_TRUE(std::regex_match(identity->stringAt("install_id"),
                                 std::regex("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")));
    EXPECT_EQ(events[0].stringAt("install_id"), identity->stringAt("install_id"));
    EXPECT_EQ(events[0].stringAt("session_id"), identity->stringAt("session_id"));
    EXPECT_EQ(identity->stringAt("api_key"), "shared-account-key");
    EXPECT_EQ(events[0].stringAt("api_key"), "shared-account-key");
    EXPECT_EQ(events[0].stringAt("instance_id"), executable->stringAt("uuid"));
    EXPECT_NE(executable->stringAt("uuid"), std::string(32, '0'));
}

}  // namespace
}  // namespace tarnwell::crash
