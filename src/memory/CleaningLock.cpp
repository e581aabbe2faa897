#include "CleaningLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

constexpr const char kLockFileName[] = "tarnwell-cleaning.lock";

// A folder only this user can write to: anyone else could otherwise put a
// link or a FIFO where the lock file goes.
bool isPrivateFolder(const fs::path &folder) {
    struct stat status {};
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & 077) == 0;
}

}  // namespace

fs::path CleaningLock::userLockFile() {
    // Relative paths are ignored, as the XDG base directory rules say.
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/') {
        return fs::path(runtime) / kLockFileName;
    }
    const fs::path fallback = "/tmp/tarnwell-" + std::to_string(geteuid());
    if (mkdir(fallback.c_str(), 0700) != 0 && errno != EEXIST) {
        return {};
    }
    return isPrivateFolder(fallback) ? fallback / kLockFileName : fs::path();
}

CleaningLock::CleaningLock(fs::path file) : file_(std::move(file)) {}

CleaningLock::~CleaningLock() {
    unlock();
}

bool CleaningLock::tryLock() {
    if (fd_ >= 0 || file_.empty()) {
        return true;
    }
    // No O_TRUNC and nothing written: the file only carries the lock.
    const int fd =
        open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (fd < 0) {
        return true;
    }
    struct stat status {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid()) {
        close(fd);
        return true;
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const bool heldElsewhere = errno == EWOULDBLOCK;
        close(fd);
        return !heldElsewhere;
    }
    fd_ = fd;
    return true;
}

void CleaningLock::unlock() {
    if (fd_ >= 0) {
        close(fd_);  // releases the flock
        fd_ = -1;
    }
}

}  // namespace tarnwell
