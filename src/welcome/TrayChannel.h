#pragma once

#include <QObject>
#include <QSocketNotifier>

#include "app/WelcomeMessages.h"

namespace tarnwell {

// The welcome window's side of the line protocol with the tray program:
// its messages arrive on one descriptor (standard input), the window's go
// out on another (standard output).
class TrayChannel : public QObject {
    Q_OBJECT
public:
    TrayChannel(int input, int output, QObject *parent = nullptr);

    void send(const char *message);

signals:
    void raiseRequested();
    void languageDidChanged();
    // The input was a pipe and the tray program closed it (it quit or died):
    // the window has no one left to report to.
    void trayGone();

private:
    void readInput();

    int input_;
    int output_;
    QSocketNotifier notifier_;
    MessageLines lines_;
};

}  // namespace tarnwell
