#pragma once

#include <optional>

#include <QHash>
#include <QString>
#include <QStringList>

#include "platform/linux/DesktopEntryFolders.h"

namespace tarnwell {

// An application the Apps tab can offer: its name in the user's language,
// its desktop-file id and its icon (a theme name or an absolute path).
struct ApplicationCandidate {
    QString name;
    QString id;
    QString iconName;
};

// The candidate a desktop file describes: its localized Name, else its file
// name without ".desktop"; nothing when the file cannot be read.
std::optional<ApplicationCandidate> applicationCandidate(const DesktopFile &file,
                                                         const QString &locale);

// What a window says about the program that owns it; any part may be empty.
struct WindowIdentity {
    QString gtkApplicationId;  // _GTK_APPLICATION_ID, such as "org.gnome.TextEditor"
    QString wmInstance;        // WM_CLASS, first string
    QString wmClass;           // WM_CLASS, second string
    QString executable;        // the owning process's /proc/PID/exe
};

// Maps windows to desktop-file ids, over every application entry of the
// applications folders (hidden ones too: a program started from a terminal
// still has its entry).
class DesktopApplicationIndex {
public:
    DesktopApplicationIndex() = default;
    explicit DesktopApplicationIndex(const QStringList &folders);

    // Tries, in order: the GTK application id as a file name; the WM_CLASS
    // against StartupWMClass; the WM_CLASS against file names (any case); the
    // executable against the entries' TryExec and Exec programs. A window no
    // entry claims is known by its WM_CLASS class (else instance), so a
    // program without a desktop entry can still be monitored; a window with
    // neither class nor a matching entry has no application and is ignored.
    QString applicationId(const WindowIdentity &window) const;

    // The candidate for an id this index gave: named and drawn by its
    // desktop entry, or by the id alone for a program without one.
    ApplicationCandidate candidate(const QString &id, const QString &locale) const;

private:
    void add(const DesktopFile &file, const DesktopEntry &entry);

    QHash<QString, DesktopEntry> entries_;  // by id
    QHash<QString, QString> idByLowerCaseStem_;
    QHash<QString, QString> idByStartupWMClass_;
    QHash<QString, QString> idByExecutable_;
};

}  // namespace tarnwell
