#include "ui/TrayIconStatusItemView.h"

#include <QCursor>
#include <QIcon>
#include <QMenu>
#include <QPixmap>

namespace tarnwell {

TrayIconStatusItemView::TrayIconStatusItemView(QObject *parent) : QObject(parent) {
    trayIcon_.setContextMenu(menuMirror_.menu());
    connect(&panelImage_, &PanelImage::shownChanged, this, [this] {
        trayIcon_.setIcon(QIcon(QPixmap::fromImage(panelImage_.shown())));
        // Shown only once there is something to show: an empty tray icon
        // leaves a hole in some trays.
        trayIcon_.setVisible(!panelImage_.shown().isNull());
    });
    connect(&trayIcon_, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger && !menuMirror_.menu()->isEmpty()) {
                    menuMirror_.menu()->popup(QCursor::pos());
                }
            });
}

TrayIconStatusItemView::~TrayIconStatusItemView() = default;

void TrayIconStatusItemView::setTitle(const QString &title) {
    trayIcon_.setToolTip(title);
}

void TrayIconStatusItemView::setImage(const QImage &image, bool isTemplate) {
    panelImage_.set(image, isTemplate);
}

void TrayIconStatusItemView::setMenu(QRMMenu *menu) {
    menuMirror_.setMenu(menu);
}

}  // namespace tarnwell
