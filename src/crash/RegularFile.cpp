#include "crash/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tarnwell::crash {

namespace {

FileRefusal refusalFor(const struct stat &status) {
    if (S_ISLNK(status.st_mode)) {
        return FileRefusal::Link;
    }
    return S_ISREG(status.st_mode) ? FileRefusal::None : FileRefusal::NotRegular;
}

}  // namespace

BoundedRead readRegularFile(int directory, const char *path, size_t maxBytes) {
    BoundedRead result;
    struct stat before {};
    if (fstatat(directory, path, &before, AT_SYMLINK_NOFOLLOW) != 0) {
        result.refusal = errno == ENOENT ? FileRefusal::Missing : FileRefusal::Unreadable;
        return result;
    }
    result.refusal = refusalFor(before);
    if (result.refusal != FileRefusal::None) {
        return result;
    }
    // The entry may be swapped for a link or a FIFO between the check and the
    // open: O_NOFOLLOW and O_NONBLOCK keep that from following or blocking, and the
    // second stat from reading something else.
    const int fd =
        openat(directory, path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        result.refusal = errno == ELOOP ? FileRefusal::Link : FileRefusal::Unreadable;
        return result;
    }
    struct stat opened {};
    if (fstat(fd, &opened) != 0 || !S_ISREG(opened.st_mode)) {
        close(fd);
        result.refusal = FileRefusal::NotRegular;
        return result;
    }
    result.size = uint64_t(opened.st_size);
    const size_t wanted = result.size > maxBytes ? maxBytes : size_t(result.size);
    result.bytes.resize(wanted);
    size_t used = 0;
    while (used < wanted) {
        const ssize_t n = read(fd, result.bytes.data() + used, wanted - used);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            result.refusal = FileRefusal::Unreadable;
            break;
        }
        if (n == 0) {
            break;  // shrunk meanwhile
        }
        used += size_t(n);
    }
    close(fd);
    result.bytes.resize(used);
    if (result.refusal == FileRefusal::None && result.size > maxBytes) {
        result.refusal = FileRefusal::TooLarge;
    }
    return result;
}

const char *describeRefusal(FileRefusal refusal) {
    switch (refusal) {
        case FileRefusal::None:
            return "read";
        case FileRefusal::Missing:
            return "missing";
        case FileRefusal::Link:
            return "a symbolic link";
        case FileRefusal::NotRegular:
            return "not a regular file";
        case FileRefusal::TooLarge:
            return "too large";
        case FileRefusal::Unreadable:
            return "unreadable";
    }
    return "unreadable";
}

}  // namespace tarnwell::crash
