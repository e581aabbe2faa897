#include "crash/TelemetryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace tarnwell::crash {
namespace {

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
