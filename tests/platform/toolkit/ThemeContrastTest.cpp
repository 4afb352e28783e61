// Tests the contrast of the theme's colours in pictures.

#include <gmock/gmock.h>

#include <Elementary.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string>

#include "fixtures/Screen.h"
#include "platform/fixtures/ScopedVariable.h"
#include "platform/fixtures/Stage.h"
#include "resources.h"
#include "toolkit/theme.h"

namespace quorvel::desktop {
namespace {

double Linear(int channel) {
    const double value = channel / 255.0;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

// Returns the relative luminance as WCAG 2.1 defines it, from 0 to 1.
double Luminance(const Colour& colour) {
    return 0.2126 * Linear(colour.red) + 0.7152 * Linear(colour.green) +
           0.0722 * Linear(colour.blue);
}

// Returns the contrast ratio as WCAG 2.1 defines it, from 1 to 21.
double Contrast(const Colour& one, const Colour& other) {
    const auto [darker, brighter] = std::minmax({Luminance(one), Luminance(other)});
    return (brighter + 0.05) / (darker + 0.05);
}

// Returns the width of the frame in pixels, from a point inwards. The contrast between the pictures
// is at least 3 at each pixel of the frame.
int FrameWidth(const Picture& focused, const Picture& other, int x, int y, int stepX, int stepY) {
    int width = 0;
    while (Contrast(focused.At(x, y), other.At(x, y)) >= 3.0) {
        ++width;
        x += stepX;
        y += stepY;
    }
    return width;
}

// Returns the smallest width of the frame. Measures the frame in the middle of each side.
int FrameWidth(const Picture& focused, const Picture& other, const Area& frame) {
    const int x = frame.x + frame.width / 2;
    const int y = frame.y + frame.height / 2;
    return std::min({FrameWidth(focused, other, x, frame.y, 0, 1),
                     FrameWidth(focused, other, x, frame.Bottom() - 1, 0, -1),
                     FrameWidth(focused, other, frame.x, y, 1, 0),
                     FrameWidth(focused, other, frame.Right() - 1, y, -1, 0)});
}

// Loads a theme for new widgets. The destructor restores the normal theme.
class ScopedTheme {
public:
    explicit ScopedTheme(const std::string& name) {
        Stage::StartToolkit();
        RemoveTheme();
        m_Name.emplace("QUORVEL_THEME", name);
        EXPECT_TRUE(AddTheme());
    }
    ~ScopedTheme() {
        RemoveTheme();
        m_Name.reset();
        EXPECT_TRUE(AddTheme());
    }
    ScopedTheme(const ScopedTheme&) = delete;
    ScopedTheme& operator=(const ScopedTheme&) = delete;

private:
    std::optional<ScopedVariable> m_Name;
};

// A theme and a colour of its background.
struct Appearance {
    const char* theme;
    Colour background;
    // The minimum contrast of text on a focused widget.
    double textContrast;
};

class ThemeContrastTest : public testing::TestWithParam<Appearance> {
protected:
    ThemeContrastTest() : m_Theme(GetParam().theme) {
        const Colour& colour = GetParam().background;
        evas_object_color_set(m_Stage.background, colour.red, colour.green, colour.blue, 255);
    }
    Picture m_Take() { return Screen::Render(m_Stage.window); }

    ScopedTheme m_Theme;
    Stage m_Stage;
};

TEST_P(ThemeContrastTest, FramesFocusedRow) {
    const Picture focused = m_Take();
    const Area frame = Stage::PartOf(m_Stage.RowView(0), "highlight.line");
    m_Stage.Press("Right");
    EXPECT_GE(FrameWidth(focused, m_Take(), frame), 2) << "the focus is in the panel";
    m_Stage.Press("Left");
    m_Stage.Press("Down");
    EXPECT_GE(FrameWidth(focused, m_Take(), frame), 2) << "the focus is on another row";
}

TEST_P(ThemeContrastTest, FramesFocusedPanel) {
    const Picture other = m_Take();
    m_Stage.Press("Right");
    const Picture focused = m_Take();
    EXPECT_GE(FrameWidth(focused, other, Stage::PartOf(m_Stage.scroller, "frame")), 6);
}

TEST_P(ThemeContrastTest, FramesFocusedButton) {
    const Picture other = m_Take();
    elm_object_focus_set(m_Stage.button, EINA_TRUE);
    Screen::ProcessEvents(m_Stage.window);
    EXPECT_GE(FrameWidth(m_Take(), other, Stage::PartOf(m_Stage.button, "body.line")), 2);
}

TEST_P(ThemeContrastTest, FramesFocusedButtonOfPopup) {
    m_Stage.ShowPopup(true);
    const Picture other = m_Take();
    m_Stage.ShowPopup(false);
    EXPECT_GE(FrameWidth(m_Take(), other, Stage::PartOf(m_Stage.ok, "body.line")), 2);
}

// Returns the colour in the area that has the highest contrast to the ground.
Colour MostVisible(const Picture& picture, const Area& area, const Colour& ground) {
    Colour best = ground;
    for (int y = area.y; y < area.Bottom(); ++y) {
        for (int x = area.x; x < area.Right(); ++x) {
            const Colour colour = picture.At(x, y);
            best = Contrast(colour, ground) > Contrast(best, ground) ? colour : best;
        }
    }
    return best;
}

TEST_P(ThemeContrastTest, ShowsRedTextOnPanel) {
    m_Stage.ShowMarkup("light pipe missing", "#FF0000");
    const Area panel = Screen::AreaOf(m_Stage.scroller);
    const Area firstLine{panel.x + 30, panel.y + 10, 300, 50};
    for (const char* state : {"unfocused", "focused"}) {
        const Picture picture = m_Take();
        const Colour ground = picture.At(panel.x + panel.width / 2, panel.y + panel.height / 2);
        const Colour text = MostVisible(picture, firstLine, ground);
        EXPECT_GE(text.red, 250) << state;
        EXPECT_EQ(text.green + text.blue, 0) << state;
        EXPECT_GE(Contrast(text, ground), 4.5) << state;
        m_Stage.Press("Right");
    }
}

// Returns the contrast between the label and the body of a button.
double LabelContrast(const Picture& picture, const Evas_Object* button) {
    const Area body = Stage::PartOf(button, "body");
    const Colour ground = picture.At(body.x + 20, body.y + body.height / 2);
    const Area text{body.x + 20, body.y + 10, body.width - 40, body.height - 20};
    return Contrast(MostVisible(picture, text, ground), ground);
}

TEST_P(ThemeContrastTest, ShowsLabelOfDisabledButton) {
    const double enabled = LabelContrast(m_Take(), m_Stage.button);
    elm_object_disabled_set(m_Stage.button, EINA_TRUE);
    Screen::ProcessEvents(m_Stage.window);
    const double disabled = LabelContrast(m_Take(), m_Stage.button);
    EXPECT_GE(disabled, 3.0);
    EXPECT_LT(disabled, enabled / 2) << "the button appears enabled";
    m_Stage.ShowPopup(true);
    EXPECT_GE(LabelContrast(m_Take(), m_Stage.ok), 3.0);
}

// The test checks the text of a row and the label of the popup's button.
TEST_P(ThemeContrastTest, ShowsTextOnFocusedWidgets) {
    const Picture list = m_Take();
    const Area row = Stage::PartOf(m_Stage.RowView(0), "text.clip");
    const Colour ground = list.At(row.Right() - 10, row.y + row.height / 2);
    const Area text{row.x, row.y + 20, row.width, row.height - 40};
    EXPECT_GE(Contrast(MostVisible(list, text, ground), ground), GetParam().textContrast);
    m_Stage.ShowPopup(false);
    EXPECT_GE(LabelContrast(m_Take(), m_Stage.ok), GetParam().textContrast);
}

TEST_P(ThemeContrastTest, ShowsLineBetweenRows) {
    const Picture picture = m_Take();
    const Area line = Stage::PartOf(m_Stage.RowView(1), "line");
    const int x = line.x + line.width / 2;
    EXPECT_GE(Contrast(picture.At(x, line.y), picture.At(x, line.y - 4)), 1.5);
    EXPECT_GE(line.height, 2);
}

// The darkest and the brightest colour of the normal background, and the background of high
// contrast.
INSTANTIATE_TEST_SUITE_P(Appearances, ThemeContrastTest,
                         testing::Values(Appearance{"", {19, 28, 39}, 4.5},
                                         Appearance{"", {45, 66, 88}, 4.5},
                                         Appearance{"high-contrast", {0, 0, 0}, 7.0}));

TEST(ThemeHighContrastTest, ShowsWhiteOnBlack) {
    const ScopedTheme theme("high-contrast");
    Stage stage;
    evas_object_color_set(stage.background, 0, 0, 0, 255);
    const Picture picture = Screen::Render(stage.window);
    for (const Evas_Object* widget : {stage.infoLeft, stage.RowView(1)}) {
        const Area area = Screen::AreaOf(widget);
        EXPECT_GE(Contrast(MostVisible(picture, area, {0, 0, 0}), {0, 0, 0}), 20.0);
        EXPECT_EQ(picture.At(area.Right() - 15, area.y + 5), (Colour{0, 0, 0}));
    }
}

TEST(ThemeHighContrastTest, HasBlackBackground) {
    const ScopedTheme theme("high-contrast");
    const std::string file = FindResource("org.tizen.menu/Settings/setting_bg_base.webp");
    EXPECT_THAT(file, testing::HasSubstr("/high-contrast/"));
    EXPECT_TRUE(std::filesystem::exists(file));
}

}  // namespace
}  // namespace quorvel::desktop
