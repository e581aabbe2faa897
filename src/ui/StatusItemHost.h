#pragma once

#include <QDBusConnection>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <memory>

#include "ui/PanelStatusItem.h"

namespace tarnwell {

class LegacyTrayPresence;

// Keeps exactly one status item on whatever panel there is, in any start
// order. With a StatusNotifierWatcher on the bus it shows a
// StatusNotifierItem; without one, and while a legacy XEmbed tray owns the
// tray selection, the tray icon instead; with neither, the item waits on the
// bus for a watcher. When a watcher appears the tray icon goes; when it
// leaves and does not come back within a grace period (a panel restart), the
// tray icon returns where a tray exists. Everything the controller set is
// handed to each new item.
//
// Where the host shows no label (every host but the Ayatana indicator, and
// every XEmbed tray), the title is drawn into the icon, unless a setting says
// otherwise.
class StatusItemHost : public QObject, public StatusItemView {
    Q_OBJECT
public:
    enum class Kind { None, NotifierItem, TrayIcon };
    using ItemFactory = std::function<std::unique_ptr<PanelStatusItem>()>;
    // 0 decide from the host, 1 always the label, 2 always drawn into the icon.
    using TextPlacement = std::function<int()>;
    // The name of a process, for telling which panel runs the watcher.
    using ProcessName = std::function<QString(uint pid)>;

    struct Items {
        ItemFactory notifierItem;
        ItemFactory trayIcon;
    };

    StatusItemHost(const QDBusConnection &connection, LegacyTrayPresence &tray, Items items,
                   TextPlacement textPlacement, QObject *parent = nullptr);
    ~StatusItemHost() override;

    void setTitle(const QString &title) override;
    void setToolTip(const QString &toolTip) override;
    void setImage(const QImage &image, bool isTemplate) override;
    void setMenu(QRMMenu *menu) override;

    Kind kind() const { return kind_; }
    PanelStatusItem *item() const { return item_.get(); }
    bool titleDrawn() const;

    // How long a vanished watcher may take to come back before the tray icon
    // takes over.
    void setWatcherGracePeriod(std::chrono::milliseconds period);
    void setProcessNameLookup(ProcessName lookup) { processName_ = std::move(lookup); }

    // Whether a watcher run by this process shows the Ayatana label.
    static bool showsLabel(const QString &processName);
    // /proc/<pid>/comm.
    static QString processName(uint pid);

signals:
    void kindChanged(Kind kind);
    // The watcher's owner is known and its label behaviour decided.
    void hostIdentified(bool showsLabel);

private:
    void watcherOwnerChanged(const QString &newOwner);
    void identifyHost();
    void choose();
    void replace(Kind kind);

    QDBusConnection connection_;
    LegacyTrayPresence &tray_;
    Items items_;
    TextPlacement textPlacement_;
    ProcessName processName_;
    QTimer watcherGrace_;
    bool watcherOwned_ = false;
    bool hostShowsLabel_ = false;

    Kind kind_ = Kind::None;
    std::unique_ptr<PanelStatusItem> item_;
    QString title_;
    QString toolTip_;
    QImage image_;
    bool isTemplate_ = false;
    QPointer<QRMMenu> menu_;
};

}  // namespace tarnwell
