#pragma once

#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "crash/CrashContext.h"
#include "crash/RecordParser.h"

namespace tarnwell::crash::testing {

// How a child process ended.
struct ChildEnd {
    bool finished = false;  // false: the deadline passed and the child was killed
    int signal = 0;         // 0: the child exited
    int exitStatus = -1;
};

// Runs `body` in a forked child whose seven crash signals start at the default action
// (the sanitizers' own handlers removed), then waits up to `deadlineSeconds` for it,
// sending it SIGINT once `interruptWhen` says so. A body that returns exits with status 0;
// an exception leaving it is uncaught.
inline ChildEnd runInChild(const std::function<void()> &body, int deadlineSeconds = 30,
                           const std::function<bool()> &interruptWhen = {}) {
    const pid_t pid = fork();
    if (pid == 0) {
        for (int number : kCapturedSignals) {
            signal(number, SIG_DFL);
        }
        // Not a try block of the test framework's: an exception leaving the body must
        // reach the terminate handler as it would in the application.
        [&body]() noexcept { body(); }();
        _exit(0);
    }
    ChildEnd end;
    if (pid < 0) {
        return end;
    }
    // A pidfd becomes readable when the child ends; polled in tenths of a second so that
    // `interruptWhen` is asked as the child runs.
    pollfd watch{int(syscall(SYS_pidfd_open, pid, 0)), POLLIN, 0};
    bool interrupted = false;
    for (int tenths = 0; watch.fd >= 0 && !end.finished && tenths < deadlineSeconds * 10;
         ++tenths) {
        end.finished = poll(&watch, 1, 100) == 1;
        if (!end.finished && !interrupted && interruptWhen && interruptWhen()) {
            interrupted = kill(pid, SIGINT) == 0;
        }
    }
    if (!end.finished) {
        kill(pid, SIGKILL);
    }
    close(watch.fd);
    int status = 0;
    waitpid(pid, &status, 0);
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return end;
}

// The lines of a text file, or the whole of it; empty when it cannot be read.
inline std::vector<std::string> readLines(const std::string &path) {
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

inline std::string readText(const std::string &path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// The path of `file` in the one active report under `reports`: the child's, whose pid the
// test does not know.
inline std::string activeFile(const std::string &reports, const char *file) {
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(reports, error)) {
        if (entry.path().filename().string().starts_with("active-")) {
            return (entry.path() / file).string();
        }
    }
    ADD_FAILURE() << "no active report under " << reports;
    return {};
}

// Every line of a record file, parsed; a line that does not parse fails the test.
inline std::vector<RecordValue> parsedRecords(const std::string &path) {
    std::vector<RecordValue> records;
    for (const std::string &line : readLines(path)) {
        auto record = parseRecordLine(line);
        EXPECT_TRUE(record.has_value()) << "unparsable record: " << line;
        if (record) {
            records.push_back(std::move(*record));
        }
    }
    return records;
}

// A fresh directory under the system's temporary folder, removed on destruction.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "tarnwell-crash-XXXXXX").string();
        if (mkdtemp(pattern.data()) != nullptr) {
            path_ = pattern;
        }
    }
    ~TemporaryDirectory() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    const std::string &path() const { return path_; }

private:
    std::string path_;
};

}  // namespace tarnwell::crash::testing
