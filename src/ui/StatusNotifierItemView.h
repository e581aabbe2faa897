#pragma once

#include <QDBusConnection>
#include <QObject>

#include "ui/IconFileStore.h"
#include "ui/MenuMirror.h"
#include "ui/PanelImage.h"
#include "ui/PanelStatusItem.h"

namespace tarnwell {

class StatusNotifierItem;

// The status item on panels that host StatusNotifierItems: the title becomes
// the Ayatana label, or is drawn into the icon for hosts that show no label;
// the image becomes an icon file, named for hosts that load icons by name, and
// pixmaps for the others.
class StatusNotifierItemView : public QObject, public PanelStatusItem {
    Q_OBJECT
public:
    StatusNotifierItemView(const QDBusConnection &connection, PanelAppearance &appearance,
                           QObject *parent = nullptr);
    ~StatusNotifierItemView() override;

    void setTitle(const QString &title) override;
    void setToolTip(const QString &toolTip) override;
    void setImage(const QImage &image, bool isTemplate) override;
    void setMenu(QRMMenu *menu) override;
    void setTitleDrawn(bool drawn) override;

    StatusNotifierItem *item() const { return item_; }

    // Pixel heights published as pixmaps: one for small panels up to one for
    // large or high-density ones.
    static QList<int> pixmapSizes();
    // Reserves the label's width for its widest likely value, so the panel
    // does not shift with every refresh.
    static QString labelGuide(const QString &label);

private:
    void showLabel();
    void showImage();

    StatusNotifierItem *item_;
    PanelImage panelImage_;
    IconFileStore iconFiles_;
    MenuMirror menuMirror_;
    QString title_;
};

}  // namespace tarnwell
