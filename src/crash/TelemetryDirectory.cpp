#include "crash/TelemetryDirectory.h"

#include <algorithm>
#include <cstdlib>

namespace tarnwell::crash {

static std::string userDataFolder() {
    // Under the XDG base directory rules a relative XDG_DATA_HOME is invalid
    // and must be ignored, not resolved against the working directory.
    const char *dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome != nullptr && dataHome[0] == '/') {
        return dataHome;
    }
    const char *home = std::getenv("HOME");
    if (home == nullptr || home[0] == '\0') {
        return {};
    }
    return std::string(home) + "/.local/share";
}

std::string telemetryDirectory(std::string_view bundleIdentifier) {
    std::string folder = userDataFolder();
    if (folder.empty()) {
        return {};
    }
    std::string component(bundleIdentifier);
    std::replace(component.begin(), component.end(), '/', '_');
    return folder + "/telemetry.data/" + component;
}

}  // namespace tarnwell::crash
