#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tarnwell::test {

// A virtual X display of the test's own, on a display number Xvfb picks
// itself (so parallel tests never collide); DISPLAY points at it while it
// lives. Made before the application object, ended after it.
class XvfbDisplay {
public:
    XvfbDisplay() {
        int numberPipe[2];
        if (::pipe(numberPipe) != 0) {
            return;
        }
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(numberPipe[0]);
            const std::string fd = std::to_string(numberPipe[1]);
            ::execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-nolisten", "tcp", "-screen", "0",
                     "1024x768x24", static_cast<char *>(nullptr));
            ::_exit(127);
        }
        ::close(numberPipe[1]);
        // Xvfb writes the number once it accepts clients.
        char number[16] = {};
        size_t got = 0;
        while (got + 1 < sizeof number) {
            const ssize_t n = ::read(numberPipe[0], number + got, 1);
            if (n <= 0 || number[got] == '\n') {
                break;
            }
            got += size_t(n);
        }
        ::close(numberPipe[0]);
        number[got] = 0;
        if (got > 0) {
            display_ = std::string(":") + number;
            ::setenv("DISPLAY", display_.c_str(), 1);
        }
    }

    ~XvfbDisplay() {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            ::waitpid(pid_, nullptr, 0);
        }
    }

    XvfbDisplay(const XvfbDisplay &) = delete;
    XvfbDisplay &operator=(const XvfbDisplay &) = delete;

    // Empty when Xvfb could not start.
    const std::string &display() const { return display_; }

private:
    pid_t pid_ = -1;
    std::string display_;
};

}  // namespace tarnwell::test
