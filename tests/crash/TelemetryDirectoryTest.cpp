#include "crash/TelemetryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "CaseName.h"

namespace tarnwell::crash {
namespace {

struct FolderCase {
    const char *name;
    const char *dataHome;  // nullptr: unset
    const char *home;      // nullptr: unset
    const char *bundleIdentifier;
    const char *expected;
};

void assign(const char *name, const char *value) {
    if (value == nullptr) {
        unsetenv(name);
    } else {
        setenv(name, value, 1);
    }
}

std::optional<std::string> valueOf(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

class TelemetryDirectoryTest : public ::testing::TestWithParam<FolderCase> {
protected:
    void TearDown() override {
        assign("XDG_DATA_HOME", savedDataHome_ ? savedDataHome_->c_str() : nullptr);
        assign("HOME", savedHome_ ? savedHome_->c_str() : nullptr);
    }

private:
    const std::optional<std::string> savedDataHome_ = valueOf("XDG_DATA_HOME");
    const std::optional<std::string> savedHome_ = valueOf("HOME");
};

TEST_P(TelemetryDirectoryTest, BuildsFolder) {
    const FolderCase &c = GetParam();
    assign("XDG_DATA_HOME", c.dataHome);
    assign("HOME", c.home);
    EXPECT_EQ(telemetryDirectory(c.bundleIdentifier), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TelemetryDirectoryTest,
    ::testing::Values(
        FolderCase{"DataHomeWins", "/d", "/h", "app.tarnwell.Tarnwell",
                   "/d/telemetry.data/app.tarnwell.Tarnwell"},
        FolderCase{"HomeFallback", nullptr, "/h", "app.tarnwell.Tarnwell",
                   "/h/.local/share/telemetry.data/app.tarnwell.Tarnwell"},
        FolderCase{"EmptyDataHomeIgnored", "", "/h", "x", "/h/.local/share/telemetry.data/x"},
        FolderCase{"RelativeDataHomeIgnored", "rel/dir", "/h", "x",
                   "/h/.local/share/telemetry.data/x"},
        FolderCase{"EverySlashReplaced", "/d", nullptr, "/a/b//c", "/d/telemetry.data/_a_b__c"},
        FolderCase{"NoFolderAtAll", nullptr, nullptr, "x", ""},
        FolderCase{"EmptyHome", nullptr, "", "x", ""}),
    tarnwell::test::caseName);

}  // namespace
}  // namespace tarnwell::crash
