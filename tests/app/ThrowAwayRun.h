#pragma once

#include <sys/stat.h>

#include <csignal>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tarnwell::testing {

// The real executable in a throw-away home: its settings, data and caches go
// to a temporary folder, its usage events nowhere (nothing listens on the
// discard port), and it never reaches the desktop the tests run in.
struct ThrowAwayRun {
    QTemporaryDir home;
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();

    ThrowAwayRun() {
        env.insert("HOME", home.path());
        env.insert("XDG_CONFIG_HOME", home.filePath("config"));
        env.insert("XDG_DATA_HOME", home.filePath("data"));
        env.insert("XDG_CACHE_HOME", home.filePath("cache"));
        // Its own runtime folder, so its cleaning lock is not the desktop's.
        ::mkdir(home.filePath("runtime").toLocal8Bit().constData(), 0700);
        env.insert("XDG_RUNTIME_DIR", home.filePath("runtime"));
        env.insert("TARNWELL_EVENTS_URL", "http://127.0.0.1:9/events");
        env.remove("WAYLAND_DISPLAY");
        env.remove("DISPLAY");
    }

    ~ThrowAwayRun() {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
        }
    }

    QString settingsFile() const { return home.filePath("config/Tarnwell/Tarnwell.conf"); }

    void start(const QStringList &arguments = {}) {
        ASSERT_TRUE(home.isValid());
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(TARNWELL_BINARY_DIR "/src/tarnwell"), arguments);
        ASSERT_TRUE(process.waitForStarted());
    }

    struct Finished {
        int status;
        QString out, err;
    };

    // Runs the program to its end, in a locale whose messages the tests know.
    Finished finish(const QStringList &arguments) {
        env.insert("LC_ALL", "C.UTF-8");
        start(arguments);
        EXPECT_TRUE(process.waitForFinished(30000));
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    // Ends the program as a user or the session would: it must exit cleanly.
    void stopWith(int signal) {
        ASSERT_EQ(::kill(pid_t(process.processId()), signal), 0);
        ASSERT_TRUE(process.waitForFinished(30000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process.exitCode(), 0);
    }
};

}  // namespace tarnwell::testing
