#include "toolkit/scale.h"

#include <Ecore_Evas.h>
#include <gmock/gmock.h>

#include <utility>
#include <vector>

#include "fixtures/Screen.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/ScopedVariable.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Three sizes with the aspect ratio of the screen, and two narrower sizes.
constexpr std::pair<int, int> kWindowSizes[] = {
    {960, 540}, {1280, 720}, {900, 900}, {900, 600}, {1600, 900}};

// The log messages of the toolkit's focus manager contain this text.
constexpr char kFocusError[] = "efl_ui_focus";

StagePlan ScrolledPlan(int width = 1280, int height = 720) {
    StagePlan plan;
    plan.rows = 30;
    plan.canAnalyse = true;
    plan.infoLines = 9;
    plan.infoLinesRight = 11;
    plan.width = width;
    plan.height = height;
    return plan;
}

void GoDown(Stage& stage, int rows) {
    for (int row = 0; row < rows; ++row) {
        stage.Press("Down");
    }
}

int TopOf(const Evas_Object* scrollable) {
    int y = 0;
    elm_scroller_region_get(scrollable, nullptr, &y, nullptr, nullptr);
    return y;
}

int CountDifferences(const Picture& one, const Picture& other) {
    if (one.Width() != other.Width() || one.Height() != other.Height()) {
        return -1;
    }
    int differences = 0;
    for (int y = 0; y < one.Height(); ++y) {
        for (int x = 0; x < one.Width(); ++x) {
            differences += one.At(x, y) == other.At(x, y) ? 0 : 1;
        }
    }
    return differences;
}

struct State {
    const char* name;
    void (*prepare)(Stage&);
};

class ScaleStateTest : public testing::TestWithParam<State> {};

// Draws a new window of this size. The toolkit has one scale for all windows, so only one window
// may exist at a time.
Picture PictureAt(const State& state, int width, int height) {
    Stage stage(ScrolledPlan(width, height));
    state.prepare(stage);
    return Screen::Render(stage.window);
}

TEST_P(ScaleStateTest, DrawsSamePictureAsNewWindowOfSameSize) {
    const Picture small = PictureAt(GetParam(), 960, 540);
    Stage stage(ScrolledPlan());
    GetParam().prepare(stage);
    const Picture before = Screen::Render(stage.window);
    const std::vector<int> signals = stage.FocusedRows();
    stage.Resize(960, 540);
    EXPECT_EQ(CountDifferences(Screen::Render(stage.window), small), 0);
    stage.Resize(900, 900);
    stage.Resize(1280, 720);
    EXPECT_EQ(CountDifferences(Screen::Render(stage.window), before), 0);
    EXPECT_EQ(stage.FocusedRows(), signals);
}

INSTANTIATE_TEST_SUITE_P(
    States, ScaleStateTest,
    testing::Values(
        State{"Start", [](Stage&) {}}, State{"SecondRow", [](Stage& stage) { GoDown(stage, 1); }},
        State{"LongText",
              [](Stage& stage) {
                  stage.ShowResult(60);
                  stage.Press("Right");
              }},
        State{"Button",
              [](Stage& stage) {
                  stage.ShowResult(2);
                  stage.Press("Right");
                  stage.Press("Down");
              }},
        State{"HiddenText", [](Stage& stage) { stage.HideText(); }},
        State{"AnalysedRow",
              [](Stage& stage) {
                  stage.Press("Return");
                  evas_object_hide(stage.popup);
                  Screen::ProcessEvents(stage.window);
              }},
        State{"Popup",
              [](Stage& stage) {
                  stage.Press("Return");
                  stage.ShowPopup(false);
              }},
        State{"Columns",
              [](Stage& stage) { stage.ShowMarkup("1<tab/>22<tab/>a<br/>333<tab/>4<tab/>b"); }}),
    [](const auto& state) { return state.param.name; });

TEST(ScaleTest, KeepsFocusedRow) {
    Stage stage(ScrolledPlan());
    GoDown(stage, 20);
    const std::vector<int> signals = stage.FocusedRows();
    const LoggedLines lines;
    for (const auto& [width, height] : kWindowSizes) {
        stage.Resize(width, height);
        EXPECT_TRUE(elm_object_focus_get(stage.list));
        EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(20));
        EXPECT_TRUE(Screen::AreaOf(stage.list).Holds(Screen::AreaOf(stage.RowView(20))));
    }
    EXPECT_EQ(stage.FocusedRows(), signals);
    GoDown(stage, 1);
    EXPECT_EQ(stage.FocusedRows().back(), 21);
    stage.Press("Up");
    EXPECT_EQ(stage.FocusedRows().back(), 20);
    EXPECT_THAT(lines.Messages(), Each(Not(HasSubstr(kFocusError))));
}

TEST(ScaleTest, KeepsFocusOfRowBeforeFirstFrame) {
    Stage::StartToolkit();
    StagePlan plan = ScrolledPlan();
    plan.isResizedAtStart = true;
    const LoggedLines lines;
    Stage stage(plan);
    EXPECT_THAT(lines.Messages(), IsEmpty());
    GoDown(stage, 1);
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(1));
}

// A window manager takes the focus from the window while the user changes the size.
TEST(ScaleTest, KeepsFocusedRowOfWindowWithoutFocus) {
    Stage stage(ScrolledPlan());
    GoDown(stage, 12);
    const std::vector<int> signals = stage.FocusedRows();
    const LoggedLines lines;
    Ecore_Evas* canvas = ecore_evas_ecore_evas_get(evas_object_evas_get(stage.window));
    ecore_evas_focus_set(canvas, EINA_FALSE);
    for (const auto& [width, height] : kWindowSizes) {
        stage.Resize(width, height);
    }
    ecore_evas_focus_set(canvas, EINA_TRUE);
    Screen::ProcessEvents(stage.window);
    EXPECT_TRUE(elm_object_focus_get(stage.list));
    EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(12));
    EXPECT_EQ(stage.FocusedRows(), signals);
    EXPECT_THAT(lines.Messages(), Each(Not(HasSubstr(kFocusError))));
}

TEST(ScaleTest, MovesFocusFromLastRow) {
    Stage stage(ScrolledPlan());
    GoDown(stage, 29);
    for (const auto& [width, height] : kWindowSizes) {
        stage.Resize(width, height);
        stage.Press("Up");
        EXPECT_EQ(stage.FocusedRows().back(), 28);
        stage.Press("Down");
        EXPECT_EQ(stage.FocusedRows().back(), 29);
    }
}

TEST(ScaleTest, ReturnsFocusToSameRow) {
    Stage stage(ScrolledPlan());
    GoDown(stage, 12);
    const std::vector<int> signals = stage.FocusedRows();
    for (const auto& [width, height] : kWindowSizes) {
        stage.Press("Right");
        stage.Resize(width, height);
        EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.label);
        stage.Press("Left");
        EXPECT_TRUE(elm_object_focus_get(stage.list));
        stage.Press("Right");
        stage.Press("Down");
        stage.Resize(1280, 720);
        EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.button);
        stage.Press("Left");
        EXPECT_TRUE(elm_object_focus_get(stage.list));
    }
    EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(12));
    EXPECT_EQ(stage.FocusedRows(), signals);
}

TEST(ScaleTest, ReturnsFocusToSameRowWhenPopupCloses) {
    Stage stage(ScrolledPlan());
    GoDown(stage, 1);
    stage.Press("Return");
    stage.ShowPopup(true);
    const LoggedLines lines;
    stage.Resize(960, 540);
    EXPECT_EQ(Screen::FocusedWidget(stage.window), nullptr);
    EXPECT_TRUE(elm_object_disabled_get(stage.ok));
    stage.ShowPopup(false);
    stage.Resize(1280, 720);
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.ok);
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(1));
    stage.Press("Return");
    EXPECT_EQ(stage.OkPresses(), 1);
    EXPECT_TRUE(elm_object_focus_get(stage.list));
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(1, 1)) << "once more when the popup closes";
    GoDown(stage, 1);
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(1, 1, 2));
    EXPECT_THAT(lines.Messages(), Each(Not(HasSubstr(kFocusError))));
}

TEST(ScaleTest, ReturnsFocusToButtonWhenPopupCloses) {
    Stage stage(ScrolledPlan());
    stage.Press("Right");
    stage.Press("Down");
    stage.ShowPopup(true);
    stage.Resize(960, 540);
    stage.ShowPopup(false);
    stage.Press("Return");
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.button);
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
}

TEST(ScaleTest, KeepsScrollPositions) {
    Stage stage(ScrolledPlan());
    GoDown(stage, 20);
    stage.ShowResult(60);
    elm_scroller_region_show(stage.scroller, 0, 200, 1, 300);
    Screen::ProcessEvents(stage.window);
    const int listTop = TopOf(stage.list);
    const int textTop = TopOf(stage.scroller);
    stage.Resize(960, 540);
    EXPECT_NEAR(TopOf(stage.list), listTop * 0.75, 2);
    EXPECT_NEAR(TopOf(stage.scroller), textTop * 0.75, 2);
    stage.Resize(1280, 720);
    EXPECT_NEAR(TopOf(stage.list), listTop, 2);
    EXPECT_NEAR(TopOf(stage.scroller), textTop, 2);
}

// With this factor, the content fits no window size.
TEST(ScaleTest, KeepsSizeThatUserChooses) {
    const ScopedVariable scale("ELM_SCALE", "2");
    Stage stage(ScrolledPlan());
    for (const auto& [width, height] : kWindowSizes) {
        stage.Resize(width, height);
        Screen::Render(stage.window);
        EXPECT_EQ(Screen::AreaOf(stage.window), (Area{0, 0, width, height}));
    }
    GoDown(stage, 1);
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(1));
    int leastWidth = 0;
    ecore_evas_size_min_get(ecore_evas_ecore_evas_get(evas_object_evas_get(stage.window)),
                            &leastWidth, nullptr);
    EXPECT_EQ(leastWidth, 0);
}

}  // namespace
}  // namespace quorvel::desktop
