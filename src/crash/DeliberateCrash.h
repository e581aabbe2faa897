#pragma once

#include <optional>
#include <string_view>

namespace tarnwell::crash {

// The ways support can make the process crash on purpose, to check that a report is
// written and readable on a user's machine.
enum class DeliberateCrash { Segv, Abort, Fpe, Ill, Bus, Throw, ThrowInt };

// "segv", "abort", "fpe", "ill", "bus", "throw", "throw-int"; nullopt for anything else.
std::optional<DeliberateCrash> parseDeliberateCrash(std::string_view name);

// Crashes in the chosen way with a real fault where there is one (a null store, an
// integer division by zero in the processor, an undefined instruction, a read past the
// end of a mapped file). Does not return.
[[noreturn]] void crashDeliberately(DeliberateCrash how);

}  // namespace tarnwell::crash
