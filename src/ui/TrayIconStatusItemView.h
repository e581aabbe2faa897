#pragma once

#include <QObject>
#include <QSystemTrayIcon>

#include "ui/MenuMirror.h"
#include "ui/PanelImage.h"
#include "ui/PanelStatusItem.h"

namespace tarnwell {

// The status item in a legacy XEmbed tray, where no StatusNotifierWatcher
// runs: such trays show no text, so the title is drawn into the icon and the
// tool tip says what it is; either click opens the menu.
class TrayIconStatusItemView : public QObject, public PanelStatusItem {
    Q_OBJECT
public:
    explicit TrayIconStatusItemView(PanelAppearance &appearance, QObject *parent = nullptr);
    ~TrayIconStatusItemView() override;

    void setTitle(const QString &title) override;
    void setToolTip(const QString &toolTip) override;
    void setImage(const QImage &image, bool isTemplate) override;
    void setMenu(QRMMenu *menu) override;
    void setTitleDrawn(bool drawn) override;

    const QSystemTrayIcon &trayIcon() const { return trayIcon_; }
    QMenu *menu() const { return menuMirror_.menu(); }

private:
    QSystemTrayIcon trayIcon_;
    PanelImage panelImage_;
    MenuMirror menuMirror_;
};

}  // namespace tarnwell
