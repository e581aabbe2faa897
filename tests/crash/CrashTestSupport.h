#pragma once

#include <functional>

#include <string>
#include <vector>
#include "crash/RecordParser.h"

namespace tarnwell::crash::testing {

// How a child process ended.
struct ChildEnd {
    bool finished = false;  // false: the deadline passed and the child was killed
    bool signaled = false;
    int signal = 0;
    int exitStatus = -1;
};

// Runs `body` in a forked child whose seven crash signals start at the default action
// (the sanitizers' own handlers removed), then waits up to `deadlineSeconds` for it.
// A body that returns exits with status 0; an exception leaving it is uncaught.
ChildEnd runInChild(const std::function<void()> &body, int deadlineSeconds = 30);

// The lines of a text file; empty when it cannot be read.
std::vector<std::string> readLines(const std::string &path);

// Starts crash reporting for a child process with its reports under `reports`
// (no image watcher, no foreign-handler check); exits with status 99 on failure.
void startCapture(const std::string &reports);

// The one active report directory under `reports` (the child's, whose pid the body of a
// test does not know).
std::string onlyActiveDirectory(const std::string &reports);

// Every line of a record file, parsed; a line that does not parse fails the test.
std::vector<RecordValue> parsedRecords(const std::string &path);

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
