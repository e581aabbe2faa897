#include "welcome/QRMWelcomePageWindow.h"

#include <QApplication>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWebEngineNewWindowRequest>
#include <QWebEnginePage>
#include <QWebEngineView>

#include "welcome/QRMWelcomePageWindowController.h"

namespace tarnwell {

namespace {

// Keeps the view on the local pages and the product site; links elsewhere
// go to the user's browser.
class SitePage : public QWebEnginePage {
public:
    SitePage(WelcomeSite site, QObject *parent) : QWebEnginePage(parent), site_(std::move(site)) {
        // A link with a target, or window.open(): no second window, the
        // same rule as a plain link.
        connect(this, &QWebEnginePage::newWindowRequested, this,
                [this](QWebEngineNewWindowRequest &request) {
                    if (follow(request.requestedUrl(), request.isUserInitiated())) {
                        request.openIn(this);
                    }
                });
    }

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override {
        // Our own loads, and frames the site's page embeds, are not the
        // view leaving the site.
        if (type == NavigationTypeTyped || !isMainFrame) {
            return true;
        }
        return follow(url, type == NavigationTypeLinkClicked);
    }

private:
    bool follow(const QUrl &url, bool linkClicked) {
        switch (site_.navigation(url, linkClicked)) {
            case WelcomeNavigation::Load:
                return true;
            case WelcomeNavigation::OpenInBrowser:
                QDesktopServices::openUrl(url);
                return false;
            case WelcomeNavigation::Refuse:
                return false;
        }
        return false;
    }

    WelcomeSite site_;
};

}  // namespace

QRMWelcomePageWindow::QRMWelcomePageWindow(WelcomeSite site, QWidget *parent)
    : QWidget(parent),
      webView_(new QWebEngineView(this)),
      startDiscoverThePreferences_(new QLabel(this)),
      preferences_(new QPushButton(this)) {
    webView_->setPage(new SitePage(std::move(site), webView_));
    startDiscoverThePreferences_->setWordWrap(true);

    auto *bottom = new QHBoxLayout;
    bottom->addWidget(startDiscoverThePreferences_, 1);
    bottom->addWidget(preferences_);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(webView_, 1);
    auto *margins = new QWidget(this);
    margins->setLayout(bottom);
    layout->addWidget(margins);
    resize(760, 560);

    connect(preferences_, &QPushButton::clicked, this,
            &QRMWelcomePageWindow::showPreferencesWindow);
    connect(webView_, &QWebEngineView::loadFinished, this, &QRMWelcomePageWindow::firstPageLoaded,
            Qt::SingleShotConnection);
    // The web view's render widget has the focus most of the time, and it is
    // created by the engine: watching the whole application catches Ctrl+W
    // there too.
    qApp->installEventFilter(this);
}

QRMWelcomePageWindow::~QRMWelcomePageWindow() {
    qApp->removeEventFilter(this);
}

void QRMWelcomePageWindow::setTexts(const QString &windowTitle, const QString &invitation,
                                    const QString &preferencesButton) {
    setWindowTitle(windowTitle);
    startDiscoverThePreferences_->setText(invitation);
    preferences_->setText(preferencesButton);
}

void QRMWelcomePageWindow::loadPage(const QUrl &url) {
    webView_->load(url);
}

void QRMWelcomePageWindow::bringToFront() {
    showNormal();
    raise();
    activateWindow();
}

bool QRMWelcomePageWindow::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::KeyPress && watched->isWidgetType() &&
        static_cast<QWidget *>(watched)->window() == this) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (QRMWelcomePageWindowController::keyDownClosesWindow(key->modifiers(), key->key())) {
            close();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace tarnwell
