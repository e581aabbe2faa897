#pragma once

#include <QColor>
#include <QImage>
#include <QPalette>
#include <QString>

namespace tarnwell {

// Template images are masks that the panel shows in its own text colour.
// Linux panels draw icons as given, so the mask is painted here instead.
class TemplateImage {
public:
    // Black on light panels, white on dark ones. Nothing tells an application
    // the colour of the panel itself, so the guess follows the desktop's theme:
    // a palette whose window is darker than its text is a dark theme (what a
    // Plasma or a Qt platform theme reports), and GTK desktops, whose panels
    // Qt's palette does not see, announce a dark variant in GTK_THEME
    // ("Adwaita:dark", "Arc-Dark").
    static QColor panelTextColor(const QPalette &palette, const QString &gtkTheme);
    // The same guess for the running desktop.
    static QColor currentPanelTextColor();
    // Every opaque or partly transparent pixel takes the colour; alpha is kept.
    static QImage tinted(const QImage &mask, const QColor &color);
};

}  // namespace tarnwell
