#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <QStringList>
#include <QTemporaryDir>

#include "cli/MemoryCommands.h"
#include "memory/FakeMemorySource.h"
#include "memory/QRMMemoryInfo.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell::cli {
namespace {

constexpr uint64_t MiB = 1 << 20;

// The commands speak the language chosen in the settings: give them a settings
// file of their own, in English unless a test says otherwise.
class EnglishSettings : public testing::Environment {
public:
    void SetUp() override {
        qputenv("XDG_CONFIG_HOME", config_.path().toUtf8());
        QRMPreferencesManager::sharedPreferencesManager().setAppleLanguages(QStringList{"en"});
    }

private:
    QTemporaryDir config_;
};
const testing::Environment *const kEnglishSettings =
    testing::AddGlobalTestEnvironment(new EnglishSettings);

// Arguments as the dispatcher hands them over: argv without the program and
// the subcommand.
class Argv {
public:
    Argv(std::initializer_list<const char *> args) : strings_(args.begin(), args.end()) {
        for (std::string &s : strings_) {
            pointers_.push_back(s.data());
        }
    }
    Arguments args() const { return Arguments(pointers_.data(), pointers_.size()); }

private:
    std::vector<std::string> strings_;
    std::vector<char *> pointers_;
};

class MemoryCommands : public testing::Test {
protected:
    MemoryCommands() {
        state->physicalMemory = 4ull << 30;
        state->hardwarePhysicalMemory = 4ull << 30;
        state->vmStatistics = test::smallMachine();
        state->swapUsage = SwapUsage{};
        memory = std::make_unique<QRMMemoryInfo>(std::make_unique<test::FakeMemorySource>(state));
    }

    int runStats(std::initializer_list<const char *> args, int refreshes = 1) {
        const Argv argv(args);
        return stats(*memory, argv.args(), out, [&](std::chrono::seconds interval) {
            waits.push_back(interval);
            return int(waits.size()) < refreshes;
        });
    }

    int runClean(std::initializer_list<const char *> args) {
        const Argv argv(args);
        return clean(*memory, argv.args(), out);
    }

    std::vector<std::string> lines() const {
        std::vector<std::string> result;
        std::istringstream stream(out.str());
        for (std::string line; std::getline(stream, line);) {
            result.push_back(line);
        }
        return result;
    }

    std::shared_ptr<test::FakeMemorySource::State> state =
        std::make_shared<test::FakeMemorySource::State>();
    std::unique_ptr<QRMMemoryInfo> memory;
    std::ostringstream out;
    std::vector<std::chrono::seconds> waits;
};

TEST_F(MemoryCommands, StatsTableShowsSizesForByteKeysOnly) {
    ASSERT_EQ(runStats({}), kExitOk);
    const std::string table = out.str();
    EXPECT_NE(table.find("\nfreeBytes                                       16777216  16.00 MB\n"),
              std::string::npos)
        << table;
    EXPECT_NE(table.find("\npageSize                                            4096\n"),
              std::string::npos)
        << table;
    EXPECT_NE(table.find("\ntotalPercents                                     100.00\n"),
              std::string::npos)
        << table;
    EXPECT_TRUE(waits.empty());
}

TEST_F(MemoryCommands, StatsJsonIsOneObjectWithEveryKeyOfTheRecord) {
    ASSERT_EQ(runStats({"--json"}), kExitOk);
    const auto output = lines();
    ASSERT_EQ(output.size(), 1u);
    const std::string &json = output[0];
    EXPECT_TRUE(json.starts_with("{\"physicalMemory\":4294967296,"));
    EXPECT_TRUE(json.ends_with("\"xsuEncripted\":0}"));
    EXPECT_NE(json.find("\"freeBytes\":16777216,"), std::string::npos);
    EXPECT_NE(json.find("\"totalPercents\":100,"), std::string::npos);
    EXPECT_EQ(std::count(json.begin(), json.end(), ':'), std::ptrdiff_t(memory->info().size()));
}

TEST_F(MemoryCommands, StatsJsonWritesNullForNotANumber) {
    state->vmStatistics = VmStatistics{};
    state->vmStatistics->pageSize = 4096;
    ASSERT_EQ(runStats({"--json"}), kExitOk);
    EXPECT_NE(out.str().find("\"usedPercents\":null,"), std::string::npos) << out.str();
}

TEST_F(MemoryCommands, WatchRefreshesEveryInterval) {
    ASSERT_EQ(runStats({"--json", "--watch", "2"}, 3), kExitOk);
    EXPECT_EQ(lines().size(), 3u);
    EXPECT_EQ(waits, std::vector<std::chrono::seconds>(3, std::chrono::seconds(2)));
}

TEST_F(MemoryCommands, WatchShowsNewFiguresAndDefaultsToFiveSeconds) {
    int calls = 0;
    const Argv argv({"--watch", "--json"});
    stats(*memory, argv.args(), out, [&](std::chrono::seconds interval) {
        EXPECT_EQ(interval, std::chrono::seconds(5));
        state->vmStatistics->freeCount = 1;
        return ++calls < 2;
    });
    const auto output = lines();
    ASSERT_EQ(output.size(), 2u);
    EXPECT_NE(output[0].find("\"freeCount\":4096,"), std::string::npos);
    EXPECT_NE(output[1].find("\"freeCount\":1,"), std::string::npos);
}

struct BadArguments {
    const char *name;
    std::vector<const char *> args;
    bool clean;
};

class MemoryCommandUsage : public MemoryCommands,
                           public testing::WithParamInterface<BadArguments> {};

TEST_P(MemoryCommandUsage, IsAUsageError) {
    std::vector<std::string> strings(GetParam().args.begin(), GetParam().args.end());
    std::vector<char *> pointers;
    for (auto &s : strings) {
        pointers.push_back(s.data());
    }
    const Arguments args(pointers.data(), pointers.size());
    const int status = GetParam().clean ? clean(*memory, args, out)
                                        : stats(*memory, args, out, [](auto) { return false; });
    EXPECT_EQ(status, kExitUsage);
    EXPECT_EQ(out.str(), "");
}

INSTANTIATE_TEST_SUITE_P(Arguments, MemoryCommandUsage,
                         testing::Values(BadArguments{"StatsUnknownOption", {"--table"}, false},
                                         BadArguments{"ZeroInterval", {"--watch", "0"}, false},
                                         BadArguments{"NegativeInterval", {"--watch", "-1"}, false},
                                         BadArguments{
                                             "FractionalInterval", {"--watch", "1.5"}, false},
                                         BadArguments{"WordInterval", {"--watch", "soon"}, false},
                                         BadArguments{"CleanUnknownOption", {"--force"}, true},
                                         BadArguments{"CleanStrayArgument", {"now"}, true}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(MemoryCommands, CleanReportsBeforeAfterAndFreed) {
    // Free memory grows by 12 MiB while the block is released.
    memory->addMemoryCleanedObserver([this] { state->vmStatistics->freeCount += 3072; });
    ASSERT_EQ(runClean({}), kExitOk);
    EXPECT_EQ(out.str(),
              "Free memory before: 16.00 MB\n"
              "Free memory after:  28.00 MB\n"
              "Freed:              12.00 MB\n");
}

TEST_F(MemoryCommands, CleanSpeaksTheChosenLanguageAndStillLinesUp) {
    memory->addMemoryCleanedObserver([this] { state->vmStatistics->freeCount += 3072; });
    QRMPreferencesManager::sharedPreferencesManager().setAppleLanguages(QStringList{"ukr"});
    const int status = runClean({});
    QRMPreferencesManager::sharedPreferencesManager().setAppleLanguages(QStringList{"en"});
    ASSERT_EQ(status, kExitOk);
    EXPECT_EQ(out.str(),
              "Вільно до очищення:    16.00 MB\n"
              "Вільно після очищення: 28.00 MB\n"
              "Звільнено:             12.00 MB\n");
}

TEST_F(MemoryCommands, CleanJsonGivesTheFiguresInBytes) {
    memory->addMemoryCleanedObserver([this] { state->vmStatistics->freeCount += 3072; });
    ASSERT_EQ(runClean({"--json"}), kExitOk);
    EXPECT_EQ(out.str(),
              "{\"cleaned\":true,\"blockBytes\":25165824,\"freeBytesBefore\":16777216,"
              "\"freeBytesAfter\":29360128,\"freedBytes\":12582912}\n");
}

TEST_F(MemoryCommands, CleanThatFreesNothingSaysSo) {
    state->vmStatistics->freeCount = 4096;
    memory->addMemoryCleanedObserver([this] { state->vmStatistics->freeCount = 4000; });
    ASSERT_EQ(runClean({}), kExitOk);
    EXPECT_NE(out.str().find("Nothing to clean"), std::string::npos) << out.str();
}

TEST_F(MemoryCommands, CleanSaysWhyTheEngineDeclined) {
    state->vmStatistics->inactiveCount = 0;
    EXPECT_EQ(runClean({}), kExitFailure);
    EXPECT_EQ(out.str(),
              "Memory was not cleaned: no usable memory statistics (free or inactive memory "
              "unknown).\n");
    out.str("");
    EXPECT_EQ(runClean({"--json"}), kExitFailure);
    EXPECT_EQ(out.str(), "{\"cleaned\":false,\"reason\":\"no-usable-statistics\"}\n");
}

TEST_F(MemoryCommands, CleanDeclinedWithinTheReserve) {
    state->vmStatistics->availableBytes = 100 * MiB;
    ASSERT_EQ(runClean({"--json"}), kExitFailure);
    EXPECT_EQ(out.str(), "{\"cleaned\":false,\"reason\":\"no-room-above-reserve\"}\n");
}

}  // namespace
}  // namespace tarnwell::cli
