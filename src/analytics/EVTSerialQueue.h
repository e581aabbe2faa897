#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>

class QObject;
class QThread;

namespace tarnwell {

// One worker thread that runs posted tasks one at a time, in order. The
// kit's file and network work all happens here, so a caller that logs an
// event only pays for building it and posting it.
class EVTSerialQueue {
public:
    // stopTimeout: how long stop() waits for the worker to end.
    explicit EVTSerialQueue(std::chrono::milliseconds stopTimeout = std::chrono::seconds(10));
    ~EVTSerialQueue();
    EVTSerialQueue(const EVTSerialQueue &) = delete;
    EVTSerialQueue &operator=(const EVTSerialQueue &) = delete;

    // Safe from any thread; returns false once the queue has been stopped.
    bool post(std::function<void()> task);
    // Blocks until every task posted before this call has run.
    void waitUntilIdle();
    // Runs the tasks already posted, then the final task, then ends the
    // thread. Later posts are refused. Blocks until the thread has ended, or
    // for the stop timeout at most: a worker stuck in a task (a file system
    // that never answers) must not keep the program from quitting, so it is
    // then left to finish on its own, with its thread and context.
    // False when the worker was left behind.
    bool stop(std::function<void()> finalTask);

    // The object that lives on the worker thread (for timers and the
    // network manager).
    QObject *context() const { return context_.get(); }

private:
    std::unique_ptr<QThread> thread_;
    std::unique_ptr<QObject> context_;
    std::chrono::milliseconds stopTimeout_;
    std::mutex mutex_;
    bool stopped_ = false;
    std::shared_ptr<std::atomic<bool>> abandoned_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace tarnwell
