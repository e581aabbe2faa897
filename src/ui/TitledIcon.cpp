#include "ui/TitledIcon.h"

#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QtMath>
#include <algorithm>

namespace tarnwell {

namespace {

// Space between the picture and the text, and after the text, in points.
constexpr qreal kGap = 2.0;
// Digits at about two thirds of the icon's height read like the panel's own
// clock at the usual 22-24 point panel heights.
constexpr qreal kTextHeightShare = 0.62;

}  // namespace

QImage TitledIcon::draw(const QImage &image, const QString &title, const QColor &textColor,
                        int height, qreal devicePixelRatio) {
    QFont font = QGuiApplication::font();
    font.setPixelSize(std::max(1, qRound(height * kTextHeightShare * devicePixelRatio)));
    const QFontMetricsF metrics(font);
    const qreal textWidth = title.isEmpty() ? 0.0 : metrics.horizontalAdvance(title);

    const int pixelHeight = qRound(height * devicePixelRatio);
    const int imageWidth = image.isNull() ? 0 : pixelHeight;
    const int gap = image.isNull() || title.isEmpty() ? 0 : qRound(kGap * devicePixelRatio);
    const int width = std::max(1, imageWidth + gap + qCeil(textWidth) +
                                      (title.isEmpty() ? 0 : qRound(kGap * devicePixelRatio)));

    QImage result(width, pixelHeight, QImage::Format_ARGB32_Premultiplied);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::TextAntialiasing);
    if (!image.isNull()) {
        const QImage scaled =
            image.scaled(imageWidth, pixelHeight, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        painter.drawImage((imageWidth - scaled.width()) / 2, (pixelHeight - scaled.height()) / 2,
                          scaled);
    }
    if (!title.isEmpty()) {
        painter.setFont(font);
        painter.setPen(textColor);
        const qreal baseline = (pixelHeight + metrics.ascent() - metrics.descent()) / 2.0;
        painter.drawText(QPointF(imageWidth + gap, baseline), title);
    }
    painter.end();
    result.setDevicePixelRatio(devicePixelRatio);
    return result;
}

}  // namespace tarnwell
