#include "ui/MenuMirror.h"

#include <QIcon>
#include <QMenu>
#include <QPixmap>

#include "app/QRMMenu.h"

namespace tarnwell {

namespace {

void applyItem(QAction *action, const QRMMenuItem &item) {
    action->setText(MenuMirror::escapedText(item.title()));
    action->setIcon(item.image().isNull() ? QIcon() : QIcon(QPixmap::fromImage(item.image())));
    action->setEnabled(item.isEnabled());
    action->setVisible(item.isVisible());
}

}  // namespace

MenuMirror::MenuMirror(QObject *parent) : QObject(parent), menu_(std::make_unique<QMenu>()) {
    // Taller than a small screen, a QMenu adds columns and leaves "Quit" alone
    // in the last one; scrolling keeps the menu's order. Submenus inherit it.
    menu_->setStyleSheet(QStringLiteral("QMenu { menu-scrollable: 1; }"));
}

MenuMirror::~MenuMirror() = default;

QString MenuMirror::escapedText(const QString &title) {
    QString text = title;
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

void MenuMirror::popUp(const QPoint &position) {
    if (!menu_->isEmpty()) {
        menu_->popup(position);
    }
}

void MenuMirror::setMenu(QRMMenu *menu) {
    if (source_) {
        disconnect(source_, nullptr, menu_.get(), nullptr);
        disconnect(menu_.get(), nullptr, source_, nullptr);
    }
    source_ = menu;
    menu_->clear();
    if (menu) {
        populate(menu_.get(), menu);
        connect(menu_.get(), &QMenu::aboutToShow, menu, &QRMMenu::notifyAboutToShow);
        connect(menu_.get(), &QMenu::aboutToHide, menu, &QRMMenu::notifyClosed);
        connect(menu, &QRMMenu::itemsChanged, menu_.get(),
                [this, menu] { populate(menu_.get(), menu); });
    }
}

void MenuMirror::populate(QMenu *target, QRMMenu *source) {
    target->clear();
    for (QMenu *submenu : target->findChildren<QMenu *>(Qt::FindDirectChildrenOnly)) {
        delete submenu;
    }

    for (QRMMenuItem *item : source->items()) {
        QAction *action = nullptr;
        if (item->isSeparator()) {
            action = target->addSeparator();
            action->setVisible(item->isVisible());
            connect(item, &QRMMenuItem::changed, action,
                    [action, item] { action->setVisible(item->isVisible()); });
            continue;
        }
        if (QRMMenu *sourceSubmenu = item->submenu()) {
            auto *submenu = new QMenu(target);
            populate(submenu, sourceSubmenu);
            connect(submenu, &QMenu::aboutToShow, sourceSubmenu, &QRMMenu::notifyAboutToShow);
            connect(sourceSubmenu, &QRMMenu::itemsChanged, submenu,
                    [this, submenu, sourceSubmenu] { populate(submenu, sourceSubmenu); });
            action = target->addMenu(submenu);
        } else {
            action = target->addAction(QString());
            // Queued: the menu is still closing when the action fires.
            connect(action, &QAction::triggered, item, &QRMMenuItem::trigger, Qt::QueuedConnection);
        }
        applyItem(action, *item);
        connect(item, &QRMMenuItem::changed, action,
                [this, action, item, target, source = QPointer<QRMMenu>(source),
                 builtWith = item->submenu()] {
                    if (item->submenu() != builtWith) {
                        // Deleting the action's menu from inside its own signal is
                        // unsafe; rebuild on the next turn.
                        QMetaObject::invokeMethod(
                            target,
                            [this, target, source] {
                                if (source) {
                                    populate(target, source);
                                }
                            },
                            Qt::QueuedConnection);
                        return;
                    }
                    applyItem(action, *item);
                });
    }
}

}  // namespace tarnwell
