#pragma once

#include <QColor>
#include <QImage>
#include <cstdlib>

namespace tarnwell::test {

inline QImage filled(const QColor &color, QSize size = {22, 22}) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

// How many pixels of the image pass the check.
template <typename Check>
int pixelsWhere(const QImage &image, Check check) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += check(image.pixelColor(x, y)) ? 1 : 0;
        }
    }
    return count;
}

// Mostly opaque pixels close to a colour: text is antialiased.
inline int pixelsNear(const QImage &image, const QColor &color) {
    return pixelsWhere(image, [&](const QColor &pixel) {
        return pixel.alpha() > 200 && std::abs(pixel.red() - color.red()) < 40 &&
               std::abs(pixel.green() - color.green()) < 40 &&
               std::abs(pixel.blue() - color.blue()) < 40;
    });
}

}  // namespace tarnwell::test
