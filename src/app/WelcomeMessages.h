#pragma once

#include <QByteArray>
#include <QList>

namespace tarnwell {

// The tray program and the welcome window's process talk in one word a line,
// the tray over the child's standard input, the window over its standard
// output. The window closing is no message: its process ends with status 0.
namespace welcome_messages {
// Tray to window.
inline constexpr char kRaise[] = "raise";
inline constexpr char kLanguageDidChanged[] = "languageDidChanged";
// Window to tray: its first page has loaded; its "Preferences" was pressed.
inline constexpr char kWindowDidLoad[] = "windowDidLoad";
inline constexpr char kShowPreferencesWindow[] = "showPreferencesWindow";
}  // namespace welcome_messages

// Cuts what arrives from the other side into lines. The other side may be
// anything that happens to sit at the program path, so a line longer than
// any message is dropped whole instead of growing the buffer.
class MessageLines {
public:
    static constexpr qsizetype kMaxLineLength = 64;

    // The complete lines in data and what came before it, without their "\n".
    QList<QByteArray> append(const QByteArray &data);

private:
    QByteArray partial_;
    bool discarding_ = false;
};

}  // namespace tarnwell
