#include "platform/linux/X11ApplicationEventMonitor.h"

#include <xcb/res.h>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

#include <QFile>
#include <QSocketNotifier>

namespace tarnwell {

namespace {

// Property values read here are short: a class, an application id.
constexpr uint32_t kPropertyWords = 256;

template <typename T>
struct FreeDeleter {
    void operator()(T *p) const { std::free(p); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeDeleter<T>>;

QString executableOf(uint32_t pid) {
    if (pid == 0) {
        return {};
    }
    // A process of another user, or one that has ended, has no readable link:
    // the window is then named by its class alone.
    return QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid));
}

}  // namespace

class X11ApplicationEventMonitor::Connection {
public:
    explicit Connection(const QString &display) {
        const QByteArray name = display.toLocal8Bit();
        int screen = 0;
        connection_ = xcb_connect(display.isEmpty() ? nullptr : name.constData(), &screen);
        if (xcb_connection_has_error(connection_)) {
            return;
        }
        if (!xcb_ewmh_init_atoms_replies(&ewmh_, xcb_ewmh_init_atoms(connection_, &ewmh_),
                                         nullptr)) {
            return;
        }
        ewmhReady_ = true;
        screen_ = screen;
        root_ = ewmh_.screens[screen]->root;
        const char gtkId[] = "_GTK_APPLICATION_ID";
        Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, sizeof gtkId - 1, gtkId), nullptr));
        gtkApplicationId_ = atom ? atom->atom : xcb_atom_t(XCB_ATOM_NONE);
        const xcb_query_extension_reply_t *res = xcb_get_extension_data(connection_, &xcb_res_id);
        if (res && res->present) {
            Reply<xcb_res_query_version_reply_t> version(xcb_res_query_version_reply(
                connection_, xcb_res_query_version(connection_, 1, 2), nullptr));
            hasClientIds_ = version && (version->server_major > 1 ||
                                        (version->server_major == 1 && version->server_minor >= 2));
        }
        valid_ = true;
    }
    ~Connection() {
        if (ewmhReady_) {
            xcb_ewmh_connection_wipe(&ewmh_);
        }
        xcb_disconnect(connection_);
    }

    bool valid() const { return valid_ && !xcb_connection_has_error(connection_); }
    int fileDescriptor() const { return xcb_get_file_descriptor(connection_); }
    xcb_generic_event_t *pollForEvent() { return xcb_poll_for_event(connection_); }
    xcb_window_t root() const { return root_; }
    xcb_atom_t clientListAtom() const { return ewmh_._NET_CLIENT_LIST; }
    xcb_atom_t activeWindowAtom() const { return ewmh_._NET_ACTIVE_WINDOW; }
    xcb_atom_t stateAtom() const { return ewmh_._NET_WM_STATE; }
    xcb_atom_t wmCheckAtom() const { return ewmh_._NET_SUPPORTING_WM_CHECK; }

    void watchProperties(xcb_window_t window) {
        const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(connection_);
    }

    QList<ApplicationWindowTracker::WindowId> clientList() {
        QList<ApplicationWindowTracker::WindowId> clients;
        xcb_ewmh_get_windows_reply_t reply;
        if (xcb_ewmh_get_client_list_reply(&ewmh_, xcb_ewmh_get_client_list(&ewmh_, screen_),
                                           &reply, nullptr)) {
            for (uint32_t i = 0; i < reply.windows_len; ++i) {
                clients.append(reply.windows[i]);
            }
            xcb_ewmh_get_windows_reply_wipe(&reply);
        }
        return clients;
    }

    xcb_window_t activeWindow() {
        xcb_window_t window = XCB_WINDOW_NONE;
        if (!xcb_ewmh_get_active_window_reply(&ewmh_, xcb_ewmh_get_active_window(&ewmh_, screen_),
                                              &window, nullptr)) {
            return XCB_WINDOW_NONE;
        }
        return window;
    }

    bool hidden(xcb_window_t window) {
        xcb_ewmh_get_atoms_reply_t state;
        if (!xcb_ewmh_get_wm_state_reply(&ewmh_, xcb_ewmh_get_wm_state(&ewmh_, window), &state,
                                         nullptr)) {
            return false;
        }
        bool found = false;
        for (uint32_t i = 0; i < state.atoms_len; ++i) {
            found = found || state.atoms[i] == ewmh_._NET_WM_STATE_HIDDEN;
        }
        xcb_ewmh_get_atoms_reply_wipe(&state);
        return found;
    }

    WindowIdentity identity(xcb_window_t window) {
        WindowIdentity identity;
        const QByteArray wmClass = property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
        // Two NUL-terminated strings, instance then class; Latin-1 by ICCCM.
        const QList<QByteArray> parts = wmClass.split('\0');
        identity.wmInstance = QString::fromLatin1(parts.value(0));
        identity.wmClass = QString::fromLatin1(parts.value(1));
        if (gtkApplicationId_ != XCB_ATOM_NONE) {
            identity.gtkApplicationId =
                QString::fromUtf8(property(window, gtkApplicationId_, ewmh_.UTF8_STRING));
        }
        identity.executable = executableOf(pid(window));
        return identity;
    }

private:
    QByteArray property(xcb_window_t window, xcb_atom_t atom, xcb_atom_t type) {
        Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, atom, type, 0, kPropertyWords),
            nullptr));
        if (!reply || reply->format != 8) {
            return {};
        }
        return QByteArray(static_cast<const char *>(xcb_get_property_value(reply.get())),
                          xcb_get_property_value_length(reply.get()));
    }

    // _NET_WM_PID when the client set it (many Xt and older programs do not),
    // else the X server's own knowledge of the client's process.
    uint32_t pid(xcb_window_t window) {
        uint32_t pid = 0;
        if (xcb_ewmh_get_wm_pid_reply(&ewmh_, xcb_ewmh_get_wm_pid(&ewmh_, window), &pid, nullptr)) {
            return pid;
        }
        if (!hasClientIds_) {
            return 0;
        }
        xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        Reply<xcb_res_query_client_ids_reply_t> reply(xcb_res_query_client_ids_reply(
            connection_, xcb_res_query_client_ids(connection_, 1, &wanted), nullptr));
        if (!reply) {
            return 0;
        }
        for (auto it = xcb_res_query_client_ids_ids_iterator(reply.get()); it.rem;
             xcb_res_client_id_value_next(&it)) {
            if ((it.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) &&
                xcb_res_client_id_value_value_length(it.data) >= 1) {
                pid = *xcb_res_client_id_value_value(it.data);
            }
        }
        return pid;
    }

    xcb_connection_t *connection_ = nullptr;
    xcb_ewmh_connection_t ewmh_{};
    bool ewmhReady_ = false;
    bool valid_ = false;
    bool hasClientIds_ = false;
    int screen_ = 0;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_atom_t gtkApplicationId_ = XCB_ATOM_NONE;
};

X11ApplicationEventMonitor::X11ApplicationEventMonitor(QString display,
                                                       std::function<QStringList()> folders,
                                                       QObject *parent)
    : QObject(parent),
      display_(std::move(display)),
      folders_(std::move(folders)),
      tracker_([this](ApplicationEvent event, const QString &id) {
          pending_.append({event, id});
      }) {}

X11ApplicationEventMonitor::~X11ApplicationEventMonitor() {
    disconnect();
}

bool X11ApplicationEventMonitor::available() {
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
        qEnvironmentVariable("XDG_SESSION_TYPE") == u"wayland") {
        return false;
    }
    return !qEnvironmentVariableIsEmpty("DISPLAY");
}

bool X11ApplicationEventMonitor::isMonitoring() const {
    return notifier_ != nullptr;
}

void X11ApplicationEventMonitor::startMonitoring(Handler handler) {
    handler_ = std::move(handler);
    if (isMonitoring() || !connect()) {
        return;
    }
    notifier_ =
        std::make_unique<QSocketNotifier>(connection_->fileDescriptor(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, this,
                     &X11ApplicationEventMonitor::readEvents);
    connection_->watchProperties(connection_->root());
    readClientList(false);
    readActiveWindow(false);
    // Replies waited for above may have queued events the socket will not
    // announce again.
    readEvents();
}

void X11ApplicationEventMonitor::stopMonitoring() {
    handler_ = nullptr;
    disconnect();
}

bool X11ApplicationEventMonitor::connect() {
    if (connection_) {
        return true;
    }
    auto connection = std::make_unique<Connection>(display_);
    if (!connection->valid()) {
        qWarning("application events: no X display with a window manager to watch");
        return false;
    }
    connection_ = std::move(connection);
    index_ = std::make_unique<const DesktopApplicationIndex>(folders_());
    return true;
}

void X11ApplicationEventMonitor::disconnect() {
    notifier_.reset();
    connection_.reset();
    tracker_.reset();
    pending_.clear();
}

void X11ApplicationEventMonitor::readClientList(bool announce) {
    const QList<ApplicationWindowTracker::WindowId> clients = connection_->clientList();
    tracker_.setClientList(
        clients,
        [this](ApplicationWindowTracker::WindowId window) {
            // Watched before reading, so no state change falls between the two.
            connection_->watchProperties(window);
            return ApplicationWindowTracker::Window{
                index_->applicationId(connection_->identity(window)), connection_->hidden(window)};
        },
        announce);
}

void X11ApplicationEventMonitor::readActiveWindow(bool announce) {
    tracker_.setActiveWindow(connection_->activeWindow(), announce);
}

void X11ApplicationEventMonitor::readEvents() {
    while (connection_) {
        Reply<xcb_generic_event_t> event(connection_->pollForEvent());
        if (!event) {
            if (!connection_->valid()) {
                qWarning("application events: the X display went away");
                disconnect();
            }
            break;
        }
        // Everything else is an error about a window destroyed before our
        // request reached the server, which is expected and harmless.
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY) {
            continue;
        }
        const auto *change = reinterpret_cast<const xcb_property_notify_event_t *>(event.get());
        if (change->window == connection_->root()) {
            // A restarted window manager announces itself again and rewrites
            // the lists; reading both covers either order.
            if (change->atom == connection_->clientListAtom() ||
                change->atom == connection_->wmCheckAtom()) {
                readClientList(true);
                readActiveWindow(true);
            } else if (change->atom == connection_->activeWindowAtom()) {
                readActiveWindow(true);
            }
        } else if (change->atom == connection_->stateAtom() && tracker_.isTracked(change->window)) {
            tracker_.setHidden(change->window, connection_->hidden(change->window));
        }
    }
    deliverPendingEvents();
}

void X11ApplicationEventMonitor::deliverPendingEvents() {
    // Delivered after reading, so a handler that stops the monitor never pulls
    // the tracker away from under its own call.
    const QList<std::pair<ApplicationEvent, QString>> events = std::exchange(pending_, {});
    for (const auto &[event, id] : events) {
        if (handler_) {
            handler_(event, id);
        }
    }
}

QList<ApplicationCandidate> X11ApplicationEventMonitor::runningApplications(
    const QString &locale) const {
    Connection connection(display_);
    if (!connection.valid()) {
        return {};
    }
    const DesktopApplicationIndex index(folders_());
    QStringList ids;
    QList<ApplicationCandidate> running;
    for (ApplicationWindowTracker::WindowId window : connection.clientList()) {
        const QString id = index.applicationId(connection.identity(window));
        if (!id.isEmpty() && !ids.contains(id)) {
            ids.append(id);
            running.append(index.candidate(id, locale));
        }
    }
    return running;
}

}  // namespace tarnwell
