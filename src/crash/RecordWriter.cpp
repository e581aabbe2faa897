#include "crash/RecordWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "crash/CrashLog.h"
#include "crash/SafeFormat.h"

namespace tarnwell::crash {

namespace {
constexpr int kMaxWriteCalls = 50;
constexpr size_t kHexChunk = 32;
}  // namespace

bool writeFully(int fd, const void *data, size_t length, WriteCall call) {
    const char *cursor = static_cast<const char *>(data);
    size_t remaining = length;
    for (int calls = 0; remaining > 0 && calls < kMaxWriteCalls; ++calls) {
        const ssize_t written =
            call != nullptr ? call(fd, cursor, remaining) : ::write(fd, cursor, remaining);
        if (written < 1 || size_t(written) > remaining) {
            return false;
        }
        cursor += written;
        remaining -= size_t(written);
    }
    return remaining == 0;
}

RecordWriter::~RecordWriter() {
    if (fd_ >= 0) {
        close();
    }
    delete[] buffer_;
}

bool RecordWriter::open(const char *path, bool append, bool buffered) {
    if (path == nullptr) {
        CRS_WARN("Error: file is null\n");
        return false;
    }
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_TRUNC);
    fd_ = ::open(path, flags, 0644);
    if (fd_ < 0) {
        CRS_WARN("Error: Unable to open file %s (%s)\n", path, strerrordesc_np(errno));
        return false;
    }
    const size_t pathLength = safeStringLength(path);
    const size_t kept = pathLength < sizeof path_ - 1 ? pathLength : sizeof path_ - 1;
    memcpy(path_, path, kept);
    path_[kept] = '\0';
    depth_ = 0;
    needsComma_ = false;
    writeFailed_ = false;
    bytesWritten_ = 0;
    if (append) {
        struct stat status;
        if (fstat(fd_, &status) == 0) {
            bytesWritten_ = uint64_t(status.st_size);
        }
    }
    buffered_ = buffered;
    bufferLength_ = 0;
    if (buffered && buffer_ == nullptr) {
        buffer_ = new char[kBufferSize];
    }
    if (buffer_ != nullptr) {
        buffer_[0] = '\0';
    }
    return true;
}

bool RecordWriter::close(uint64_t *offset) {
    if (fd_ < 0) {
        CRS_WARN("Error: file is null\n");
        return false;
    }
    const bool flushed = flush();
    if (offset != nullptr) {
        *offset = bytesWritten_;
    }
    const bool closed = ::close(fd_) == 0;
    if (!closed) {
        CRS_WARN("Error: Unable to close file %s (%s)\n", path_, strerrordesc_np(errno));
    }
    fd_ = -1;
    return flushed && closed && !writeFailed_;
}

bool RecordWriter::flush() {
    if (!buffered_ || bufferLength_ == 0) {
        return true;
    }
    const bool ok = writeOut(buffer_, bufferLength_);
    bufferLength_ = 0;
    buffer_[0] = '\0';
    return ok;
}

bool RecordWriter::writeRaw(const char *data, size_t length) {
    if (fd_ < 0) {
        return false;
    }
    if (!buffered_) {
        return writeOut(data, length);
    }
    if (bufferLength_ + length >= kBufferSize && !flush()) {
        return false;
    }
    if (length >= kBufferSize) {
        return writeOut(data, length);
    }
    memcpy(buffer_ + bufferLength_, data, length);
    bufferLength_ += length;
    buffer_[bufferLength_] = '\0';
    return true;
}

bool RecordWriter::writeOut(const char *data, size_t length) {
    errno = 0;
    if (writeFully(fd_, data, length, writeCall_)) {
        bytesWritten_ += length;
        return true;
    }
    // Once per file: a full disk fails every later write the same way.
    if (!writeFailed_) {
        writeFailed_ = true;
        CRS_WARN("Error: Unable to write file %s (%s)\n", path_,
                 errno != 0 ? strerrordesc_np(errno) : "short write");
    }
    return false;
}

bool RecordWriter::writeRaw(const char *text) {
    return writeRaw(text, safeStringLength(text));
}

bool RecordWriter::separate() {
    if (!needsComma_) {
        return true;
    }
    needsComma_ = false;
    return writeRaw(",", 1);
}

bool RecordWriter::valueWritten(bool ok) {
    needsComma_ = true;
    return ok;
}

bool RecordWriter::beginKeyedObject(const char *key) {
    return beginObject() && writeKey(key);
}

bool RecordWriter::beginObject() {
    const bool ok = separate() && writeRaw("{", 1);
    ++depth_;
    needsComma_ = false;
    return ok;
}

bool RecordWriter::endObject() {
    --depth_;
    return valueWritten(writeRaw("}", 1));
}

bool RecordWriter::endRecord() {
    --depth_;
    needsComma_ = false;
    return writeRaw("}\n", 2);
}

bool RecordWriter::beginArray() {
    const bool ok = separate() && writeRaw("[", 1);
    ++depth_;
    needsComma_ = false;
    return ok;
}

bool RecordWriter::endArray() {
    --depth_;
    return valueWritten(writeRaw("]", 1));
}

bool RecordWriter::writeKey(const char *key) {
    const bool ok = separate() && writeRaw("\"", 1) && writeRaw(key) && writeRaw("\":", 2);
    needsComma_ = false;
    return ok;
}

bool RecordWriter::writeUnsigned(uint64_t value) {
    char digits[kNumberBufferSize];
    const size_t length = formatUnsigned(value, 10, digits);
    return valueWritten(separate() && writeRaw(digits, length));
}

bool RecordWriter::writeSigned(int64_t value) {
    char digits[kNumberBufferSize];
    const uint64_t magnitude = value < 0 ? 0 - uint64_t(value) : uint64_t(value);
    const size_t length = formatUnsigned(magnitude, 10, digits);
    return valueWritten(separate() && (value >= 0 || writeRaw("-", 1)) && writeRaw(digits, length));
}

bool RecordWriter::writeBool(bool value) {
    return valueWritten(separate() && writeRaw(value ? "true" : "false"));
}

bool RecordWriter::writeNull() {
    return valueWritten(separate() && writeRaw("null", 4));
}

bool RecordWriter::writeString(const char *text) {
    if (text == nullptr) {
        return writeNull();
    }
    return valueWritten(separate() && writeRaw("\"", 1) && writeRaw(text) && writeRaw("\"", 1));
}

bool RecordWriter::writeHexString(const void *data, size_t length) {
    if (data == nullptr) {
        return writeNull();
    }
    static constexpr char kDigits[] = "0123456789abcdef";
    const auto *bytes = static_cast<const unsigned char *>(data);
    bool ok = separate() && writeRaw("\"", 1);
    char chunk[kHexChunk];
    size_t used = 0;
    for (size_t i = 0; ok && i < length; ++i) {
        chunk[used++] = kDigits[bytes[i] >> 4];
        chunk[used++] = kDigits[bytes[i] & 0xf];
        if (used == kHexChunk) {
            ok = writeRaw(chunk, used);
            used = 0;
        }
    }
    ok = ok && (used == 0 || writeRaw(chunk, used)) && writeRaw("\"", 1);
    return valueWritten(ok);
}

}  // namespace tarnwell::crash
