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

// The override, the desktop's languages, a key and the text it gives;
// "language" answers the code of the table in use.
TEST_F(LocalizationTest, LookupChoosesTheTableOrFallsBack) {
    const std::tuple<std::optional<QStringList>, QStringList, const char *, const char *> rows[] = {
        {std::nullopt, {"uk-UA", "en-US"}, "Quit", "Вийти"},  // the desktop's order
        {std::nullopt, {}, "language", "en"},
        {QStringList{}, {"ru-RU"}, "language", "en"},            // an empty override is English
        {QStringList{"ukr"}, {"ru"}, "language", "uk"},          // the own Ukrainian code
        {QStringList{"de-DE", "ru"}, {"uk"}, "language", "en"},  // only the first entry counts
        {QStringList{"r"}, {"ru"}, "language", "en"},
        {QStringList{"ru"}, {}, "NoSuchKey", "NoSuchKey"}};
    for (const auto &[override, desktop, key, text] : rows) {
        preferences_.setAppleLanguages(override);
        desktop_ = desktop;
        EXPECT_EQ(localizationOver(kCompiledTables).localized(key), text)
            << "desktop " << desktop.join(' ').toStdString();
    }
    // No table at all leaves the key; a language without a table is English.
    QTemporaryDir tables;
    preferences_.setAppleLanguages(std::nullopt);
    desktop_ = {"en"};
    EXPECT_EQ(localizationOver(tables.path()).localized("CleanMemoryNow"), "CleanMemoryNow");
    ASSERT_TRUE(
        QFile::copy(kCompiledTables + "/tarnwell_en.qm", tables.filePath("tarnwell_en.qm")));
    preferences_.setAppleLanguages(QStringList{"ru"});
    EXPECT_EQ(localizationOver(tables.path()).localized("CleanMemoryNow"), "Clean Memory Now");
}

// From Russian, so that every row changes something or visibly nothing: the
// pop-up's index, then the stored override and index, and the "language" text
// each listener hears before the change returns.
TEST_F(LocalizationTest, ChangeStoresTheChoiceAndEveryListenerHearsItBeforeReturn) {
    const std::tuple<int, std::optional<QStringList>, qint64, const char *> rows[] = {
        {0, std::nullopt, 0, "uk"},
        {1, QStringList{"en"}, 1, "en"},
        {3, QStringList{"ukr"}, 3, "uk"},
        {4, QStringList{"ru"}, 2, "ru"},
        {-1, QStringList{"ru"}, 2, "ru"}};
    desktop_ = {"uk-UA"};
    for (const auto &[index, override, selected, heardText] : rows) {
        preferences_.setAppleLanguages(QStringList{"ru"});
        preferences_.setSelectedLanguage(2);
        QRMLocalization localization = localizationOver(kCompiledTables);
        QRMLanguageNotifier notifier;
        QStringList heard;
        for (int listener = 0; listener < 2; ++listener) {
            QObject::connect(&notifier, &QRMLanguageNotifier::languageDidChanged,
                             [&] { heard.append(localization.localized("language")); });
        }
        changeLanguage(preferences_, notifier, index);
        EXPECT_EQ(heard, QStringList(2, heardText)) << index;
        EXPECT_EQ(preferences_.appleLanguages(), override) << index;
        EXPECT_EQ(preferences_.selectedLanguage(), selected) << index;
    }
}

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
