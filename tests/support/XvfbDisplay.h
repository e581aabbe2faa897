#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QProcess>
#include <QTemporaryFile>

namespace tarnwell::test {

// A private X server for one test: Xvfb picks a free display number and
// writes it to a file, which this reads. display() is empty when Xvfb could
// not start.
class XvfbDisplay {
public:
    XvfbDisplay() {
        if (!displayFile_.open()) {
            return;
        }
        // -displayfd writes to an inherited descriptor; QProcess inherits only
        // the standard ones, so the number goes through a shell redirection.
        server_.start(QStringLiteral("sh"),
                      {QStringLiteral("-c"),
                       QStringLiteral("exec Xvfb -displayfd 3 -nolisten tcp -screen 0 640x480x24 "
                                      "3>\"$0\" 2>/dev/null"),
                       displayFile_.fileName()});
        if (!server_.waitForStarted()) {
            return;
        }
        QDeadlineTimer deadline(10000);
        while (!deadline.hasExpired()) {
            displayFile_.seek(0);
            const QByteArray number = displayFile_.readAll().trimmed();
            if (!number.isEmpty()) {
                display_ = ":" + number;
                return;
            }
            server_.waitForFinished(50);
            if (server_.state() == QProcess::NotRunning) {
                return;
            }
        }
    }
    ~XvfbDisplay() {
        server_.terminate();
        server_.waitForFinished(5000);
    }

    QByteArray display() const { return display_; }

private:
    QTemporaryFile displayFile_;
    QProcess server_;
    QByteArray display_;
};

}  // namespace tarnwell::test
