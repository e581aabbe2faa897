#include "cli/UserFolders.h"

#include <cstdlib>

namespace tarnwell::cli {

namespace {

constexpr const char *kFolderVariables[] = {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                                            "XDG_STATE_HOME", "XDG_RUNTIME_DIR"};

bool isAbsolute(const char *path) {
    return path != nullptr && path[0] == '/';
}

}  // namespace

std::optional<std::string> settleUserFolders() {
    for (const char *name : kFolderVariables) {
        const char *value = std::getenv(name);
        if (value != nullptr && !isAbsolute(value)) {
            unsetenv(name);
        }
    }
    if (!isAbsolute(std::getenv("HOME"))) {
        return "no home folder: HOME must be set to an absolute path";
    }
    return std::nullopt;
}

}  // namespace tarnwell::cli
