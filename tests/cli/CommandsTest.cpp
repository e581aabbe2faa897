#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <vector>

#include <QStringList>
#include <QTemporaryDir>

#include "CaseName.h"
#include "cli/CommandLine.h"
#include "cli/MemoryCommands.h"
#include "memory/FakeMemorySource.h"
#include "memory/QRMMemoryInfo.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell::cli {
namespace {

using std::chrono::seconds;
using testing::HasSubstr;

constexpr uint64_t MiB = 1 << 20;

int ranWith = -1;  // how many arguments "alpha" was given; -1: it never ran

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
    std::string out, err;
};

// Dispatches "tarnwell" and the words, with what it printed.
Outcome dispatchWords(std::vector<std::string> words) {
    words.insert(words.begin(), "tarnwell");
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

TEST(CommandLine, HelpPrintsTheUsageWithoutRunningTheCommand) {
    // A help option anywhere after the command wins over its other arguments.
    for (const auto &words : std::vector<std::vector<std::string>>{
             {"help", "alpha"}, {"alpha", "--help"}, {"alpha", "--fast", "-h"}}) {
        const Outcome run = dispatchWords(words);
        EXPECT_EQ(run.status, kExitOk) << words[1];
        EXPECT_EQ(run.out, "Usage: tarnwell alpha [--fast]\n") << words[1];
        EXPECT_EQ(ranWith, -1) << words[1];
    }
    const Outcome list = dispatchWords({"help"});
    EXPECT_EQ(list.status, kExitOk);
    EXPECT_THAT(list.out, HasSubstr("  alpha            does alpha\n"));
    EXPECT_THAT(list.out, HasSubstr("  beta             does beta\n"));
    EXPECT_EQ(list.out, dispatchWords({"--help"}).out);
}

TEST(CommandLine, RunsTheCommandOrRefusesNonsenseNamingIt) {
    EXPECT_EQ(dispatchWords({"alpha", "--fast"}).status, kExitOk);
    EXPECT_EQ(ranWith, 1);
    EXPECT_EQ(dispatchWords({"--console"}).status, 42);
    EXPECT_THAT(dispatchWords({"help", "gamma"}).err, HasSubstr("no command is called 'gamma'"));
    for (const auto &words : std::vector<std::vector<std::string>>{
             {"help", "gamma"}, {"help", "alpha", "beta"}, {"gamma"}}) {
        EXPECT_EQ(dispatchWords(words).status, kExitUsage) << words.back();
    }
}

// The commands speak the language chosen in the settings: give them a settings
// file of their own, in English unless a test says otherwise.
struct EnglishSettings : testing::Environment {
    void SetUp() override {
        qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
        QRMPreferencesManager::sharedPreferencesManager().setAppleLanguages(QStringList{"en"});
    }
    QTemporaryDir config;
};
const testing::Environment *const kEnglishSettings =
    testing::AddGlobalTestEnvironment(new EnglishSettings);

// Arguments as the dispatcher hands them over: argv without the program and
// the subcommand. The commands never write to them.
Arguments argumentsOf(const std::vector<const char *> &args) {
    return Arguments(const_cast<char *const *>(args.data()), args.size());
}

class MemoryCommands : public testing::Test {
protected:
    MemoryCommands() {
        state->physicalMemory = 4ull << 30;
        state->hardwarePhysicalMemory = 4ull << 30;
        state->vmStatistics = test::smallMachine();
        state->swapUsage = SwapUsage{};
        memory = std::make_unique<QRMMemoryInfo>(std::make_unique<test::FakeMemorySource>(state));
    }

    // Each wait of a watch leaves as many free pages as waits so far.
    int runStats(const std::vector<const char *> &args, int refreshes = 1) {
        return stats(*memory, argumentsOf(args), out, err, [&](seconds interval) {
            waits.push_back(interval);
            state->vmStatistics->freeCount = uint32_t(waits.size());
            return int(waits.size()) < refreshes;
        });
    }

    std::shared_ptr<test::FakeMemorySource::State> state =
        std::make_shared<test::FakeMemorySource::State>();
    std::unique_ptr<QRMMemoryInfo> memory;
    std::ostringstream out, err;
    std::vector<seconds> waits;
};

// Past 4 GiB of free memory (6031331 pages, as on a captured machine) the
// record's byte figure wraps; the value column keeps it and the size is exact.
TEST_F(MemoryCommands, StatsTableShowsExactSizesForByteKeysOnly) {
    state->vmStatistics->freeCount = 6031331;
    ASSERT_EQ(runStats({}), kExitOk);
    for (const char *row :
         {"\nfreeBytes                                     3229495296  23.01 GB\n",
          "\npageSize                                            4096\n",
          "\ntotalPercents                                     100.00\n"}) {
        EXPECT_THAT(out.str(), HasSubstr(row));
    }
    EXPECT_TRUE(waits.empty());
}

TEST_F(MemoryCommands, StatsJsonHoldsEveryKeyOfTheRecordCompactOrPretty) {
    state->vmStatistics->freeCount = 6031331;
    ASSERT_EQ(runStats({"--json"}), kExitOk);
    std::string json = out.str();
    EXPECT_EQ(json.find('\n'), json.size() - 1);
    EXPECT_TRUE(json.starts_with("{\"physicalMemory\":4294967296,"));
    EXPECT_TRUE(json.ends_with("\"xsuEncripted\":0}\n"));
    EXPECT_THAT(json, HasSubstr("\"freeCount\":6031331,\"freeBytes\":3229495296,"));
    EXPECT_THAT(json, HasSubstr("\"totalPercents\":100,"));
    EXPECT_EQ(std::count(json.begin(), json.end(), ':'), std::ptrdiff_t(memory->info().size()));

    out.str("");
    ASSERT_EQ(runStats({"--json", "--pretty"}), kExitOk);
    json = out.str();
    EXPECT_TRUE(json.starts_with("{\n  \"physicalMemory\": 4294967296,\n  \"")) << json;
    EXPECT_TRUE(json.ends_with(",\n  \"xsuEncripted\": 0\n}\n")) << json;
    EXPECT_EQ(std::count(json.begin(), json.end(), '\n'),
              std::ptrdiff_t(memory->info().size()) + 2);

    // A per cent of nothing is not a number, which JSON cannot say.
    out.str("");
    state->vmStatistics = VmStatistics{};
    state->vmStatistics->pageSize = 4096;
    ASSERT_EQ(runStats({"--json"}), kExitOk);
    EXPECT_THAT(out.str(), HasSubstr("\"usedPercents\":null,"));
}

TEST_F(MemoryCommands, WatchPrintsFreshFiguresEveryInterval) {
    ASSERT_EQ(runStats({"--json", "--watch", "2"}, 3), kExitOk);
    const std::string json = out.str();
    EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 3);
    EXPECT_LT(json.find("\"freeCount\":4096,"), json.find('\n'));
    EXPECT_NE(json.find("\"freeCount\":2,", json.find('\n')), std::string::npos);
    EXPECT_EQ(waits, std::vector<seconds>(3, seconds(2)));

    waits.clear();
    ASSERT_EQ(runStats({"--watch"}), kExitOk);
    EXPECT_EQ(waits, std::vector<seconds>{seconds(5)});
}

TEST_F(MemoryCommands, BadArgumentsAreUsageErrors) {
    const std::pair<bool, std::vector<const char *>> rows[] = {
        // clean or stats, arguments
        {false, {"--table"}},         {false, {"--watch", "0"}},
        {false, {"--watch", "-1"}},   {false, {"--watch", "1.5"}},
        {false, {"--watch", "soon"}}, {false, {"--pretty"}},
        {true, {"--force"}},          {true, {"now"}}};
    for (const auto &[isClean, args] : rows) {
        const int status = isClean ? clean(*memory, argumentsOf(args), out, err) : runStats(args);
        EXPECT_EQ(status, kExitUsage) << args.back();
    }
    EXPECT_EQ(out.str(), "");
}

struct CleanCase {
    const char *name;
    void (*machine)(VmStatistics &);  // how the machine differs from the small one, if at all
    int freePagesGained;              // while the block is released
    const char *language;
    std::vector<const char *> args;
    int status;
    const char *output;
};

class CleanOutput : public MemoryCommands, public testing::WithParamInterface<CleanCase> {};

TEST_P(CleanOutput, ReportsTheOutcome) {
    const CleanCase &c = GetParam();
    if (c.machine) {
        c.machine(*state->vmStatistics);
    }
    memory->addMemoryCleanedObserver(
        [this, gained = c.freePagesGained] { state->vmStatistics->freeCount += gained; });
    auto &preferences = QRMPreferencesManager::sharedPreferencesManager();
    preferences.setAppleLanguages(QStringList{c.language});
    const int status = clean(*memory, argumentsOf(c.args), out, err);
    preferences.setAppleLanguages(QStringList{"en"});
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(out.str(), c.output);
}

void noStatistics(VmStatistics &s) {
    s.inactiveCount = 0;
}
void withinTheReserve(VmStatistics &s) {
    s.availableBytes = 100 * MiB;
}

INSTANTIATE_TEST_SUITE_P(
    Outcomes, CleanOutput,
    testing::Values(
        CleanCase{"BeforeAfterAndFreed",
                  nullptr,
                  3072,
                  "en",
                  {},
                  kExitOk,
                  "Free memory before: 16.00 MB\n"
                  "Free memory after:  28.00 MB\n"
                  "Freed:              12.00 MB\n"},
        // Labels of other lengths still line up.
        CleanCase{"InTheChosenLanguage",
                  nullptr,
                  3072,
                  "ukr",
                  {},
                  kExitOk,
                  "Вільно до очищення:    16.00 MB\n"
                  "Вільно після очищення: 28.00 MB\n"
                  "Звільнено:             12.00 MB\n"},
        CleanCase{"JsonInBytes",
                  nullptr,
                  3072,
                  "en",
                  {"--json"},
                  kExitOk,
                  "{\"cleaned\":true,\"blockBytes\":25165824,\"freeBytesBefore\":16777216,"
                  "\"freeBytesAfter\":29360128,\"freedBytes\":12582912}\n"},
        CleanCase{"NothingFreed",
                  nullptr,
                  -1024,
                  "en",
                  {},
                  kExitOk,
                  "Free memory before: 16.00 MB\n"
                  "Free memory after:  12.00 MB\n"
                  "Nothing to clean: free memory did not grow.\n"},
        CleanCase{"DeclinedWithoutStatistics",
                  noStatistics,
                  0,
                  "en",
                  {},
                  kExitFailure,
                  "Memory was not cleaned: no usable memory statistics (free or inactive memory "
                  "unknown).\n"},
        CleanCase{"DeclinedWithoutStatisticsJson",
                  noStatistics,
                  0,
                  "en",
                  {"--json"},
                  kExitFailure,
                  "{\"cleaned\":false,\"reason\":\"no-usable-statistics\"}\n"},
        CleanCase{"DeclinedWithinTheReserve",
                  withinTheReserve,
                  0,
                  "en",
                  {"--json"},
                  kExitFailure,
                  "{\"cleaned\":false,\"reason\":\"no-room-above-reserve\"}\n"}),
    tarnwell::test::caseName);

}  // namespace
}  // namespace tarnwell::cli
