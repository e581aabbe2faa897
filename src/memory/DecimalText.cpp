#include "DecimalText.h"

#include <charconv>

namespace tarnwell {

std::string twoDecimals(double value) {
    // The largest value formatted is 2^64 bytes, 20 digits before the point.
    char buffer[64];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 2);
    return std::string(buffer, result.ptr);
}

}  // namespace tarnwell
