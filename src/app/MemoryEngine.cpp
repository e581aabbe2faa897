#include "app/MemoryEngine.h"

#include "memory/QRMMemoryInfo.h"

namespace tarnwell {

void QRMMemoryInfoEngine::refresh() {
    memoryInfo_.refresh();
}

QRMStatisticsRecord QRMMemoryInfoEngine::info() const {
    return memoryInfo_.info();
}

std::string QRMMemoryInfoEngine::sampleProblem() const {
    return memoryInfo_.sampleProblem();
}

CleaningDecision QRMMemoryInfoEngine::cleanMemoryNow() {
    return memoryInfo_.cleanMemoryNow();
}

int QRMMemoryInfoEngine::addMemoryCleanedObserver(std::function<void()> observer) {
    return memoryInfo_.addMemoryCleanedObserver(std::move(observer));
}

void QRMMemoryInfoEngine::removeMemoryCleanedObserver(int id) {
    memoryInfo_.removeMemoryCleanedObserver(id);
}

}  // namespace tarnwell
