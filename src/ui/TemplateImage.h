#pragma once

#include <QColor>
#include <QImage>

namespace tarnwell {

// Template images are masks that the panel shows in its own text colour.
// Linux panels draw icons as given, so the mask is painted here instead, in
// the colour PanelAppearance chooses.
class TemplateImage {
public:
    // Every opaque or partly transparent pixel takes the colour; alpha is kept.
    static QImage tinted(const QImage &mask, const QColor &color);
};

}  // namespace tarnwell
