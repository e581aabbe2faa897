#include "QRMInfo.h"

#include "DecimalText.h"

namespace tarnwell {

std::optional<std::string> QRMInfo::formatSize(uint64_t bytes) {
    const double size = static_cast<double>(bytes);
    if (size / (1 << 30) >= 1) {
        return twoDecimals(size / (1 << 30)) + " GB";
    }
    if (size / (1 << 20) >= 1) {
        return twoDecimals(size / (1 << 20)) + " MB";
    }
    if (size / (1 << 10) >= 1) {
        return twoDecimals(size / (1 << 10)) + " KB";
    }
    if (bytes == 0) {
        return std::nullopt;
    }
    return twoDecimals(size) + " B";
}

}  // namespace tarnwell
