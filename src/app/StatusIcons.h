#pragma once

#include <array>

#include <QColor>
#include <QImage>
#include <QString>

namespace tarnwell {

// The pictures of the status item and the menu legends. Every image is drawn
// at device pixel ratio 2, so it stays sharp on scaled panels; sizes below are
// in points.
namespace StatusIcons {

inline constexpr int kPieChartSize = 22;
inline constexpr int kPieChartRadius = 8;
inline constexpr int kLegendSize = 16;
inline constexpr int kStaticIconSize = 18;
inline constexpr qreal kDevicePixelRatio = 2.0;

// Free, inactive, active, wired and compressed memory, in that order.
inline constexpr int kSegmentCount = 5;
QColor segmentColor(int segment);

// A solid black wedge for the memory that is not free and an outline of the
// free part. Used as a template image.
QImage pieChartIconBlack(double freePercents);

// One wedge per segment, counter-clockwise from straight up; the rest of the
// circle stays transparent. Percentages are not clamped: beyond 100 the later
// wedges paint over the first ones again.
QImage pieChartIconColor(const std::array<double, kSegmentCount> &percents);

// The legend circle shown beside a byte figure under the colour pie.
QImage legendImage(const QColor &color);

// A transparent square that keeps titles aligned, or keeps the status item
// from collapsing when it has no icon.
QImage blankImage(int size = kLegendSize);

// One of the static status bar icons (kStatusBarIconStatic2D or ...3D),
// rendered at kStaticIconSize points; a blank when it cannot be loaded.
QImage staticIcon(const QString &name);

}  // namespace StatusIcons
}  // namespace tarnwell
