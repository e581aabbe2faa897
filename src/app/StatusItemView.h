#pragma once

#include <QImage>
#include <QString>

namespace tarnwell {

class QRMMenu;

// What the controller needs of the panel's status item. The D-Bus item, the
// legacy tray icon and the test fakes implement it.
class StatusItemView {
public:
    virtual ~StatusItemView() = default;
    // Free-memory text, shown beside the icon.
    virtual void setTitle(const QString &title) = 0;
    // Says what the title's figure is; views without tool tips ignore it.
    virtual void setToolTip(const QString & /*toolTip*/) {}
    // A template image is a mask: the host draws it in the panel's text colour.
    virtual void setImage(const QImage &image, bool isTemplate) = 0;
    virtual void setMenu(QRMMenu *menu) = 0;
};

}  // namespace tarnwell
