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
    MemoryCommands() { setUpMachine(); }

    // A fresh 4 GiB machine with 16 MiB free; a new memory has no observers.
    void setUpMachine() {
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

// Each run on a fresh small machine: the language, the arguments, the free
// pages the cleaning gains and how the machine differs, then the status and
// what was printed.
TEST_F(MemoryCommands, CleanReportsTheOutcome) {
    struct Run {
        const char *language, *args;
        int freePagesGained;
        void (*machine)(VmStatistics &);
    };
    const auto noStatistics = [](VmStatistics &s) { s.inactiveCount = 0; };
    const auto withinTheReserve = [](VmStatistics &s) { s.availableBytes = 100 * MiB; };
    const Run runs[] = {{"en", "", 3072, nullptr},
                        {"ukr", "", 3072, nullptr},
                        {"en", "--json", 3072, nullptr},
                        {"en", "", -1024, nullptr},
                        {"en", "", 0, noStatistics},
                        {"en", "--json", 0, noStatistics},
                        {"en", "--json", 0, withinTheReserve}};
    auto &preferences = QRMPreferencesManager::sharedPreferencesManager();
    std::string transcript;
    for (const Run &run : runs) {
        setUpMachine();
        if (run.machine) {
            run.machine(*state->vmStatistics);
        }
        memory->addMemoryCleanedObserver(
            [this, gained = run.freePagesGained] { state->vmStatistics->freeCount += gained; });
        preferences.setAppleLanguages(QStringList{run.language});
        out.str("");
        const std::vector<const char *> args =
            *run.args ? std::vector{run.args} : std::vector<const char *>{};
        const int status = clean(*memory, argumentsOf(args), out, err);
        transcript += std::string("[") + run.language + "] clean " + run.args + " -> " +
                      std::to_string(status) + "\n" + out.str();
    }
    preferences.setAppleLanguages(QStringList{"en"});
    // Labels of other lengths still line up.
    EXPECT_EQ(transcript, R"([en] clean  -> 0
Free memory before: 16.00 MB
Free memory after:  28.00 MB
Freed:              12.00 MB
[ukr] clean  -> 0
Вільно до очищення:    16.00 MB
Вільно після очищення: 28.00 MB
Звільнено:             12.00 MB
[en] clean --json -> 0
{"cleaned":true,"blockBytes":25165824,"freeBytesBefore":16777216,"freeBytesAfter":29360128,"freedBytes":12582912}
[en] clean  -> 0
Free memory before: 16.00 MB
Free memory after:  12.00 MB
Nothing to clean: free memory did not grow.
[en] clean  -> 1
Memory was not cleaned: no usable memory statistics (free or inactive memory unknown).
[en] clean --json -> 1
{"cleaned":false,"reason":"no-usable-statistics"}
[en] clean --json -> 1
{"cleaned":false,"reason":"no-room-above-reserve"}
)");
}

}  // namespace
}  // namespace tarnwell::cli
