#pragma once

#include <QObject>

namespace tarnwell {

class QRMMenu;
class UsageEvents;

// Whether the user is dealing with Tarnwell: a tray program has no window that is
// always there, so it is active while its menu is open or one of its windows has the
// focus, and inactive otherwise. Each change is reported once to the usage events,
// which send what the run recorded so far.
class ApplicationActivity : public QObject {
    Q_OBJECT

public:
    // Follows the menu's opening and closing and, in a GUI application, the focus of
    // the application's windows. usageEvents may be null.
    ApplicationActivity(QRMMenu &menu, UsageEvents *usageEvents, QObject *parent = nullptr);

    bool isActive() const { return menuOpen_ || windowFocused_; }

    void menuOpened();
    void menuClosed();
    void windowFocusChanged(bool focused);

private:
    void update(bool wasActive);

    UsageEvents *usageEvents_;
    bool menuOpen_ = false;
    bool windowFocused_ = false;
};

}  // namespace tarnwell
