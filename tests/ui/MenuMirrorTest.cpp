#include <gtest/gtest.h>
#include <QMenu>
#include <QScreen>
#include <QSignalSpy>

#include "MenuShape.h"
#include "QtPrinters.h"

#include "app/QRMMenu.h"
#include "ui/MenuMirror.h"

namespace tarnwell {
namespace {

QString shapeOf(const QMenu *menu) {
    return test::menuShape(menu->actions(), [](const QAction *action) {
        // Qt disables every hidden action; only a shown one tells.
        return test::ShownEntry{action->text(),
                                action->isSeparator(),
                                action->isVisible(),
                                !action->isVisible() || action->isEnabled(),
                                !action->icon().isNull(),
                                false,
                                action->menu() ? shapeOf(action->menu()) : QString()};
    });
}

class MenuMirrorTest : public ::testing::Test {
protected:
    void SetUp() override {
        clean = model.addItem(QStringLiteral("Clean"));
        model.addSeparator();
        free = model.addItem(QStringLiteral("Free & easy"));
        QImage legend(16, 16, QImage::Format_ARGB32);
        legend.fill(Qt::green);
        free->setImage(legend);
        swap = model.addItem(QStringLiteral("Swap"));
        swap->setSubmenu(new QRMMenu);
        swapUsed = swap->submenu()->addItem(QStringLiteral("Used"));
        mirror.setMenu(&model);
    }

    QRMMenu model;
    QRMMenuItem *clean, *free, *swap, *swapUsed;
    MenuMirror mirror;
};

TEST_F(MenuMirrorTest, ItemChangesUpdateTheSameActions) {
    EXPECT_EQ(shapeOf(mirror.menu()), QStringLiteral("Clean, ---, Free && easy*, Swap(Used)"));
    const QList<QAction *> before = mirror.menu()->actions();
    QSignalSpy triggered(swapUsed, &QRMMenuItem::triggered);
    before.at(3)->menu()->actions().at(0)->trigger();
    EXPECT_TRUE(triggered.wait(10000)) << "picking an action did not trigger its item";

    clean->setTitle(QStringLiteral("Cleaning..."));
    clean->setEnabled(false);
    free->setImage({});
    swapUsed->setVisible(false);
    EXPECT_EQ(shapeOf(mirror.menu()),
              QStringLiteral("!Cleaning..., ---, Free && easy, Swap(~Used)"));
    EXPECT_EQ(mirror.menu()->actions(), before);
}

TEST_F(MenuMirrorTest, StructureChangesRebuildTheirMenu) {
    swap->submenu()->addItem(QStringLiteral("Total"));
    auto *more = new QRMMenu;
    more->addItem(QStringLiteral("Page size"));
    clean->setSubmenu(more);
    // A new submenu is built on the next turn of the event loop.
    QCoreApplication::processEvents();
    EXPECT_EQ(shapeOf(mirror.menu()),
              QStringLiteral("Clean(Page size), ---, Free && easy*, Swap(Used, Total)"));
    model.removeAllItems();
    model.addItem(QStringLiteral("Quit"));
    EXPECT_EQ(shapeOf(mirror.menu()), QStringLiteral("Quit"));
}

TEST_F(MenuMirrorTest, OpeningAMenuLetsTheModelItFollowsRefreshFirst) {
    QObject::connect(&model, &QRMMenu::aboutToShow, clean,
                     [this] { clean->setTitle(QStringLiteral("Clean now")); });
    mirror.menu()->popup({0, 0});
    EXPECT_EQ(mirror.menu()->actions().at(0)->text(), QStringLiteral("Clean now"));
    mirror.menu()->hide();

    QRMMenu other;
    other.addItem(QStringLiteral("Other"));
    mirror.setMenu(&other);
    QSignalSpy oldShown(&model, &QRMMenu::aboutToShow);
    model.addItem(QStringLiteral("Late"));
    mirror.menu()->popup({0, 0});
    EXPECT_EQ(shapeOf(mirror.menu()), QStringLiteral("Other"));
    EXPECT_EQ(oldShown.count(), 0);
    mirror.menu()->hide();
}

// A QMenu taller than the screen used to open a second column holding "Quit"
// alone.
TEST(MenuMirrorHeight, ALongMenuScrollsInOneColumn) {
    QRMMenu model;
    for (int i = 0; i < 80; ++i) {
        model.addItem(QStringLiteral("Figure %1").arg(i));
    }
    QRMMenuItem *quit = model.addItem(QStringLiteral("Quit"));
    MenuMirror mirror;
    mirror.setMenu(&model);
    QMenu *menu = mirror.menu();
    menu->ensurePolished();
    const QList<QAction *> actions = menu->actions();
    ASSERT_EQ(actions.last()->text(), quit->title());
    EXPECT_EQ(menu->actionGeometry(actions.last()).left(),
              menu->actionGeometry(actions.first()).left());
    menu->popup(QPoint(0, 0));
    EXPECT_LE(menu->height(), menu->screen()->availableGeometry().height());
    menu->hide();
}

}  // namespace
}  // namespace tarnwell
