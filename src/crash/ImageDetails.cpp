#include "crash/ImageDetails.h"

#include <elf.h>

#include <cstring>

#include "crash/SafeFormat.h"

namespace tarnwell::crash {

namespace {

constexpr size_t kUuidBytes = 16;

// Note entries are padded to four bytes in both the name and the descriptor.
constexpr size_t align4(size_t value) {
    return (value + 3) & ~size_t(3);
}

void visitGnuNotes(const dl_phdr_info &info, uint32_t wantedType, const unsigned char **desc,
                   size_t *descSize) {
    *desc = nullptr;
    *descSize = 0;
    for (int i = 0; i < info.dlpi_phnum; ++i) {
        const ElfW(Phdr) &header = info.dlpi_phdr[i];
        if (header.p_type != PT_NOTE) {
            continue;
        }
        const auto *cursor =
            reinterpret_cast<const unsigned char *>(info.dlpi_addr + header.p_vaddr);
        const unsigned char *end = cursor + header.p_memsz;
        while (cursor + sizeof(ElfW(Nhdr)) <= end) {
            ElfW(Nhdr) note;
            memcpy(&note, cursor, sizeof note);
            const unsigned char *name = cursor + sizeof note;
            const unsigned char *data = name + align4(note.n_namesz);
            const unsigned char *next = data + align4(note.n_descsz);
            if (next > end) {
                break;
            }
            if (note.n_type == wantedType && note.n_namesz == 4 && memcmp(name, "GNU", 4) == 0) {
                *desc = data;
                *descSize = note.n_descsz;
                return;
            }
            cursor = next;
        }
    }
}

const char *architectureName(unsigned machine) {
    switch (machine) {
        case EM_X86_64:
            return "x86_64";
        case EM_386:
            return "i386";
        case EM_AARCH64:
            return "arm64";
        case EM_ARM:
            return "arm";
        case EM_RISCV:
            return "riscv";
        default:
            return "unknown";
    }
}

}  // namespace

void computeImageDetails(const dl_phdr_info &info, ImageDetails &details) {
    memset(&details, 0, sizeof details);
    details.slide = info.dlpi_addr;

    // The ELF header sits at the start of the segment mapped from file offset 0; the
    // size is that of the first executable segment, which usually follows it
    // (-z separate-code), so the image's code starts codeOffset bytes above its base.
    bool haveHeader = false;
    bool haveCode = false;
    uint64_t headerVaddr = 0;
    uint64_t codeVaddr = 0;
    for (int i = 0; i < info.dlpi_phnum; ++i) {
        const ElfW(Phdr) &header = info.dlpi_phdr[i];
        if (header.p_type == PT_LOAD) {
            if (header.p_offset == 0 && !haveHeader) {
                headerVaddr = header.p_vaddr;
                haveHeader = true;
            }
            if ((header.p_flags & PF_X) != 0 && !haveCode) {
                codeVaddr = header.p_vaddr;
                details.node.size = header.p_memsz;
                haveCode = true;
            }
        } else if (header.p_type == PT_GNU_EH_FRAME) {
            details.node.ehFrame = info.dlpi_addr + header.p_vaddr;
        }
    }
    details.headerAddress = haveHeader ? info.dlpi_addr + headerVaddr : 0;
    details.node.base = details.headerAddress;
    if (!haveHeader || !haveCode || codeVaddr < headerVaddr) {
        details.node.size = 0;
    } else {
        details.codeOffset = codeVaddr - headerVaddr;
    }

    const unsigned char *desc = nullptr;
    size_t descSize = 0;
    visitGnuNotes(info, NT_GNU_BUILD_ID, &desc, &descSize);
    unsigned char uuid[kUuidBytes] = {};
    if (desc != nullptr) {
        memcpy(uuid, desc, descSize < kUuidBytes ? descSize : kUuidBytes);
    }
    static constexpr char kDigits[] = "0123456789abcdef";
    for (size_t i = 0; i < kUuidBytes; ++i) {
        details.uuid[2 * i] = kDigits[uuid[i] >> 4];
        details.uuid[2 * i + 1] = kDigits[uuid[i] & 0xf];
    }
    details.uuid[32] = '\0';

    visitGnuNotes(info, NT_GNU_ABI_TAG, &desc, &descSize);
    if (desc != nullptr && descSize >= 16) {
        uint32_t words[4];
        memcpy(words, desc, sizeof words);
        safeFormat(details.minimumSystemVersion, sizeof details.minimumSystemVersion, "%u.%u.%u",
                   words[1], words[2], words[3]);
    }
    safeFormat(details.builtSystemVersion, sizeof details.builtSystemVersion, "%d.%d", __GLIBC__,
               __GLIBC_MINOR__);

    if (haveHeader) {
        ElfW(Ehdr) elfHeader;
        memcpy(&elfHeader, reinterpret_cast<const void *>(details.headerAddress), sizeof elfHeader);
        safeFormat(details.architecture, sizeof details.architecture, "%s",
                   architectureName(elfHeader.e_machine));
    }
}

}  // namespace tarnwell::crash
