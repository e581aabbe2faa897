#include "crash/RunIdentity.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

#include "crash/RegularFile.h"

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
    BoundedRead read = readRegularFile(AT_FDCWD, path.c_str(), kLongestIdentifier + 1);
    if (read.refusal != FileRefusal::None) {
        return {};
    }
    read.bytes.erase(std::find(read.bytes.begin(), read.bytes.end(), '\n'), read.bytes.end());
    return read.bytes;
}

// Only a missing file or one of ours is replaced: a link, a FIFO or a device someone
// left there stays as it is, and the run goes by a new identifier kept in memory.
bool mayKeep(const std::string &path) {
    const FileRefusal refusal = readRegularFile(AT_FDCWD, path.c_str(), 0).refusal;
    return refusal == FileRefusal::Missing || refusal == FileRefusal::None ||
           refusal == FileRefusal::TooLarge;
}

void keep(const std::string &path, const std::string &identifier) {
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    const std::string temporary = path + ".new";
    const std::string line = identifier + '\n';
    // Never written through a link left in the temporary's place.
    const int fd = open(temporary.c_str(),
                        O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
    if (fd < 0) {
        return;
    }
    const bool written = write(fd, line.data(), line.size()) == ssize_t(line.size());
    if (close(fd) != 0 || !written) {
        fs::remove(temporary, error);
        return;
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
        if (!installIdPath.empty() && mayKeep(installIdPath)) {
            keep(installIdPath, identity.installId);
        }
    }
    return identity;
}

}  // namespace tarnwell::crash
