#include "crash/ImageTable.h"

#include "crash/CrashLog.h"

namespace tarnwell::crash {

bool storeImageNode(ImageTable &table, const ImageNode &node, bool loaded, uint64_t codeOffset) {
    const uint64_t sought = loaded ? 0 : node.base;
    for (size_t i = 0; i < kImageTableSize; ++i) {
        ImageNode &slot = table.nodes[i];
        if (__atomic_load_n(&slot.base, __ATOMIC_SEQ_CST) != sought) {
            continue;
        }
        uint64_t expected = sought;
        if (__atomic_compare_exchange_n(&slot.base, &expected, node.base, false, __ATOMIC_SEQ_CST,
                                        __ATOMIC_SEQ_CST)) {
            table.codeOffsets[i] = loaded ? codeOffset : 0;
            slot.size = loaded ? node.size : 0;
            slot.ehFrame = loaded ? node.ehFrame : 0;
            slot.unwindInfo = loaded ? node.unwindInfo : 0;
            slot.crashInfo = loaded ? node.crashInfo : 0;
            return true;
        }
        if (!loaded) {
            CRS_WARN("Error: Failed to swap during image unload\n");
            break;
        }
    }
    CRS_WARN("Error: Unable to track a %s node %p\n", loaded ? "loaded" : "unloaded",
             reinterpret_cast<void *>(uintptr_t(node.base)));
    return false;
}

bool findImageForAddress(const ImageTable &table, uint64_t address, ImageNode *found) {
    if (found == nullptr || address == 0) {
        return false;
    }
    for (size_t i = 0; i < kImageTableSize; ++i) {
        const ImageNode &slot = table.nodes[i];
        const uint64_t base = __atomic_load_n(&slot.base, __ATOMIC_ACQUIRE);
        const uint64_t code = base + table.codeOffsets[i];
        if (base != 0 && address >= code && address - code < slot.size) {
            *found = slot;
            return true;
        }
    }
    return false;
}

}  // namespace tarnwell::crash
