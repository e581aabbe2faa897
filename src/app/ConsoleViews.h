#pragma once

#include <cstdio>

#include "app/StatusItemView.h"
#include "app/UserNotifier.h"

namespace tarnwell {

// The status item of console mode: one line with the status text for every
// refresh and every cleaning message. Images and the menu have no place in a
// terminal.
class ConsoleStatusItemView : public StatusItemView {
public:
    explicit ConsoleStatusItemView(std::FILE *out = stdout) : out_(out) {}
    void setTitle(const QString &title) override;
    void setImage(const QImage &, bool) override {}
    void setMenu(QRMMenu *) override {}

private:
    std::FILE *out_;
};

// Notifications of console mode: the title and the message on one line.
class ConsoleNotifier : public UserNotifier {
public:
    explicit ConsoleNotifier(std::FILE *out = stdout) : out_(out) {}
    void showNotificationWithTitle(const QString &title, const QString &informativeText,
                                   const QString &soundName) override;

private:
    std::FILE *out_;
};

}  // namespace tarnwell
