#include "toolkit/focus.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "fixtures/Screen.h"
#include "palette.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A visible frame has more pixels in the colour of the frame. The button has the smallest frame.
constexpr int kLeastOfAFrame = 500;

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

TEST(FocusTest, IgnoresFocusThatLeavesLabelInSameIteration) {
    Stage stage;
    elm_object_focus_set(stage.label, EINA_TRUE);
    elm_object_focus_set(stage.button, EINA_TRUE);
    Screen::ProcessEvents(stage.window);
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

TEST(FocusTest, AcceptsDeletionOfLabelBeforeReport) {
    Stage stage;
    elm_object_focus_set(stage.label, EINA_TRUE);
    evas_object_del(stage.label);
    Screen::ProcessEvents(stage.window);
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

TEST(FocusTest, AcceptsDeletionOfPanelBeforeReport) {
    Stage stage;
    const LoggedLines lines;
    elm_object_focus_set(stage.label, EINA_TRUE);
    evas_object_del(stage.scroller);
    Screen::ProcessEvents(stage.window);
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
    EXPECT_THAT(lines.Messages(), IsEmpty());
}

constexpr Colour kFrameColour{COLOR_FOCUS_LINE};
constexpr Colour kFocusColour{COLOR_FOCUS};

// Returns the names of the widgets that show a frame in the picture of the window.
std::string FocusedPlaces(const Stage& stage) {
    const Picture picture = Screen::Render(stage.window);
    std::string places;
    const auto add = [&](const char* name, const Evas_Object* widget) {
        if (picture.CountNear(Screen::AreaOf(widget), kFrameColour) > kLeastOfAFrame) {
            places += std::string(places.empty() ? "" : " ") + name;
        }
    };
    add("list", stage.list);
    add("panel", stage.scroller);
    add("button", stage.button);
    return places;
}

// Returns the scroll position of the detail text in pixels.
int TextPosition(const Stage& stage) {
    int y = 0;
    elm_scroller_region_get(stage.scroller, nullptr, &y, nullptr, nullptr);
    return y;
}

// Returns whether the detail text scrolls within several steps of an animation.
bool MovesText(const Stage& stage) {
    const int position = TextPosition(stage);
    return Screen::PumpUntil([&] { return TextPosition(stage) != position; },
                             std::chrono::milliseconds(200));
}

// Return the number of pixels in the colour of the focus.
int FocusInList(const Stage& stage) {
    return Screen::Render(stage.window).CountNear(Screen::AreaOf(stage.list), kFocusColour);
}
int FocusOnScreen(const Stage& stage) {
    return Screen::Render(stage.window).CountNear(Screen::AreaOf(stage.window), kFocusColour);
}

// A focused row has more pixels in the colour of the focus.
constexpr int kMostOfARow = 30000;

StagePlan SingleRow() {
    StagePlan plan;
    plan.rows = 1;
    return plan;
}

TEST(FocusTest, AcceptsDeletionOfListBeforeReport) {
    Stage stage(SingleRow());
    stage.Press("Right");
    elm_object_focus_set(stage.list, EINA_TRUE);
    evas_object_del(stage.list);
    Screen::ProcessEvents(stage.window);
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
}

TEST(FocusTest, ShowsFirstRowFocusedAtStart) {
    const Stage stage;
    EXPECT_GT(FocusInList(stage), kMostOfARow);
}

TEST(FocusTest, ShowsOneRowFocused) {
    Stage stage;
    const int one = FocusInList(stage);
    stage.Press("Down");
    // The letters of the rows have different numbers of pixels.
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

TEST(FocusTest, EmitsFocusedOnLabelWhenPopupCloses) {
    Stage stage;
    stage.Press("Right");
    stage.Press("Down");
    ASSERT_EQ(Screen::FocusedWidget(stage.window), stage.button);
    stage.ShowPopup(false);
    elm_object_disabled_set(stage.button, EINA_TRUE);
    stage.Press("Return");
    EXPECT_EQ(FocusedPlaces(stage), "panel");
    EXPECT_THAT(stage.LabelEvents(), ElementsAre("focused", "unfocused", "focused"));
}

// A network failure is often the only failed item.
TEST(FocusTest, MovesFocusFromSingleRowAndBack) {
    Stage stage(SingleRow());
    stage.Press("Right");
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.label);
    stage.Press("Left");
    EXPECT_EQ(FocusedPlaces(stage), "list");
}

// The application shows the detail text of a row when the list emits the signal.
TEST(FocusTest, EmitsItemFocusedWhenFocusReturnsToSingleRow) {
    Stage stage(SingleRow());
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
    stage.Press("Right");
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
    stage.Press("Left");
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(0));
}

class FocusRowsTest : public testing::TestWithParam<int> {
protected:
    static StagePlan Plan() {
        StagePlan plan;
        plan.rows = GetParam();
        return plan;
    }
};

TEST_P(FocusRowsTest, StaysOnLastRowOnDown) {
    Stage stage(Plan());
    for (int presses = 0; presses <= GetParam(); ++presses) {
        stage.Press("Down");
    }
    EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(GetParam() - 1));
    EXPECT_EQ(FocusedPlaces(stage), "list");
}

TEST_P(FocusRowsTest, StaysOnFirstRowOnUpAndLeft) {
    Stage stage(Plan());
    for (const char* const key : {"Up", "Left", "Up"}) {
        stage.Press(key);
        EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(0)) << key;
        EXPECT_EQ(FocusedPlaces(stage), "list") << key;
    }
}

TEST_P(FocusRowsTest, EmitsItemFocusedOnceWhenPopupCloses) {
    Stage stage(Plan());
    for (std::size_t times = 1; times <= 2; ++times) {
        stage.ShowPopup(true);
        stage.ShowPopup(false);
        stage.Press("Return");
        ASSERT_EQ(FocusedPlaces(stage), "list");
        EXPECT_EQ(stage.FocusedRows(), std::vector<int>(times, 0));
    }
    stage.Press("Right");
    stage.ShowPopup(false);
    stage.Press("Return");
    EXPECT_EQ(FocusedPlaces(stage), "panel");
    EXPECT_EQ(stage.FocusedRows(), std::vector<int>(2, 0));
}

// If OK follows Down fast, the list has not created the focused row yet. The toolkit gives the
// focus to the row when the list creates the row.
TEST(FocusTest, KeepsFocusInPopupWhenListCreatesFocusedRow) {
    constexpr int kRowOutsideTheList = 40;
    StagePlan plan;
    plan.rows = 60;
    Stage stage(plan);
    elm_object_item_focus_set(stage.Row(kRowOutsideTheList), EINA_TRUE);
    stage.ShowPopup(false);
    ASSERT_TRUE(Screen::PumpUntil([&] { return stage.RowView(kRowOutsideTheList) != nullptr; }));
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.ok);
    stage.Press("Return");
    EXPECT_EQ(stage.OkPresses(), 1);
    EXPECT_EQ(FocusedPlaces(stage), "list");
    EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(kRowOutsideTheList));
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(kRowOutsideTheList, kRowOutsideTheList));
}

INSTANTIATE_TEST_SUITE_P(Rows, FocusRowsTest, testing::Values(1, 2, 4, 9, 10, 11, 25));

// The application hides the detail label of an "image" item.
TEST(FocusTest, SkipsHiddenTextBetweenRowAndButton) {
    Stage stage;
    stage.HideText();
    stage.Press("Right");
    EXPECT_EQ(FocusedPlaces(stage), "button");
    for (const char* const back : {"Up", "Left"}) {
        stage.Press(back);
        EXPECT_EQ(FocusedPlaces(stage), "list") << back;
        stage.Press("Right");
    }
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

TEST(FocusTest, StaysOnRowWhenTextIsHiddenAndButtonIsDisabled) {
    Stage stage;
    stage.HideText();
    elm_object_disabled_set(stage.button, EINA_TRUE);
    stage.Press("Right");
    EXPECT_EQ(FocusedPlaces(stage), "list");
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

TEST(FocusTest, ReturnsToRowWhenPopupClosesOverHiddenTextAndDisabledButton) {
    Stage stage;
    stage.HideText();
    stage.Press("Right");
    ASSERT_EQ(FocusedPlaces(stage), "button");
    stage.ShowPopup(false);
    elm_object_disabled_set(stage.button, EINA_TRUE);
    stage.Press("Return");
    EXPECT_EQ(FocusedPlaces(stage), "list");
    EXPECT_THAT(stage.LabelEvents(), IsEmpty());
}

TEST(FocusTest, KeepsFocusAtUpperEndOfText) {
    Stage stage;
    stage.ShowResult(100);
    stage.Press("Right");
    stage.Press("Down");
    EXPECT_GT(TextPosition(stage), 0);
    for (int presses = 0; presses < 3; ++presses) {
        stage.Press("Up");
        EXPECT_EQ(FocusedPlaces(stage), "panel");
        EXPECT_EQ(TextPosition(stage), 0);
    }
    stage.Press("Right");
    EXPECT_EQ(FocusedPlaces(stage), "panel");
    stage.Press("Left");
    EXPECT_EQ(FocusedPlaces(stage), "list");
}

void ReadToEnd(Stage& stage) {
    stage.Press("Right");
    int position = -1;
    while (TextPosition(stage) > position) {
        position = TextPosition(stage);
        stage.Press("Down");
        ASSERT_LE(position, 100000);
    }
}

TEST(FocusTest, ReturnsToEndOfTextFromButton) {
    Stage stage;
    stage.ShowResult(100);
    ReadToEnd(stage);
    ASSERT_EQ(FocusedPlaces(stage), "button");
    const int end = TextPosition(stage);
    EXPECT_GT(end, 0);
    stage.Press("Up");
    EXPECT_EQ(FocusedPlaces(stage), "panel");
    EXPECT_FALSE(MovesText(stage));
    EXPECT_EQ(TextPosition(stage), end);
    stage.Press("Down");
    EXPECT_EQ(FocusedPlaces(stage), "button");
}

TEST(FocusTest, KeepsPlaceInTextWhenFocusLeavesAndReturns) {
    Stage stage;
    stage.ShowResult(100);
    stage.Press("Right");
    stage.Press("Down");
    stage.Press("Down");
    const int place = TextPosition(stage);
    EXPECT_GT(place, 0);
    stage.Press("Left");
    stage.Press("Right");
    EXPECT_EQ(FocusedPlaces(stage), "panel");
    EXPECT_TRUE(Screen::PumpUntil([&] { return TextPosition(stage) == place; }));
    EXPECT_FALSE(MovesText(stage));
    EXPECT_EQ(TextPosition(stage), place);
}

TEST(FocusTest, ShowsTextOfOtherRowFromItsBeginning) {
    Stage stage;
    stage.ShowResult(100);
    stage.Press("Right");
    stage.Press("Down");
    stage.Press("Left");
    EXPECT_GT(TextPosition(stage), 0);
    stage.Press("Down");
    EXPECT_EQ(TextPosition(stage), 0);
}

TEST(FocusTest, StaysAtEndOfTextWithoutButton) {
    Stage stage;
    stage.ShowResult(100);
    elm_object_disabled_set(stage.button, EINA_TRUE);
    ReadToEnd(stage);
    const int end = TextPosition(stage);
    EXPECT_GT(end, 0);
    stage.Press("Down");
    EXPECT_EQ(FocusedPlaces(stage), "panel");
    EXPECT_EQ(TextPosition(stage), end);
}

TEST(FocusTest, StaysOnButtonOnDownAndRight) {
    Stage stage;
    stage.Press("Right");
    stage.Press("Down");
    for (const char* const key : {"Down", "Right"}) {
        stage.Press(key);
        EXPECT_EQ(FocusedPlaces(stage), "button") << key;
    }
}

TEST(FocusTest, StaysOutsideListWithoutRows) {
    StagePlan plan;
    plan.rows = 0;
    Stage stage(plan);
    elm_object_focus_set(stage.button, EINA_TRUE);
    stage.Press("Left");
    EXPECT_EQ(FocusedPlaces(stage), "button");
    stage.Press("Up");
    EXPECT_EQ(FocusedPlaces(stage), "panel");
    stage.Press("Left");
    EXPECT_EQ(FocusedPlaces(stage), "panel");
}

// Returns the number of keys of the random walk. QUORVEL_RANDOM_KEYS replaces the default.
int WalkLength() {
    constexpr int kKeys = 25;
    const char* keys = std::getenv("QUORVEL_RANDOM_KEYS");
    return keys == nullptr ? kKeys : std::atoi(keys);
}

// Shows the detail text of a row. Every third row is an "image" item with hidden text. The other
// rows have texts of different lengths.
void ShowTextOf(Stage& stage, int row) {
    if (row % 3 == 1) {
        stage.HideText();
        return;
    }
    stage.ShowResult(row % 3 == 0 ? 2 : 40);
    evas_object_show(stage.label);
    Screen::ProcessEvents(stage.window);
}

class FocusWalkTest : public testing::TestWithParam<bool> {};

TEST_P(FocusWalkTest, ShowsExactlyOneFocusAfterEachKeyAndResize) {
    StagePlan plan;
    plan.rows = 14;
    Stage stage(plan);
    elm_object_disabled_set(stage.button, GetParam() ? EINA_TRUE : EINA_FALSE);
    std::minstd_rand random(1);
    const std::vector<std::string> keys{"Down", "Up", "Right", "Left", "Down", "Right"};
    std::size_t signals = 0;
    for (int step = 0; step < WalkLength(); ++step) {
        const std::string& key = keys[random() % keys.size()];
        stage.Press(key);
        if (step % 6 == 0) {
            const int part = 2 + step / 6 % 3;
            stage.Resize(Screen::kWidth * part / 4, Screen::kHeight * part / 4);
        }
        if (stage.FocusedRows().size() > signals) {
            signals = stage.FocusedRows().size();
            ShowTextOf(stage, stage.FocusedRows().back());
        }
        const std::string places = FocusedPlaces(stage);
        ASSERT_TRUE(places == "list" || places == "panel" || places == "button")
            << "step " << step << ", key " << key << ": " << places;
    }
}

INSTANTIATE_TEST_SUITE_P(DisabledButton, FocusWalkTest, testing::Bool());

TEST(FocusTest, EmitsNothingWhenFocusReturnsToOneOfManyRows) {
    Stage stage;
    stage.Press("Right");
    stage.Press("Left");
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
}

}  // namespace
}  // namespace quorvel::desktop
