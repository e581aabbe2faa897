#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarnwell::crash {

// Why a file in one of our own folders was not read.
enum class FileRefusal {
    None,        // read
    Missing,     // no such file
    Link,        // a symbolic link, never followed
    NotRegular,  // a FIFO, device, socket or folder
    TooLarge,    // larger than the caller's limit; `bytes` holds the first maxBytes
    Unreadable,  // open or read failed
};

struct BoundedRead {
    std::string bytes;
    FileRefusal refusal = FileRefusal::None;
    uint64_t size = 0;  // the file's size as the kernel gave it
};

// Reads at most maxBytes of a regular file; `directory` is a folder descriptor or
// AT_FDCWD. Anybody may have put anything under our folders, so the last path
// component is never followed when it is a link, a FIFO or device is never opened (it
// could block or have side effects), and no more than maxBytes are ever read.
// Normal context only.
BoundedRead readRegularFile(int directory, const char *path, size_t maxBytes);

// "a symbolic link", "not a regular file", ... for messages.
const char *describeRefusal(FileRefusal refusal);

}  // namespace tarnwell::crash
