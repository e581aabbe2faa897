#include "ui/DisplayCheck.h"

#include <xcb/xcb.h>
#include <QFileInfo>

namespace tarnwell {

QString displayProblem() {
    // A platform chosen by name that draws nowhere (offscreen, vnc) opens no display.
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb") && !platform.startsWith("wayland")) {
        return {};
    }
    const QByteArray display = qgetenv("DISPLAY");
    const QByteArray wayland = qgetenv("WAYLAND_DISPLAY");
    if (!wayland.isEmpty()) {
        // A relative name lives in the runtime folder.
        const QString socket = wayland.startsWith('/')
                                   ? QString::fromLocal8Bit(wayland)
                                   : qEnvironmentVariable("XDG_RUNTIME_DIR") + QLatin1Char('/') +
                                         QString::fromLocal8Bit(wayland);
        if (QFileInfo(socket).exists() || display.isEmpty()) {
            return QFileInfo(socket).exists()
                       ? QString()
                       : QStringLiteral("no Wayland display at %1").arg(socket);
        }
    }
    if (display.isEmpty()) {
        return {};
    }
    xcb_connection_t *connection = xcb_connect(display.constData(), nullptr);
    const bool failed = xcb_connection_has_error(connection) != 0;
    xcb_disconnect(connection);
    return failed ? QStringLiteral("cannot open display '%1'").arg(QString::fromLocal8Bit(display))
                  : QString();
}

}  // namespace tarnwell
