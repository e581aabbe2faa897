#include "welcome/TrayChannel.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tarnwell {

namespace {

bool isPipe(int fd) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

}  // namespace

TrayChannel::TrayChannel(int input, int output, QObject *parent)
    : QObject(parent), input_(input), output_(output), notifier_(input, QSocketNotifier::Read) {
    // Started by hand with its input on a terminal or /dev/null, the window
    // simply has no tray to listen to; only a pipe says that one exists.
    if (!isPipe(input_)) {
        notifier_.setEnabled(false);
        return;
    }
    ::fcntl(input_, F_SETFL, ::fcntl(input_, F_GETFL) | O_NONBLOCK);
    connect(&notifier_, &QSocketNotifier::activated, this, &TrayChannel::readInput);
}

void TrayChannel::send(const char *message) {
    const QByteArray line = QByteArray(message) + '\n';
    // A line this short reaches a pipe whole; a tray that went away is told
    // nothing, and trayGone() follows from the input side.
    while (::write(output_, line.constData(), size_t(line.size())) < 0 && errno == EINTR) {
    }
}

void TrayChannel::readInput() {
    char buffer[256];
    for (;;) {
        const ssize_t got = ::read(input_, buffer, sizeof buffer);
        if (got > 0) {
            for (const QByteArray &line : lines_.append(QByteArray(buffer, got))) {
                if (line == welcome_messages::kRaise) {
                    emit raiseRequested();
                } else if (line == welcome_messages::kLanguageDidChanged) {
                    emit languageDidChanged();
                }
            }
            continue;
        }
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got == 0) {
            notifier_.setEnabled(false);
            emit trayGone();
        }
        return;  // EAGAIN: all read for now
    }
}

}  // namespace tarnwell
