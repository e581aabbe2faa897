#include "EVTWriteEventOperation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "EVTEvent.h"
#include "EVTLog.h"
#include "EVTMetadata.h"

namespace tarnwell {

namespace {
// A regular file takes a line in one call; the extra attempts only cover a
// signal interrupting a large write.
constexpr int kWriteAttempts = 3;
}  // namespace

EVTWriteEventOperation::EVTWriteEventOperation(QString path, const EVTEvent &event,
                                               const EVTMetadata &metadata)
    : path_(std::move(path)),
      eventLine_(event.line()),
      metadataLine_(metadata.line(event.timestamp())) {}

bool EVTWriteEventOperation::run() const {
    const QByteArray path = path_.toLocal8Bit();
    struct stat status {};
    const bool existed = ::lstat(path.constData(), &status) == 0;
    if (existed && S_ISDIR(status.st_mode)) {
        qCWarning(lcWriteOperation, "Failed to write: %s is a directory", path.constData());
        return false;
    }
    // Never through a link, never blocked by a FIFO, never into anything but a
    // regular file.
    const int fd =
        ::open(path.constData(),
               O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
    if (fd < 0) {
        qCWarning(lcWriteOperation, "Failed to write: %s", std::strerror(errno));
        return false;
    }
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        qCWarning(lcWriteOperation, "Failed to write: %s is not a regular file", path.constData());
        ::close(fd);
        return false;
    }
    bool written = existed || writeLine(fd, metadataLine_);
    written = written && writeLine(fd, eventLine_);
    if (::close(fd) != 0) {
        qCWarning(lcWriteOperation, "Failed to close file, error: %s", std::strerror(errno));
        return false;
    }
    return written;
}

bool EVTWriteEventOperation::writeLine(int fd, const QByteArray &line) {
    const char *data = line.constData();
    size_t left = static_cast<size_t>(line.size());
    for (int attempt = 0; attempt < kWriteAttempts && left > 0; ++attempt) {
        const ssize_t count = ::write(fd, data, left);
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            qCWarning(lcWriteOperation, "Failed to write: %s", std::strerror(errno));
            return false;
        }
        if (count == 0) {
            break;
        }
        if (static_cast<size_t>(count) > left) {
            qCWarning(lcWriteOperation, "Error: length doesn't make sense (%zd, %zu)", count, left);
            return false;
        }
        data += count;
        left -= static_cast<size_t>(count);
    }
    if (left > 0) {
        qCWarning(lcWriteOperation, "Error: exited write loop without success");
        return false;
    }
    return true;
}

}  // namespace tarnwell
