#pragma once

#include <string>

namespace tarnwell::testing {

// Table rows name their test after their first field.
inline constexpr auto caseName = [](const auto &info) { return std::string(info.param.name); };

}  // namespace tarnwell::testing
