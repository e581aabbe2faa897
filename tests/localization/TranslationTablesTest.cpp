#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTranslator>
#include <QXmlStreamReader>
#include <set>

namespace tarnwell::test {
namespace {

const char *const kLanguages[] = {"en", "ru", "uk"};

// The keys of one table source; none when it cannot be read.
QStringList sourceKeys(const char *code) {
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

// A key in any one source must be in every table: one missing from a table is
// a text that shows untranslated in that language.
std::vector<std::string> allKeys() {
    std::set<std::string> keys;
    for (const char *code : kLanguages) {
        for (const QString &key : sourceKeys(code)) {
            keys.insert(key.toStdString());
        }
    }
    return {keys.begin(), keys.end()};
}

QString translated(const char *code, const std::string &key) {
    static std::map<std::string, std::unique_ptr<QTranslator>> tables;
    auto &table = tables[code];
    if (!table) {
        table = std::make_unique<QTranslator>();
        EXPECT_TRUE(table->load(QStringLiteral("tarnwell_") + code, ":/translations")) << code;
    }
    return table->translate("Tarnwell", key.c_str());
}

class TranslationTablesTest : public ::testing::TestWithParam<std::string> {};

// Checked in the compiled tables, which are what the program reads.
TEST_P(TranslationTablesTest, EveryTableTranslatesIt) {
    for (const char *code : kLanguages) {
        EXPECT_FALSE(translated(code, GetParam()).isEmpty()) << "missing from " << code;
    }
    // A Russian or Ukrainian text that is the English one was never translated.
    EXPECT_NE(translated("ru", GetParam()), translated("en", GetParam()));
    EXPECT_NE(translated("uk", GetParam()), translated("en", GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Keys, TranslationTablesTest, ::testing::ValuesIn(allKeys()),
                         [](const auto &info) { return info.param; });

// An unreadable source would quietly drop its keys from the table above.
TEST(TranslationSourcesTest, AreReadable) {
    for (const char *code : kLanguages) {
        EXPECT_FALSE(sourceKeys(code).isEmpty()) << code;
    }
}

}  // namespace
}  // namespace tarnwell::test
