// The two ends of the tray's line protocol with the welcome window's process,
// with a shell script standing in for the window.
#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "app/WelcomeMessages.h"
#include "app/WelcomeWindowProcess.h"
#include "welcome/TrayChannel.h"

namespace tarnwell::testing {
namespace {

TEST(MessageLines, AreCutAtNewlinesAndCapped) {
    const QByteArray longest(64, 'y');
    const struct {
        QList<QByteArray> chunks, lines;
    } cases[] = {
        {{"raise\nlanguageDidChanged\n"}, {"raise", "languageDidChanged"}},
        {{"rai", "se", "\n", "raise"}, {"raise"}},
        {{longest + "\n"}, {longest}},
        // One byte too many, in two chunks: dropped up to its end, no further.
        {{longest.left(40), longest.mid(40) + "z tail\nraise\n"}, {"raise"}},
    };
    for (const auto &c : cases) {
        MessageLines buffer;
        QList<QByteArray> lines;
        for (const QByteArray &chunk : c.chunks) {
            lines += buffer.append(chunk);
        }
        EXPECT_EQ(lines, c.lines) << c.chunks.join('|').toStdString();
    }
}

TEST(TrayChannel, ReadsMessagesAndNoticesTheTrayGoing) {
    int toWindow[2];
    int fromWindow[2];
    ASSERT_EQ(::pipe2(toWindow, O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(fromWindow, O_CLOEXEC), 0);
    TrayChannel channel(toWindow[0], fromWindow[1]);
    QSignalSpy raised(&channel, &TrayChannel::raiseRequested);
    QSignalSpy language(&channel, &TrayChannel::languageDidChanged);
    QSignalSpy gone(&channel, &TrayChannel::trayGone);

    const char sent[] = "raise\nunknown\nlanguageDidChanged\nrai";
    ASSERT_EQ(::write(toWindow[1], sent, sizeof sent - 1), ssize_t(sizeof sent - 1));
    ASSERT_TRUE(language.wait(5000));
    EXPECT_EQ(raised.size(), 1);
    ::close(toWindow[1]);
    ASSERT_TRUE(gone.wait(5000));
    EXPECT_EQ(raised.size(), 1);

    channel.send(welcome_messages::kWindowDidLoad);
    char got[32] = {};
    EXPECT_EQ(::read(fromWindow[0], got, sizeof got), 14);
    EXPECT_STREQ(got, "windowDidLoad\n");
    ::close(toWindow[0]);
    ::close(fromWindow[0]);
    ::close(fromWindow[1]);
}

// Reports loading, logs what the tray sends, presses "Preferences" when
// raised, and closes (or crashes) when the language changes.
QString writeFakeWindow(const QTemporaryDir &dir, const char *onLanguageChange) {
    const QString path = dir.filePath("fake-welcome");
    QFile script(path);
    EXPECT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("#!/bin/sh\n"
                                "echo windowDidLoad\n"
                                "while read -r line; do\n"
                                "  echo \"$line\" >> '%1'\n"
                                "  case \"$line\" in\n"
                                "    raise) echo showPreferencesWindow ;;\n"
                                "    languageDidChanged) %2 ;;\n"
                                "  esac\n"
                                "done\n")
                     .arg(dir.filePath("received"), QString::fromLatin1(onLanguageChange))
                     .toUtf8());
    script.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    return path;
}

QByteArray received(const QTemporaryDir &dir) {
    QFile log(dir.filePath("received"));
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

TEST(WelcomeWindowProcess, OneWindowAtATimeRaisedOnASecondRequest) {
    QTemporaryDir dir;
    WelcomeWindowProcess welcome(writeFakeWindow(dir, "exit 0"));
    QSignalSpy loaded(&welcome, &WelcomeWindowProcess::windowDidLoad);
    QSignalSpy preferences(&welcome, &WelcomeWindowProcess::showPreferencesWindowRequested);
    QSignalSpy closed(&welcome, &WelcomeWindowProcess::windowWillClose);

    welcome.showWelcomePage();
    ASSERT_TRUE(loaded.wait(5000));
    const qint64 pid = welcome.processId();
    welcome.showWelcomePage();
    ASSERT_TRUE(preferences.wait(5000));
    EXPECT_EQ(welcome.processId(), pid);
    EXPECT_EQ(loaded.size(), 1);
    EXPECT_EQ(received(dir), "raise\n");

    // The user closes it: the next request starts a fresh window.
    welcome.languageDidChanged();
    ASSERT_TRUE(closed.wait(5000));
    EXPECT_FALSE(welcome.isRunning());
    welcome.showWelcomePage();
    ASSERT_TRUE(loaded.wait(5000));
    EXPECT_NE(welcome.processId(), pid);
}

TEST(WelcomeWindowProcess, CrashOrMissingProgramIsNoClose) {
    QTemporaryDir dir;
    WelcomeWindowProcess crashing(writeFakeWindow(dir, "kill -SEGV $$"));
    QSignalSpy closed(&crashing, &WelcomeWindowProcess::windowWillClose);
    QSignalSpy loaded(&crashing, &WelcomeWindowProcess::windowDidLoad);
    crashing.showWelcomePage();
    ASSERT_TRUE(loaded.wait(5000));
    crashing.languageDidChanged();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !crashing.isRunning(); }, 5000));
    EXPECT_TRUE(closed.isEmpty());

    WelcomeWindowProcess missing(dir.filePath("no-such-program"));
    QSignalSpy missingClosed(&missing, &WelcomeWindowProcess::windowWillClose);
    ::testing::internal::CaptureStderr();
    missing.showWelcomePage();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !missing.isRunning(); }, 5000));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("cannot start the welcome window"),
              std::string::npos);
    EXPECT_TRUE(missingClosed.isEmpty());
}

}  // namespace
}  // namespace tarnwell::testing
