#include "crash/ImageTable.h"

#include "crash/CrashLog.h"

namespace tarnwell::crash {

bool storeImageNode(ImageTable &table, const ImageNode &node, bool loaded) {
    const uint64_t sought = loaded ? 0 : node.base;
    for (ImageNode &slot : table.nodes) {
        if (__atomic_load_n(&slot.base, __ATOMIC_SEQ_CST) != sought) {
            continue;
        }
        uint64_t expected = sought;
        if (__atomic_compare_exchange_n(&slot.base, &expected, node.base, false, __ATOMIC_SEQ_CST,
                                        __ATOMIC_SEQ_CST)) {
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
    for (const ImageNode &slot : table.nodes) {
        const uint64_t base = __atomic_load_n(&slot.base, __ATOMIC_ACQUIRE);
        if (base != 0 && address >= base && address - base < slot.size) {
            *found = slot;
            return true;
        }
    }
    return false;
}

}  // namespace tarnwell::crash
