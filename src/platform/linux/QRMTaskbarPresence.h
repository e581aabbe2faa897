#pragma once

#include <functional>

#include <QObject>

class QWindow;

namespace tarnwell {

// Taskbar presence, the desktop's counterpart of a Dock icon: with it on, the
// program's windows are ordinary taskbar windows; off, they carry the
// skip-taskbar hint (_NET_WM_STATE_SKIP_TASKBAR) and only the status item
// stays. Watches the application, so every window follows the setting when
// it appears. Without an X11 display it does nothing.
class QRMTaskbarPresence : public QObject {
    Q_OBJECT
public:
    // showDockIcon: the setting, read again each time a window appears.
    explicit QRMTaskbarPresence(std::function<bool()> showDockIcon, QObject *parent = nullptr);
    ~QRMTaskbarPresence() override;

    // Applies the setting to every window on screen now.
    void showDockIconChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setSkipTaskbar(QWindow *window, bool skip);

    std::function<bool()> showDockIcon_;
};

}  // namespace tarnwell
