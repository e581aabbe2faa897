#include "CrashTestSupport.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "crash/CrashContext.h"
#include "crash/CrashLog.h"
#include "crash/CrashReporter.h"

namespace tarnwell::crash::testing {

ChildEnd runInChild(const std::function<void()> &body, int deadlineSeconds,
                    const std::function<bool()> &interruptWhen) {
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

std::vector<std::string> readLines(const std::string &path) {
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string readText(const std::string &path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

ChildEnd runCapturedInChild(const std::string &reports, const std::function<void()> &body,
                            const std::function<void()> &beforeCapture) {
    return runInChild([&] {
        if (beforeCapture) {
            beforeCapture();
        }
        CrashReportingOptions options;
        options.reportsDirectory = reports;
        options.metadata.bundleIdentifier = "app.tarnwell.Tests";
        options.checkForeignHandlers = false;
        options.watchImages = false;
        if (!startCrashReporting(options)) {
            _exit(99);
        }
        body();
    });
}

std::string activeFile(const std::string &reports, const char *file) {
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(reports, error)) {
        if (entry.path().filename().string().starts_with("active-")) {
            return (entry.path() / file).string();
        }
    }
    ADD_FAILURE() << "no active report under " << reports;
    return {};
}

std::vector<RecordValue> parsedRecords(const std::string &path) {
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

std::string crashLogOutput(const std::function<void()> &body) {
    FILE *log = tmpfile();
    setCrashLogDescriptor(fileno(log));
    body();
    setCrashLogDescriptor(-1);
    const std::string text = readText("/proc/self/fd/" + std::to_string(fileno(log)));
    fclose(log);
    return text;
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
