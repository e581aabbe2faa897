#include "EVTSerialQueue.h"

#include <QObject>
#include <QSemaphore>
#include <QThread>

#include <vector>

#include "EVTLog.h"
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

// A stuck worker's thread and context stay for the rest of the process, still
// reachable (a leak checker need not report them).
void leaveBehind(std::unique_ptr<QThread> thread, std::unique_ptr<QObject> context) {
    static std::mutex mutex;
    static auto *stuck =
        new std::vector<std::pair<std::unique_ptr<QThread>, std::unique_ptr<QObject>>>;
    std::lock_guard lock(mutex);
    stuck->emplace_back(std::move(thread), std::move(context));
}

}  // namespace

EVTSerialQueue::EVTSerialQueue(std::chrono::milliseconds stopTimeout)
    : thread_(std::make_unique<SignalStackThread>()),
      context_(std::make_unique<QObject>()),
      stopTimeout_(stopTimeout) {
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
    QMetaObject::invokeMethod(
        context_.get(),
        [abandoned = abandoned_, task = std::move(task)] {
            if (!*abandoned) {
                task();
            }
        },
        Qt::QueuedConnection);
    return true;
}

void EVTSerialQueue::waitUntilIdle() {
    QSemaphore done;
    if (post([&done] { done.release(); })) {
        done.acquire();
    }
}

bool EVTSerialQueue::stop(std::function<void()> finalTask) {
    {
        std::lock_guard lock(mutex_);
        if (stopped_) {
            return true;
        }
        stopped_ = true;
        // Quitting from inside the queue, not from here, lets every task
        // already posted run first.
        QMetaObject::invokeMethod(
            context_.get(),
            [abandoned = abandoned_, finalTask = std::move(finalTask)] {
                if (finalTask && !*abandoned) {
                    finalTask();
                }
                QThread::currentThread()->quit();
            },
            Qt::QueuedConnection);
    }
    if (!thread_->wait(QDeadlineTimer(stopTimeout_))) {
        qCWarning(lcEvents, "The events worker did not stop in time; leaving it behind.");
        // The tasks still queued belong to owners that are going away: skipped.
        // Destroying a running QThread would abort the process, so it is kept.
        *abandoned_ = true;
        leaveBehind(std::move(thread_), std::move(context_));
        return false;
    }
    // Objects the tasks parented to the context go with it, on this thread
    // now that the worker has ended.
    context_.reset();
    return true;
}

}  // namespace tarnwell
