#include "ui/StatusNotifierItemAdaptor.h"

#include "ui/StatusNotifierItem.h"

namespace tarnwell {

StatusNotifierItemAdaptor::StatusNotifierItemAdaptor(StatusNotifierItem *item)
    : QDBusAbstractAdaptor(item), item_(item) {
    connect(item, &StatusNotifierItem::titleChanged, this, &StatusNotifierItemAdaptor::NewTitle);
    connect(item, &StatusNotifierItem::iconChanged, this, &StatusNotifierItemAdaptor::NewIcon);
    // The tool tip shows the icon too.
    connect(item, &StatusNotifierItem::iconChanged, this, &StatusNotifierItemAdaptor::NewToolTip);
    connect(item, &StatusNotifierItem::toolTipChanged, this,
            &StatusNotifierItemAdaptor::NewToolTip);
    connect(item, &StatusNotifierItem::labelChanged, this,
            &StatusNotifierItemAdaptor::XAyatanaNewLabel);
}

QString StatusNotifierItemAdaptor::category() const {
    return item_->category();
}

QString StatusNotifierItemAdaptor::id() const {
    return item_->id();
}

QString StatusNotifierItemAdaptor::title() const {
    return item_->title();
}

QString StatusNotifierItemAdaptor::status() const {
    return item_->status();
}

QString StatusNotifierItemAdaptor::iconName() const {
    return item_->iconName();
}

QString StatusNotifierItemAdaptor::iconThemePath() const {
    return item_->iconThemePath();
}

DBusImageList StatusNotifierItemAdaptor::iconPixmap() const {
    return item_->iconPixmaps();
}

DBusToolTip StatusNotifierItemAdaptor::toolTip() const {
    return {item_->iconName(), item_->iconPixmaps(), item_->toolTipTitle(),
            item_->toolTipDescription()};
}

QDBusObjectPath StatusNotifierItemAdaptor::menu() const {
    return QDBusObjectPath(item_->menuObjectPath());
}

QString StatusNotifierItemAdaptor::label() const {
    return item_->label();
}

QString StatusNotifierItemAdaptor::labelGuide() const {
    return item_->labelGuide();
}

void StatusNotifierItemAdaptor::ContextMenu(int x, int y) {
    item_->requestActivation({x, y});
}

void StatusNotifierItemAdaptor::Activate(int x, int y) {
    item_->requestActivation({x, y});
}

void StatusNotifierItemAdaptor::SecondaryActivate(int x, int y) {
    item_->requestActivation({x, y});
}

void StatusNotifierItemAdaptor::Scroll(int, const QString &) {
    // Scrolling over a memory gauge has no meaning.
}

}  // namespace tarnwell
