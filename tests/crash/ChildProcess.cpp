#include "ChildProcess.h"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "crash/CrashContext.h"

namespace tarnwell::crash::testing {

ChildEnd runInChild(const std::function<void()> &body, int deadlineSeconds) {
    const pid_t pid = fork();
    if (pid == 0) {
        for (int number : kCapturedSignals) {
            signal(number, SIG_DFL);
        }
        body();
        _exit(0);
    }
    ChildEnd end;
    if (pid < 0) {
        return end;
    }
    // A pidfd becomes readable when the child ends, so the deadline is one poll.
    const int pidfd = int(syscall(SYS_pidfd_open, pid, 0));
    pollfd watch{pidfd, POLLIN, 0};
    if (pidfd < 0 || poll(&watch, 1, deadlineSeconds * 1000) != 1) {
        kill(pid, SIGKILL);
    } else {
        end.finished = true;
    }
    if (pidfd >= 0) {
        close(pidfd);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    end.signaled = WIFSIGNALED(status);
    end.signal = end.signaled ? WTERMSIG(status) : 0;
    end.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return end;
}

std::vector<std::string> readLines(const std::string &path) {
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "tarnwell-crash-XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr) {
        path_ = pattern;
    }
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
}

}  // namespace tarnwell::crash::testing
