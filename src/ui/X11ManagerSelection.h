#pragma once

#include <QByteArray>
#include <QObject>
#include <cstdint>
#include <memory>

class QSocketNotifier;

namespace tarnwell {

// Follows the owner of an X11 manager selection (a system tray's
// _NET_SYSTEM_TRAY_S<screen>, the XSETTINGS manager's _XSETTINGS_S<screen>)
// on a connection of our own, and optionally one property of the owner's
// window. A new owner announces itself with a MANAGER client message on the
// root window; a leaving one destroys its window.
class X11ManagerSelection : public QObject {
    Q_OBJECT
public:
    // selectionPrefix gets the screen number appended. display: an X display
    // name, empty for $DISPLAY. Without a display nothing is ever owned.
    X11ManagerSelection(const QByteArray &selectionPrefix, const QByteArray &property = {},
                        const QByteArray &display = {}, QObject *parent = nullptr);
    ~X11ManagerSelection() override;

    bool isOwned() const { return owner_ != 0; }
    // The watched property of the owner's window, at most 64 KiB.
    QByteArray propertyValue() const { return propertyValue_; }

signals:
    // The owner or the watched property changed.
    void changed();

private:
    struct Connection;
    void reread();
    void readEvents();

    std::unique_ptr<Connection> x_;
    QSocketNotifier *notifier_ = nullptr;
    uint32_t owner_ = 0;
    QByteArray propertyValue_;
};

}  // namespace tarnwell
