#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <QDeadlineTimer>
#include <QProcess>
#include <QThread>

namespace tarnwell::test {

// Held while a display starts. When two tests start Xvfb and openbox at the
// same moment, one openbox now and then dies before it has managed anything,
// and its test waits out its deadline: starts are taken one at a time.
class DisplayStartLock {
public:
    DisplayStartLock() {
        const char *folder = std::getenv("TMPDIR");
        const std::string path = std::string(folder && *folder == '/' ? folder : "/tmp") +
                                 "/tarnwell-test-display-start.lock";
        fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd_ >= 0) {
            ::flock(fd_, LOCK_EX);
        }
    }
    ~DisplayStartLock() { release(); }
    void release() {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }

private:
    int fd_ = -1;
};

// A virtual X display of the test's own, on a number Xvfb picks itself (so
// parallel tests never collide); DISPLAY points at it. Made before the
// application object, ended after it. Without a lock of the caller's, it
// holds one for its own start.
class XvfbDisplay {
public:
    explicit XvfbDisplay(const DisplayStartLock *held = nullptr) {
        std::unique_ptr<DisplayStartLock> own;
        if (!held) {
            own = std::make_unique<DisplayStartLock>();
        }
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

// An X display of its own (Xvfb) with a real window manager (openbox), for
// tests and benchmarks that watch real windows. Programs it starts, the
// window manager and the server are ended by their pids when it goes.
class VirtualDesktop {
public:
    VirtualDesktop() {
        if (x_.display().empty()) {
            startLock_.release();
            return;
        }
        // Clients it starts belong on this display, never on the session's.
        qunsetenv("WAYLAND_DISPLAY");
        // No autostart (the session's panels and applets would join the
        // display), but a mark on the root window once openbox has finished
        // starting: a window mapped before that may never be managed.
        start("openbox", {"--sm-disable", "--startup",
                          "xprop -root -f OPENBOX_STARTED 32c -set OPENBOX_STARTED 1"});
        ready_ = waitUntil(
            [this] {
                QByteArray mark;
                return run("xprop", {"-root", "OPENBOX_STARTED"}, &mark) && mark.contains("= 1");
            },
            60'000);
        startLock_.release();
    }

    ~VirtualDesktop() {
        for (auto it = programs_.rbegin(); it != programs_.rend(); ++it) {
            stop(**it);
        }
    }

    bool ready() const { return ready_; }
    QString display() const { return QString::fromStdString(x_.display()); }

    // Starts an X client on this display; it is ended with the desktop.
    QProcess &start(const QString &program, const QStringList &arguments = {}) {
        auto process = std::make_unique<QProcess>();
        process->setStandardInputFile(QProcess::nullDevice());
        process->setStandardOutputFile(QProcess::nullDevice());
        process->setStandardErrorFile(QProcess::nullDevice());
        process->start(program, arguments);
        process->waitForStarted(10'000);
        programs_.push_back(std::move(process));
        return *programs_.back();
    }

    // Runs a short tool (xdotool, xprop) on this display; true on exit 0.
    bool run(const QString &program, const QStringList &arguments, QByteArray *output = nullptr) {
        QProcess process;
        process.start(program, arguments);
        const bool ok = process.waitForFinished(10'000) &&
                        process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
        if (output) {
            *output = process.readAllStandardOutput();
        }
        return ok;
    }

    // The one top-level window of a started client, found by its class, once
    // the window manager has taken it into its client list; empty when that
    // does not happen in time.
    QString windowOf(const QString &wmClass) {
        QString window;
        return waitUntil([&] {
            QByteArray found, clients;
            if (!run("xdotool", {"search", "--class", wmClass}, &found) ||
                !run("xprop", {"-root", "_NET_CLIENT_LIST"}, &clients)) {
                return false;
            }
            window = QString::fromLatin1(found.trimmed().split('\n').value(0));
            const QByteArray hex = "0x" + QByteArray::number(window.toULongLong(), 16);
            return clients.contains(hex + ",") || clients.trimmed().endsWith(hex);
        })
                   ? window
                   : QString();
    }

    static void stop(QProcess &process) {
        if (process.state() != QProcess::NotRunning) {
            process.terminate();
            if (!process.waitForFinished(5000)) {
                process.kill();
                process.waitForFinished(5000);
            }
        }
    }

    // Stops the X server now, as a crashed or ended session would.
    void stopServer() { x_.stop(); }

    template <typename Condition>
    // Generous: Xvfb and openbox start slowly on a loaded machine.
    static bool waitUntil(Condition condition, int milliseconds = 30'000) {
        QDeadlineTimer deadline(milliseconds);
        while (!condition()) {
            if (deadline.hasExpired()) {
                return false;
            }
            QThread::msleep(20);
        }
        return true;
    }

private:
    DisplayStartLock startLock_;  // before the display: taken first
    XvfbDisplay x_{&startLock_};
    std::vector<std::unique_ptr<QProcess>> programs_;
    bool ready_ = false;
};

}  // namespace tarnwell::test
