#include "toolkit/text_panels.h"

#include <gtest/gtest.h>

#include <Elementary.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "fixtures/Screen.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

const Evas_Object* TextOf(const Evas_Object* label) {
    return edje_object_part_object_get(elm_layout_edje_get(label), "shown");
}

// The height of the first line of text in pixels.
int LineHeight(const Evas_Object* label) {
    int height = 0;
    evas_object_textblock_line_number_geometry_get(TextOf(label), 0, nullptr, nullptr, nullptr,
                                                   &height);
    return height;
}

// The lower edge of the last line, in pixels from the upper edge of the text.
int TextEnd(const Evas_Object* label, int lines) {
    int y = 0;
    int height = 0;
    EXPECT_TRUE(evas_object_textblock_line_number_geometry_get(TextOf(label), lines - 1, nullptr,
                                                               &y, nullptr, &height));
    return y + height;
}

class TextPanelsTest : public testing::TestWithParam<int> {};

TEST_P(TextPanelsTest, ShowsAllLinesAtLargestSizeThatFits) {
    StagePlan plan;
    plan.infoLines = GetParam();
    const Stage stage(plan);
    const Area cell = Screen::AreaOf(stage.infoLeft);
    const int end = TextEnd(stage.infoLeft, plan.infoLines);
    EXPECT_LE(end, cell.height);
    EXPECT_GT(end, cell.height * 3 / 4);
    EXPECT_NEAR(cell.height, Screen::kHeight / 4, 4);
}

INSTANTIATE_TEST_SUITE_P(Lines, TextPanelsTest, testing::Values(9, 10, 11, 12, 13, 17, 20, 30));

TEST(TextPanelsTest, LimitsSizeOfShortTextToTenLines) {
    StagePlan plan;
    plan.infoLines = 2;
    const Stage few(plan);
    EXPECT_LE(LineHeight(few.infoLeft), Screen::AreaOf(few.infoLeft).height / 10);
}

TEST(TextPanelsTest, MeasuresAValueOfAMegabyteInTime) {
    StagePlan plan;
    plan.infoLines = 11;
    plan.infoWordBytes = 1'000'000;
    const auto start = std::chrono::steady_clock::now();
    const Stage stage(plan);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    const std::string shown = elm_object_text_get(stage.infoLeft);
    EXPECT_LE(shown.size(), 32768U);
    EXPECT_EQ(shown.substr(shown.size() - 2), "\xC3\xA4") << "the text ends inside a character";
}

TEST(TextPanelsTest, ShowsUsualTextReadableFromDistance) {
    StagePlan plan;
    plan.infoLines = 11;
    const Stage stage(plan);
    EXPECT_GE(LineHeight(stage.infoLeft), 20);
}

TEST(TextPanelsTest, KeepsRowHeightForTooLongText) {
    const Stage usual;
    StagePlan plan;
    plan.infoLines = 80;
    const Stage stage(plan);
    EXPECT_EQ(Screen::AreaOf(stage.infoLeft), Screen::AreaOf(usual.infoLeft));
    EXPECT_EQ(Screen::AreaOf(stage.button), Screen::AreaOf(usual.button));
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
