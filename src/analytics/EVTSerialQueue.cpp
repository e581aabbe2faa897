#include "EVTSerialQueue.h"

#include <QObject>
#include <QSemaphore>
#include <QThread>

#include "threads/StartThread.h"

namespace tarnwell {

namespace {

// Qt creates the thread; its body still gets its own signal stack before the event loop
// runs anything.
class SignalStackThread : public QThread {
protected:
    void run() override {
        threads::runWithSignalStack([this] { exec(); });
    }
};

}  // namespace

EVTSerialQueue::EVTSerialQueue()
    : thread_(std::make_unique<SignalStackThread>()), context_(std::make_unique<QObject>()) {
    thread_->setObjectName(QStringLiteral("io.telemetry.events.EventQueue"));
    context_->moveToThread(thread_.get());
    thread_->start();
}

EVTSerialQueue::~EVTSerialQueue() {
    stop({});
}

bool EVTSerialQueue::post(std::function<void()> task) {
    std::lock_guard lock(mutex_);
    if (stopped_) {
        return false;
    }
    QMetaObject::invokeMethod(context_.get(), std::move(task), Qt::QueuedConnection);
    return true;
}

void EVTSerialQueue::waitUntilIdle() {
    QSemaphore done;
    if (post([&done] { done.release(); })) {
        done.acquire();
    }
}

void EVTSerialQueue::stop(std::function<void()> finalTask) {
    {
        std::lock_guard lock(mutex_);
        if (stopped_) {
            return;
        }
        stopped_ = true;
        // Quitting from inside the queue, not from here, lets every task
        // already posted run first.
        QMetaObject::invokeMethod(
            context_.get(),
            [finalTask = std::move(finalTask)] {
                if (finalTask) {
                    finalTask();
                }
                QThread::currentThread()->quit();
            },
            Qt::QueuedConnection);
    }
    thread_->wait();
    // Objects the tasks parented to the context go with it, on this thread
    // now that the worker has ended.
    context_.reset();
}

}  // namespace tarnwell
