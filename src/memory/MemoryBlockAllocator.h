#pragma once

#include <cstddef>

namespace tarnwell {

// The act of a cleaning: get a block, make every page of it resident, give it
// back. Behind an interface so tests can hold a cleaning half-way.
class MemoryBlockAllocator {
public:
    virtual ~MemoryBlockAllocator() = default;
    // Reserves address space only; nullptr when that fails.
    virtual void *allocate(size_t bytes) = 0;
    // Makes the system back every page of the block with real memory.
    virtual void makeResident(void *block, size_t bytes) = 0;
    virtual void release(void *block, size_t bytes) = 0;
};

class ResidentBlockAllocator : public MemoryBlockAllocator {
public:
    void *allocate(size_t bytes) override;
    void makeResident(void *block, size_t bytes) override;
    void release(void *block, size_t bytes) override;
};

}  // namespace tarnwell
