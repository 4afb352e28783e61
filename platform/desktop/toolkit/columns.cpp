#include "toolkit/columns.h"

#include <Elementary.h>

#include <algorithm>
#include <array>
#include <optional>

#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

constexpr std::string_view kTab = "<tab/>";
constexpr std::string_view kLineBreak = "<br/>";
constexpr std::string_view kDigits = "0123456789";
// The longest number of the analysis. A longer number in a recorded text must not widen every line.
constexpr std::size_t kMaxNumberLength = 20;

// In the theme's font, both have the width of a digit. A hyphen is narrower.
constexpr std::string_view kFigureSpace = "\u2007";
constexpr std::string_view kFigureDash = "\u2012";
// Has no width. Starts a left-to-right run.
constexpr std::string_view kLeftToRightMark = "\u200E";

// A line of the columns.
struct TableLine {
    std::array<std::string_view, 2> numbers;
    std::string_view name;
};

// The lengths of the longest numbers of each column, in characters.
using Widths = std::array<std::size_t, 2>;

// Removes the number and the tab at the beginning of the text. Returns the number; empty if the
// text does not begin with a number and a tab.
std::string_view TakeNumber(std::string_view& text) {
    const std::size_t sign = text.substr(0, 1) == "-" ? 1 : 0;
    const std::size_t end = std::min(text.find_first_not_of(kDigits, sign), text.size());
    if (end == sign || end > kMaxNumberLength || text.substr(end, kTab.size()) != kTab) {
        return {};
    }
    const std::string_view number = text.substr(0, end);
    text.remove_prefix(end + kTab.size());
    return number;
}

std::optional<TableLine> ParseLine(std::string_view line) {
    TableLine parsed;
    for (std::string_view& number : parsed.numbers) {
        number = TakeNumber(line);
        if (number.empty()) {
            return std::nullopt;
        }
    }
    parsed.name = line;
    return parsed;
}

// Calls function(line) for each line of the markup, without the line breaks.
template <typename Function>
void ForEachLine(std::string_view markup, Function function) {
    std::size_t end = 0;
    while ((end = markup.find(kLineBreak)) != std::string_view::npos) {
        function(markup.substr(0, end));
        markup.remove_prefix(end + kLineBreak.size());
    }
    function(markup);
}

// Returns whether a character of two or three bytes begins with these bytes and belongs to a block
// of right-to-left letters: U+0580 to U+07FF, U+0800 to U+08FF, U+FB00 to U+FEFF.
bool IsRightToLeft(unsigned char first, unsigned char second) {
    return (first >= 0xD6 && first <= 0xDF) || (first == 0xE0 && second < 0xA4) ||
           (first == 0xEF && second >= 0xAC && second <= 0xBB);
}

bool HasRightToLeftLetter(std::string_view text) {
    return std::adjacent_find(text.begin(), text.end(), [](char first, char second) {
               return IsRightToLeft(static_cast<unsigned char>(first),
                                    static_cast<unsigned char>(second));
           }) != text.end();
}

void AppendNumber(std::string& text, std::string_view number, std::size_t width) {
    const bool isNegative = number.front() == '-';
    text.append(isNegative ? kFigureDash : "").append(number.substr(isNegative ? 1 : 0));
    for (std::size_t length = number.size(); length < width; ++length) {
        text.append(kFigureSpace);
    }
    text.append(kTab);
}

void AppendName(std::string& text, std::string_view name) {
    const std::size_t bracket = std::min(name.rfind('('), name.size());
    text.append(name.substr(0, bracket));
    text.append(HasRightToLeftLetter(name) ? kLeftToRightMark : "");
    text.append(name.substr(bracket));
}

void AppendLine(std::string& text, const TableLine& line, const Widths& widths) {
    // The first letter determines the direction of a line.
    text.append(HasRightToLeftLetter(line.name) ? kLeftToRightMark : "");
    for (std::size_t column = 0; column < widths.size(); ++column) {
        AppendNumber(text, line.numbers[column], widths[column]);
    }
    AppendName(text, line.name);
}

Widths Measure(std::string_view markup) {
    Widths widths{};
    ForEachLine(markup, [&widths](std::string_view line) {
        const auto parsed = ParseLine(line);
        for (std::size_t column = 0; parsed && column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], parsed->numbers[column].size());
        }
    });
    return widths;
}

}  // namespace

std::string AlignColumns(std::string_view markup) {
    const Widths widths = Measure(markup);
    std::string aligned;
    aligned.reserve(markup.size());
    std::string_view lineBreak;
    ForEachLine(markup, [&](std::string_view line) {
        aligned.append(lineBreak);
        lineBreak = kLineBreak;
        const auto parsed = ParseLine(line);
        if (parsed) {
            AppendLine(aligned, *parsed, widths);
        } else {
            aligned.append(line);
        }
    });
    return aligned;
}

}  // namespace quorvel::desktop

// The linker's names: __wrap_ replaces the application's call, __real_ is the toolkit's function.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void __real_elm_object_part_text_set(Evas_Object* object, const char* part,
                                                const char* text);
extern "C" void __wrap_elm_object_part_text_set(Evas_Object* object, const char* part,
                                                const char* text);

void __wrap_elm_object_part_text_set(Evas_Object* object, const char* part, const char* text) {
    using namespace quorvel::desktop;  // NOLINT(google-build-using-namespace): C function
    const bool isOfLabel = text != nullptr && IsWidget(object, "elm_label");
    __real_elm_object_part_text_set(object, part, isOfLabel ? AlignColumns(text).c_str() : text);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
