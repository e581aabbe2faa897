#pragma once

#include <QWidget>

#include "welcome/WelcomePageView.h"
#include "welcome/WelcomeSite.h"

class QLabel;
class QPushButton;
class QWebEngineView;

namespace tarnwell {

// The welcome window: the web view, the invitation line and the button that
// opens the preferences (in the tray program). Ctrl+W closes it, wherever
// the focus is, the web page included.
class QRMWelcomePageWindow : public QWidget, public WelcomePageView {
    Q_OBJECT
public:
    // site decides where the view may go.
    explicit QRMWelcomePageWindow(WelcomeSite site, QWidget *parent = nullptr);
    ~QRMWelcomePageWindow() override;

    void setTexts(const QString &windowTitle, const QString &invitation,
                  const QString &preferencesButton) override;
    void loadPage(const QUrl &url) override;

    // Brings the window to the front when it is asked for again.
    void bringToFront();

    QWebEngineView *webView() const { return webView_; }

signals:
    void showPreferencesWindow();
    // The first page finished loading, whether or not it was found.
    void firstPageLoaded();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWebEngineView *webView_;
    QLabel *startDiscoverThePreferences_;
    QPushButton *preferences_;
};

}  // namespace tarnwell
