#include "toolkit/list_focus.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include "fixtures/Screen.h"
#include "platform/fixtures/Stage.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace quorvel::desktop {
namespace {

bool IsFocusColour(const Colour& colour) {
    return std::abs(colour.red - 31) < 4 && std::abs(colour.green - 111) < 4 &&
           std::abs(colour.blue - 193) < 4;
}

// How many pixels of the list, and of the whole window, say "the focus is here".
int FocusInList(const Stage& stage) {
    return Screen::Render(stage.window).Count(Screen::AreaOf(stage.list), IsFocusColour);
}
int FocusOnScreen(const Stage& stage) {
    return Screen::Render(stage.window).Count(Screen::AreaOf(stage.window), IsFocusColour);
}

constexpr int kMostOfARow = 30000;

TEST(ListFocus, TheFirstRowShowsTheFocusFromTheStart) {
    const Stage stage;
    EXPECT_GT(FocusInList(stage), kMostOfARow);
}

TEST(ListFocus, OneRowShowsIt) {
    Stage stage;
    const int one = FocusInList(stage);
    stage.Press("Down");
    // The pictures differ by the letters of the rows.
    EXPECT_NEAR(FocusInList(stage), one, one / 50);
}

TEST(ListFocus, TheRowStepsBackForThePanelAndTheButton) {
    Stage stage;
    stage.Press("Down");
    stage.Press("Right");
    EXPECT_EQ(FocusInList(stage), 0);
    stage.Press("Down");
    EXPECT_EQ(FocusInList(stage), 0);
    EXPECT_GT(FocusOnScreen(stage), kMostOfARow / 2) << "of the button";
}

TEST(ListFocus, TheSameRowShowsItAgainWhenItComesBack) {
    Stage stage;
    stage.Press("Down");
    const int before = FocusInList(stage);
    stage.Press("Right");
    stage.Press("Left");
    EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(1));
    EXPECT_EQ(FocusInList(stage), before);
}

// A network failure is often the only failed item.
TEST(ListFocus, ARowAloneLetsTheFocusGoAndTakesItBack) {
    StagePlan plan;
    plan.rows = 1;
    Stage stage(plan);
    for (const char* const away : {"Right", "Down"}) {
        stage.Press(away);
        EXPECT_NE(elm_object_focus_get(stage.label), EINA_FALSE) << away;
        stage.Press("Left");
        EXPECT_EQ(elm_object_focus_get(stage.label), EINA_FALSE) << away;
        EXPECT_NE(elm_object_focus_get(stage.list), EINA_FALSE) << away;
    }
}

// Its text could not be shown otherwise.
TEST(ListFocus, ARowAloneTellsOfItsFocusWhenThatComesBack) {
    StagePlan plan;
    plan.rows = 1;
    Stage stage(plan);
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
    stage.Press("Right");
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
    stage.Press("Left");
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(0));
}

TEST(ListFocus, ARowAloneTellsNothingWhenThePopupGoes) {
    StagePlan plan;
    plan.rows = 1;
    Stage stage(plan);
    stage.ShowPopup(false);
    Screen::ProcessEvents(stage.window);
    EXPECT_EQ(elm_object_focus_get(stage.list), EINA_FALSE);
    evas_object_hide(stage.popup);
    Screen::ProcessEvents(stage.window);
    EXPECT_NE(elm_object_focus_get(stage.list), EINA_FALSE);
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
}

TEST(ListFocus, OneOfManyRowsTellsNothingWhenTheFocusComesBack) {
    Stage stage;
    stage.Press("Right");
    stage.Press("Left");
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
}

}  // namespace
}  // namespace quorvel::desktop
