#include <array>
#include <string>

#include "cli/CommandLine.h"
#include "cli/MemoryCommands.h"
#include "cli/SettingsCommand.h"

using namespace tarnwell;

namespace {

constexpr std::array kSubcommands{
    cli::Subcommand{"stats", "[--json] [--watch [SECONDS]]  print the memory statistics",
                    cli::runStats},
    cli::Subcommand{"clean", "[--json]  free memory now and print how much was freed",
                    cli::runClean},
    cli::Subcommand{"settings", "list, show, change or reset the settings", cli::runSettings},
};

int runApplication(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        return cli::usageError("unknown option '" + std::string(argv[i]) + "'");
    }
    return cli::usageError("no command given");
}

}  // namespace

int main(int argc, char **argv) {
    return cli::dispatch(argc, argv, kSubcommands, runApplication);
}
