#pragma once

#include <QObject>

class QSocketNotifier;

namespace tarnwell {

// Turns SIGINT and SIGTERM into a Qt signal on the main thread. The handler
// only writes a byte to a pipe (nothing else is safe there); a socket notifier
// on the other end emits terminationRequested() from the event loop. One
// instance at a time; the previous handlers come back when it is destroyed.
class TerminationSignals : public QObject {
    Q_OBJECT
public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

    bool isWatching() const { return notifier_ != nullptr; }

signals:
    void terminationRequested(int signalNumber);

private:
    void readPendingSignals();

    QSocketNotifier *notifier_ = nullptr;
};

}  // namespace tarnwell
