#include "ui/X11ManagerSelection.h"

#include <xcb/xcb.h>
#include <QSocketNotifier>
#include <cstdlib>

namespace tarnwell {

namespace {

// Real managers publish a few KiB; anything larger is not read.
constexpr uint32_t kMaximumPropertyWords = 64 * 1024 / 4;

}  // namespace

struct X11ManagerSelection::Connection {
    xcb_connection_t *connection = nullptr;
    xcb_window_t root = XCB_NONE;
    xcb_atom_t selection = XCB_NONE;
    xcb_atom_t property = XCB_NONE;
    xcb_atom_t manager = XCB_NONE;

    ~Connection() { xcb_disconnect(connection); }

    xcb_atom_t atom(const QByteArray &name) const {
        if (name.isEmpty()) {
            return XCB_NONE;
        }
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, uint16_t(name.size()), name.constData()),
            nullptr);
        const xcb_atom_t result = reply ? reply->atom : XCB_NONE;
        std::free(reply);
        return result;
    }

    void listenTo(xcb_window_t window, uint32_t mask) const {
        xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &mask);
    }
};

X11ManagerSelection::X11ManagerSelection(const QByteArray &selectionPrefix,
                                         const QByteArray &property, const QByteArray &display,
                                         QObject *parent)
    : QObject(parent), x_(std::make_unique<Connection>()) {
    int screenNumber = 0;
    x_->connection = xcb_connect(display.isEmpty() ? nullptr : display.constData(), &screenNumber);
    if (xcb_connection_has_error(x_->connection)) {
        x_.reset();
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(x_->connection));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    x_->root = screens.data->root;
    x_->selection = x_->atom(selectionPrefix + QByteArray::number(screenNumber));
    x_->property = x_->atom(property);
    x_->manager = x_->atom("MANAGER");
    x_->listenTo(x_->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    notifier_ =
        new QSocketNotifier(xcb_get_file_descriptor(x_->connection), QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &X11ManagerSelection::readEvents);
    reread();
}

X11ManagerSelection::~X11ManagerSelection() = default;

void X11ManagerSelection::reread() {
    xcb_connection_t *c = x_->connection;
    xcb_get_selection_owner_reply_t *owner =
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, x_->selection), nullptr);
    const xcb_window_t newOwner = owner ? owner->owner : XCB_NONE;
    std::free(owner);
    QByteArray value;
    if (newOwner != XCB_NONE) {
        // Structure: to hear the owner's window go. Property: its changes.
        x_->listenTo(newOwner, XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                   (x_->property ? XCB_EVENT_MASK_PROPERTY_CHANGE : 0));
        if (x_->property) {
            xcb_get_property_reply_t *reply = xcb_get_property_reply(
                c,
                xcb_get_property(c, 0, newOwner, x_->property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                 kMaximumPropertyWords),
                nullptr);
            if (reply) {
                value = QByteArray(static_cast<const char *>(xcb_get_property_value(reply)),
                                   xcb_get_property_value_length(reply));
                std::free(reply);
            }
        }
    }
    xcb_flush(c);
    if (newOwner != owner_ || value != propertyValue_) {
        owner_ = newOwner;
        propertyValue_ = value;
        emit changed();
    }
}

void X11ManagerSelection::readEvents() {
    // A re-read waits for replies, and xcb queues whatever events arrive
    // meanwhile where the socket notifier never sees them: poll again after
    // every re-read until nothing new has come.
    for (;;) {
        bool stale = false;
        while (xcb_generic_event_t *event = xcb_poll_for_event(x_->connection)) {
            switch (event->response_type & 0x7f) {
                case XCB_PROPERTY_NOTIFY:
                    stale |= reinterpret_cast<xcb_property_notify_event_t *>(event)->atom ==
                             x_->property;
                    break;
                case XCB_CLIENT_MESSAGE: {
                    const auto *message = reinterpret_cast<xcb_client_message_event_t *>(event);
                    stale |=
                        message->type == x_->manager && message->data.data32[1] == x_->selection;
                    break;
                }
                case XCB_DESTROY_NOTIFY:
                    stale |=
                        reinterpret_cast<xcb_destroy_notify_event_t *>(event)->window == owner_;
                    break;
                case 0:
                    // A manager that leaves just after appearing: its window can be
                    // gone before our request to watch it, which then fails with
                    // BadWindow and no DestroyNotify ever comes.
                    stale |=
                        reinterpret_cast<xcb_generic_error_t *>(event)->error_code == XCB_WINDOW;
                    break;
                default:
                    break;
            }
            std::free(event);
        }
        if (xcb_connection_has_error(x_->connection)) {
            // The display went away: nothing is owned any more.
            notifier_->setEnabled(false);
            if (owner_ != 0) {
                owner_ = 0;
                propertyValue_.clear();
                emit changed();
            }
            return;
        }
        if (!stale) {
            return;
        }
        reread();
    }
}

}  // namespace tarnwell
