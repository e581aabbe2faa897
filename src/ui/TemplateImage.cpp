#include "ui/TemplateImage.h"

#include <QPainter>

namespace tarnwell {

QImage TemplateImage::tinted(const QImage &mask, const QColor &color) {
    QImage result = mask.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(result.rect(), color);
    painter.end();
    return result;
}

}  // namespace tarnwell
