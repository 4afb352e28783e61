#include "toolkit/text_panels.h"

#include <Elementary.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::desktop {

namespace {

// In units of the toolkit's scale.
constexpr int kTabWidth = 30;
// The size of the text in both information panels: 24 pixels on a 1920x1080 screen. The application
// sets another size for each number of lines.
constexpr char kInfoFontSize[] = "12";
// The lines that an information panel has room for: a run has at most this number of values in a
// panel.
constexpr int kInfoLines = 11;
constexpr char kNormalLines[] = "linegap=0";
// Removes the space for the descenders, which then reach into the next line. The toolkit removes no
// more than this space.
constexpr char kDenseLines[] = "linegap=-1000";
// In bytes of markup. A layout takes a second for each megabyte.
constexpr std::size_t kMaxInfoMarkup = 32768;

// Sets a property of all text of the panel. It replaces the property of the last call.
void SetStyle(Evas_Object* panel, const std::string& property) {
    edje_object_part_text_style_user_pop(panel, "shown");
    edje_object_part_text_style_user_push(panel, "shown", ("DEFAULT='" + property + "'").c_str());
}

struct Line {
    int y = 0;
    int height = 0;
};

// Returns a line of the panel's text; no value if the text has fewer lines.
std::optional<Line> LineOf(Evas_Object* panel, int number) {
    Line line;
    const Eina_Bool exists = evas_object_textblock_line_number_geometry_get(
        edje_object_part_object_get(panel, "shown"), number, nullptr, &line.y, nullptr,
        &line.height);
    return exists == EINA_FALSE ? std::nullopt : std::optional(line);
}

// Each call of LineOf counts the lines from the first line, so the loop ends at the first line
// outside the height.
bool IsHigherThan(Evas_Object* panel, int height) {
    const int top = LineOf(panel, 0).value_or(Line()).y;
    for (int number = 0; const auto line = LineOf(panel, number); ++number) {
        if (line->y - top + line->height > height) {
            return true;
        }
    }
    return false;
}

bool IsAtRightEdge(const Evas_Object* label) {
    int x = 0;
    int width = 0;
    int screenWidth = 0;
    evas_object_geometry_get(label, &x, nullptr, &width, nullptr);
    evas_output_size_get(evas_object_evas_get(label), &screenWidth, nullptr);
    return x + width >= screenWidth;
}

// Gives both information panels the same distance between lines. A text that is higher than the
// panel slides.
void Fit(Evas_Object* label) {
    Evas_Object* panel = elm_layout_edje_get(label);
    int room = 0;
    evas_object_geometry_get(label, nullptr, nullptr, nullptr, &room);
    if (IsAtRightEdge(label)) {
        edje_object_signal_emit(panel, "quorvel,text,edge", "quorvel");
        edje_object_message_signal_process(panel);
    }
    SetStyle(panel, kNormalLines);
    edje_object_calc_force(panel);
    const bool isDense = LineOf(panel, 0).value_or(Line()).height * kInfoLines > room;
    SetStyle(panel, isDense ? kDenseLines : kNormalLines);
    edje_object_calc_force(panel);
    const bool slides = IsHigherThan(panel, room);
    edje_object_signal_emit(panel, slides ? "quorvel,text,long" : "quorvel,text,short", "quorvel");
}

void OnResized(void*, Evas*, Evas_Object* label, void*) {
    Fit(label);
}

// The toolkit does not scale the width of a tab.
void SetTabWidth(Evas_Object* label) {
    SetStyle(elm_layout_edje_get(label),
             "tabstops=" + std::to_string(std::lround(kTabWidth * elm_config_scale_get())));
}

void OnScaled(void*, Evas_Object* label, void*) {
    SetTabWidth(label);
}

// data: the scroller around the label.
void OnShownOrHidden(void* data, Evas*, Evas_Object* label, void*) {
    const bool isShown = evas_object_visible_get(label) != EINA_FALSE;
    elm_layout_signal_emit(static_cast<Evas_Object*>(data),
                           isShown ? "quorvel,text,shown" : "quorvel,text,hidden", "quorvel");
}

void SetUpDetailPanel(Evas_Object* label, Evas_Object* scroller) {
    SetTabWidth(label);
    evas_object_smart_callback_add(label, "theme,changed", OnScaled, nullptr);
    evas_object_event_callback_add(label, EVAS_CALLBACK_SHOW, OnShownOrHidden, scroller);
    evas_object_event_callback_add(label, EVAS_CALLBACK_HIDE, OnShownOrHidden, scroller);
}

// Removes an incomplete tag or entity from the end of the markup.
void TrimIncomplete(std::string_view& markup, char opening, char closing) {
    const std::size_t start = markup.rfind(opening);
    if (start != std::string_view::npos && markup.find(closing, start) == std::string_view::npos) {
        markup = markup.substr(0, start);
    }
}

bool IsInsideCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// Returns the beginning of a text that is too long for an information panel.
std::string_view Shortened(std::string_view markup) {
    if (markup.size() <= kMaxInfoMarkup) {
        return markup;
    }
    std::size_t size = kMaxInfoMarkup;
    while (size > 0 && IsInsideCharacter(markup[size])) {
        --size;
    }
    std::string_view kept = markup.substr(0, size);
    TrimIncomplete(kept, '<', '>');
    TrimIncomplete(kept, '&', ';');
    return kept;
}

// Returns the text without the line break after the last line.
std::string_view WithoutLastBreak(std::string_view markup) {
    constexpr std::string_view kBreak = "<br/>";
    const std::size_t end = std::max(markup.size(), kBreak.size()) - kBreak.size();
    return markup.substr(end) == kBreak ? markup.substr(0, end) : markup;
}

// Replaces the size that the application sets at the beginning of the text.
void SetFontSize(std::string& markup) {
    constexpr std::string_view kTag = "font_size=";
    const std::size_t tag = markup.find(kTag);
    if (tag != std::string::npos) {
        const std::size_t size = tag + kTag.size();
        markup.replace(size, markup.find_first_of(" >", size) - size, kInfoFontSize);
    }
}

void SetInfoText(Evas_Object* label) {
    const char* text = elm_object_text_get(label);
    std::string markup(WithoutLastBreak(Shortened(text == nullptr ? "" : text)));
    SetFontSize(markup);
    elm_object_text_set(label, markup.c_str());
}

void SetUpInfoPanel(Evas_Object* label) {
    SetInfoText(label);
    elm_layout_signal_emit(label, "quorvel,text,cell", "quorvel");
    // Process the signal before the layout reads the height of the text.
    edje_object_message_signal_process(elm_layout_edje_get(label));
    elm_layout_sizing_eval(label);
    evas_object_event_callback_add(label, EVAS_CALLBACK_RESIZE, OnResized, nullptr);
    Fit(label);
}

}  // namespace

void SetUpTextPanels(const Widgets& widgets) {
    SetUpDetailPanel(widgets.text, widgets.scroller);
    std::for_each(widgets.infoPanels.begin(), widgets.infoPanels.end(), SetUpInfoPanel);
}

}  // namespace quorvel::desktop
