#pragma once

#include <atomic>
#include <functional>

#include <QString>
#include <QStringList>

#include "platform/linux/DesktopEntry.h"

namespace tarnwell {

// A desktop entry found in an applications folder. The id is the Desktop
// Entry Specification's desktop-file id: the path below the applications
// folder with '/' turned into '-', such as "kde-konsole.desktop".
struct DesktopFile {
    QString id;
    QString path;

    friend bool operator==(const DesktopFile &, const DesktopFile &) = default;
};

// The applications folders in precedence order: $XDG_DATA_HOME/applications
// (default ~/.local/share), then $XDG_DATA_DIRS/*/applications (default
// /usr/local/share:/usr/share). Relative entries are ignored, as the XDG Base
// Directory Specification asks.
QStringList applicationFolders();

// Walks the folders in order and calls visit once per desktop-file id, with
// the first file found under that id; a later file with the same id is
// shadowed even when the first one hides itself (Hidden=true), which is how a
// user removes a system entry. Files that cannot be read or parsed are
// skipped. Links to sub-folders are not followed, so a link loop costs
// nothing; sub-folders nest at most a few levels. Returns early when stop
// becomes true or visit returns false.
using DesktopEntryVisitor = std::function<bool(const DesktopFile &, const DesktopEntry &)>;
void forEachDesktopEntry(const QStringList &folders, const DesktopEntryVisitor &visit,
                         const std::atomic<bool> *stop = nullptr);

// An entry that launches an application (Type=Application).
bool isApplicationEntry(const DesktopEntry &entry);
// An application entry a menu shows: neither NoDisplay nor Hidden.
bool isVisibleApplicationEntry(const DesktopEntry &entry);

}  // namespace tarnwell
