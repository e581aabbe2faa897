#include "app/StatusIcons.h"

#include <algorithm>

#include <QPainter>
#include <QPainterPath>

#include "StatusBarIcons.h"

namespace tarnwell::StatusIcons {

namespace {

QImage transparentImage(int size) {
    const int pixels = int(size * kDevicePixelRatio);
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(kDevicePixelRatio);
    image.fill(Qt::transparent);
    return image;
}

// Centre to the rim, around counter-clockwise from startDegrees, back to the
// centre. Winding fill, so a sweep past a full turn stays solid.
QPainterPath wedge(QPointF centre, qreal radius, qreal startDegrees, qreal sweepDegrees) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    path.moveTo(centre);
    path.arcTo(QRectF(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius),
               startDegrees, sweepDegrees);
    path.lineTo(centre);
    return path;
}

void strokeAndFill(QPainter &painter, const QPainterPath &path, const QColor &stroke,
                   const QColor &fill) {
    painter.strokePath(path, QPen(stroke, 1.0));
    painter.fillPath(path, fill);
}

QPointF pieCentre() {
    return {kPieChartSize / 2.0, kPieChartSize / 2.0};
}

}  // namespace

QColor segmentColor(int segment) {
    static const std::array<QColor, kSegmentCount> kColors{
        QColor(0, 255, 0),    // free: green
        QColor(0, 0, 255),    // inactive: blue
        QColor(255, 255, 0),  // active: yellow
        QColor(255, 0, 0),    // wired: red
        QColor(128, 0, 128),  // compressed: purple
    };
    return kColors.at(size_t(segment));
}

QImage pieChartIconBlack(double freePercents) {
    QImage image = transparentImage(kPieChartSize);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal freeDegrees = freePercents * 360.0 / 100.0;
    const QPointF centre = pieCentre();
    const qreal r = kPieChartRadius;

    // The wedge runs from the end of the free part round to 0 degrees; more
    // than 100 % free leaves nothing to fill.
    const qreal usedDegrees = std::max<qreal>(0.0, 360.0 - freeDegrees);
    strokeAndFill(painter, wedge(centre, r, freeDegrees, usedDegrees), Qt::black, Qt::black);

    QPainterPath outline;
    outline.arcMoveTo(QRectF(centre.x() - r, centre.y() - r, 2 * r, 2 * r), 0.0);
    outline.arcTo(QRectF(centre.x() - r, centre.y() - r, 2 * r, 2 * r), 0.0,
                  std::min<qreal>(freeDegrees, 360.0));
    painter.strokePath(outline, QPen(Qt::black, 1.0));
    return image;
}

QImage pieChartIconColor(const std::array<double, kSegmentCount> &percents) {
    QImage image = transparentImage(kPieChartSize);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    qreal start = 90.0;
    for (int segment = 0; segment < kSegmentCount; ++segment) {
        const qreal sweep = percents[size_t(segment)] * 360.0 / 100.0;
        const QColor color = segmentColor(segment);
        strokeAndFill(painter, wedge(pieCentre(), kPieChartRadius, start, sweep), color, color);
        start += sweep;
    }
    return image;
}

QImage legendImage(const QColor &color) {
    QImage image = transparentImage(kLegendSize);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // Built like a wedge, out from the centre to the rim first.
    const QPainterPath path = wedge({kLegendSize / 2.0, kLegendSize / 2.0}, 5.0, 0.0, 360.0);
    strokeAndFill(painter, path, Qt::black, color);
    return image;
}

QImage blankImage(int size) {
    return transparentImage(size);
}

QImage staticIcon(const QString &name) {
    const int pixels = int(kStaticIconSize * kDevicePixelRatio);
    QImage image = loadStatusBarIcon(name, QSize(pixels, pixels));
    if (image.isNull()) {
        qWarning("cannot load the status bar icon %s", qPrintable(name));
        return blankImage(kStaticIconSize);
    }
    image.setDevicePixelRatio(kDevicePixelRatio);
    return image;
}

}  // namespace tarnwell::StatusIcons
