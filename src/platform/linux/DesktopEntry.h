#pragma once

#include <optional>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace tarnwell {

// One desktop entry file as the freedesktop Desktop Entry Specification
// defines it: groups of Key=Value lines, the first group "Desktop Entry",
// localized keys such as Name[de_DE], and escapes in string values.
//
// Parsing is strict about the file's shape (a file that is not valid UTF-8,
// holds a NUL, has a line that is neither comment, group nor entry, repeats a
// group, or does not start with "Desktop Entry" is refused as a whole) and
// lenient about single lines, so one sloppy translation does not hide an
// application: a key with characters outside A-Za-z0-9- is ignored, a
// repeated key keeps its first value, and a value with a broken escape reads
// as absent.
class DesktopEntry {
public:
    static constexpr char kMainGroup[] = "Desktop Entry";
    // Desktop files are a few kilobytes; the largest on common desktops, with
    // a hundred translations, stay under 100 KiB.
    static constexpr qsizetype kMaximumFileSize = 512 * 1024;

    static std::optional<DesktopEntry> parse(const QByteArray &text);
    // Reads a regular file of at most kMaximumFileSize bytes. Never blocks on a
    // FIFO or a device; a link to a regular file is read like the file.
    static std::optional<DesktopEntry> readFile(const QString &path);

    bool hasGroup(const QString &group) const;
    // The value with escapes resolved, or nothing when the key is missing or
    // its value is malformed.
    std::optional<QString> string(const QString &key,
                                  const QString &group = QString::fromLatin1(kMainGroup)) const;
    // The value for a locale given as lang_COUNTRY.ENCODING@MODIFIER (any part
    // but lang optional), by the Desktop Entry Specification's order of fallbacks.
    std::optional<QString> localeString(
        const QString &key, const QString &locale,
        const QString &group = QString::fromLatin1(kMainGroup)) const;
    // A ';'-separated list; "\;" is a semicolon inside an element.
    QStringList strings(const QString &key,
                        const QString &group = QString::fromLatin1(kMainGroup)) const;
    // "true" is true; anything else, or a missing key, is false.
    bool boolean(const QString &key, const QString &group = QString::fromLatin1(kMainGroup)) const;

    // The program an Exec value (escapes already resolved) starts: its first
    // word, which may be double-quoted with backslash escapes inside, "%%"
    // read as "%". Empty when a quote is left open.
    static QString execProgram(const QString &exec);

private:
    struct Entry {
        QString key;
        QString value;  // as written, escapes unresolved
    };
    struct Group {
        QString name;
        QList<Entry> entries;
    };

    const QString *rawValue(const QString &group, const QString &key) const;

    QList<Group> groups_;
};

}  // namespace tarnwell
