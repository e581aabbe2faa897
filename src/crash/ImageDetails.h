#pragma once

#include <link.h>

#include <cstdint>

#include "crash/ImageTable.h"

namespace tarnwell::crash {

// Everything a report says about one image, computed from its program headers.
struct ImageDetails {
    ImageNode node;
    uint64_t headerAddress;
    uint64_t slide;                 // the loader's bias (dlpi_addr)
    uint64_t codeOffset;            // the executable segment's start minus the header's
    char uuid[33];                  // first 16 bytes of the GNU build-id, 32 hex digits
    bool encrypted;                 // ELF has no encrypted images; kept for the record format
    char minimumSystemVersion[32];  // from .note.ABI-tag, e.g. "3.2.0"; empty without one
    char builtSystemVersion[16];    // the C library version compiled against
    char architecture[16];
};

// Fills `details` from one dl_iterate_phdr entry. Reads only the image's own mapped
// headers and notes; allocates nothing.
void computeImageDetails(const dl_phdr_info &info, ImageDetails &details);

}  // namespace tarnwell::crash
