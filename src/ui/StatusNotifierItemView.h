#pragma once

#include <QDBusConnection>
#include <QObject>

#include "app/StatusItemView.h"
#include "ui/IconFileStore.h"
#include "ui/MenuMirror.h"
#include "ui/PanelImage.h"

namespace tarnwell {

class StatusNotifierItem;

// The status item on panels that host StatusNotifierItems: the title becomes
// the Ayatana label (and the tool tip, for hosts that show no label), the
// image becomes an icon file, named for hosts that load icons by name, and
// pixmaps for the others.
class StatusNotifierItemView : public QObject, public StatusItemView {
    Q_OBJECT
public:
    explicit StatusNotifierItemView(const QDBusConnection &connection, QObject *parent = nullptr);
    ~StatusNotifierItemView() override;

    void setTitle(const QString &title) override;
    void setImage(const QImage &image, bool isTemplate) override;
    void setMenu(QRMMenu *menu) override;

    StatusNotifierItem *item() const { return item_; }

    // Pixel sizes published as pixmaps: one for small panels up to one for
    // large or high-density ones.
    static QList<int> pixmapSizes();
    // Reserves the label's width for its widest likely value, so the panel
    // does not shift with every refresh.
    static QString labelGuide(const QString &label);
    // Centres a non-square image on a transparent square.
    static QImage squared(const QImage &image);

private:
    void showImage();

    StatusNotifierItem *item_;
    PanelImage panelImage_;
    IconFileStore iconFiles_;
    MenuMirror menuMirror_;
};

}  // namespace tarnwell
