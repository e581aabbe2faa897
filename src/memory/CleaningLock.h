#pragma once

#include <filesystem>

namespace tarnwell {

// One cleaning at a time per user, whichever process asks (the tray, the
// console mode, `tarnwell clean`): two blocks of free memory at once would
// push the machine into swap or the out-of-memory killer. The lock is an
// flock(2) on a file in the user's runtime folder, so it goes when the
// process that holds it dies, however it dies.
class CleaningLock {
public:
    // The lock file in $XDG_RUNTIME_DIR, or in a private folder of the user's
    // under /tmp when that is unset or relative. Empty when neither is safe
    // to use.
    static std::filesystem::path userLockFile();

    // Without a file every tryLock() succeeds: cleanings are then only
    // exclusive within the process.
    explicit CleaningLock(std::filesystem::path file = {});
    ~CleaningLock();
    CleaningLock(const CleaningLock &) = delete;
    CleaningLock &operator=(const CleaningLock &) = delete;

    // False when another process holds the lock. A lock file that cannot be
    // used (a link, a FIFO, another user's) gives no cross-process guard
    // rather than no cleaning.
    bool tryLock();
    void unlock();

private:
    std::filesystem::path file_;
    int fd_ = -1;
};

}  // namespace tarnwell
