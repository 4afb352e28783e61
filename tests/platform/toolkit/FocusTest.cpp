#include "toolkit/focus.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>

#include "fixtures/Screen.h"
#include "palette.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string StateOf(const Evas_Object* widget, const char* part) {
    return edje_object_part_state_get(elm_layout_edje_get(widget), part, nullptr);
}

TEST(FocusTest, EmitsFocusedAndUnfocusedOnLabel) {
    Stage stage;
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
    stage.Press("Right");
    EXPECT_THAT(stage.LabelEvents(), ElementsAre("focused"));
    stage.Press("Left");
    EXPECT_THAT(stage.LabelEvents(), ElementsAre("focused", "unfocused"));
}

TEST(FocusTest, ShowsFrameAroundFocusedPanel) {
    Stage stage;
    EXPECT_EQ(StateOf(stage.scroller, "frame"), "default");
    stage.Press("Right");
    EXPECT_EQ(StateOf(stage.scroller, "frame"), "focused");
    stage.Press("Left");
    EXPECT_EQ(StateOf(stage.scroller, "frame"), "default");
}

TEST(FocusTest, IgnoresFocusThatLeavesLabelInSameTurn) {
    Stage stage;
    elm_object_focus_set(stage.label, EINA_TRUE);
    elm_object_focus_set(stage.button, EINA_TRUE);
    Screen::ProcessEvents(stage.window);
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

TEST(FocusTest, EmitsFocusedOnLabelWhenPopupCloses) {
    Stage stage;
    stage.Press("Right");
    stage.Press("Down");
    ASSERT_EQ(Screen::FocusedWidget(stage.window), stage.button);
    stage.ShowPopup(false);
    elm_object_disabled_set(stage.button, EINA_TRUE);
    stage.Press("Return");
    EXPECT_THAT(stage.LabelEvents(), ElementsAre("focused", "unfocused", "focused"));
}

TEST(FocusTest, AcceptsDeletionOfLabelBeforeReport) {
    Stage stage;
    elm_object_focus_set(stage.label, EINA_TRUE);
    evas_object_del(stage.label);
    Screen::ProcessEvents(stage.window);
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

bool IsFocusColour(const Colour& colour) {
    constexpr Colour kFocus{COLOR_FOCUS};
    return std::abs(colour.red - kFocus.red) < 4 && std::abs(colour.green - kFocus.green) < 4 &&
           std::abs(colour.blue - kFocus.blue) < 4;
}

// The number of pixels in the colour of the focus.
int FocusInList(const Stage& stage) {
    return Screen::Render(stage.window).Count(Screen::AreaOf(stage.list), IsFocusColour);
}
int FocusOnScreen(const Stage& stage) {
    return Screen::Render(stage.window).Count(Screen::AreaOf(stage.window), IsFocusColour);
}

// In pixels.
constexpr int kMostOfARow = 30000;

StagePlan SingleRow() {
    StagePlan plan;
    plan.rows = 1;
    return plan;
}

TEST(FocusTest, ShowsFirstRowFocusedAtStart) {
    const Stage stage;
    EXPECT_GT(FocusInList(stage), kMostOfARow);
}

TEST(FocusTest, ShowsOneRowFocused) {
    Stage stage;
    const int one = FocusInList(stage);
    stage.Press("Down");
    // The letters of the rows differ.
    EXPECT_NEAR(FocusInList(stage), one, one / 50);
}

TEST(FocusTest, DimsRowWhilePanelOrButtonHasFocus) {
    Stage stage;
    stage.Press("Down");
    stage.Press("Right");
    EXPECT_EQ(FocusInList(stage), 0);
    stage.Press("Down");
    EXPECT_EQ(FocusInList(stage), 0);
    EXPECT_GT(FocusOnScreen(stage), kMostOfARow / 2) << "the button";
}

TEST(FocusTest, ShowsSameRowFocusedAfterReturn) {
    Stage stage;
    stage.Press("Down");
    const int before = FocusInList(stage);
    stage.Press("Right");
    stage.Press("Left");
    EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(1));
    EXPECT_EQ(FocusInList(stage), before);
}

// A network failure is often the only failed item.
TEST(FocusTest, MovesFocusFromSingleRowAndBack) {
    Stage stage(SingleRow());
    for (const char* const away : {"Right", "Down"}) {
        stage.Press(away);
        EXPECT_NE(elm_object_focus_get(stage.label), EINA_FALSE) << away;
        stage.Press("Left");
        EXPECT_EQ(elm_object_focus_get(stage.label), EINA_FALSE) << away;
        EXPECT_NE(elm_object_focus_get(stage.list), EINA_FALSE) << away;
    }
}

// The application shows the detail text of a row when it gets the signal.
TEST(FocusTest, EmitsItemFocusedWhenFocusReturnsToSingleRow) {
    Stage stage(SingleRow());
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
    stage.Press("Right");
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
    stage.Press("Left");
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(0));
}

TEST(FocusTest, EmitsNothingWhenPopupClosesOverSingleRow) {
    Stage stage(SingleRow());
    stage.ShowPopup(false);
    Screen::ProcessEvents(stage.window);
    EXPECT_EQ(elm_object_focus_get(stage.list), EINA_FALSE);
    evas_object_hide(stage.popup);
    Screen::ProcessEvents(stage.window);
    EXPECT_NE(elm_object_focus_get(stage.list), EINA_FALSE);
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
}

TEST(FocusTest, EmitsNothingWhenFocusReturnsToOneOfManyRows) {
    Stage stage;
    stage.Press("Right");
    stage.Press("Left");
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
}

}  // namespace
}  // namespace quorvel::desktop
