#include "ui/TrayIconStatusItemView.h"

#include <QCursor>
#include <QIcon>
#include <QMenu>
#include <QPixmap>

namespace tarnwell {

namespace {

// Tray slots are as tall as the panel; these cover the usual panel sizes.
constexpr int kTrayHeights[] = {16, 22, 24, 32, 48};

}  // namespace

TrayIconStatusItemView::TrayIconStatusItemView(PanelAppearance &appearance, QObject *parent)
    : QObject(parent), panelImage_(appearance) {
    trayIcon_.setContextMenu(menuMirror_.menu());
    connect(&panelImage_, &PanelImage::shownChanged, this, [this] {
        QIcon icon;
        if (!panelImage_.isEmpty()) {
            for (int height : kTrayHeights) {
                icon.addPixmap(QPixmap::fromImage(panelImage_.rendered(height)));
            }
        }
        trayIcon_.setIcon(icon);
        // Shown only once there is something to show: an empty tray icon
        // leaves a hole in some trays.
        trayIcon_.setVisible(!panelImage_.isEmpty());
    });
    connect(&trayIcon_, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    menuMirror_.popUp(QCursor::pos());
                }
            });
}

TrayIconStatusItemView::~TrayIconStatusItemView() = default;

void TrayIconStatusItemView::setTitle(const QString &title) {
    panelImage_.setTitle(title);
}

void TrayIconStatusItemView::setToolTip(const QString &toolTip) {
    trayIcon_.setToolTip(toolTip);
}

void TrayIconStatusItemView::setImage(const QImage &image, bool isTemplate) {
    panelImage_.set(image, isTemplate);
}

void TrayIconStatusItemView::setMenu(QRMMenu *menu) {
    menuMirror_.setMenu(menu);
}

void TrayIconStatusItemView::setTitleDrawn(bool drawn) {
    panelImage_.setTitleDrawn(drawn);
}

}  // namespace tarnwell
