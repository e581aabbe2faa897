#include "crash/TelemetryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace tarnwell::crash {
namespace {

struct FolderCase {
    const char *name;
    const char *dataHome;  // nullptr: unset
    const char *home;      // nullptr: unset
    const char *bundleIdentifier;
    const char *expected;
};

class TelemetryDirectoryTest : public ::testing::TestWithParam<FolderCase> {
protected:
    void SetUp() override {
        save("XDG_DATA_HOME", savedDataHome_);
        save("HOME", savedHome_);
    }
    void TearDown() override {
        restore("XDG_DATA_HOME", savedDataHome_);
        restore("HOME", savedHome_);
    }

    static void assign(const char *name, const char *value) {
        if (value == nullptr) {
            unsetenv(name);
        } else {
            setenv(name, value, 1);
        }
    }

private:
    static void save(const char *name, std::optional<std::string> &slot) {
        if (const char *value = std::getenv(name)) {
            slot = value;
        }
    }
    static void restore(const char *name, const std::optional<std::string> &slot) {
        assign(name, slot ? slot->c_str() : nullptr);
    }
    std::optional<std::string> savedDataHome_;
    std::optional<std::string> savedHome_;
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
    [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tarnwell::crash
