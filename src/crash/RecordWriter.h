#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace tarnwell::crash {

// The write(2) a writer uses; tests substitute one that writes short or fails.
using WriteCall = ssize_t (*)(int fd, const void *data, size_t length);

// Writes all of `data` with at most 50 write calls, carrying on after partial writes.
// A call that returns less than 1 or claims more than was left ends it with false.
// Async-signal-safe.
bool writeFully(int fd, const void *data, size_t length, WriteCall call = nullptr);

// Writes one ".crsrecord" file: one record a line, each a JSON-like object whose keys and
// string values are written as they are, without escaping. Readers must therefore
// tolerate a stray double quote inside a string value.
//
// Unbuffered writers are async-signal-safe from open to close; buffered ones allocate
// their 1000-byte buffer when opened and are for normal context only.
class RecordWriter {
public:
    static constexpr size_t kBufferSize = 1000;

    RecordWriter() = default;
    ~RecordWriter();
    RecordWriter(const RecordWriter &) = delete;
    RecordWriter &operator=(const RecordWriter &) = delete;

    // Append mode starts the byte count at the file's current size; otherwise the file
    // is truncated. Permissions 0644.
    bool open(const char *path, bool append, bool buffered);
    // Flushes, reports the final offset through `offset` when given, closes. False when
    // any write to the file failed (logged once, at the first) or the close did.
    bool close(uint64_t *offset = nullptr);

    bool isOpen() const { return fd_ >= 0; }
    int descriptor() const { return fd_; }
    uint64_t bytesWritten() const { return bytesWritten_; }
    void setWriteCall(WriteCall call) { writeCall_ = call; }

    // {"key":   -- the caller then writes the value, usually beginObject().
    bool beginKeyedObject(const char *key);
    bool beginObject();
    bool endObject();
    // Ends the top-level object and the line.
    bool endRecord();
    bool beginArray();
    bool endArray();

    bool writeKey(const char *key);
    bool writeUnsigned(uint64_t value);
    bool writeSigned(int64_t value);
    bool writeBool(bool value);
    bool writeNull();
    // Quoted as is; a null string is written as null.
    bool writeString(const char *text);
    // Each byte as two lowercase hex digits, quoted; null data is written as null.
    bool writeHexString(const void *data, size_t length);

    // key then value, the common case.
    bool writeUnsigned(const char *key, uint64_t value) {
        return writeKey(key) && writeUnsigned(value);
    }
    bool writeSigned(const char *key, int64_t value) { return writeKey(key) && writeSigned(value); }
    bool writeBool(const char *key, bool value) { return writeKey(key) && writeBool(value); }
    bool writeString(const char *key, const char *text) {
        return writeKey(key) && writeString(text);
    }

private:
    bool writeOut(const char *data, size_t length);
    bool writeRaw(const char *data, size_t length);
    bool writeRaw(const char *text);
    bool flush();
    bool separate();
    bool valueWritten(bool ok);

    int fd_ = -1;
    int depth_ = 0;
    bool needsComma_ = false;
    bool writeFailed_ = false;
    bool buffered_ = false;
    char *buffer_ = nullptr;
    uint64_t bufferLength_ = 0;
    uint64_t bytesWritten_ = 0;
    WriteCall writeCall_ = nullptr;
    char path_[256] = {};
};

}  // namespace tarnwell::crash
