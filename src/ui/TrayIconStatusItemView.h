#pragma once

#include <QObject>
#include <QSystemTrayIcon>

#include "app/StatusItemView.h"
#include "ui/MenuMirror.h"
#include "ui/PanelImage.h"

namespace tarnwell {

// The status item where no StatusNotifierWatcher runs, in a legacy system
// tray: the icon shows, the title goes to the tool tip since such trays show
// no text, and either click opens the menu.
class TrayIconStatusItemView : public QObject, public StatusItemView {
    Q_OBJECT
public:
    explicit TrayIconStatusItemView(QObject *parent = nullptr);
    ~TrayIconStatusItemView() override;

    void setTitle(const QString &title) override;
    void setImage(const QImage &image, bool isTemplate) override;
    void setMenu(QRMMenu *menu) override;

    const QSystemTrayIcon &trayIcon() const { return trayIcon_; }
    QMenu *menu() const { return menuMirror_.menu(); }

private:
    QSystemTrayIcon trayIcon_;
    PanelImage panelImage_;
    MenuMirror menuMirror_;
};

}  // namespace tarnwell
