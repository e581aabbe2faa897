#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace tarnwell {

// Names of the static status bar icons in the resources.
inline const QString kStatusBarIconStatic2D = QStringLiteral("statusBarIconStatic2D");
inline const QString kStatusBarIconStatic3D = QStringLiteral("statusBarIconStatic3D");

// Renders a status bar icon from its vector source at the given pixel size
// (the point size times the device pixel ratio), so it is sharp at that size
// rather than scaled from another. A null image when the name is unknown or
// the SVG image plugin is missing.
QImage loadStatusBarIcon(const QString &name, const QSize &pixelSize);

}  // namespace tarnwell
