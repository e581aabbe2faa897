#include "app/TerminationSignals.h"

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>

#include <QSocketNotifier>

namespace tarnwell {

namespace {

constexpr int kWatchedSignals[] = {SIGINT, SIGTERM};

int signalPipe[2] = {-1, -1};
struct sigaction previousActions[2];

// Async-signal-safe: write() and errno only.
void onTerminationSignal(int signalNumber) {
    const int savedErrno = errno;
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    // A full pipe already holds a pending request; dropping this one is fine.
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = savedErrno;
}

void restorePreviousActions() {
    for (size_t i = 0; i < std::size(kWatchedSignals); ++i) {
        sigaction(kWatchedSignals[i], &previousActions[i], nullptr);
    }
}

}  // namespace

TerminationSignals::TerminationSignals(QObject *parent) : QObject(parent) {
    if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        qWarning("cannot watch for Ctrl-C: pipe: %s", strerror(errno));
        return;
    }
    notifier_ = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &TerminationSignals::readPendingSignals);

    struct sigaction action {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (size_t i = 0; i < std::size(kWatchedSignals); ++i) {
        sigaction(kWatchedSignals[i], &action, &previousActions[i]);
    }
}

TerminationSignals::~TerminationSignals() {
    if (!notifier_) {
        return;
    }
    restorePreviousActions();
    delete notifier_;
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
    signalPipe[0] = signalPipe[1] = -1;
}

void TerminationSignals::readPendingSignals() {
    unsigned char byte = 0;
    int last = 0;
    while (::read(signalPipe[0], &byte, 1) == 1) {
        last = byte;
    }
    if (last != 0) {
        // Shutting down may wait for a worker; should one never finish, a second
        // Ctrl-C or SIGTERM still ends the process the usual way.
        restorePreviousActions();
        emit terminationRequested(last);
    }
}

}  // namespace tarnwell
