#include "toolkit/widgets.h"

#include <Elementary.h>
#include <gmock/gmock.h>

#include "fixtures/Screen.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(WidgetsTest, FindsWidgetsByTypeAndPlace) {
    const Stage stage;
    for (const Evas_Object* object : {stage.window, stage.list, stage.ok}) {
        const Widgets widgets(object);
        EXPECT_TRUE(widgets.AreComplete());
        EXPECT_EQ(widgets.list, stage.list);
        EXPECT_THAT(widgets.infoPanels, ElementsAre(stage.infoLeft, stage.infoRight));
        EXPECT_EQ(widgets.text, stage.label);
        EXPECT_EQ(widgets.scroller, stage.scroller);
        EXPECT_EQ(widgets.button, stage.button);
        EXPECT_EQ(widgets.popupButton, stage.ok);
    }
}

TEST(WidgetsTest, FindsPopupWhileItIsShown) {
    Stage stage;
    EXPECT_EQ(Widgets(stage.window).popup, nullptr);
    stage.ShowPopup(true);
    EXPECT_NE(Widgets(stage.window).popup, nullptr);
    evas_object_hide(stage.popup);
    EXPECT_EQ(Widgets(stage.window).popup, nullptr);
}

TEST(WidgetsTest, ReportsMissingWidgets) {
    Stage::StartToolkit();
    Evas_Object* window = elm_win_util_standard_add("quorvel", "quorvel");
    elm_genlist_add(window);
    const Widgets widgets(window);
    EXPECT_NE(widgets.list, nullptr);
    EXPECT_FALSE(widgets.AreComplete());
    Screen::Close(window);
}

TEST(WidgetsTest, FindsNoWidgetsWithoutWindow) {
    Stage::StartToolkit();
    const LoggedLines lines;
    EXPECT_FALSE(Widgets(nullptr).AreComplete());
    EXPECT_FALSE(IsInPopup(nullptr));
    EXPECT_THAT(lines.Messages(), IsEmpty());
}

TEST(WidgetsTest, DistinguishesPopupFromOtherWidgets) {
    const Stage stage;
    EXPECT_TRUE(IsInPopup(stage.ok));
    EXPECT_TRUE(IsInPopup(stage.popup));
    EXPECT_FALSE(IsInPopup(stage.button));
    EXPECT_FALSE(IsInPopup(stage.window));
}

}  // namespace
}  // namespace quorvel::desktop
