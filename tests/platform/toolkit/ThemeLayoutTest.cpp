// Tests the positions of the theme's texts, icons and frames.

#include <gmock/gmock.h>

#include <Elementary.h>

#include <algorithm>
#include <string>
#include <utility>

#include "fixtures/Screen.h"
#include "palette.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

const StagePlan kLongList{20, "", false, 9, 11, 0, 1920, 1080};

// Returns whether the pixel is not background. Texts, icons, focus frames and the highlight of a
// row are brighter than every background.
bool IsContent(const Colour& colour) {
    return colour.red + colour.green + colour.blue > 3 * 105;
}

// Returns the number of bright pixels in the margins of the screen.
int ContentInMargins(const Picture& picture) {
    const int width = picture.Width();
    const int height = picture.Height();
    const int x = width / 40;
    const int y = height / 40;
    return picture.Count({0, 0, x, height}, IsContent) +
           picture.Count({width - x, 0, x, height}, IsContent) +
           picture.Count({0, 0, width, y}, IsContent) +
           picture.Count({0, height - y, width, y}, IsContent);
}

class ThemeMarginTest : public testing::Test {
protected:
    void m_ExpectEmptyMargins() { EXPECT_EQ(ContentInMargins(Screen::Render(m_Stage.window)), 0); }

    Stage m_Stage{kLongList};
};

TEST_F(ThemeMarginTest, StaysEmptyAtStart) {
    m_ExpectEmptyMargins();
}

TEST_F(ThemeMarginTest, StaysEmptyAtEndOfList) {
    elm_object_item_focus_set(m_Stage.Row(19), EINA_TRUE);
    Screen::ProcessEvents(m_Stage.window);
    m_ExpectEmptyMargins();
}

TEST_F(ThemeMarginTest, StaysEmptyAroundFocusedPanel) {
    m_Stage.ShowMarkup(std::string(2000, 'W'));
    m_Stage.Press("Right");
    m_ExpectEmptyMargins();
}

TEST_F(ThemeMarginTest, StaysEmptyAroundFocusedButton) {
    elm_object_focus_set(m_Stage.button, EINA_TRUE);
    Screen::ProcessEvents(m_Stage.window);
    m_ExpectEmptyMargins();
}

TEST_F(ThemeMarginTest, StaysEmptyAroundPopup) {
    m_Stage.ShowPopup(true);
    m_ExpectEmptyMargins();
    m_Stage.ShowPopup(false);
    m_ExpectEmptyMargins();
}

TEST(ThemeLayoutTest, ShowsPartOfNextRowAboveMargin) {
    const Stage stage(kLongList);
    const Area row = Screen::AreaOf(stage.RowView(9));
    const Area visible{row.x, row.y, row.width, Screen::kHeight - 27 - row.y};
    EXPECT_GT(visible.height, 20);
    EXPECT_LT(visible.height, row.height);
    EXPECT_GT(Screen::Render(stage.window).Count(visible, IsContent), 100);
}

// Returns the horizontal range of the bright pixels of an area.
std::pair<int, int> RangeOf(const Picture& picture, const Area& area) {
    int first = area.Right();
    int last = area.x;
    for (int x = area.x; x < area.Right(); ++x) {
        if (picture.Count({x, area.y, 1, area.height}, IsContent) > 0) {
            first = std::min(first, x);
            last = x;
        }
    }
    return {first, last};
}

class ThemePopupTest : public StageSizeTest {
protected:
    // Returns the tolerance in pixels for the empty space at the sides of a letter.
    int m_Bearing() const { return m_Plan.width / 300; }
};

TEST_P(ThemePopupTest, CentresTitleOverButton) {
    Stage stage(m_Plan);
    stage.ShowPopup(false);
    const Picture picture = Screen::Render(stage.window);
    const Area ok = Stage::PartOf(stage.ok, "body");
    const Area label = Screen::AreaOf(stage.popupLabel);
    const int titleHeight = 80 * m_Plan.height / Screen::kHeight;
    const auto [first, last] =
        RangeOf(picture, {0, label.y - titleHeight, m_Plan.width, titleHeight});
    EXPECT_NEAR((first + last) / 2, ok.x + ok.width / 2, m_Bearing());
    EXPECT_NEAR(ok.x + ok.width / 2, m_Plan.width / 2, 2);
}

TEST_P(ThemePopupTest, BeginsTextAtLeftEdgeOfButton) {
    Stage stage(m_Plan);
    stage.ShowPopup(false);
    const Picture picture = Screen::Render(stage.window);
    const Area label = Screen::AreaOf(stage.popupLabel);
    const auto [first, last] = RangeOf(picture, {0, label.y, m_Plan.width, label.height});
    EXPECT_NEAR(first, Stage::PartOf(stage.ok, "body").x, m_Bearing());
    EXPECT_GT(last, first);
}

TEST_P(ThemePopupTest, ShowsLoaderLeftOfText) {
    Stage stage(m_Plan);
    stage.ShowPopup(true);
    const Area loader = Stage::PartOf(stage.loader, "loader");
    const Area ok = Stage::PartOf(stage.ok, "body");
    const int scale = m_Plan.height / 360;
    EXPECT_LT(loader.Right(), ok.x);
    EXPECT_GT(loader.Right(), ok.x - 20 * scale);
    const Area label = Screen::AreaOf(stage.popupLabel);
    EXPECT_NEAR(loader.y + loader.height / 2, label.y + label.height / 2, 2 * scale);
}

INSTANTIATE_TEST_SUITE_P(Screens, ThemePopupTest,
                         testing::Values(std::pair(1024, 600), std::pair(1920, 1080),
                                         std::pair(3840, 2160)));

class ThemeButtonTest : public StageSizeTest {};

TEST_P(ThemeButtonTest, BeginsAtLeftEdgeOfPanel) {
    const Stage stage(m_Plan);
    const Area body = Stage::PartOf(stage.button, "body");
    const Area frame = Stage::PartOf(stage.scroller, "frame");
    EXPECT_NEAR(body.x, frame.x, 1);
    EXPECT_GT(body.y, frame.Bottom());
    EXPECT_LE(body.Bottom(), m_Plan.height - 27 * m_Plan.height / Screen::kHeight);
}

INSTANTIATE_TEST_SUITE_P(Screens, ThemeButtonTest,
                         testing::Values(std::pair(1024, 600), std::pair(1280, 720),
                                         std::pair(1920, 1080), std::pair(3840, 2160)));

}  // namespace
}  // namespace quorvel::desktop
