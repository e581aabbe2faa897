#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnwell::crash {

// One loaded image as the crash handler sees it. Five words, no pointers to follow.
struct ImageNode {
    uint64_t base;        // address of the image's ELF header; 0 marks a node never used
    uint64_t size;        // the executable PT_LOAD segment's size
    uint64_t ehFrame;     // address of the PT_GNU_EH_FRAME segment, or 0
    uint64_t unwindInfo;  // always 0 on ELF
    uint64_t crashInfo;   // always 0 on ELF
};

inline constexpr size_t kImageTableSize = 512;

// Fixed table of the images seen since crash reporting started, in static storage so a
// crash handler can read it without allocating or locking. An unloaded image keeps its
// slot with size 0 and the slot is never reused, so the table records at most 512 loads
// over the life of the process; later ones go untracked (logged) and their addresses
// are simply not found.
// Beside each node, where its executable segment starts relative to its base: the ELF
// header and the code lie in different segments, and an address is looked up in the
// code.
struct ImageTable {
    ImageNode nodes[kImageTableSize];
    uint64_t codeOffsets[kImageTableSize];
};

// Claims a slot for a load (the first free one) or marks the node of an unload, taking
// the base with a compare-and-swap so two loads at once never share a slot.
// Returns false, after logging, when no slot was written. Async-signal-safe.
bool storeImageNode(ImageTable &table, const ImageNode &node, bool loaded, uint64_t codeOffset = 0);

// Copies out the first node whose code, [base + code offset, that + size), holds `address`. False
// for a null output, the address 0, or no match. Async-signal-safe.
bool findImageForAddress(const ImageTable &table, uint64_t address, ImageNode *found);

}  // namespace tarnwell::crash
