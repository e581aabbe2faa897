#include "crash/RunIdentity.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

namespace tarnwell::crash {

namespace fs = std::filesystem;

namespace {

// A UUID is 36 characters; anything much longer, or with other characters, is not one
// of ours.
constexpr size_t kLongestIdentifier = 64;

bool usable(const std::string &identifier) {
    return !identifier.empty() && identifier.size() <= kLongestIdentifier &&
           std::all_of(identifier.begin(), identifier.end(),
                       [](unsigned char c) { return std::isxdigit(c) || c == '-'; });
}

std::string storedIdentifier(const std::string &path) {
    // No following a link out of our folder, no waiting on a FIFO, a bounded read.
    const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return {};
    }
    char buffer[kLongestIdentifier + 2];
    const ssize_t length = read(fd, buffer, sizeof buffer);
    close(fd);
    std::string text(buffer, length > 0 ? size_t(length) : 0);
    text.erase(std::find_if(text.begin(), text.end(), [](char c) { return c == '\n'; }),
               text.end());
    return text;
}

void keep(const std::string &path, const std::string &identifier) {
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    const std::string temporary = path + ".new";
    {
        std::ofstream out(temporary, std::ios::trunc);
        out << identifier << '\n';
        if (!out.flush()) {
            fs::remove(temporary, error);
            return;
        }
    }
    fs::rename(temporary, path, error);
}

}  // namespace

std::string newIdentifier() {
    std::ifstream source("/proc/sys/kernel/random/uuid");
    std::string identifier;
    std::getline(source, identifier);
    return identifier;
}

RunIdentity makeRunIdentity(const std::string &installIdPath) {
    RunIdentity identity;
    identity.sessionId = newIdentifier();
    if (!installIdPath.empty()) {
        identity.installId = storedIdentifier(installIdPath);
    }
    if (!usable(identity.installId)) {
        identity.installId = newIdentifier();
        if (!installIdPath.empty()) {
            keep(installIdPath, identity.installId);
        }
    }
    return identity;
}

}  // namespace tarnwell::crash
