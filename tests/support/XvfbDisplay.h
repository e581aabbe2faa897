#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tarnwell::test {

// A virtual X display of the test's own, on a number Xvfb picks itself (so
// parallel tests never collide); DISPLAY points at it. Made before the
// application object, ended after it.
class XvfbDisplay {
public:
    XvfbDisplay() {
        int number[2];
        if (::pipe(number) != 0 || (pid_ = ::fork()) < 0) {
            return;
        }
        if (pid_ == 0) {
            ::close(number[0]);
            const std::string fd = std::to_string(number[1]);
            ::execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-nolisten", "tcp", "-screen", "0",
                     "1024x768x24", static_cast<char *>(nullptr));
            ::_exit(127);
        }
        ::close(number[1]);
        // Written once the server accepts clients.
        FILE *reply = ::fdopen(number[0], "r");
        char line[16] = {};
        if (std::fgets(line, sizeof line, reply) && line[0] >= '0' && line[0] <= '9') {
            display_ = ":" + std::to_string(std::atoi(line));
            ::setenv("DISPLAY", display_.c_str(), 1);
        }
        std::fclose(reply);
    }
    ~XvfbDisplay() { stop(); }
    XvfbDisplay(const XvfbDisplay &) = delete;
    XvfbDisplay &operator=(const XvfbDisplay &) = delete;

    // Empty when Xvfb could not start.
    const std::string &display() const { return display_; }

    // Ends the server now, as a crashed or ended session would.
    void stop() {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            ::waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }

private:
    pid_t pid_ = -1;
    std::string display_;
};

}  // namespace tarnwell::test
