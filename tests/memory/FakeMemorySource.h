#pragma once

#include <memory>
#include <optional>

#include "memory/MemorySource.h"

namespace tarnwell::test {

// Figures a test sets by hand; a sample can be made to fail. The state is
// shared so the test keeps a handle after the engine has taken the source.
class FakeMemorySource : public MemorySource {
public:
    struct State {
        uint64_t physicalMemory = 0;
        std::optional<uint64_t> hardwareMemorySize, hardwarePhysicalMemory, userMemory;
        std::optional<VmStatistics> vmStatistics;
        std::optional<SwapUsage> swapUsage;
    };

    explicit FakeMemorySource(std::shared_ptr<State> state) : state_(std::move(state)) {}

    uint64_t physicalMemory() override { return state_->physicalMemory; }
    std::optional<uint64_t> hardwareMemorySize() override { return state_->hardwareMemorySize; }
    std::optional<uint64_t> hardwarePhysicalMemory() override {
        return state_->hardwarePhysicalMemory;
    }
    MemorySample sample() override {
        return {state_->userMemory, state_->vmStatistics, state_->swapUsage, {}};
    }

private:
    std::shared_ptr<State> state_;
};

// A small machine: 4 KiB pages, 16 MiB free, 8 MiB inactive.
inline VmStatistics smallMachine() {
    VmStatistics s;
    s.pageSize = 4096;
    s.freeCount = 4096;
    s.activeCount = 1024;
    s.inactiveCount = 2048;
    s.wireCount = 512;
    s.availableBytes = uint64_t{1} << 40;  // no cap in the way unless a test wants one
    return s;
}

}  // namespace tarnwell::test
