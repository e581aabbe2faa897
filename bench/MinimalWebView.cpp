// The baseline of welcome_cost.sh: the web engine alone, loading the given
// local page in a bare view and saying "loaded" when it has. Ends on the end
// of its input, as the welcome window does.
#include <unistd.h>

#include <cstdio>

#include <QApplication>
#include <QSocketNotifier>
#include <QUrl>
#include <QWebEngineView>

int main(int argc, char **argv) {
    if (::geteuid() == 0) {
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    }
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s PAGE\n", argv[0]);
        return 2;
    }
    auto *view = new QWebEngineView;
    QObject::connect(view, &QWebEngineView::loadFinished, [] {
        std::fputs("loaded\n", stdout);
        std::fflush(stdout);
    });
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char buffer[64];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0) {
            view->close();
        }
    });
    view->resize(760, 560);
    view->show();
    view->load(QUrl::fromLocalFile(QString::fromLocal8Bit(argv[1])));
    const int status = app.exec();
    delete view;
    return status;
}
