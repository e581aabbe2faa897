#include <sys/stat.h>

#include <atomic>
#include <optional>

#include <gtest/gtest.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "QtPrinters.h"

#include "platform/linux/DesktopApplicationIndex.h"
#include "platform/linux/DesktopEntry.h"
#include "platform/linux/QRMApplicationsInfo.h"

namespace tarnwell {
namespace {

// Writes a file, its folders made first.
void writeFile(const QString &path, const QByteArray &bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

// The name in each locale: a country or modifier needs its own key, and falls
// back to the language's; comments may come before the group.
TEST(DesktopEntryTest, NameInEachLocale) {
    const auto entry = DesktopEntry::parse(
        "# a comment\n\n[Desktop Entry]\nName=Files\nName[de]=Dateien\nName[sr@latin]=Datoteke\n"
        "Name[pt_BR]=Arquivos\nName[ca_ES@valencia]=Fitxers VAL");
    ASSERT_TRUE(entry);
    const std::pair<const char *, const char *> rows[] = {{"de", "Dateien"},
                                                          {"de_AT", "Dateien"},
                                                          {"pt_BR.UTF-8", "Arquivos"},
                                                          {"pt_PT", "Files"},
                                                          {"sr_RS@latin", "Datoteke"},
                                                          {"sr_RS", "Files"},
                                                          {"ca_ES.UTF-8@valencia", "Fitxers VAL"}};
    for (const auto &[locale, name] : rows) {
        EXPECT_EQ(entry->localeString("Name", locale), name) << locale;
    }
}

QString corpusFile(const char *name) {
    return QStringLiteral(TARNWELL_TEST_DATA_DIR "/desktop-entries/") + name;
}

// A value with a broken escape is absent, and so is a translation's, which
// then falls back; lists split on unescaped semicolons only; only a
// lower-case "true" is true. Lines end before a CR.
TEST(DesktopEntryTest, ValuesOfEveryShape) {
    const auto entry = DesktopEntry::readFile(corpusFile("valid-values.desktop"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->string("Escapes"), "a b\tc\nd\re\\f");
    EXPECT_EQ(entry->string("Name"), "Files");
    EXPECT_EQ(entry->localeString("Name", "de"), "Files");
    EXPECT_EQ(entry->string("Repeated"), "One");
    EXPECT_EQ(entry->string("Cyrillic"), "Файлы");
    for (const char *absent : {"BrokenEscape", "TrailingBackslash", "Na_me", "Other"}) {
        EXPECT_EQ(entry->string(absent), std::nullopt) << absent;
    }
    EXPECT_EQ(entry->strings("Categories"), (QStringList{"GTK", "Utility", "a;b", "c d"}));
    EXPECT_EQ(entry->strings("Empty"), QStringList());
    EXPECT_EQ(entry->strings("Missing"), QStringList());
    EXPECT_TRUE(entry->boolean("A"));
    for (const char *key : {"B", "C", "Empty", "Missing"}) {
        EXPECT_FALSE(entry->boolean(key)) << key;
    }
    EXPECT_EQ(DesktopEntry::readFile(corpusFile("valid-crlf-quoted-exec.desktop"))->string("Name"),
              "My App");
}

// Files a hostile or broken folder can hold: none may block, crash or be read
// past the cap.
TEST(DesktopEntryFileTest, ReadsFilesAndLinksToFilesUpToTheCapOnly) {
    QTemporaryDir folder;
    const auto path = [&](const char *name) { return folder.filePath(name); };
    writeFile(path("good.desktop"), "[Desktop Entry]\nName=Good\n");
    ASSERT_TRUE(QFile::link(path("good.desktop"), path("link.desktop")));
    ASSERT_TRUE(QFile::link(path("loop-b.desktop"), path("loop-a.desktop")));
    ASSERT_TRUE(QFile::link(path("loop-a.desktop"), path("loop-b.desktop")));
    ASSERT_TRUE(QDir(folder.path()).mkdir("folder.desktop"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path("fifo.desktop")).constData(), 0600), 0);
    const QByteArray head = "[Desktop Entry]\nName=Big\nComment=";
    const qsizetype room = DesktopEntry::kMaximumFileSize - head.size();
    writeFile(path("at-cap.desktop"), head + QByteArray(room, 'x'));
    writeFile(path("over-cap.desktop"), head + QByteArray(room + 1, 'x'));

    EXPECT_EQ(DesktopEntry::readFile(path("good.desktop"))->string("Name"), "Good");
    EXPECT_EQ(DesktopEntry::readFile(path("link.desktop"))->string("Name"), "Good");
    EXPECT_TRUE(DesktopEntry::readFile(path("at-cap.desktop")));
    for (const char *refused :
         {"loop-a.desktop", "folder.desktop", "fifo.desktop", "missing", "over-cap.desktop"}) {
        EXPECT_FALSE(DesktopEntry::readFile(path(refused))) << refused;
    }
}

// The fuzzer's seeds and findings, and the files refused as a whole, kept as
// files named for the outcome they must have: "valid-*" parses, "invalid-*" is
// refused, neither crashes.
TEST(DesktopEntryCorpusTest, EveryCorpusFileHasItsOutcome) {
    const QDir corpus(corpusFile(""));
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

// Three applications folders as a user's XDG folders would give them:
// data home first, then two data dirs.
class DesktopFolders {
public:
    DesktopFolders() {
        for (const char *folder : {"home", "local", "system"}) {
            QDir(root_.path()).mkpath(QStringLiteral("%1/applications").arg(folder));
        }
    }
    QStringList folders() const {
        return {root_.filePath("home/applications"), root_.filePath("local/applications"),
                root_.filePath("system/applications")};
    }
    QString path(const QString &relative) const { return root_.filePath(relative); }
    void write(const QString &relative, const QByteArray &body) const {
        writeFile(path(relative), "[Desktop Entry]\n" + body);
    }
    // A visible application entry with the given extra lines.
    void application(const QString &relative, const QByteArray &extra = {}) const {
        write(relative, "Type=Application\nName=" + relative.section('/', -1).toUtf8() +
                            "\nExec=true\n" + extra);
    }

private:
    QTemporaryDir root_;
};

QStringList idsOf(const QList<DesktopFile> &files) {
    QStringList ids;
    for (const DesktopFile &file : files) {
        ids.append(file.id);
    }
    ids.sort();
    return ids;
}

class ApplicationsCatalogueTest : public ::testing::Test {
protected:
    QRMApplicationsInfo &catalogue() {
        if (!catalogue_) {
            catalogue_ = std::make_unique<QRMApplicationsInfo>(QRMApplicationsInfo::Sources{
                [this] { return desktop.folders(); }, [this] { return showApplications; },
                [this] { return showUtilities; }});
        }
        return *catalogue_;
    }
    // The in-progress flag as each notification saw it. A search started from
    // inside one returns at once, neither notifying nor adding to the lists.
    QList<bool> searchOnce() {
        QList<bool> seen;
        auto &c = catalogue();
        const auto connection = QObject::connect(
            &c, &QRMApplicationsInfo::searchApplicationsAndUtilitiesInProgressChanged, [&] {
                seen.append(c.searchApplicationsAndUtilitiesInProgress());
                if (seen.size() == 1) {
                    c.searchApplicationsAndUtilities();
                }
            });
        c.searchApplicationsAndUtilities();
        QObject::disconnect(connection);
        return seen;
    }

    DesktopFolders desktop;
    bool showApplications = true;
    bool showUtilities = true;
    std::unique_ptr<QRMApplicationsInfo> catalogue_;
};

TEST_F(ApplicationsCatalogueTest, ListsVisibleApplicationsOncePerIdInFolderOrder) {
    desktop.application("system/applications/editor.desktop", "Categories=GTK;Utility;\n");
    desktop.application("system/applications/monitor.desktop", "Categories=System;\n");
    desktop.application("system/applications/game.desktop", "Categories=Game;\n");
    desktop.application("system/applications/nodisplay.desktop", "NoDisplay=true\n");
    desktop.application("system/applications/hidden.desktop", "Hidden=true\n");
    desktop.write("system/applications/link.desktop", "Type=Link\nName=Site\nURL=https://a/\n");
    desktop.application("system/applications/readme.txt");
    desktop.application("system/applications/kde/konsole.desktop", "Categories=System;\n");
    // The user's own entry hides the system's one of the same id...
    desktop.write("home/applications/game.desktop", "Type=Application\nName=G\nHidden=true\n");
    // ...and an earlier data dir's entry shadows a later one's.
    desktop.application("local/applications/editor.desktop", "Categories=Office;\n");
    // A loop of folders is never entered (which files are read: DesktopEntryFileTest).
    ASSERT_TRUE(
        QFile::link(desktop.path("system/applications"), desktop.path("system/applications/loop")));

    EXPECT_EQ(searchOnce(), (QList<bool>{true, false}));

    EXPECT_EQ(idsOf(catalogue().applicationList()),
              (QStringList{"editor.desktop", "kde-konsole.desktop", "monitor.desktop"}));
    EXPECT_EQ(idsOf(catalogue().utilityList()),
              (QStringList{"kde-konsole.desktop", "monitor.desktop"}));
    const QList<DesktopFile> applications = catalogue().applicationList();
    const auto editor = std::find_if(applications.cbegin(), applications.cend(),
                                     [](const DesktopFile &f) { return f.id == "editor.desktop"; });
    EXPECT_EQ(editor->path, desktop.path("local/applications/editor.desktop"));
}

// A second search scans only while a shown list is empty. Columns: applications
// and utilities shown; entries in each list after two searches.
TEST_F(ApplicationsCatalogueTest, SecondSearchScansOnlyWhileAShownListIsEmpty) {
    desktop.application("system/applications/editor.desktop");
    const auto searchTwice = [&](bool applications, bool utilities) {
        catalogue_.reset();
        std::tie(showApplications, showUtilities) = std::pair(applications, utilities);
        for (int search = 0; search < 2; ++search) {
            EXPECT_EQ(searchOnce(), (QList<bool>{true, false})) << "search " << search;
        }
        return std::pair(int(catalogue().applicationList().size()),
                         int(catalogue().utilityList().size()));
    };
    EXPECT_EQ(searchTwice(true, false), std::pair(1, 0)) << "no utility: both scanned once";
    // The utilities came back empty, so the second search scans again and
    // appends the applications a second time.
    EXPECT_EQ(searchTwice(false, true), std::pair(2, 0));
    desktop.application("system/applications/top.desktop", "Categories=System;\n");
    EXPECT_EQ(searchTwice(false, false), std::pair(0, 0)) << "nothing shown, nothing scanned";
    EXPECT_EQ(searchTwice(true, true), std::pair(2, 1)) << "filled lists scan once";
}

TEST_F(ApplicationsCatalogueTest, BackgroundSearchEndsOnItsOwnThreadAndQuitsAtAnyMoment) {
    for (int i = 0; i < 200; ++i) {
        desktop.application(QStringLiteral("system/applications/app%1.desktop").arg(i));
    }
    std::atomic<int> ends{0};
    std::atomic<bool> onCallerThread{false};
    const Qt::HANDLE caller = QThread::currentThreadId();
    QObject::connect(&catalogue(),
                     &QRMApplicationsInfo::searchApplicationsAndUtilitiesInProgressChanged, [&] {
                         onCallerThread = onCallerThread || QThread::currentThreadId() == caller;
                         if (!catalogue_->searchApplicationsAndUtilitiesInProgress()) {
                             ++ends;
                         }
                     });
    catalogue().searchApplicationsAndUtilitiesInBackground();
    catalogue().searchApplicationsAndUtilitiesInBackground();  // dropped while one runs
    EXPECT_TRUE(QTest::qWaitFor([&] { return ends == 1; }, 10'000));
    EXPECT_FALSE(onCallerThread);
    EXPECT_EQ(catalogue().applicationList().size(), 200);

    // A second catalogue destroyed while its search may still run.
    QRMApplicationsInfo quitting(QRMApplicationsInfo::Sources{
        [this] { return desktop.folders(); }, [] { return true; }, [] { return true; }});
    quitting.searchApplicationsAndUtilitiesInBackground();
}

// Which desktop entry a window belongs to: its GTK application id, the
// StartupWMClass before the file name, the class as a file name in any case,
// the entry's executable, but never a launcher program or a hidden entry;
// with no entry, the class or else the instance.
TEST(WindowMatch, NamesTheDesktopEntry) {
    DesktopFolders desktop;
    desktop.write("system/applications/org.gnome.TextEditor.desktop",
                  "Type=Application\nName=Text Editor\nExec=gnome-text-editor\n");
    desktop.write("system/applications/firefox-esr.desktop",
                  "Type=Application\nName=Firefox\nExec=/usr/lib/firefox-esr/firefox-esr\n"
                  "StartupWMClass=Firefox-esr\n");
    desktop.write("system/applications/shell.desktop",
                  "Type=Application\nName=Shell\nExec=/bin/sh -c top\nNoDisplay=true\n");
    desktop.write("system/applications/xlogo-by-path.desktop",
                  "Type=Application\nName=Logo\nExec=\"" TARNWELL_TEST_EXECUTABLE "\" %U\n");
    desktop.write("home/applications/gone.desktop", "Type=Application\nHidden=true\n");
    desktop.write("system/applications/gone.desktop", "Type=Application\nName=Gone\n");
    const DesktopApplicationIndex index(desktop.folders());
    const std::pair<WindowIdentity, QString> rows[] = {
        {{"org.gnome.TextEditor", "x", "y", ""}, "org.gnome.TextEditor.desktop"},
        {{"", "Navigator", "Firefox-esr", ""}, "firefox-esr.desktop"},
        {{"", "org.gnome.texteditor", "Other", ""}, "org.gnome.TextEditor.desktop"},
        {{"", "a", "B", TARNWELL_TEST_EXECUTABLE}, "xlogo-by-path.desktop"},
        {{"", "", "", "/bin/sh"}, ""},
        {{"", "xeyes", "XEyes", ""}, "XEyes"},
        {{"", "xeyes", "", ""}, "xeyes"},
        {{"", "gone", "Gone", ""}, "Gone"}};
    for (const auto &[window, id] : rows) {
        EXPECT_EQ(index.applicationId(window), id) << id.toStdString();
    }
}

}  // namespace
}  // namespace tarnwell
