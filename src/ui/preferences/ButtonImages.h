#pragma once

#include <QImage>

class QPalette;

namespace tarnwell {

// The Apps tab's "+" and "-" buttons: plain glyphs in the button text colour
// of the palette given, so they stay readable on light and dark themes alike.
// 16 points square at the given device pixel ratio.
QImage imageForAddButton(const QPalette &palette, qreal devicePixelRatio = 1.0);
QImage imageForRemoveButton(const QPalette &palette, qreal devicePixelRatio = 1.0);

}  // namespace tarnwell
