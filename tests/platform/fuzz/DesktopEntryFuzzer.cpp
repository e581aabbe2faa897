#include <cstddef>
#include <cstdint>

#include "platform/linux/DesktopEntry.h"

// Seeds: tests/data/desktop-entries. A finding goes there as a file named
// "valid-*" or "invalid-*", so the suite keeps checking it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto entry = tarnwell::DesktopEntry::parse(
        QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    if (entry) {
        entry->localeString(QStringLiteral("Name"), QStringLiteral("sr_RS.UTF-8@latin"));
        entry->strings(QStringLiteral("Categories"));
        entry->boolean(QStringLiteral("NoDisplay"));
    }
    return 0;
}
