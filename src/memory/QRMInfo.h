#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarnwell {

class QRMInfo {
public:
    // Binary units up to gigabytes, "%.2f GB" and so on; nothing for 0.
    static std::optional<std::string> formatSize(uint64_t bytes);
};

}  // namespace tarnwell
