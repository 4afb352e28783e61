#include "toolkit/text_panels.h"

#include <Elementary.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

// In percent of the application's text size.
constexpr int kLargest = 250;
constexpr int kSmallest = 50;
// Shorter texts get the text size of a text with this many lines.
constexpr int kFewestLines = 10;
// In units of the toolkit's scale. The toolkit adds this width to the text before the tab, so
// columns do not align.
constexpr double kTabWidth = 80;
// In bytes of markup. An information panel shows less at any text size, and a layout takes a second
// for each megabyte.
constexpr std::size_t kMaxInfoMarkup = 32768;

// Heights of a text in pixels.
struct Lines {
    // The height available to the text.
    int room = 0;
    // The highest line.
    int lineHeight = 0;
    // All lines without empty lines after the text. If the text is higher than the room, only the
    // lines up to the first line outside the room.
    int height = 0;
};

// Measures the text at the size of the last SetTextSize.
Lines Measure(Evas_Object* panel) {
    const Evas_Object* text = edje_object_part_object_get(panel, "shown");
    Lines lines;
    edje_object_part_geometry_get(panel, "shown", nullptr, nullptr, nullptr, &lines.room);
    int y = 0;
    int width = 0;
    int height = 0;
    for (int i = 0;
         evas_object_textblock_line_number_geometry_get(text, i, nullptr, &y, &width, &height);
         ++i) {
        lines.lineHeight = std::max(lines.lineHeight, height);
        if (width > 0) {
            lines.height = y + height;
        }
        // Each call counts the lines from the first line, so stop early.
        if (lines.height > lines.room) {
            break;
        }
    }
    return lines;
}

void SetTextSize(Evas_Object* panel, int percent) {
    edje_object_scale_set(panel, elm_config_scale_get() * percent / 100);
    edje_object_calc_force(panel);
}

bool Fits(Evas_Object* panel) {
    const Lines lines = Measure(panel);
    return lines.height <= lines.room && lines.lineHeight <= lines.room / kFewestLines;
}

// Sets the largest text size that fits, or the smallest size if no size fits. Binary search.
void Fit(Evas_Object* label) {
    Evas_Object* panel = elm_layout_edje_get(label);
    int fitting = kSmallest;
    int tooLarge = kLargest + 1;
    while (tooLarge - fitting > 1) {
        const int percent = (fitting + tooLarge) / 2;
        SetTextSize(panel, percent);
        if (Fits(panel)) {
            fitting = percent;
        } else {
            tooLarge = percent;
        }
    }
    SetTextSize(panel, fitting);
}

void OnResized(void*, Evas*, Evas_Object* label, void*) {
    Fit(label);
}

// The toolkit does not scale the width of a tab.
void SetTabWidth(Evas_Object* panel) {
    const std::string style =
        "DEFAULT='tabstops=" + std::to_string(std::lround(kTabWidth * elm_config_scale_get())) +
        "'";
    edje_object_part_text_style_user_push(panel, "shown", style.c_str());
}

void OnShown(void* data, Evas*, Evas_Object*, void*) {
    elm_layout_signal_emit(static_cast<Evas_Object*>(data), "quorvel,text,shown", "quorvel");
}

void OnHidden(void* data, Evas*, Evas_Object*, void*) {
    elm_layout_signal_emit(static_cast<Evas_Object*>(data), "quorvel,text,hidden", "quorvel");
}

void SetUpDetailPanel(Evas_Object* label, Evas_Object* scroller) {
    SetTabWidth(elm_layout_edje_get(label));
    evas_object_event_callback_add(label, EVAS_CALLBACK_SHOW, OnShown, scroller);
    evas_object_event_callback_add(label, EVAS_CALLBACK_HIDE, OnHidden, scroller);
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

// Removes the end of a text that is too long for an information panel.
void ShortenMarkup(Evas_Object* label) {
    const char* text = elm_object_text_get(label);
    const std::string_view whole = text == nullptr ? "" : text;
    if (whole.size() <= kMaxInfoMarkup) {
        return;
    }
    std::size_t size = kMaxInfoMarkup;
    while (size > 0 && IsInsideCharacter(whole[size])) {
        --size;
    }
    std::string_view kept = whole.substr(0, size);
    TrimIncomplete(kept, '<', '>');
    TrimIncomplete(kept, '&', ';');
    elm_object_text_set(label, std::string(kept).c_str());
}

void SetUpInfoPanel(Evas_Object* label) {
    ShortenMarkup(label);
    elm_layout_signal_emit(label, "quorvel,text,cell", "quorvel");
    // Process the signal before the layout reads the height of the text.
    edje_object_message_signal_process(elm_layout_edje_get(label));
    elm_layout_sizing_eval(label);
    evas_object_event_callback_add(label, EVAS_CALLBACK_RESIZE, OnResized, nullptr);
    Fit(label);
}

bool IsTextPanel(const Evas_Object* label) {
    const char* style = elm_object_style_get(label);
    return style != nullptr && std::string_view(style) == "slide_short";
}

}  // namespace

void SetUpTextPanels(Evas_Object* window) {
    for (Evas_Object* label : WidgetsOf(window, "elm_label")) {
        if (!IsTextPanel(label)) {
            continue;
        }
        Evas_Object* parent = elm_object_parent_widget_get(label);
        if (IsWidget(parent, "elm_scroller")) {
            SetUpDetailPanel(label, parent);
        } else {
            SetUpInfoPanel(label);
        }
    }
}

}  // namespace quorvel::desktop
