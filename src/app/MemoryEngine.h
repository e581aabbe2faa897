#pragma once

#include <functional>
#include <string>

#include "memory/CleaningPlan.h"
#include "memory/QRMNumber.h"

namespace tarnwell {

class QRMMemoryInfo;

// The part of the memory engine the controller drives. Production wraps the
// shared QRMMemoryInfo; tests hand in a small record and finish cleanings when
// they choose.
class MemoryEngine {
public:
    virtual ~MemoryEngine() = default;
    virtual void refresh() = 0;
    virtual QRMStatisticsRecord info() const = 0;
    // Why the last refresh could not read the figures; empty when it could.
    virtual std::string sampleProblem() const = 0;
    // Returns at once; the observers run on the cleaning thread afterwards,
    // and only for a cleaning that started.
    virtual CleaningDecision cleanMemoryNow() = 0;
    virtual int addMemoryCleanedObserver(std::function<void()> observer) = 0;
    virtual void removeMemoryCleanedObserver(int id) = 0;
};

// The engine over a QRMMemoryInfo, normally the shared one.
class QRMMemoryInfoEngine : public MemoryEngine {
public:
    explicit QRMMemoryInfoEngine(QRMMemoryInfo &memoryInfo) : memoryInfo_(memoryInfo) {}
    void refresh() override;
    QRMStatisticsRecord info() const override;
    std::string sampleProblem() const override;
    CleaningDecision cleanMemoryNow() override;
    int addMemoryCleanedObserver(std::function<void()> observer) override;
    void removeMemoryCleanedObserver(int id) override;

private:
    QRMMemoryInfo &memoryInfo_;
};

}  // namespace tarnwell
