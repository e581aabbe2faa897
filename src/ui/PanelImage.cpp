#include "ui/PanelImage.h"

#include <QCoreApplication>
#include <QEvent>

#include "ui/TemplateImage.h"

namespace tarnwell {

PanelImage::PanelImage(QObject *parent) : QObject(parent) {
    QCoreApplication::instance()->installEventFilter(this);
}

void PanelImage::set(const QImage &image, bool isTemplate) {
    image_ = image;
    isTemplate_ = isTemplate;
    update();
}

bool PanelImage::eventFilter(QObject *watched, QEvent *event) {
    if (watched == QCoreApplication::instance() &&
        event->type() == QEvent::ApplicationPaletteChange && isTemplate_) {
        update();
    }
    return QObject::eventFilter(watched, event);
}

void PanelImage::update() {
    QImage shown = isTemplate_ && !image_.isNull()
                       ? TemplateImage::tinted(image_, TemplateImage::currentPanelTextColor())
                       : image_;
    // The pie chart is redrawn on every refresh; an unchanged picture must not
    // make the hosts reload the icon.
    if (shown == shown_ && shown.isNull() == shown_.isNull()) {
        return;
    }
    shown_ = shown;
    emit shownChanged();
}

}  // namespace tarnwell
