#include "ui/TemplateImage.h"

#include <QGuiApplication>
#include <QPainter>

namespace tarnwell {

QColor TemplateImage::panelTextColor(const QPalette &palette, const QString &gtkTheme) {
    const bool darkPalette = palette.color(QPalette::Window).lightness() <
                             palette.color(QPalette::WindowText).lightness();
    const bool darkGtkTheme = gtkTheme.contains(QLatin1String("dark"), Qt::CaseInsensitive);
    return darkPalette || darkGtkTheme ? QColor(Qt::white) : QColor(Qt::black);
}

QColor TemplateImage::currentPanelTextColor() {
    return panelTextColor(QGuiApplication::palette(), qEnvironmentVariable("GTK_THEME"));
}

QImage TemplateImage::tinted(const QImage &mask, const QColor &color) {
    QImage result = mask.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(result.rect(), color);
    painter.end();
    return result;
}

}  // namespace tarnwell
