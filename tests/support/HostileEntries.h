#pragma once

// What someone else may leave in our folders, for every part that reads them.
// Plain POSIX, so tests with and without Qt place the same entries.

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdlib>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "CaseName.h"

namespace tarnwell::testing {

enum class HostileKind { LinkOut, Fifo, DeviceLink, DeviceNode, Garbage, Huge, OddName };

struct HostileEntry {
    const char *name;
    HostileKind kind;
};

inline constexpr HostileEntry kHostileEntries[] = {
    {"SymlinkOut", HostileKind::LinkOut},    {"Fifo", HostileKind::Fifo},
    {"DeviceLink", HostileKind::DeviceLink}, {"DeviceNode", HostileKind::DeviceNode},
    {"Garbage", HostileKind::Garbage},       {"Huge", HostileKind::Huge},
    {"OddName", HostileKind::OddName},
};

// Bytes that belong to somebody else: they must never be uploaded or printed.
inline constexpr char kForeignBytes[] = "FOREIGN-BYTES-7f3a";

// Added to a name: a newline, a terminal title change and a screen clear.
inline constexpr char kOddSuffix[] = "\n\x1b]0;owned\x07\x1b[2J";

inline constexpr auto hostileCaseName = test::caseName;

// Where the test makes its device nodes: as root, a tmpfs in a private mount
// namespace of the test process (which its children share), so nodes open even
// where /tmp is mounted nodev, and a reader that writes through a link replaces the
// test's node, never the machine's own /dev/urandom. Empty when not root.
inline const char *deviceFolder() {
    static char folder[] = "/tmp/tarnwell-devices-XXXXXX";
    static const bool made = [] {
        if (::geteuid() != 0 || ::unshare(CLONE_NEWNS) != 0 ||
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mkdtemp(folder) == nullptr) {
            return false;
        }
        if (::mount("tarnwell-test-devices", folder, "tmpfs", MS_NOSUID, "size=64k") != 0) {
            ::rmdir(folder);
            return false;
        }
        std::atexit([] {
            ::umount2(folder, MNT_DETACH);
            ::rmdir(folder);
        });
        return true;
    }();
    return made ? folder : "";
}

// A character device that reads like /dev/urandom (1, 9): endless bytes.
inline std::string makeEndlessDevice(const std::string &path) {
    EXPECT_EQ(::mknod(path.c_str(), S_IFCHR | 0666, makedev(1, 9)), 0) << path;
    return path;
}

// Device nodes can only be made by root.
inline bool canPlace(const HostileEntry &entry) {
    return entry.kind != HostileKind::DeviceNode || deviceFolder()[0] != '\0';
}

// Puts the entry at folder/name. `content` is what the reader would take from a
// file of its own there: a link leads to it (with kForeignBytes) in `outside`, a
// huge file starts with it, an odd name holds it. Returns the path made.
inline std::string placeHostile(const HostileEntry &entry, const std::string &folder,
                                const std::string &name, const std::string &content,
                                const std::string &outside) {
    std::string path = folder + "/" + name;
    switch (entry.kind) {
        case HostileKind::LinkOut: {
            const std::string target = outside + "/foreign-" + name;
            std::ofstream(target, std::ios::binary) << content << kForeignBytes;
            EXPECT_EQ(::symlink(target.c_str(), path.c_str()), 0) << path;
            break;
        }
        case HostileKind::Fifo:
            EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0) << path;
            break;
        case HostileKind::DeviceLink: {
            // Not root: the machine's own, which only root could replace.
            static int made = 0;
            const std::string device =
                deviceFolder()[0] == '\0'
                    ? std::string("/dev/urandom")
                    : makeEndlessDevice(deviceFolder() + ("/urandom-" + std::to_string(++made)));
            EXPECT_EQ(::symlink(device.c_str(), path.c_str()), 0) << path;
            break;
        }
        case HostileKind::DeviceNode:
            makeEndlessDevice(path);
            break;
        case HostileKind::Garbage: {
            std::ofstream file(path, std::ios::binary);
            for (int round = 0; round < 16; ++round) {
                for (int byte = 0; byte < 256; ++byte) {
                    file.put(char(byte));
                }
                file << kForeignBytes;
            }
            break;
        }
        case HostileKind::Huge:
            std::ofstream(path, std::ios::binary) << content << kForeignBytes;
            EXPECT_EQ(::truncate(path.c_str(), 50 << 20), 0);  // sparse: costs no disk
            break;
        case HostileKind::OddName:
            path += kOddSuffix;
            std::ofstream(path, std::ios::binary) << content << kForeignBytes;
            break;
    }
    return path;
}

// The type of what is at path, without following a link.
inline mode_t entryType(const std::string &path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

// The type of what a link at path leads to (of the entry itself when it is none).
inline mode_t targetType(const std::string &path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

}  // namespace tarnwell::testing
