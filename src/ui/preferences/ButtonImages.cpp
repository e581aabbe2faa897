#include "ui/preferences/ButtonImages.h"

#include <QPainter>
#include <QPalette>

#include "ui/TemplateImage.h"

namespace tarnwell {

namespace {

constexpr int kSize = 16;  // points
constexpr qreal kStroke = 2.0;

QImage glyph(const QPalette &palette, qreal devicePixelRatio, bool vertical) {
    const int pixels = qRound(kSize * devicePixelRatio);
    QImage mask(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    mask.setDevicePixelRatio(devicePixelRatio);
    mask.fill(Qt::transparent);
    QPainter painter(&mask);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF bar(3, (kSize - kStroke) / 2, kSize - 6, kStroke);
    painter.fillRect(bar, Qt::black);
    if (vertical) {
        painter.fillRect(bar.transposed().translated(bar.center() - bar.transposed().center()),
                         Qt::black);
    }
    painter.end();
    return TemplateImage::tinted(mask, palette.color(QPalette::ButtonText));
}

}  // namespace

QImage imageForAddButton(const QPalette &palette, qreal devicePixelRatio) {
    return glyph(palette, devicePixelRatio, true);
}

QImage imageForRemoveButton(const QPalette &palette, qreal devicePixelRatio) {
    return glyph(palette, devicePixelRatio, false);
}

}  // namespace tarnwell
