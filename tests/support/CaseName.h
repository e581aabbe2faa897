#pragma once

#include <string>

namespace tarnwell::test {

// Names each generated test after the `name` of its table row.
inline constexpr auto caseName = [](const auto &info) { return std::string(info.param.name); };

}  // namespace tarnwell::test
