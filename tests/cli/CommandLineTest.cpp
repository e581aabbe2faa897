#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "cli/CommandLine.h"

namespace tarnwell::cli {
namespace {

using testing::HasSubstr;

int ranWith = -1;

constexpr std::array kCommands{
    Subcommand{"alpha", "does alpha", "Usage: tarnwell alpha [--fast]\n",
               [](Arguments args) {
                   ranWith = int(args.size());
                   return kExitOk;
               }},
    Subcommand{"beta", "does beta", "Usage: tarnwell beta\n", [](Arguments) { return kExitOk; }},
};

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome dispatchWords(std::vector<std::string> words) {
    std::vector<char *> argv;
    for (std::string &word : words) {
        argv.push_back(word.data());
    }
    ranWith = -1;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status =
        dispatch(int(argv.size()), argv.data(), kCommands, [](int, char **) { return 42; });
    std::string out = testing::internal::GetCapturedStdout();
    return {status, out, testing::internal::GetCapturedStderr()};
}

TEST(CommandLineHelp, HelpNameAndNameHelpPrintTheSameTextWithoutRunningTheCommand) {
    const Outcome viaHelp = dispatchWords({"tarnwell", "help", "alpha"});
    const Outcome viaOption = dispatchWords({"tarnwell", "alpha", "--help"});
    EXPECT_EQ(viaHelp.status, kExitOk);
    EXPECT_EQ(viaHelp.out, "Usage: tarnwell alpha [--fast]\n");
    EXPECT_EQ(viaOption.out, viaHelp.out);
    EXPECT_EQ(ranWith, -1);
}

TEST(CommandLineHelp, HelpAloneListsEveryCommand) {
    const Outcome run = dispatchWords({"tarnwell", "help"});
    EXPECT_EQ(run.status, kExitOk);
    EXPECT_THAT(run.out, HasSubstr("  alpha            does alpha\n"));
    EXPECT_THAT(run.out, HasSubstr("  beta             does beta\n"));
    EXPECT_EQ(run.out, dispatchWords({"tarnwell", "--help"}).out);
}

TEST(CommandLineHelp, NonsenseIsAUsageErrorNamingIt) {
    const Outcome unknown = dispatchWords({"tarnwell", "help", "gamma"});
    EXPECT_EQ(unknown.status, kExitUsage);
    EXPECT_THAT(unknown.err, HasSubstr("no command is called 'gamma'"));
    EXPECT_EQ(dispatchWords({"tarnwell", "help", "alpha", "beta"}).status, kExitUsage);
    EXPECT_EQ(dispatchWords({"tarnwell", "gamma"}).status, kExitUsage);
}

TEST(CommandLineHelp, HelpAnywhereAfterTheCommandWinsOverItsOtherArguments) {
    EXPECT_EQ(dispatchWords({"tarnwell", "alpha", "--fast", "-h"}).out,
              "Usage: tarnwell alpha [--fast]\n");
    EXPECT_EQ(ranWith, -1);
    EXPECT_EQ(dispatchWords({"tarnwell", "alpha", "--fast"}).status, kExitOk);
    EXPECT_EQ(ranWith, 1);
    EXPECT_EQ(dispatchWords({"tarnwell", "--console"}).status, 42);
}

}  // namespace
}  // namespace tarnwell::cli
