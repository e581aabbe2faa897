#pragma once

#include <ucontext.h>

#include <cstddef>
#include <cstdint>

#include "crash/ImageTable.h"

namespace tarnwell::crash {

class RecordWriter;

inline constexpr size_t kMaxRecordedFrames = 128;

// How a frame's address was found, from the most to the least certain.
enum class FrameTrust { Context, CallFrameInfo, FramePointer, Scan };

struct StackFrame {
    uint64_t pc;
    FrameTrust trust;
};

// Reads `length` bytes at `address` of this process without faulting on a bad address.
// Async-signal-safe (one process_vm_readv system call).
bool safeReadMemory(uint64_t address, void *out, size_t length);

// Walks the stack from a program counter, frame pointer and stack pointer. Follows the
// frame-pointer chain while it stays plausible (above the stack pointer, growing, inside
// the stack's reach, returning into a known image); when the chain yields nothing past
// the first frame (code built without frame pointers, such as the C library), scans
// the stack for words that point into a known image's code instead. No allocation.
size_t walkStack(const ImageTable &images, uint64_t pc, uint64_t fp, uint64_t sp,
                 StackFrame *frames, size_t capacity);

// Writes one "thread" record: its kernel thread id, whether it crashed, its registers
// (when a machine context is given) and its frames, each tied to the base of the image
// that holds it and the offset inside it, so addr2line can symbolize it offline. Without
// a context the record has no frames. Async-signal-safe.
void recordThread(RecordWriter &writer, const ImageTable &images, const ucontext_t *context,
                  bool crashed);

// Writes one "thread" record of the calling thread with frames found beforehand (by the
// unwinder, in normal context). Async-signal-safe itself.
void recordThreadFrames(RecordWriter &writer, const ImageTable &images, const StackFrame *frames,
                        size_t frameCount, bool crashed);

}  // namespace tarnwell::crash
