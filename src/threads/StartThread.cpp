#include "threads/StartThread.h"

#include "threads/ThreadSignalStack.h"

namespace tarnwell::threads {

std::thread startThread(std::function<void()> body) {
    return std::thread([body = std::move(body)] { runWithSignalStack(body); });
}

void runWithSignalStack(const std::function<void()> &body) {
    const ThreadSignalStack signalStack;
    body();
}

}  // namespace tarnwell::threads
