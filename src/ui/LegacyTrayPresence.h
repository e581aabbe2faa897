#pragma once

#include <QObject>

#include "ui/X11ManagerSelection.h"

namespace tarnwell {

// Whether a legacy XEmbed system tray owns the tray selection
// (_NET_SYSTEM_TRAY_S<screen>) and when that changes.
class LegacyTrayPresence : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    virtual bool isPresent() const = 0;

signals:
    void changed();
};

// Wayland and offscreen sessions: no XEmbed tray can exist there.
class NoLegacyTray : public LegacyTrayPresence {
    Q_OBJECT
public:
    using LegacyTrayPresence::LegacyTrayPresence;
    bool isPresent() const override { return false; }
};

// The tray selection on the X display. Not QSystemTrayIcon::isSystemTrayAvailable():
// in Qt 6.4 that also decides, once for the whole process, whether tray icons
// speak StatusNotifierItem, and it must not decide so while a watcher runs.
class XcbLegacyTrayPresence : public LegacyTrayPresence {
    Q_OBJECT
public:
    explicit XcbLegacyTrayPresence(const QByteArray &display = {}, QObject *parent = nullptr)
        : LegacyTrayPresence(parent), selection_("_NET_SYSTEM_TRAY_S", {}, display) {
        connect(&selection_, &X11ManagerSelection::changed, this, &LegacyTrayPresence::changed);
    }
    bool isPresent() const override { return selection_.isOwned(); }

private:
    X11ManagerSelection selection_;
};

}  // namespace tarnwell
