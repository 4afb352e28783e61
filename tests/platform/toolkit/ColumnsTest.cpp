#include "toolkit/columns.h"

#include <gmock/gmock.h>

#include <Elementary.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "fixtures/Screen.h"
#include "fixtures/UsedTime.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::Each;

const std::string kFigureSpace = "\u2007";
const std::string kMark = "\u200E";

TEST(ColumnsTest, PadsNumbersToLongestInColumn) {
    EXPECT_EQ(AlignColumns("<b>x<br/>5<tab/>5000<tab/>a(1)<br/>40<tab/>61<tab/>b(2)<br/>"),
              "<b>x<br/>5" + kFigureSpace + "<tab/>5000<tab/>a(1)<br/>40<tab/>61" + kFigureSpace +
                  kFigureSpace + "<tab/>b(2)<br/>");
}

TEST(ColumnsTest, KeepsTextOutsideColumns) {
    for (const std::string text :
         {"", "<br/>", "a<tab/>b<br/>1<tab/>b", "1<tab/>2<br/>", "12<tab/><tab/>x",
          "-<tab/>1<tab/>x", "<br/><br/>x", "1 <tab/>2<tab/>x", "1<tab/>2<tab/>name"}) {
        EXPECT_EQ(AlignColumns(text), text);
    }
}

TEST(ColumnsTest, GivesMinusSignWidthOfDigit) {
    EXPECT_EQ(AlignColumns("-5<tab/>7<tab/>a<br/>10<tab/>7<tab/>b"),
              "\u20125<tab/>7<tab/>a<br/>10<tab/>7<tab/>b");
}

TEST(ColumnsTest, KeepsDirectionOfLineWithRightToLeftName) {
    for (const std::string name : {"\u05D0\u05D1", "x\u0627", "\u0840", "\uFB2A", "\uFEFC"}) {
        EXPECT_EQ(AlignColumns("1<tab/>2<tab/>" + name + "(5)"),
                  kMark + "1<tab/>2<tab/>" + name + kMark + "(5)");
    }
}

// A direction mark between characters that no font has would widen the line.
TEST(ColumnsTest, AddsNoDirectionMarkToLeftToRightNames) {
    for (const std::string name :
         {"x", "\u00E4", "\u041F", "\u0E17", "\u0939", "\u753B", "\uFF21", "\U0001F50A"}) {
        const std::string line = "1<tab/>2<tab/>" + name + "(5)";
        EXPECT_EQ(AlignColumns(line), line);
    }
}

TEST(ColumnsTest, DoesNotPadToNumberLongerThanAnalysisWrites) {
    const std::string text = std::string(21, '9') + "<tab/>1<tab/>x<br/>1<tab/>1<tab/>x";
    EXPECT_EQ(AlignColumns(text), text);
}

// The left edges of the second and the third cell of each line, in pixels.
struct Edges {
    std::vector<int> seconds;
    std::vector<int> names;
};

// Moves the cursor behind the next tab of the line. Returns the left edge of the cell in pixels; -1
// if the line has no further tab.
int LeftOfNextCell(Efl_Text_Cursor_Handle* cursor) {
    const auto content = [cursor] {
        char* text = evas_textblock_cursor_content_get(cursor);
        const std::string copy = text == nullptr ? "" : text;
        std::free(text);
        return copy;
    };
    while (content().find("tab") == std::string::npos) {
        if (evas_textblock_cursor_char_next(cursor) == EINA_FALSE) {
            return -1;
        }
    }
    int left = Screen::kWidth;
    while (evas_textblock_cursor_char_next(cursor) != EINA_FALSE &&
           content().find("tab") == std::string::npos &&
           content().find("br") == std::string::npos && content() != "<ps/>") {
        int x = 0;
        int width = 0;
        evas_textblock_cursor_pen_geometry_get(cursor, &x, nullptr, &width, nullptr);
        left = width > 0 ? std::min(left, x) : left;
    }
    return left;
}

// Returns the edges of the given number of lines, starting with the second line.
Edges EdgesOf(const Stage& stage, int lines) {
    const Evas_Object* text =
        edje_object_part_object_get(elm_layout_edje_get(stage.label), "shown");
    auto* cursor = evas_object_textblock_cursor_new(text);
    Edges edges;
    for (int line = 1; line <= lines; ++line) {
        evas_textblock_cursor_line_set(cursor, line);
        edges.seconds.push_back(LeftOfNextCell(cursor));
        edges.names.push_back(LeftOfNextCell(cursor));
    }
    evas_textblock_cursor_free(cursor);
    return edges;
}

class ColumnsScaleTest : public StageSizeTest {};

TEST_P(ColumnsScaleTest, ShowsNamesOfEveryScriptInOneColumn) {
    Stage stage(m_Plan);
    const std::vector<std::string> lines{
        "4100<tab/>5000<tab/>Ambient light sensor(1)",
        "11<tab/>1<tab/>Speaker L 1 kHz(2)",
        "-300<tab/>55000<tab/>Memory ageing DDR(5)",
        "4100<tab/>2147483647<tab/>\u05D1\u05D3\u05D9\u05E7\u05EA \u05DE\u05E1\u05DA(5)",
        "0<tab/>1<tab/>\u0627\u062E\u062A\u0628\u0627\u0631 "
        "\u0627\u0644\u0634\u0627\u0634\u0629(6)",
        "7<tab/>12345<tab/>\u753B\u9762\u691C\u67FB(7)",
        "88<tab/>6<tab/>\u0E17\u0E14\u0E2A\u0E2D\u0E1A(8)",
        "9<tab/>60<tab/>\u041F\u0430\u043C\u044F\u0442\u044C(9)",
    };
    std::string markup;
    for (const std::string& line : lines) {
        markup += line + "<br/>";
    }
    // The application begins an analysis text with a line break.
    stage.ShowMarkup("<br/>" + markup, "#FF8000");
    const Edges edges = EdgesOf(stage, static_cast<int>(lines.size()));
    EXPECT_THAT(edges.seconds, Each(testing::AllOf(edges.seconds[0], testing::Gt(0))));
    EXPECT_THAT(edges.names, Each(testing::AllOf(edges.names[0], testing::Gt(edges.seconds[0]))));
}

INSTANTIATE_TEST_SUITE_P(Screens, ColumnsScaleTest,
                         testing::Values(std::pair(1280, 720), std::pair(1920, 1080),
                                         std::pair(3840, 2160)));

std::string Analysis(int lines) {
    std::string markup = "<br/>";
    for (int line = 0; line < lines; ++line) {
        markup += std::to_string(line * 7) + "<tab/>" + std::to_string(line * 13) +
                  "<tab/>Some item name(3)<br/>";
    }
    return markup;
}

// A step with quadratic time would exceed these limits.
TEST(ColumnsTest, AlignsLongAnalysisInLinearTime) {
    const std::string manyLines = Analysis(100'000);
    EXPECT_LT(UsedTime([&] { AlignColumns(manyLines); }), std::chrono::seconds(1));
    const std::string noBreaks(3'000'000, '7');
    EXPECT_LT(UsedTime([&] { AlignColumns(noBreaks); }), std::chrono::seconds(1));
}

}  // namespace
}  // namespace quorvel::desktop
