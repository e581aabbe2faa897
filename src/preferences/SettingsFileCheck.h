#pragma once

#include <sys/stat.h>

#include <optional>

#include <QByteArray>
#include <QString>

namespace tarnwell {

// Says why the settings file at `path` must be neither read nor written, or nothing
// when it may be. QSettings opens the file without O_NONBLOCK, so a FIFO there would
// hang every reader; it saves by renaming a new file over the old one, through a link
// to wherever the link leads, so a link to a device or a system file would be
// replaced by a regular file (as root, /dev/null). Refused: FIFOs, devices and
// sockets; files over 1 MiB (QSettings would read them whole); a link to anything but
// a regular file of this user inside the user's own folders (the home folder and the
// configuration folder); a file whose folder is reached through a link that leads out
// of them. A folder in the file's place is left to QSettings, which cannot write it
// and says so.
class SettingsFileCheck {
public:
    explicit SettingsFileCheck(const QString &path);
    std::optional<QString> refusal();

private:
    QByteArray file_;  // absolute
    QString folder_;
    struct stat checkedFolder_ {};  // the folder as last found inside the user's folders
};

}  // namespace tarnwell
