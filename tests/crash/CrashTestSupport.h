#pragma once

#include <functional>
#include <string>
#include <vector>

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
ChildEnd runInChild(const std::function<void()> &body, int deadlineSeconds = 30,
                    const std::function<bool()> &interruptWhen = {});

// runInChild, with crash reporting started in the child before `body` and its reports under
// `reports` (no image watcher, no foreign-handler check; exit status 99 if it cannot
// start). `beforeCapture` installs what must already be in place when reporting starts.
ChildEnd runCapturedInChild(const std::string &reports, const std::function<void()> &body,
                            const std::function<void()> &beforeCapture = {});

// The path of `file` in the one active report under `reports`: the child's, whose pid the
// test does not know.
std::string activeFile(const std::string &reports, const char *file);

// Every line of a record file, parsed; a line that does not parse fails the test.
std::vector<RecordValue> parsedRecords(const std::string &path);

// The lines of a text file, or the whole of it; empty when it cannot be read.
std::vector<std::string> readLines(const std::string &path);
std::string readText(const std::string &path);

// What `body` writes to the crash log.
std::string crashLogOutput(const std::function<void()> &body);

// A fresh directory under the system's temporary folder, removed on destruction.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    const std::string &path() const { return path_; }

private:
    std::string path_;
};

}  // namespace tarnwell::crash::testing
