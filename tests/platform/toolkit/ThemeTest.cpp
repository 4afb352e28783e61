#include "toolkit/theme.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "fixtures/Screen.h"
#include "palette.h"
#include "platform/fixtures/LoggedLines.h"
#include "platform/fixtures/PrivateFolders.h"
#include "platform/fixtures/ScopedVariable.h"
#include "platform/fixtures/Stage.h"
#include "resources.h"

namespace quorvel::desktop {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Returns the perceived brightness of a colour, from 0 to 255.
int Brightness(const Colour& colour) {
    return (2 * colour.red + 7 * colour.green + colour.blue) / 10;
}

class ThemeStyleTest : public testing::TestWithParam<const char*> {};

TEST_P(ThemeStyleTest, ExistsInTheme) {
    Stage::StartToolkit();
    const char* file = elm_theme_group_path_find(nullptr, GetParam());
    ASSERT_NE(file, nullptr);
    EXPECT_THAT(file, HasSubstr("/resources/theme/quorvel"));
}

INSTANTIATE_TEST_SUITE_P(Theme, ThemeStyleTest,
                         testing::Values("elm/genlist/item/C_TextItem_WhiteSingleline02/default",
                                         "elm/popup/base/C_PopupBasic_WhiteBottom",
                                         "elm/popup/content/popup/C_PopupBasic_WhiteBottom",
                                         "elm/notify/bottom/popup/C_PopupBasic_WhiteBottom",
                                         "elm/notify/center/popup/C_PopupBasic_WhiteBottom",
                                         "elm/notify/block_events/popup/C_PopupBasic_WhiteBottom",
                                         "elm/label/base/popup/C_PopupBasic_WhiteBottom",
                                         "elm/progressbar/horizontal/C_Loading_WhiteSmall",
                                         "elm/button/base/C_ButtonBasic_WhiteText",
                                         "elm/scroller/base/c_scrollbar_list",
                                         "elm/label/base/slide_short", "elm/label/base/default",
                                         "elm/genlist/base/default", "elm/pointer/base/default"));

TEST(ThemeTest, HasEveryStyleThatToolkitNeeds) {
    Stage::StartToolkit();
    Screen::TakeErrors();
    {
        Stage stage;
        stage.Press("Down");
        stage.ShowResult(100);
        stage.ShowPopup(true);
        stage.ShowPopup(false);
        stage.Press("Return");
    }
    EXPECT_THAT(Screen::TakeErrors(), IsEmpty());
}

TEST(ThemeTest, RejectsInvalidThemeFile) {
    Stage::StartToolkit();
    const PrivateFolders folders;
    const std::filesystem::path file = folders.Root() / "theme/quorvel.edj";
    std::filesystem::create_directory(file.parent_path());
    std::ofstream(file) << "no theme";
    RemoveTheme();
    const LoggedLines log;
    {
        const ScopedVariable resources("QUORVEL_RESOURCES", folders.Root().string());
        EXPECT_FALSE(AddTheme());
        RemoveTheme();
    }
    EXPECT_THAT(log.Messages(),
                ElementsAre(file.string() + ": theme missing or invalid; check QUORVEL_RESOURCES "
                                            "or install quorvel again"));
    EXPECT_TRUE(AddTheme());
}

TEST(ThemeTest, LogsUnknownThemeAndUsesNormalTheme) {
    Stage::StartToolkit();
    RemoveTheme();
    const LoggedLines log;
    {
        const ScopedVariable theme("QUORVEL_THEME", "pink");
        EXPECT_TRUE(AddTheme());
        const char* file = elm_theme_group_path_find(nullptr, "elm/label/base/slide_short");
        EXPECT_EQ(file, FindResource("theme/quorvel-text.edj"));
        RemoveTheme();
    }
    EXPECT_THAT(log.Messages(), ElementsAre("QUORVEL_THEME=pink: unknown theme; use high-contrast "
                                            "or no value"));
    EXPECT_TRUE(AddTheme());
}

class ThemeProportionTest : public StageSizeTest {};

TEST_P(ThemeProportionTest, FillsTitleRowWithTitle) {
    const Stage stage(m_Plan);
    const Area row = Screen::AreaOf(stage.title);
    const Picture picture = Screen::Render(stage.window);
    const auto isTitle = [](const Colour& colour) { return colour == Colour{0xCC, 0xCC, 0xCC}; };
    const Area letters{m_Plan.width / 3, row.y, m_Plan.width / 3, row.height};
    const int all = picture.Count(letters, isTitle);
    EXPECT_GT(all, row.height * row.height / 3);
    EXPECT_EQ(picture.Count(row, isTitle), all) << "outside the middle";
    const Area edge{0, row.y, m_Plan.width, row.height / 10};
    EXPECT_EQ(picture.Count(edge, isTitle), 0) << "at the upper edge";
}

TEST_P(ThemeProportionTest, ShowsTenRows) {
    m_Plan.rows = 20;
    const Stage stage(m_Plan);
    const Area list = Screen::AreaOf(stage.list);
    int y = 0;
    int height = 0;
    Elm_Object_Item* tenth = elm_genlist_at_xy_item_get(stage.list, list.x + list.width / 2,
                                                        list.Bottom() - list.height / 20, &y);
    EXPECT_EQ(tenth, stage.Row(9));
    elm_scroller_child_size_get(stage.list, nullptr, &height);
    EXPECT_NEAR(height / m_Plan.rows, list.height / 10, list.height / 200);
}

TEST_P(ThemeProportionTest, GivesColumnsEqualWidth) {
    m_Plan.infoLines = 20;
    const Stage stage(m_Plan);
    EXPECT_NEAR(Screen::AreaOf(stage.list).width, m_Plan.width / 3, 3);
    EXPECT_NEAR(Screen::AreaOf(stage.infoRight).width, m_Plan.width / 3, 3);
    EXPECT_NEAR(Screen::AreaOf(stage.infoRight).height, m_Plan.height / 4, 4);
}

INSTANTIATE_TEST_SUITE_P(Theme, ThemeProportionTest,
                         testing::Values(std::pair(1280, 720), std::pair(1920, 1080),
                                         std::pair(3840, 2160)));

TEST(ThemeTest, GreysEmptyList) {
    StagePlan empty;
    empty.rows = 0;
    const Stage grey(empty);
    const Picture greyPicture = Screen::Render(grey.window);
    const Stage usual;
    const Picture usualPicture = Screen::Render(usual.window);
    // The test compares a point of the list below the last row.
    const Area list = Screen::AreaOf(usual.list);
    const int x = list.x + list.width / 2;
    const int y = list.Bottom() - 10;
    EXPECT_GT(Brightness(greyPicture.At(x, y)), Brightness(usualPicture.At(x, y)) + 20);
}

TEST(ThemeTest, ShowsFocusedAndDisabledButton) {
    const Stage stage;
    EXPECT_EQ(StateOf(stage.button, "body"), "default");
    elm_object_focus_set(stage.button, EINA_TRUE);
    Screen::ProcessEvents(stage.window);
    EXPECT_EQ(StateOf(stage.button, "body"), "focused");
    elm_object_disabled_set(stage.button, EINA_TRUE);
    Screen::ProcessEvents(stage.window);
    EXPECT_EQ(StateOf(stage.button, "body"), "disabled");
    EXPECT_EQ(StateOf(stage.button, "elm.text"), "disabled");
    elm_object_disabled_set(stage.button, EINA_FALSE);
    Screen::ProcessEvents(stage.window);
    EXPECT_EQ(StateOf(stage.button, "elm.text"), "default");
}

TEST(ThemeTest, ShowsPopupAtBottomAndDimsRest) {
    Stage stage;
    const Picture before = Screen::Render(stage.window);
    stage.ShowPopup(false);
    const Picture after = Screen::Render(stage.window);
    const Area row = Screen::AreaOf(stage.title);
    const Area ok = Screen::AreaOf(stage.ok);
    EXPECT_LT(after.Count(row, [](const Colour& c) { return Brightness(c) > 100; }), 1);
    EXPECT_GT(before.Count(row, [](const Colour& c) { return Brightness(c) > 100; }), 1000);
    EXPECT_GT(ok.y, Screen::kHeight / 2);
    EXPECT_LE(ok.Bottom(), Screen::kHeight);
    const auto isSheet = [](const Colour& colour) { return colour == Colour{COLOR_SURFACE}; };
    const Area lastLine{0, Screen::kHeight - 1, Screen::kWidth, 1};
    EXPECT_EQ(after.Count(lastLine, isSheet), Screen::kWidth) << "the popup fills the width";
    EXPECT_EQ(after.Count({0, 0, Screen::kWidth, Screen::kHeight / 3}, isSheet), 0);
}

// On Wayland, the toolkit draws the pointer with the theme.
TEST(ThemeTest, DrawsNoPointer) {
    const Stage stage;
    const Picture before = Screen::Render(stage.window);
    Evas_Object* pointer = edje_object_add(evas_object_evas_get(stage.window));
    ASSERT_TRUE(edje_object_file_set(pointer, FindResource("theme/quorvel.edj").c_str(),
                                     "elm/pointer/base/default"));
    evas_object_geometry_set(pointer, 0, 0, 64, 64);
    evas_object_show(pointer);
    const Picture after = Screen::Render(stage.window);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            ASSERT_EQ(after.At(x, y), before.At(x, y));
        }
    }
}

TEST(ThemeTest, HidesPopupImmediately) {
    Stage stage;
    const auto isBright = [](const Colour& colour) { return Brightness(colour) > 100; };
    const Area screen{0, 0, Screen::kWidth, Screen::kHeight};
    const int before = Screen::Render(stage.window).Count(screen, isBright);
    stage.ShowPopup(false);
    EXPECT_NE(Screen::Render(stage.window).Count(screen, isBright), before);
    evas_object_hide(stage.popup);
    EXPECT_EQ(Screen::Render(stage.window).Count(screen, isBright), before);
}

TEST(ThemeTest, TurnsLoaderWhileWorkerRuns) {
    Stage stage;
    stage.ShowPopup(true);
    const Area loader = Stage::PartOf(stage.loader, "loader");
    const auto isDot = [](const Colour& colour) { return Brightness(colour) > 200; };
    const auto rightHalf = [&] {
        const Area half{loader.x + loader.width / 2, loader.y, loader.width / 2, loader.height};
        return Screen::Render(stage.window).Count(half, isDot);
    };
    const int first = rightHalf();
    EXPECT_TRUE(Screen::PumpUntil([&] { return std::abs(rightHalf() - first) > 200; }));
    stage.ShowPopup(false);
    EXPECT_EQ(Screen::Render(stage.window).Count(loader, isDot), 0);
}

TEST(ThemeTest, ShowsScrollbarForLongText) {
    Stage stage;
    stage.ShowResult(5);
    EXPECT_EQ(StateOf(stage.scroller, "track"), "default");
    stage.ShowResult(60);
    EXPECT_EQ(StateOf(stage.scroller, "track"), "shown");
    const Area track = Stage::PartOf(stage.scroller, "track");
    EXPECT_TRUE(Screen::AreaOf(stage.scroller).Holds(track));
}

TEST(ThemeTest, ScrollsLongTextByHundredPixels) {
    Stage stage;
    stage.ShowResult(60);
    stage.Press("Right");
    int y = 0;
    int end = 0;
    elm_scroller_child_size_get(stage.scroller, nullptr, &end);
    end -= Screen::AreaOf(stage.scroller).height;
    for (int expected = 100; expected < end; expected += 100) {
        stage.Press("Down");
        elm_scroller_region_get(stage.scroller, nullptr, &y, nullptr, nullptr);
        ASSERT_EQ(y, expected);
    }
    stage.Press("Down");
    elm_scroller_region_get(stage.scroller, nullptr, &y, nullptr, nullptr);
    EXPECT_EQ(y, end);
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.label);
    stage.Press("Down");
    EXPECT_EQ(Screen::FocusedWidget(stage.window), stage.button);
}

TEST(ThemeTest, ShowsWholeTextAndFadesAtEdges) {
    Stage stage;
    stage.ShowResult(60);
    const Evas_Object* panel = elm_layout_edje_get(stage.label);
    int lines = 0;
    while (evas_object_textblock_line_number_geometry_get(
        edje_object_part_object_get(panel, "shown"), lines, nullptr, nullptr, nullptr, nullptr)) {
        ++lines;
    }
    EXPECT_EQ(lines, 61) << "60 lines and an empty line after the last line break";
    EXPECT_FALSE(evas_object_visible_get(edje_object_part_object_get(panel, "elm.text")))
        << "this part shows the toolkit's ellipsis";
    EXPECT_EQ(StateOf(stage.scroller, "mask"), "bottom");
    stage.Press("Right");
    stage.Press("Down");
    EXPECT_EQ(StateOf(stage.scroller, "mask"), "both");
}

TEST(ThemeTest, DarkensPanelUnderTextOnly) {
    const Stage stage;
    EXPECT_EQ(StateOf(stage.scroller, "ground"), "default");
    evas_object_hide(stage.label);
    Screen::ProcessEvents(stage.window);
    EXPECT_EQ(StateOf(stage.scroller, "ground"), "hidden");
    evas_object_show(stage.label);
    Screen::ProcessEvents(stage.window);
    EXPECT_EQ(StateOf(stage.scroller, "ground"), "default");
}

TEST(ThemeTest, ShowsPictureBehindPanel) {
    const Stage stage;
    Evas_Object* photo = evas_object_rectangle_add(evas_object_evas_get(stage.window));
    evas_object_color_set(photo, 200, 100, 50, 255);
    const Area panel = Screen::AreaOf(stage.scroller);
    evas_object_geometry_set(photo, panel.x, panel.y, panel.width, panel.height);
    evas_object_stack_below(photo, stage.table);
    evas_object_show(photo);
    evas_object_hide(stage.label);
    const auto isPhoto = [](const Colour& colour) { return colour == Colour{200, 100, 50}; };
    EXPECT_EQ(Screen::Render(stage.window).Count(panel, isPhoto), panel.width * panel.height);
}

}  // namespace
}  // namespace quorvel::desktop
