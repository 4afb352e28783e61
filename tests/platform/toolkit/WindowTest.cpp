#include "toolkit/window.h"

#include <Ecore_Evas.h>
#include <gmock/gmock.h>

#include <utility>

#include "fixtures/Screen.h"
#include "platform/fixtures/ScopedVariable.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void CountEvent(void* data, Evas*, void*) {
    ++*static_cast<int*>(data);
}

TEST(WindowTest, ScalesWithScreen) {
    EXPECT_DOUBLE_EQ(ScaleFor(1920, 1080), 2.0);
    EXPECT_DOUBLE_EQ(ScaleFor(3840, 2160), 4.0);
    EXPECT_DOUBLE_EQ(ScaleFor(1280, 720), 2.0 * 720 / 1080);
}

TEST(WindowTest, ScalesWithNarrowerSide) {
    EXPECT_DOUBLE_EQ(ScaleFor(1280, 1080), 2.0 * 1280 / 1920);
    EXPECT_DOUBLE_EQ(ScaleFor(2560, 1080), 2.0);
}

TEST(WindowTest, ReturnsMainWindowWhileItExists) {
    {
        const Stage stage;
        EXPECT_EQ(MainWindow(), stage.window);
    }
    EXPECT_EQ(MainWindow(), nullptr);
}

TEST(WindowTest, HasSizeAndScaleOfSet) {
    const Stage stage;
    EXPECT_EQ(Screen::AreaOf(stage.window), (Area{0, 0, 1920, 1080}));
    EXPECT_DOUBLE_EQ(elm_config_scale_get(), 2.0);
}

TEST(WindowTest, HidesPointer) {
    const Stage stage;
    Evas_Object* cursor = nullptr;
    const Ecore_Evas* canvas = ecore_evas_ecore_evas_get(evas_object_evas_get(stage.window));
    ecore_evas_cursor_get(canvas, &cursor, nullptr, nullptr, nullptr);
    ASSERT_NE(cursor, nullptr);
    EXPECT_THAT(Screen::ColourOf(cursor), testing::Each(0));
}

// A frame that another thread draws is complete in a later iteration.
TEST(WindowTest, CompletesFrameInOneIterationOfMainLoop) {
    const Stage stage;
    Screen::ProcessEvents(stage.window);
    Evas* canvas = evas_object_evas_get(stage.window);
    int begun = 0;
    int complete = 0;
    evas_event_callback_add(canvas, EVAS_CALLBACK_RENDER_PRE, CountEvent, &begun);
    evas_event_callback_add(canvas, EVAS_CALLBACK_RENDER_POST, CountEvent, &complete);
    evas_object_color_set(stage.background, 255, 255, 255, 255);
    EXPECT_TRUE(Screen::PumpUntil([&begun] { return begun > 0; }));
    EXPECT_EQ(complete, begun);
    evas_event_callback_del_full(canvas, EVAS_CALLBACK_RENDER_PRE, CountEvent, &begun);
    evas_event_callback_del_full(canvas, EVAS_CALLBACK_RENDER_POST, CountEvent, &complete);
}

TEST(WindowTest, SetsScaleBeforeFirstWidget) {
    Stage::StartToolkit();
    elm_config_scale_set(1.0);
    Evas_Object* window = elm_win_util_standard_add("quorvel", "quorvel");
    EXPECT_DOUBLE_EQ(elm_config_scale_get(), 2.0);
    Screen::Close(window);
}

TEST(WindowTest, MultipliesScaleByUserScale) {
    Stage::StartToolkit();
    const ScopedVariable scale("ELM_SCALE", "1.25");
    Evas_Object* window = elm_win_util_standard_add("quorvel", "quorvel");
    EXPECT_DOUBLE_EQ(elm_config_scale_get(), 2.5);
    Screen::Close(window);
}

TEST(WindowTest, LimitsUserScale) {
    for (const auto& [text, expected] : {std::pair("0", 0.5),
                                         {"-3", 0.5},
                                         {"0.75", 0.75},
                                         {"1e9", 2.0},
                                         {"", 1.0},
                                         {"big", 1.0},
                                         {"1,5", 1.0},
                                         {"nan", 1.0}}) {
        const ScopedVariable scale("ELM_SCALE", text);
        EXPECT_DOUBLE_EQ(ScaleFor(1920, 1080), 2.0 * expected) << text;
    }
}

TEST(WindowTest, FocusesFirstRowAtStartWithoutSignal) {
    const Stage stage;
    EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(0));
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
}

TEST(WindowTest, MovesFocusToSecondRowOnFirstDown) {
    Stage stage;
    stage.Press("Down");
    EXPECT_THAT(stage.FocusedRows(), ElementsAre(1));
}

TEST(WindowTest, MovesFocusBetweenListPanelAndButton) {
    Stage stage;
    stage.Press("Right");
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.label);
    stage.Press("Down");
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.button);
    stage.Press("Up");
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.label);
    stage.Press("Left");
    EXPECT_TRUE(elm_object_focus_get(stage.list));
    EXPECT_EQ(elm_object_focused_item_get(stage.list), stage.Row(0));
}

TEST(WindowTest, FitsLayoutOnScreen) {
    for (const auto& [width, height] : {std::pair(1280, 720), {1920, 1080}, {3840, 2160}}) {
        StagePlan plan;
        plan.width = width;
        plan.height = height;
        plan.rows = 500;
        plan.infoLines = 80;
        const Stage stage(plan);
        int leastWidth = 0;
        int leastHeight = 0;
        evas_object_size_hint_min_get(stage.table, &leastWidth, &leastHeight);
        EXPECT_LE(leastWidth, width);
        EXPECT_LE(leastHeight, height);
        EXPECT_EQ(Screen::AreaOf(stage.window), (Area{0, 0, width, height}));
        EXPECT_TRUE((Area{0, 0, width, height}).Holds(Screen::AreaOf(stage.button))) << height;
    }
}

}  // namespace
}  // namespace quorvel::desktop
