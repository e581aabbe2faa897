#include "platform/linux/QRMTaskbarPresence.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <memory>
#include <vector>

#include <qguiapplication_platform.h>
#include <QApplication>
#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

namespace tarnwell {

namespace {

constexpr uint32_t kNetWmStateRemove = 0;
constexpr uint32_t kNetWmStateAdd = 1;
// EWMH source indication: a request from an ordinary application.
constexpr uint32_t kSourceApplication = 1;

xcb_atom_t internAtom(xcb_connection_t *connection, const char *name) {
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&free)> reply(
        xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, uint16_t(strlen(name)), name), nullptr),
        &free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

// Ordinary windows and dialogs; menus, tool tips and the like never show in
// a taskbar anyway.
bool isTaskbarWindow(const QWidget *widget) {
    const Qt::WindowType type = widget->windowType();
    return widget->isWindow() && (type == Qt::Window || type == Qt::Dialog);
}

}  // namespace

QRMTaskbarPresence::QRMTaskbarPresence(std::function<bool()> showDockIcon, QObject *parent)
    : QObject(parent), showDockIcon_(std::move(showDockIcon)) {
    qApp->installEventFilter(this);
}

QRMTaskbarPresence::~QRMTaskbarPresence() {
    if (qApp) {
        qApp->removeEventFilter(this);
    }
}

void QRMTaskbarPresence::showDockIconChanged() {
    const bool skip = !showDockIcon_();
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (isTaskbarWindow(widget) && widget->isVisible() && widget->windowHandle()) {
            setSkipTaskbar(widget->windowHandle(), skip);
        }
    }
}

bool QRMTaskbarPresence::eventFilter(QObject *watched, QEvent *event) {
    // The show event comes after the native window exists and before it is
    // mapped, so the hint is in place when the window manager first sees it.
    if (event->type() == QEvent::Show && watched->isWidgetType()) {
        auto *widget = static_cast<QWidget *>(watched);
        if (isTaskbarWindow(widget) && widget->windowHandle()) {
            setSkipTaskbar(widget->windowHandle(), !showDockIcon_());
        }
    }
    return false;
}

void QRMTaskbarPresence::setSkipTaskbar(QWindow *window, bool skip) {
    auto *x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    // The offscreen platform answers as X11 too, with no connection.
    xcb_connection_t *connection = x11 ? x11->connection() : nullptr;
    if (!connection || !window->handle()) {
        return;
    }
    const xcb_atom_t state = internAtom(connection, "_NET_WM_STATE");
    const xcb_atom_t skipTaskbar = internAtom(connection, "_NET_WM_STATE_SKIP_TASKBAR");
    if (state == XCB_ATOM_NONE || skipTaskbar == XCB_ATOM_NONE) {
        return;
    }
    const auto id = xcb_window_t(window->winId());
    if (window->isVisible()) {
        // A mapped window's state belongs to the window manager: ask it.
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = id;
        message.type = state;
        message.data.data32[0] = skip ? kNetWmStateAdd : kNetWmStateRemove;
        message.data.data32[1] = skipTaskbar;
        message.data.data32[3] = kSourceApplication;
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        xcb_send_event(connection, 0, root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char *>(&message));
    } else {
        // Before mapping the client sets the property itself; Qt keeps the
        // atoms it finds there when it adds its own.
        const std::unique_ptr<xcb_get_property_reply_t, decltype(&free)> reply(
            xcb_get_property_reply(
                connection, xcb_get_property(connection, 0, id, state, XCB_ATOM_ATOM, 0, 1024),
                nullptr),
            &free);
        std::vector<xcb_atom_t> atoms;
        if (reply && reply->format == 32 && reply->type == XCB_ATOM_ATOM) {
            const auto *values =
                static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
            atoms.assign(values, values + xcb_get_property_value_length(reply.get()) / 4);
        }
        std::erase(atoms, skipTaskbar);
        if (skip) {
            atoms.push_back(skipTaskbar);
        }
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, state, XCB_ATOM_ATOM, 32,
                            uint32_t(atoms.size()), atoms.data());
    }
    xcb_flush(connection);
}

}  // namespace tarnwell
