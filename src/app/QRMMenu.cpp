#include "app/QRMMenu.h"

namespace tarnwell {

QRMMenuItem::QRMMenuItem(const QString &title, QObject *parent) : QObject(parent), title_(title) {}

QRMMenuItem *QRMMenuItem::separatorItem(QObject *parent) {
    auto *item = new QRMMenuItem({}, parent);
    item->separator_ = true;
    return item;
}

void QRMMenuItem::setTitle(const QString &title) {
    if (title_ == title) {
        return;
    }
    title_ = title;
    emit changed();
}

void QRMMenuItem::setImage(const QImage &image) {
    // Pie-chart legends are redrawn on every refresh; an identical picture must
    // not cost the hosts a property update.
    if (image_ == image) {
        return;
    }
    image_ = image;
    emit changed();
}

void QRMMenuItem::setEnabled(bool enabled) {
    if (enabled_ == enabled) {
        return;
    }
    enabled_ = enabled;
    emit changed();
}

void QRMMenuItem::setVisible(bool visible) {
    if (visible_ == visible) {
        return;
    }
    visible_ = visible;
    emit changed();
}

void QRMMenuItem::setSubmenu(QRMMenu *submenu) {
    if (submenu_ == submenu) {
        return;
    }
    submenu_ = submenu;
    if (submenu_) {
        submenu_->setParent(this);
    }
    emit changed();
}

void QRMMenuItem::trigger() {
    if (enabled_ && !separator_) {
        emit triggered();
    }
}

QRMMenu::QRMMenu(QObject *parent) : QObject(parent) {}

QRMMenuItem *QRMMenu::addItem(QRMMenuItem *item) {
    item->setParent(this);
    items_.append(item);
    emit itemsChanged();
    return item;
}

QRMMenuItem *QRMMenu::addItem(const QString &title) {
    return addItem(new QRMMenuItem(title));
}

void QRMMenu::addSeparator() {
    addItem(QRMMenuItem::separatorItem());
}

void QRMMenu::removeAllItems() {
    if (items_.isEmpty()) {
        return;
    }
    qDeleteAll(items_);
    items_.clear();
    emit itemsChanged();
}

void QRMMenu::notifyAboutToShow() {
    emit aboutToShow();
}

void QRMMenu::notifyClosed() {
    emit closed();
}

}  // namespace tarnwell
