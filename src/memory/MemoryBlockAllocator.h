#pragma once

#include <cstddef>
#include <functional>

namespace tarnwell {

// The act of a cleaning: get a block, make every page of it resident, give it
// back. Behind an interface so tests can hold a cleaning half-way.
class MemoryBlockAllocator {
public:
    virtual ~MemoryBlockAllocator() = default;
    // Reserves address space only; nullptr when that fails.
    virtual void *allocate(size_t bytes) = 0;
    // Makes the system back every page of the block with real memory, a
    // part at a time, asking keepGoing() before each part: what is left of
    // the block then stays untouched.
    virtual void makeResident(void *block, size_t bytes,
                              const std::function<bool()> &keepGoing) = 0;
    virtual void release(void *block, size_t bytes) = 0;
};

class ResidentBlockAllocator : public MemoryBlockAllocator {
public:
    explicit ResidentBlockAllocator(size_t partBytes = size_t{256} << 20) : partBytes_(partBytes) {}
    void *allocate(size_t bytes) override;
    void makeResident(void *block, size_t bytes, const std::function<bool()> &keepGoing) override;
    void release(void *block, size_t bytes) override;

private:
    size_t partBytes_;
};

}  // namespace tarnwell
