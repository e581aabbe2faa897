#include "platform/linux/CappedFileRead.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <QFile>

namespace tarnwell {

std::optional<QByteArray> readCappedRegularFile(const QString &path, qsizetype cap,
                                                FileLinks links) {
    // O_NONBLOCK: opening a FIFO for reading would otherwise wait for a writer.
    const int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY |
                      (links == FileLinks::Refuse ? O_NOFOLLOW : 0);
    const int fd = ::open(QFile::encodeName(path).constData(), flags);
    if (fd < 0) {
        return std::nullopt;
    }
    std::optional<QByteArray> bytes;
    struct stat status {};
    if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= cap) {
        // One byte more than allowed tells a file that grew since fstat.
        bytes.emplace(cap + 1, Qt::Uninitialized);
        qsizetype total = 0;
        while (total < bytes->size()) {
            const ssize_t got = ::read(fd, bytes->data() + total, size_t(bytes->size() - total));
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0) {
                break;
            }
            total += got;
        }
        bytes->truncate(total);
        if (total > cap) {
            bytes.reset();
        }
    }
    ::close(fd);
    return bytes;
}

}  // namespace tarnwell
