#include "cli/CommandLine.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "BuildInfo.h"

namespace tarnwell::cli {

int usageError(std::string_view message) {
    std::fprintf(stderr, "tarnwell: %.*s (see 'tarnwell --help')\n", int(message.size()),
                 message.data());
    return kExitUsage;
}

int unknownOptionError(std::string_view subcommand, std::string_view option) {
    return usageError("unknown option '" + std::string(option) + "' for '" +
                      std::string(subcommand) + "'");
}

static void printHelp(std::span<const Subcommand> subcommands) {
    std::printf("Usage: tarnwell [--console] [COMMAND [OPTIONS]]\n\n");
    std::printf("%s watches the machine's memory and frees it on demand or automatically.\n",
                kDisplayName);
    std::printf("Without a command it starts in the system tray, or in the terminal when\n");
    std::printf("there is no display.\n\nCommands:\n");
    for (const Subcommand &command : subcommands) {
        std::printf("  %-16.*s %.*s\n", int(command.name.size()), command.name.data(),
                    int(command.synopsis.size()), command.synopsis.data());
    }
    std::printf("  %-16s %s\n", "help COMMAND", "explain one command (also: COMMAND --help)");
    std::printf(
        "\nOptions:\n  --console        run in the terminal even when there is a display\n");
    std::printf("  --help           show this help\n");
    std::printf("  --version        show the version and build number\n");
}

static const Subcommand *findSubcommand(std::span<const Subcommand> subcommands,
                                        std::string_view name) {
    for (const Subcommand &command : subcommands) {
        if (command.name == name) {
            return &command;
        }
    }
    return nullptr;
}

static int printSubcommandHelp(const Subcommand &command) {
    std::fwrite(command.help.data(), 1, command.help.size(), stdout);
    return kExitOk;
}

// `tarnwell help [NAME]`.
static int runHelp(std::span<const Subcommand> subcommands, Arguments args) {
    if (args.empty()) {
        printHelp(subcommands);
        return kExitOk;
    }
    if (args.size() > 1) {
        return usageError("help: give one command");
    }
    const Subcommand *command = findSubcommand(subcommands, args[0]);
    if (!command) {
        return usageError("help: no command is called '" + std::string(args[0]) + "'");
    }
    return printSubcommandHelp(*command);
}

static bool asksForHelp(std::string_view argument) {
    return argument == "--help" || argument == "-h";
}

// Output that never arrived is a failure even when the command did its work: a
// script reading `tarnwell stats --json > file` on a full disk must not go on
// with half a record. Both streams end in the same FILE, so one flush settles them.
static int withOutputChecked(int status) {
    std::cout.flush();
    // errno still holds the cause when an earlier flush (stats --watch) failed.
    const bool failed = std::fflush(stdout) != 0 || std::ferror(stdout) || std::cout.fail();
    if (!failed) {
        return status;
    }
    std::fprintf(stderr, "tarnwell: cannot write the output: %s\n",
                 errno != 0 ? std::strerror(errno) : "write error");
    return status == kExitOk ? kExitFailure : status;
}

static int run(int argc, char **argv, std::span<const Subcommand> subcommands,
               int (*runWithoutSubcommand)(int argc, char **argv)) {
    if (argc >= 2) {
        const std::string_view first = argv[1];
        if (asksForHelp(first)) {
            printHelp(subcommands);
            return kExitOk;
        }
        if (first == "help") {
            return runHelp(subcommands, Arguments(argv + 2, size_t(argc - 2)));
        }
        if (first == "--version") {
            std::printf("%s %s (%s)\n", kDisplayName, kMarketingVersion, kBuildNumber);
            return kExitOk;
        }
        if (const Subcommand *command = findSubcommand(subcommands, first)) {
            for (int i = 2; i < argc; ++i) {
                if (asksForHelp(argv[i])) {
                    return printSubcommandHelp(*command);
                }
            }
            return command->run(Arguments(argv + 2, size_t(argc - 2)));
        }
        if (!first.starts_with('-')) {
            return usageError("unknown command '" + std::string(first) + "'");
        }
    }
    return runWithoutSubcommand(argc, argv);
}

int dispatch(int argc, char **argv, std::span<const Subcommand> subcommands,
             int (*runWithoutSubcommand)(int argc, char **argv)) {
    return withOutputChecked(run(argc, argv, subcommands, runWithoutSubcommand));
}

}  // namespace tarnwell::cli
