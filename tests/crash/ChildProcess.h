#pragma once

#include <functional>
#include <string>
#include <vector>

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
// A body that returns exits with status 0.
ChildEnd runInChild(const std::function<void()> &body, int deadlineSeconds = 30);

// The lines of a text file; empty when it cannot be read.
std::vector<std::string> readLines(const std::string &path);

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
