#include "ui/preferences/QRMPopUpButton.h"

#include <QMenu>

namespace tarnwell {

QRMPopUpButton::QRMPopUpButton(QWidget *parent) : QToolButton(parent) {
    setPopupMode(QToolButton::InstantPopup);
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    setAutoRaise(true);
}

void QRMPopUpButton::setMenuForPopUp(std::function<QMenu *()> menuForPopUp) {
    menuForPopUp_ = std::move(menuForPopUp);
}

void QRMPopUpButton::mousePressEvent(QMouseEvent *event) {
    if (menuForPopUp_) {
        QMenu *old = menu();
        QMenu *fresh = menuForPopUp_();
        fresh->setParent(this, fresh->windowFlags());
        setMenu(fresh);
        if (old) {
            old->deleteLater();
        }
    }
    QToolButton::mousePressEvent(event);
}

}  // namespace tarnwell
