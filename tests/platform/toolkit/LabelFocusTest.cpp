#include "toolkit/label_focus.h"

#include <gmock/gmock.h>

#include <string>

#include "fixtures/Screen.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string StateOf(const Evas_Object* widget, const char* part) {
    return edje_object_part_state_get(elm_layout_edje_get(widget), part, nullptr);
}

TEST(LabelFocus, TheLabelTellsWhenTheFocusComesAndGoes) {
    Stage stage;
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
    stage.Press("Right");
    EXPECT_THAT(stage.LabelEvents(), ElementsAre("focused"));
    stage.Press("Left");
    EXPECT_THAT(stage.LabelEvents(), ElementsAre("focused", "unfocused"));
}

TEST(LabelFocus, ThePanelShowsTheFocusOfItsLabel) {
    Stage stage;
    EXPECT_EQ(StateOf(stage.scroller, "frame"), "default");
    stage.Press("Right");
    EXPECT_EQ(StateOf(stage.scroller, "frame"), "focused");
    stage.Press("Left");
    EXPECT_EQ(StateOf(stage.scroller, "frame"), "default");
}

TEST(LabelFocus, ABounceOfTheFocusIsNotTold) {
    Stage stage;
    elm_object_focus_set(stage.label, EINA_TRUE);
    elm_object_focus_set(stage.button, EINA_TRUE);
    Screen::ProcessEvents(stage.window);
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

TEST(LabelFocus, TheFocusThatComesBackFromAPopupIsTold) {
    Stage stage;
    stage.Press("Right");
    stage.Press("Down");
    ASSERT_EQ(Screen::FocusedWidget(stage.window), stage.button);
    stage.ShowPopup(false);
    elm_object_disabled_set(stage.button, EINA_TRUE);
    stage.Press("Return");
    EXPECT_THAT(stage.LabelEvents(), ElementsAre("focused", "unfocused", "focused"));
}

TEST(LabelFocus, ALabelThatGoesWhileTheFocusIsOnItsWayIsForgotten) {
    Stage stage;
    elm_object_focus_set(stage.label, EINA_TRUE);
    evas_object_del(stage.label);
    Screen::ProcessEvents(stage.window);
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

}  // namespace
}  // namespace quorvel::desktop
