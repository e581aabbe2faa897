#include "ui/PanelImage.h"

#include <QPainter>

#include "ui/PanelAppearance.h"
#include "ui/TemplateImage.h"
#include "ui/TitledIcon.h"

namespace tarnwell {

PanelImage::PanelImage(PanelAppearance &appearance, QObject *parent)
    : QObject(parent), appearance_(appearance) {
    connect(&appearance_, &PanelAppearance::changed, this, &PanelImage::update);
}

void PanelImage::set(const QImage &image, bool isTemplate) {
    image_ = image;
    isTemplate_ = isTemplate;
    update();
}

void PanelImage::setTitle(const QString &title) {
    title_ = title;
    update();
}

void PanelImage::setTitleDrawn(bool drawn) {
    titleDrawn_ = drawn;
    update();
}

QImage PanelImage::rendered(int height, qreal devicePixelRatio) const {
    if (showsTitle()) {
        return TitledIcon::draw(title_, textColor_, height, devicePixelRatio);
    }
    const int side = qRound(height * devicePixelRatio);
    QImage square(side, side, QImage::Format_ARGB32_Premultiplied);
    square.fill(Qt::transparent);
    if (!painted_.isNull()) {
        const QImage scaled =
            painted_.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QPainter painter(&square);
        painter.drawImage((side - scaled.width()) / 2, (side - scaled.height()) / 2, scaled);
    }
    square.setDevicePixelRatio(devicePixelRatio);
    return square;
}

void PanelImage::update() {
    const QColor textColor = appearance_.textColor();
    const QImage painted =
        isTemplate_ && !image_.isNull() ? TemplateImage::tinted(image_, textColor) : image_;
    const QString shownTitle = showsTitle() ? title_ : QString();
    // The pie chart is redrawn on every refresh; an unchanged picture must not
    // make the hosts reload the icon. A drawn title hides the picture.
    const bool unchanged =
        shownTitle.isEmpty()
            ? shownTitle_.isEmpty() && painted == painted_ && painted.isNull() == painted_.isNull()
            : shownTitle == shownTitle_ && textColor == textColor_;
    if (unchanged) {
        return;
    }
    painted_ = painted;
    textColor_ = textColor;
    shownTitle_ = shownTitle;
    emit shownChanged();
}

}  // namespace tarnwell
