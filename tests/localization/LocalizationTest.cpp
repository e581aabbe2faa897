#include <gtest/gtest.h>

#include <QFile>
#include <QSet>
#include <QSettings>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell::test {
namespace {

const QString kCompiledTables = QStringLiteral(":/translations");

class LocalizationTest : public ::testing::Test {
protected:
    LocalizationTest()
        : preferences_(
              std::make_unique<QSettings>(dir_.filePath("Tarnwell.conf"), QSettings::IniFormat),
              [] { return std::nullopt; }, QUrl("https://site.test/download/appcast.xml")) {}

    QRMLocalization localizationOver(const QString &tableDirectory) {
        return QRMLocalization(preferences_, tableDirectory, [this] { return desktop_; });
    }

    QTemporaryDir dir_;
    QRMPreferencesManager preferences_;
    QStringList desktop_{"en-GB"};
};

struct CodeCase {
    const char *name;
    QStringList languages;
    const char *code;
};

class LanguageCodeTest : public ::testing::TestWithParam<CodeCase> {};

TEST_P(LanguageCodeTest, FirstEntryPrefixChoosesTheTable) {
    EXPECT_EQ(QRMLocalization::languageCode(GetParam().languages), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, LanguageCodeTest,
    ::testing::Values(CodeCase{"Empty", {}, "en"}, CodeCase{"UkrainianRegion", {"uk-UA"}, "uk"},
                      CodeCase{"OwnUkrainianCode", {"ukr"}, "uk"},
                      CodeCase{"SingleLetter", {"r"}, "en"},
                      CodeCase{"RussianRegion", {"ru-RU"}, "ru"},
                      CodeCase{"OnlyTheFirstEntryCounts", {"de-DE", "ru-RU"}, "en"},
                      CodeCase{"RussianFirst", {"ru", "uk"}, "ru"},
                      CodeCase{"EnglishOverride", {"en"}, "en"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(LocalizationTest, WithoutOverrideTheDesktopOrderDecides) {
    QRMLocalization localization = localizationOver(kCompiledTables);
    desktop_ = {"uk-UA", "en-US"};
    EXPECT_EQ(localization.localized("Quit"), "Вийти");
    desktop_ = {"ru_RU"};
    EXPECT_EQ(localization.localized("Quit"), "Выйти");
}

TEST_F(LocalizationTest, EmptyOverrideMeansEnglishWhateverTheDesktopSays) {
    QRMLocalization localization = localizationOver(kCompiledTables);
    desktop_ = {"ru-RU"};
    preferences_.setAppleLanguages(QStringList{});
    EXPECT_EQ(localization.currentLanguageCode(), "en");
    EXPECT_EQ(localization.localized("Quit"), "Quit");
}

TEST_F(LocalizationTest, UnknownKeyComesBackUnchanged) {
    QRMLocalization localization = localizationOver(kCompiledTables);
    preferences_.setAppleLanguages(QStringList{"ru"});
    EXPECT_EQ(localization.localized("NoSuchKey"), "NoSuchKey");
    EXPECT_EQ(localization.localized(""), "");
}

TEST_F(LocalizationTest, LanguageWithoutATableFallsBackToEnglish) {
    QTemporaryDir tables;
    ASSERT_TRUE(
        QFile::copy(kCompiledTables + "/tarnwell_en.qm", tables.filePath("tarnwell_en.qm")));
    QRMLocalization localization = localizationOver(tables.path());
    preferences_.setAppleLanguages(QStringList{"ru"});
    EXPECT_EQ(localization.localized("Quit"), "Quit");
}

TEST_F(LocalizationTest, WithoutAnyTableEveryKeyIsItsOwnText) {
    QTemporaryDir empty;
    QRMLocalization localization = localizationOver(empty.path());
    EXPECT_EQ(localization.localized("CleanMemoryNow"), "CleanMemoryNow");
    EXPECT_TRUE(localization.bundleForCurrentLanguage().isEmpty());
}

struct ChangeCase {
    const char *name;
    int index;
    std::optional<QStringList> override;
    qint64 selected;
    const char *segment;  // the "language" text once the change is heard
};

class ChangeLanguageTest : public LocalizationTest,
                           public ::testing::WithParamInterface<ChangeCase> {};

TEST_P(ChangeLanguageTest, StoresTheChoiceAndEveryListenerHearsItBeforeReturn) {
    // Start from Russian so that every row changes something or visibly nothing.
    preferences_.setAppleLanguages(QStringList{"ru"});
    preferences_.setSelectedLanguage(2);
    desktop_ = {"uk-UA"};
    QRMLocalization localization = localizationOver(kCompiledTables);
    QRMLanguageNotifier notifier;
    QStringList heard;
    for (int listener = 0; listener < 2; ++listener) {
        QObject::connect(&notifier, &QRMLanguageNotifier::languageDidChanged,
                         [&] { heard.append(localization.localized("language")); });
    }

    changeLanguage(preferences_, notifier, GetParam().index);

    EXPECT_EQ(heard, QStringList(2, GetParam().segment));
    EXPECT_EQ(preferences_.appleLanguages(), GetParam().override);
    EXPECT_EQ(preferences_.selectedLanguage(), GetParam().selected);
}

INSTANTIATE_TEST_SUITE_P(PopUpIndexes, ChangeLanguageTest,
                         ::testing::Values(ChangeCase{"Automatic", 0, std::nullopt, 0, "uk"},
                                           ChangeCase{"English", 1, QStringList{"en"}, 1, "en"},
                                           ChangeCase{"Russian", 2, QStringList{"ru"}, 2, "ru"},
                                           ChangeCase{"Ukrainian", 3, QStringList{"ukr"}, 3, "uk"},
                                           ChangeCase{"BeyondTheList", 4, QStringList{"ru"}, 2,
                                                      "ru"},
                                           ChangeCase{"Negative", -1, QStringList{"ru"}, 2, "ru"}),
                         [](const auto &info) { return std::string(info.param.name); });

// The shared objects as the program wires them: the user's settings file under
// "Tarnwell/Tarnwell" and the tables compiled into the executable.
TEST(SharedLocalizationTest, ChangeReachesTheUsersFileAndTheCompiledTables) {
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    int heard = 0;
    QObject::connect(&QRMLanguageNotifier::sharedNotifier(),
                     &QRMLanguageNotifier::languageDidChanged, [&] { ++heard; });

    changeLanguage(3);

    EXPECT_EQ(heard, 1);
    EXPECT_EQ(localized("Quit"), "Вийти");
    QSettings file(config.filePath("Tarnwell/Tarnwell.conf"), QSettings::IniFormat);
    EXPECT_EQ(file.value("AppleLanguages").toString(), "ukr");
    EXPECT_EQ(file.value("selectedLanguage").toString(), "3");
}

}  // namespace
}  // namespace tarnwell::test
