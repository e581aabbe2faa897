#include "crash/ThreadRecorder.h"

#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include "crash/RecordWriter.h"

namespace tarnwell::crash {

namespace {

// A frame larger than this is taken as a broken chain rather than a real frame.
constexpr uint64_t kMaxFrameSize = 1 << 20;
// How far above the stack pointer the scan looks for return addresses.
constexpr size_t kScanWords = 2048;

bool inKnownImage(const ImageTable &images, uint64_t address) {
    ImageNode node;
    return findImageForAddress(images, address, &node);
}

// A word found by scanning is taken as a return address only when the bytes before it
// are a call instruction; code addresses stored for other reasons (function pointers,
// jump targets) would otherwise show up as frames.
bool followsCall(uint64_t address) {
#if defined(__x86_64__)
    unsigned char before[7];
    if (address < sizeof before ||
        !safeReadMemory(address - sizeof before, before, sizeof before)) {
        return false;
    }
    auto opcodeAt = [&](size_t distance) { return before[sizeof before - distance]; };
    auto indirectCallAt = [&](size_t distance) {
        return opcodeAt(distance) == 0xff && ((opcodeAt(distance - 1) >> 3) & 7) == 2;
    };
    return opcodeAt(5) == 0xe8  // call rel32
           || indirectCallAt(2) || indirectCallAt(3) || indirectCallAt(4) || indirectCallAt(6) ||
           indirectCallAt(7);
#else
    (void)address;
    return true;
#endif
}

const char *trustName(FrameTrust trust) {
    switch (trust) {
        case FrameTrust::Context:
            return "context";
        case FrameTrust::CallFrameInfo:
            return "cfi";
        case FrameTrust::FramePointer:
            return "frame_pointer";
        case FrameTrust::Scan:
            return "scan";
    }
    return "scan";
}

struct RegisterValue {
    const char *name;
    uint64_t value;
};

size_t contextRegisters(const ucontext_t &context, RegisterValue *out) {
    size_t count = 0;
#if defined(__x86_64__)
    static constexpr struct {
        const char *name;
        int index;
    } kRegisters[] = {{"rax", REG_RAX},       {"rbx", REG_RBX}, {"rcx", REG_RCX},
                      {"rdx", REG_RDX},       {"rdi", REG_RDI}, {"rsi", REG_RSI},
                      {"rbp", REG_RBP},       {"rsp", REG_RSP}, {"r8", REG_R8},
                      {"r9", REG_R9},         {"r10", REG_R10}, {"r11", REG_R11},
                      {"r12", REG_R12},       {"r13", REG_R13}, {"r14", REG_R14},
                      {"r15", REG_R15},       {"rip", REG_RIP}, {"rflags", REG_EFL},
                      {"trapno", REG_TRAPNO}, {"err", REG_ERR}, {"cr2", REG_CR2}};
    for (const auto &reg : kRegisters) {
        out[count++] = {reg.name, uint64_t(context.uc_mcontext.gregs[reg.index])};
    }
#elif defined(__aarch64__)
    static constexpr const char *kNames[] = {"x0",  "x1",  "x2",  "x3",  "x4",  "x5",  "x6",  "x7",
                                             "x8",  "x9",  "x10", "x11", "x12", "x13", "x14", "x15",
                                             "x16", "x17", "x18", "x19", "x20", "x21", "x22", "x23",
                                             "x24", "x25", "x26", "x27", "x28", "fp",  "lr"};
    for (int i = 0; i < 31; ++i) {
        out[count++] = {kNames[i], uint64_t(context.uc_mcontext.regs[i])};
    }
    out[count++] = {"sp", uint64_t(context.uc_mcontext.sp)};
    out[count++] = {"pc", uint64_t(context.uc_mcontext.pc)};
    out[count++] = {"pstate", uint64_t(context.uc_mcontext.pstate)};
#else
    (void)context;
    (void)out;
#endif
    return count;
}

void contextStart(const ucontext_t &context, uint64_t *pc, uint64_t *fp, uint64_t *sp) {
#if defined(__x86_64__)
    *pc = uint64_t(context.uc_mcontext.gregs[REG_RIP]);
    *fp = uint64_t(context.uc_mcontext.gregs[REG_RBP]);
    *sp = uint64_t(context.uc_mcontext.gregs[REG_RSP]);
#elif defined(__aarch64__)
    *pc = uint64_t(context.uc_mcontext.pc);
    *fp = uint64_t(context.uc_mcontext.regs[29]);
    *sp = uint64_t(context.uc_mcontext.sp);
#else
    (void)context;
    *pc = *fp = *sp = 0;
#endif
}

}  // namespace

bool safeReadMemory(uint64_t address, void *out, size_t length) {
    iovec local{out, length};
    iovec remote{reinterpret_cast<void *>(uintptr_t(address)), length};
    const long read = syscall(SYS_process_vm_readv, long(getpid()), &local, 1UL, &remote, 1UL, 0UL);
    return read == long(length);
}

size_t walkStack(const ImageTable &images, uint64_t pc, uint64_t fp, uint64_t sp,
                 StackFrame *frames, size_t capacity) {
    if (capacity == 0) {
        return 0;
    }
    size_t count = 0;
    frames[count++] = {pc, FrameTrust::Context};

    uint64_t frame = fp;
    uint64_t floor = sp;
    while (count < capacity && frame >= floor && frame - floor < kMaxFrameSize &&
           frame % sizeof(uint64_t) == 0) {
        uint64_t link[2];  // saved frame pointer, return address
        if (!safeReadMemory(frame, link, sizeof link) || !inKnownImage(images, link[1] - 1)) {
            break;
        }
        frames[count++] = {link[1], FrameTrust::FramePointer};
        if (link[0] <= frame) {
            break;
        }
        floor = frame + sizeof link;
        frame = link[0];
    }
    if (count > 1) {
        return count;
    }

    uint64_t words[64];
    for (size_t scanned = 0; scanned < kScanWords && count < capacity;
         scanned += sizeof words / sizeof words[0]) {
        if (!safeReadMemory(sp + scanned * sizeof(uint64_t), words, sizeof words)) {
            break;
        }
        for (uint64_t word : words) {
            if (count < capacity && inKnownImage(images, word - 1) && followsCall(word)) {
                frames[count++] = {word, FrameTrust::Scan};
            }
        }
    }
    return count;
}

namespace {

void writeThreadRecord(RecordWriter &writer, const ImageTable &images, const ucontext_t *context,
                       const StackFrame *frames, size_t frameCount, bool crashed) {
    writer.beginKeyedObject("thread");
    writer.beginObject();
    writer.writeUnsigned("tid", uint64_t(gettid()));
    writer.writeBool("crashed", crashed);
    if (context != nullptr) {
        RegisterValue registers[40];
        const size_t registerCount = contextRegisters(*context, registers);
        writer.writeKey("registers");
        writer.beginObject();
        for (size_t i = 0; i < registerCount; ++i) {
            writer.writeUnsigned(registers[i].name, registers[i].value);
        }
        writer.endObject();
    }
    writer.writeKey("frames");
    writer.beginArray();
    for (size_t i = 0; i < frameCount; ++i) {
        writer.beginObject();
        writer.writeUnsigned("pc", frames[i].pc);
        ImageNode image;
        // A return address points after the call; look up the call itself so a call
        // that ends an image's code is not placed in the next image.
        const uint64_t lookup =
            frames[i].trust == FrameTrust::Context ? frames[i].pc : frames[i].pc - 1;
        if (findImageForAddress(images, lookup, &image)) {
            writer.writeUnsigned("image_base", image.base);
            writer.writeUnsigned("offset", frames[i].pc - image.base);
        }
        writer.writeString("trust", trustName(frames[i].trust));
        writer.endObject();
    }
    writer.endArray();
    writer.endObject();
    writer.endRecord();
}

}  // namespace

void recordThread(RecordWriter &writer, const ImageTable &images, const ucontext_t *context,
                  bool crashed) {
    StackFrame frames[kMaxRecordedFrames];
    size_t frameCount = 0;
    if (context != nullptr) {
        uint64_t pc = 0;
        uint64_t fp = 0;
        uint64_t sp = 0;
        contextStart(*context, &pc, &fp, &sp);
        frameCount = walkStack(images, pc, fp, sp, frames, kMaxRecordedFrames);
    }
    writeThreadRecord(writer, images, context, frames, frameCount, crashed);
}

void recordThreadFrames(RecordWriter &writer, const ImageTable &images, const StackFrame *frames,
                        size_t frameCount, bool crashed) {
    writeThreadRecord(writer, images, nullptr, frames, frameCount, crashed);
}

}  // namespace tarnwell::crash
