#include <gtest/gtest.h>

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

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
              dir_.filePath("Tarnwell.conf"), [] { return std::nullopt; },
              QUrl("https://site.test/download/appcast.xml")) {}

    QRMLocalization localizationOver(const QString &tableDirectory) {
        return QRMLocalization(preferences_, tableDirectory, [this] { return desktop_; });
    }

    QTemporaryDir dir_;
    QRMPreferencesManager preferences_;
    QStringList desktop_{"en-GB"};
};

enum class Tables { Compiled, EnglishOnly, None };

struct LookupCase {
    const char *name;
    std::optional<QStringList> override;
    QStringList desktop;
    const char *key;  // "language" answers the code of the table in use
    const char *text;
    Tables tables = Tables::Compiled;
};

class LookupTest : public LocalizationTest, public ::testing::WithParamInterface<LookupCase> {};

TEST_P(LookupTest, ChoosesTheTableOrFallsBack) {
    QTemporaryDir tables;
    if (GetParam().tables == Tables::EnglishOnly) {
        ASSERT_TRUE(
            QFile::copy(kCompiledTables + "/tarnwell_en.qm", tables.filePath("tarnwell_en.qm")));
    }
    preferences_.setAppleLanguages(GetParam().override);
    desktop_ = GetParam().desktop;
    QRMLocalization localization =
        localizationOver(GetParam().tables == Tables::Compiled ? kCompiledTables : tables.path());
    EXPECT_EQ(localization.localized(GetParam().key), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LookupTest,
    ::testing::Values(
        LookupCase{"DesktopOrderWithoutOverride", {}, {"uk-UA", "en-US"}, "Quit", "Вийти"},
        LookupCase{"NoDesktopLanguages", {}, {}, "language", "en"},
        LookupCase{"EmptyOverrideIsEnglish", QStringList{}, {"ru-RU"}, "language", "en"},
        LookupCase{"OwnUkrainianCode", QStringList{"ukr"}, {"ru"}, "language", "uk"},
        LookupCase{"OnlyTheFirstEntryCounts", QStringList{"de-DE", "ru"}, {"uk"}, "language", "en"},
        LookupCase{"SingleLetter", QStringList{"r"}, {"ru"}, "language", "en"},
        LookupCase{"UnknownKeyUnchanged", QStringList{"ru"}, {}, "NoSuchKey", "NoSuchKey"},
        LookupCase{"LanguageWithoutATableIsEnglish",
                   QStringList{"ru"},
                   {},
                   "CleanMemoryNow",
                   "Clean Memory Now",
                   Tables::EnglishOnly},
        LookupCase{"NoTableAtAll", {}, {"en"}, "CleanMemoryNow", "CleanMemoryNow", Tables::None}),
    [](const auto &info) { return std::string(info.param.name); });

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
    changeLanguage(3);
    EXPECT_EQ(localized("Quit"), "Вийти");
    QSettings file(config.filePath("Tarnwell/Tarnwell.conf"), QSettings::IniFormat);
    EXPECT_EQ(file.value("AppleLanguages").toString(), "ukr");
    EXPECT_EQ(file.value("selectedLanguage").toString(), "3");
}

}  // namespace
}  // namespace tarnwell::test
