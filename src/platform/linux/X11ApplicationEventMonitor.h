#pragma once

#include <functional>
#include <memory>

#include <QObject>
#include <QString>
#include <QStringList>

#include "app/ApplicationEventSource.h"
#include "platform/linux/ApplicationWindowTracker.h"
#include "platform/linux/DesktopApplicationIndex.h"

class QSocketNotifier;

namespace tarnwell {

// Application events from an X11 window manager that follows the EWMH
// (openbox, xfwm4, KWin, Mutter under X): _NET_CLIENT_LIST for launch and
// terminate, _NET_ACTIVE_WINDOW for activate and deactivate,
// _NET_WM_STATE_HIDDEN for hide and unhide. It reads them on an X connection
// of its own, woken by the connection's socket, so it costs nothing between
// window changes and nothing at all while stopped.
//
// A window manager that restarts is followed (the lists are read again); a
// display that goes away stops the monitor without events.
class X11ApplicationEventMonitor : public QObject, public ApplicationEventSource {
    Q_OBJECT
public:
    // display: an X display name, empty for $DISPLAY. folders: where the
    // desktop entries that name applications are (read at each start).
    explicit X11ApplicationEventMonitor(QString display = {},
                                        std::function<QStringList()> folders = applicationFolders,
                                        QObject *parent = nullptr);
    ~X11ApplicationEventMonitor() override;

    // False in a Wayland session, where an ordinary client sees no other
    // application's windows, and without any display.
    static bool available();

    void startMonitoring(Handler handler) override;
    void stopMonitoring() override;
    bool isMonitoring() const;

    // The applications with a window on screen now, once each, named for
    // locale. Reads them on a connection of the call's own, so any thread may
    // ask.
    QList<ApplicationCandidate> runningApplications(const QString &locale) const;

private:
    class Connection;

    bool connect();
    void disconnect();
    void readEvents();
    void readClientList(bool announce);
    void readActiveWindow(bool announce);
    void deliverPendingEvents();

    QString display_;
    std::function<QStringList()> folders_;
    Handler handler_;
    ApplicationWindowTracker tracker_;
    QList<std::pair<ApplicationEvent, QString>> pending_;
    std::unique_ptr<const DesktopApplicationIndex> index_;
    std::unique_ptr<Connection> connection_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace tarnwell
