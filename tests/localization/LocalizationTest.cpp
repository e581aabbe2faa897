#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>

#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "preferences/QRMPreferencesManager.h"

#include "CaseName.h"
#include "QtPrinters.h"

namespace tarnwell::test {
namespace {

const QString kCompiledTables = QStringLiteral(":/translations");

class LocalizationTest : public ::testing::Test {
protected:
    QRMLocalization localizationOver(const QString &tableDirectory) {
        return QRMLocalization(preferences_, tableDirectory, [this] { return desktop_; });
    }

    QTemporaryDir dir_;
    QRMPreferencesManager preferences_{dir_.filePath("Tarnwell.conf"), [] { return std::nullopt; },
                                       QUrl("https://site.test/download/appcast.xml")};
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
    tarnwell::test::caseName);

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
                         tarnwell::test::caseName);

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

// The keys of one table source; none when it cannot be read.
QStringList sourceKeys(const QString &code) {
    // Cleaned first: tests/data need not exist for "..".
    QFile file(QDir::cleanPath(
        QStringLiteral(TARNWELL_TEST_DATA_DIR "/../../resources/translations/tarnwell_%1.ts")
            .arg(code)));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QStringList keys;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == u"source") {
            keys.append(xml.readElementText());
        }
    }
    return xml.hasError() ? QStringList() : keys;
}

// A key in any one source must be in every compiled table, which is what the
// program reads: one missing from a table is a text that shows untranslated.
// A Russian or Ukrainian text that is the English one was never translated.
TEST(TranslationTables, TranslateEveryKeyOfEverySource) {
    const QStringList codes{"en", "ru", "uk"};
    QSet<QString> keys;
    QTranslator tables[3];
    for (int i = 0; i < 3; ++i) {
        const QStringList source = sourceKeys(codes[i]);
        EXPECT_FALSE(source.isEmpty()) << "unreadable source " << codes[i].toStdString();
        keys.unite(QSet<QString>(source.begin(), source.end()));
        ASSERT_TRUE(tables[i].load("tarnwell_" + codes[i], kCompiledTables));
    }
    for (const QString &key : keys) {
        const QByteArray source = key.toUtf8();
        const QString english = tables[0].translate("Tarnwell", source);
        EXPECT_FALSE(english.isEmpty()) << "missing from en: " << source.constData();
        for (int i = 1; i < 3; ++i) {
            const QString text = tables[i].translate("Tarnwell", source);
            EXPECT_FALSE(text.isEmpty() || text == english)
                << "untranslated in " << codes[i].toStdString() << ": " << source.constData();
        }
    }
}

}  // namespace
}  // namespace tarnwell::test
