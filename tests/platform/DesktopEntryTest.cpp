#include <sys/stat.h>

#include <optional>

#include <gtest/gtest.h>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "CaseName.h"
#include "QtPrinters.h"

#include "platform/linux/DesktopEntry.h"

namespace tarnwell {
namespace {

using test::caseName;

// One lookup in a file that parses.
struct Lookup {
    const char *name;
    const char *text;
    const char *key;
    const char *locale;  // nullptr: the plain string
    std::optional<QString> expected;
};

class DesktopEntryLookupTest : public ::testing::TestWithParam<Lookup> {};

TEST_P(DesktopEntryLookupTest, FindsTheValue) {
    const Lookup &row = GetParam();
    const std::optional<DesktopEntry> entry = DesktopEntry::parse(row.text);
    ASSERT_TRUE(entry);
    const std::optional<QString> value =
        row.locale ? entry->localeString(row.key, QString::fromLatin1(row.locale))
                   : entry->string(row.key);
    EXPECT_EQ(value, row.expected);
}

constexpr char kNames[] =
    "[Desktop Entry]\n"
    "Name=Files\n"
    "Name[de]=Dateien\n"
    "Name[sr@latin]=Datoteke\n"
    "Name[pt_BR]=Arquivos\n"
    "Name[ca_ES@valencia]=Fitxers VAL\n";

INSTANTIATE_TEST_SUITE_P(
    Rows, DesktopEntryLookupTest,
    ::testing::Values(
        Lookup{"LanguageOnly", kNames, "Name", "de", "Dateien"},
        Lookup{"CountryFallsBackToLanguage", kNames, "Name", "de_AT", "Dateien"},
        Lookup{"CountryBeatsLanguage", kNames, "Name", "pt_BR.UTF-8", "Arquivos"},
        Lookup{"OtherCountryNoLanguageKey", kNames, "Name", "pt_PT", "Files"},
        Lookup{"ModifierWithoutCountry", kNames, "Name", "sr_RS@latin", "Datoteke"},
        Lookup{"ModifierNeedsItsKey", kNames, "Name", "sr_RS", "Files"},
        Lookup{"FullMatch", kNames, "Name", "ca_ES.UTF-8@valencia", "Fitxers VAL"},
        Lookup{"UnknownLocaleGetsDefault", kNames, "Name", "ja_JP", "Files"},
        Lookup{"Escapes", "[Desktop Entry]\nComment=a\\sb\\tc\\nd\\re\\\\f\n", "Comment", nullptr,
               "a b\tc\nd\re\\f"},
        Lookup{"BrokenEscapeIsAbsent", "[Desktop Entry]\nComment=a\\qb\n", "Comment", nullptr,
               std::nullopt},
        Lookup{"TrailingBackslashIsAbsent", "[Desktop Entry]\nComment=ab\\\n", "Comment", nullptr,
               std::nullopt},
        Lookup{"BrokenTranslationFallsBack", "[Desktop Entry]\nName=A\nName[de]=B\\\n", "Name",
               "de", "A"},
        Lookup{"SpacesAroundEqualsIgnored", "[Desktop Entry]\nName  =  Files\n", "Name", nullptr,
               "Files"},
        Lookup{"CarriageReturnLineEnds", "[Desktop Entry]\r\nName=Files\r\n", "Name", nullptr,
               "Files"},
        Lookup{"CommentsBeforeTheGroup", "# a comment\n\n[Desktop Entry]\nName=Files", "Name",
               nullptr, "Files"},
        Lookup{"FirstOfRepeatedKeysCounts", "[Desktop Entry]\nName=One\nName=Two\n", "Name",
               nullptr, "One"},
        Lookup{"BadKeyNameIgnored", "[Desktop Entry]\nNa_me=X\nName=Files\n", "Na_me", nullptr,
               std::nullopt},
        Lookup{"KeyOfAnotherGroupNotSeen", "[Desktop Entry]\n[Desktop Action new]\nName=New\n",
               "Name", nullptr, std::nullopt},
        Lookup{"CyrillicValue", "[Desktop Entry]\nName=Файлы\n", "Name", nullptr, "Файлы"}),
    test::caseName);

struct Refused {
    const char *name;
    QByteArray text;
};

class DesktopEntryRefusedTest : public ::testing::TestWithParam<Refused> {};

TEST_P(DesktopEntryRefusedTest, WholeFileIsRefused) {
    EXPECT_FALSE(DesktopEntry::parse(GetParam().text));
}

// The binary, unclosed-group, repeated-group and bad-UTF-8 files are in the
// corpus below.
INSTANTIATE_TEST_SUITE_P(
    Rows, DesktopEntryRefusedTest,
    ::testing::Values(Refused{"Empty", ""}, Refused{"OnlyComments", "# nothing\n"},
                      Refused{"EntryBeforeAnyGroup", "Name=Files\n[Desktop Entry]\n"},
                      Refused{"OtherFirstGroup", "[Desktop Action new]\n[Desktop Entry]\n"},
                      Refused{"LineWithoutEquals", "[Desktop Entry]\nName Files\n"},
                      Refused{"EmbeddedNul", QByteArray("[Desktop Entry]\nName=a\0b\n", 25)}),
    test::caseName);

TEST(DesktopEntryTest, ListsSplitOnUnescapedSemicolonsOnly) {
    const auto entry =
        DesktopEntry::parse("[Desktop Entry]\nCategories=GTK;Utility;;a\\;b;c\\sd;\nEmpty=\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->strings("Categories"), (QStringList{"GTK", "Utility", "a;b", "c d"}));
    EXPECT_EQ(entry->strings("Empty"), QStringList());
    EXPECT_EQ(entry->strings("Missing"), QStringList());
}

TEST(DesktopEntryTest, OnlyLowerCaseTrueIsTrue) {
    const auto entry = DesktopEntry::parse("[Desktop Entry]\nA=true\nB=True\nC=1\nD=false\n");
    ASSERT_TRUE(entry);
    EXPECT_TRUE(entry->boolean("A"));
    for (const char *key : {"B", "C", "D", "Missing"}) {
        EXPECT_FALSE(entry->boolean(key)) << key;
    }
}

// Files a hostile or broken folder can hold: none may block, crash or be read
// past the cap.
class DesktopEntryFileTest : public ::testing::Test {
protected:
    QString path(const char *name) const { return folder_.filePath(name); }
    void write(const char *name, const QByteArray &bytes) {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QTemporaryDir folder_;
};

TEST_F(DesktopEntryFileTest, ReadsFilesAndLinksToFilesOnly) {
    write("good.desktop", "[Desktop Entry]\nName=Good\n");
    ASSERT_TRUE(QFile::link(path("good.desktop"), path("link.desktop")));
    ASSERT_TRUE(QFile::link(path("loop-b.desktop"), path("loop-a.desktop")));
    ASSERT_TRUE(QFile::link(path("loop-a.desktop"), path("loop-b.desktop")));
    ASSERT_TRUE(QDir(folder_.path()).mkdir("folder.desktop"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path("fifo.desktop")).constData(), 0600), 0);

    EXPECT_EQ(DesktopEntry::readFile(path("good.desktop"))->string("Name"), "Good");
    EXPECT_EQ(DesktopEntry::readFile(path("link.desktop"))->string("Name"), "Good");
    for (const char *refused : {"loop-a.desktop", "folder.desktop", "fifo.desktop", "missing"}) {
        EXPECT_FALSE(DesktopEntry::readFile(path(refused))) << refused;
    }
}

TEST_F(DesktopEntryFileTest, FileOverTheCapIsRefused) {
    const QByteArray head = "[Desktop Entry]\nName=Big\nComment=";
    write("at-cap.desktop", head + QByteArray(DesktopEntry::kMaximumFileSize - head.size(), 'x'));
    write("over-cap.desktop",
          head + QByteArray(DesktopEntry::kMaximumFileSize - head.size() + 1, 'x'));
    EXPECT_TRUE(DesktopEntry::readFile(path("at-cap.desktop")));
    EXPECT_FALSE(DesktopEntry::readFile(path("over-cap.desktop")));
}

// The fuzzer's seeds and findings, kept as files named for the outcome they
// must have: "valid-*" parses, "invalid-*" is refused, neither crashes.
TEST(DesktopEntryCorpusTest, EveryCorpusFileHasItsOutcome) {
    const QDir corpus(TARNWELL_TEST_DATA_DIR "/desktop-entries");
    const QStringList files = corpus.entryList(QDir::Files);
    ASSERT_GE(files.size(), 5);
    for (const QString &name : files) {
        const std::optional<DesktopEntry> entry = DesktopEntry::readFile(corpus.filePath(name));
        EXPECT_EQ(entry.has_value(), name.startsWith("valid-")) << name.toStdString();
        if (entry) {
            entry->localeString("Name", "de_DE.UTF-8@euro");
            entry->strings("Categories");
        }
    }
}

}  // namespace
}  // namespace tarnwell
