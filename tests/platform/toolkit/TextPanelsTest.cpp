#include "toolkit/text_panels.h"

#include <gtest/gtest.h>

#include <Elementary.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "fixtures/Screen.h"
#include "fixtures/UsedTime.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

const Evas_Object* TextOf(const Evas_Object* label) {
    return edje_object_part_object_get(elm_layout_edje_get(label), "shown");
}

// Returns the height of the first line of text in pixels.
int LineHeight(const Evas_Object* label) {
    int height = 0;
    evas_object_textblock_line_number_geometry_get(TextOf(label), 0, nullptr, nullptr, nullptr,
                                                   &height);
    return height;
}

// Returns the lower edge of the last line, in pixels from the upper edge of the text.
int TextEnd(const Evas_Object* label, int lines) {
    int y = 0;
    int height = 0;
    EXPECT_TRUE(evas_object_textblock_line_number_geometry_get(TextOf(label), lines - 1, nullptr,
                                                               &y, nullptr, &height));
    return y + height;
}

// Returns the number of lines, including the lines into which a long value wraps.
int LineCount(const Evas_Object* label) {
    int lines = 0;
    while (evas_object_textblock_line_number_geometry_get(TextOf(label), lines, nullptr, nullptr,
                                                          nullptr, nullptr) != EINA_FALSE) {
        ++lines;
    }
    return lines;
}

// Returns the area of a line on the screen.
Area LineArea(const Evas_Object* label, int line) {
    const Area text = Screen::AreaOf(TextOf(label));
    Area area{};
    EXPECT_TRUE(evas_object_textblock_line_number_geometry_get(TextOf(label), line, &area.x,
                                                               &area.y, &area.width, &area.height));
    return {text.x + area.x, text.y + area.y, area.width, area.height};
}

std::string SlideState(const Evas_Object* label) {
    return edje_object_part_state_get(elm_layout_edje_get(label), "shown", nullptr);
}

// Returns the text of a label without markup.
std::string PlainText(const Evas_Object* label) {
    char* text = evas_textblock_text_markup_to_utf8(nullptr, elm_object_text_get(label));
    const std::string copy = text == nullptr ? "" : text;
    std::free(text);
    return copy;
}

// Returns the width in pixels of a text in the theme's font. The size of the font is in pixels.
int WidthOf(const Stage& stage, const std::string& text, int size) {
    Evas_Object* measured = evas_object_text_add(evas_object_evas_get(stage.window));
    evas_object_text_font_set(measured, "DejaVu Sans", size);
    evas_object_text_text_set(measured, text.c_str());
    const int width = evas_object_text_horiz_advance_get(measured);
    evas_object_del(measured);
    return width;
}

class TextPanelsTest : public testing::TestWithParam<int> {};

TEST_P(TextPanelsTest, ShowsAllLinesOfRun) {
    StagePlan plan;
    plan.infoLines = GetParam();
    const Stage stage(plan);
    const Area cell = Screen::AreaOf(stage.infoLeft);
    EXPECT_NEAR(cell.height, Screen::kHeight / 4, 4);
    EXPECT_EQ(SlideState(stage.infoLeft), "cell");
    EXPECT_EQ(LineCount(stage.infoLeft), plan.infoLines);
    EXPECT_TRUE(cell.Holds(LineArea(stage.infoLeft, 0)));
    EXPECT_TRUE(cell.Holds(LineArea(stage.infoLeft, plan.infoLines - 1)));
}

INSTANTIATE_TEST_SUITE_P(Lines, TextPanelsTest, testing::Values(2, 9, 10, 11));

class TextPanelsScaleTest : public StageSizeTest {
protected:
    TextPanelsScaleTest() {
        // The application sets different font sizes for these numbers of lines.
        m_Plan.infoLines = 9;
        m_Plan.infoLinesRight = 11;
    }
};

TEST_P(TextPanelsScaleTest, ShowsBothPanelsInSameFontSize) {
    const Stage stage(m_Plan);
    const double scale = elm_config_scale_get() / 2;
    const int expected = WidthOf(stage, "line 0=value", static_cast<int>(24 * scale));
    EXPECT_NEAR(LineArea(stage.infoLeft, 0).width, expected, 2 * scale);
    EXPECT_EQ(LineArea(stage.infoRight, 0).width, LineArea(stage.infoLeft, 0).width);
}

TEST_P(TextPanelsScaleTest, AlignsLinesOfBothPanels) {
    const Stage stage(m_Plan);
    for (int line = 0; line < 9; ++line) {
        const Area left = LineArea(stage.infoLeft, line);
        const Area right = LineArea(stage.infoRight, line);
        EXPECT_EQ(left.y, right.y) << line;
        EXPECT_EQ(left.height, right.height) << line;
    }
    EXPECT_EQ(SlideState(stage.infoRight), "cell") << "11 lines fit";
}

INSTANTIATE_TEST_SUITE_P(Screens, TextPanelsScaleTest,
                         testing::Values(std::pair(1024, 600), std::pair(1280, 720),
                                         std::pair(1920, 1080), std::pair(3840, 2160)));

TEST(TextPanelsTest, WrapsLongValueAtUsualSize) {
    const Stage usual;
    StagePlan plan;
    plan.infoLines = 8;
    plan.infoWordBytes = 160;
    const Stage stage(plan);
    EXPECT_GT(LineCount(stage.infoLeft), 9);
    EXPECT_EQ(LineHeight(stage.infoLeft), LineHeight(usual.infoLeft));
    EXPECT_EQ(LineArea(stage.infoLeft, 0), LineArea(usual.infoLeft, 0));
}

TEST(TextPanelsTest, SlidesToEndOfTooLongText) {
    StagePlan plan;
    plan.infoLines = 12;
    const Stage stage(plan);
    const Area cell = Screen::AreaOf(stage.infoLeft);
    EXPECT_EQ(SlideState(stage.infoLeft), "beginning");
    EXPECT_TRUE(cell.Holds(LineArea(stage.infoLeft, 0)));
    EXPECT_FALSE(cell.Holds(LineArea(stage.infoLeft, 11)));
    EXPECT_TRUE(Screen::PumpUntil([&] { return cell.Holds(LineArea(stage.infoLeft, 11)); }));
}

TEST(TextPanelsTest, KeepsRightMarginInRightPanelOnly) {
    const Stage stage;
    const int text = Screen::AreaOf(TextOf(stage.infoRight)).Right();
    EXPECT_LE(text, Screen::kWidth - 48);
    EXPECT_GE(Screen::AreaOf(TextOf(stage.infoLeft)).Right(),
              Screen::AreaOf(stage.infoLeft).Right() - 20);
}

TEST(TextPanelsTest, CutsValueOfMegabyteBetweenCharacters) {
    StagePlan plan;
    plan.infoLines = 11;
    plan.infoWordBytes = 1'000'000;
    std::unique_ptr<Stage> stage;
    EXPECT_LT(UsedTime([&] { stage = std::make_unique<Stage>(plan); }), std::chrono::seconds(10));
    const std::string shown = PlainText(stage->infoLeft);
    EXPECT_LE(shown.size(), 32768U);
    EXPECT_EQ(shown.substr(shown.size() - 2), "\xC3\xA4") << "the text ends inside a character";
}

TEST(TextPanelsTest, WidensLineDistanceWhenElevenLinesFit) {
    const auto distance = [](int height) {
        StagePlan plan;
        plan.width = 900;
        plan.height = height;
        const Stage stage(plan);
        return LineArea(stage.infoLeft, 1).y - LineArea(stage.infoLeft, 0).y;
    };
    EXPECT_GT(distance(900), distance(600));
}

TEST(TextPanelsTest, KeepsRowHeightForTooLongText) {
    const Stage usual;
    StagePlan plan;
    plan.infoLines = 80;
    const Stage stage(plan);
    EXPECT_EQ(Screen::AreaOf(stage.infoLeft), Screen::AreaOf(usual.infoLeft));
    EXPECT_EQ(Screen::AreaOf(stage.button), Screen::AreaOf(usual.button));
}

TEST(TextPanelsTest, KeepsLineHeightForValueOfMegabyte) {
    StagePlan plan;
    plan.infoLines = 11;
    plan.infoWordBytes = 1'000'000;
    const Stage stage(plan);
    const Stage usual;
    EXPECT_EQ(LineHeight(stage.infoLeft), LineHeight(usual.infoLeft));
    EXPECT_EQ(SlideState(stage.infoLeft), "beginning");
}

TEST(TextPanelsTest, KeepsTextSizeInDetailPanel) {
    Stage stage;
    stage.ShowResult(3);
    const int few = LineHeight(stage.label);
    stage.ShowResult(300);
    EXPECT_EQ(LineHeight(stage.label), few);
    EXPECT_GE(TextEnd(stage.label, 300), 300 * few);
    EXPECT_GE(Screen::AreaOf(stage.label).height, TextEnd(stage.label, 300));
}

}  // namespace
}  // namespace quorvel::desktop
