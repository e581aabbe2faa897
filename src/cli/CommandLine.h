#pragma once

#include <span>
#include <string_view>

namespace tarnwell::cli {

// Exit statuses shared by every subcommand.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// A subcommand's arguments, without the program name and the subcommand itself.
using Arguments = std::span<char *const>;

struct Subcommand {
    std::string_view name;
    std::string_view synopsis;  // one line for --help
    // Usage lines and what each option does, for `tarnwell help NAME` and
    // `tarnwell NAME --help`; ends with a newline.
    std::string_view help;
    int (*run)(Arguments args);
};

// Prints "tarnwell: <message>" and a hint to stderr; returns kExitUsage.
int usageError(std::string_view message);
// The usage error of an option the subcommand does not know.
int unknownOptionError(std::string_view subcommand, std::string_view option);

// Looks up and runs argv[1] among the subcommands; handles --help, --version,
// `help [NAME]` and `NAME --help`.
int dispatch(int argc, char **argv, std::span<const Subcommand> subcommands,
             int (*runWithoutSubcommand)(int argc, char **argv));

}  // namespace tarnwell::cli
