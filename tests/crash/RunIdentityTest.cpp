// One installation and one run: both kits of a process must name the same ones, as the
// real program in the terminal writes them.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "CrashTestSupport.h"
#include "crash/RecordParser.h"

namespace tarnwell::crash {
namespace {

namespace fs = std::filesystem;
using namespace testing;

const std::regex kLowercaseUuid("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}");

TEST(RunIdentityTest, BothKitsOfARunNameTheSameOne) {
    TemporaryDirectory home;
    const fs::path telemetry = fs::path(home.path()) / "data/telemetry.data/app.tarnwell.Tarnwell";
    const fs::path eventsMetadata = telemetry / "analytics/v2/crash_metadata";
    fs::create_directories(home.path() + "/runtime");
    const pid_t pid = fork();
    if (pid == 0) {
        setenv("HOME", home.path().c_str(), 1);
        setenv("XDG_DATA_HOME", (home.path() + "/data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home.path() + "/config").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", (home.path() + "/runtime").c_str(), 1);
        setenv("TARNWELL_MEMORY_ROOT", TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap", 1);
        setenv("TARNWELL_EVENTS_URL", "http://127.0.0.1:9/events", 1);
        setenv("TARNWELL_EVENTS_KEY", "shared-account-key", 1);
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
        freopen("/dev/null", "w", stdout);
        freopen("/dev/null", "w", stderr);
        execl(TARNWELL_EXECUTABLE, TARNWELL_EXECUTABLE, "--console", nullptr);
        _exit(127);
    }
    ASSERT_GT(pid, 0);
    // The events kit writes its metadata when it starts; poll for it with a deadline.
    const int pidfd = int(syscall(SYS_pidfd_open, pid, 0));
    for (int waited = 0; waited < 300 && !fs::exists(eventsMetadata); ++waited) {
        pollfd ended{pidfd, POLLIN, 0};
        if (poll(&ended, 1, 100) == 1) {
            break;
        }
    }
    kill(pid, SIGINT);
    int status = 0;
    waitpid(pid, &status, 0);
    close(pidfd);
    ASSERT_TRUE(WIFEXITED(status)) << "status " << status;

    std::ifstream eventsFile(eventsMetadata);
    std::string eventsLine;
    std::getline(eventsFile, eventsLine);
    const auto events = parseRecordLine(eventsLine);
    ASSERT_TRUE(events.has_value()) << eventsLine;
    const std::vector<RecordValue> crash = parsedRecords(
        (telemetry / ("reports/active-" + std::to_string(pid)) / "metadata.crsrecord").string());
    ASSERT_EQ(crash.size(), 4u);
    const RecordValue *identity = crash[0].find("identity");
    const RecordValue *executable = crash[3].find("executable");
    ASSERT_NE(identity, nullptr);
    ASSERT_NE(executable, nullptr);
    EXPECT_TRUE(std::regex_match(identity->stringAt("install_id"), kLowercaseUuid));
    EXPECT_EQ(events->stringAt("install_id"), identity->stringAt("install_id"));
    EXPECT_EQ(events->stringAt("session_id"), identity->stringAt("session_id"));
    EXPECT_EQ(identity->stringAt("api_key"), "shared-account-key");
    EXPECT_EQ(events->stringAt("api_key"), "shared-account-key");
    EXPECT_EQ(events->stringAt("instance_id"), executable->stringAt("uuid"));
    EXPECT_NE(executable->stringAt("uuid"), std::string(32, '0'));
}

}  // namespace
}  // namespace tarnwell::crash
