// The baseline of the idle-cost measurement: a Qt tray program that only
// shows an icon, and nothing else.
#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argc, char **argv) {
    QApplication app(argc, argv);
    QImage image(22, 22, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    QSystemTrayIcon icon(QIcon(QPixmap::fromImage(image)));
    icon.show();
    return app.exec();
}
