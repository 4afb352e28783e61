#include "toolkit/rows.h"

#include <gtest/gtest.h>

#include <string>

#include "fixtures/Screen.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

std::string ShownText(const std::string& text) {
    StagePlan plan;
    plan.rowText = text;
    const Stage stage(plan);
    const Evas_Object* part = edje_object_part_object_get(stage.RowView(0), "sliding");
    const char* shown = evas_object_text_text_get(part);
    return shown == nullptr ? "" : shown;
}

TEST(RowsTest, ShowsEntitiesLiterally) {
    EXPECT_EQ(ShownText(" Audio&Video;mix"), "Row 0 Audio&Video;mix");
    EXPECT_EQ(ShownText(" &amp; &lt;b&gt; &"), "Row 0 &amp; &lt;b&gt; &");
}

TEST(RowsTest, ShowsTagsLiterally) {
    EXPECT_EQ(ShownText(" <b>x</b>(1<2)"), "Row 0 <b>x</b>(1<2)");
}

TEST(RowsTest, ShowsTabsAndLineBreaksAsSingleBlanks) {
    EXPECT_EQ(ShownText("\ta\tb\nc\r\nd\n\t e"), "Row 0 a b c d  e");
}

std::string MarkOf(const Stage& stage, int row) {
    return edje_object_part_state_get(stage.RowView(row), "analysed", nullptr);
}

TEST(RowsTest, MarksRowWhenPressOpensPopup) {
    StagePlan plan;
    plan.canAnalyse = true;
    Stage stage(plan);
    stage.Press("Return");
    EXPECT_EQ(stage.RowPresses(), 1);
    EXPECT_EQ(MarkOf(stage, 0), "shown");
    EXPECT_EQ(MarkOf(stage, 1), "default");
}

TEST(RowsTest, ShowsNoMarkOnRejectedRow) {
    Stage stage;
    stage.Press("Return");
    EXPECT_EQ(stage.RowPresses(), 1);
    EXPECT_EQ(MarkOf(stage, 0), "default");
}

TEST(RowsTest, KeepsMarkOfRowThatScrollsAway) {
    StagePlan plan;
    plan.canAnalyse = true;
    plan.rows = 200;
    Stage stage(plan);
    stage.Press("Return");
    evas_object_hide(stage.popup);
    elm_genlist_item_show(stage.Row(199), ELM_GENLIST_ITEM_SCROLLTO_IN);
    ASSERT_TRUE(Screen::PumpUntil([&] { return stage.RowView(0) == nullptr; }));
    elm_genlist_item_show(stage.Row(0), ELM_GENLIST_ITEM_SCROLLTO_IN);
    ASSERT_TRUE(Screen::PumpUntil([&] { return stage.RowView(0) != nullptr; }));
    Screen::ProcessEvents(stage.window);
    EXPECT_EQ(MarkOf(stage, 0), "shown");
    EXPECT_EQ(MarkOf(stage, 1), "default");
}

TEST(RowsTest, ShowsNoMarkOnOtherRowsAfterScrolling) {
    StagePlan plan;
    plan.canAnalyse = true;
    plan.rows = 200;
    Stage stage(plan);
    stage.Press("Return");
    evas_object_hide(stage.popup);
    for (int last = 20; last < plan.rows; last += 10) {
        elm_genlist_item_show(stage.Row(last), ELM_GENLIST_ITEM_SCROLLTO_IN);
        ASSERT_TRUE(Screen::PumpUntil([&] { return stage.RowView(last) != nullptr; }));
        Screen::ProcessEvents(stage.window);
        for (int row = last - 5; row <= last; ++row) {
            ASSERT_EQ(MarkOf(stage, row), "default") << row;
        }
    }
}

// Returns whether a part of the row is inside the list.
bool IsInSight(const Stage& stage, int row) {
    const Area list = Screen::AreaOf(stage.list);
    Evas_Object* view = stage.RowView(row);
    return view != nullptr && evas_object_visible_get(view) != EINA_FALSE &&
           Screen::AreaOf(view).y < list.Bottom() - 8 && Screen::AreaOf(view).Bottom() > list.y + 8;
}

TEST(RowsTest, ShowsPartOfNextRowBelowFocusedRow) {
    StagePlan plan;
    plan.rows = 40;
    Stage stage(plan);
    const Area list = Screen::AreaOf(stage.list);
    for (int row = 1; row < plan.rows; ++row) {
        stage.Press("Down");
        EXPECT_TRUE(
            Screen::PumpUntil([&] { return list.Holds(Screen::AreaOf(stage.RowView(row))); }));
        EXPECT_EQ(IsInSight(stage, row + 1), row + 1 < plan.rows) << row;
    }
}

}  // namespace
}  // namespace quorvel::desktop
