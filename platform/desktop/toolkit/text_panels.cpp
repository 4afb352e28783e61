#include "toolkit/text_panels.h"

#include <Elementary.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

// Of the size that the application gives, in percent.
constexpr int kLargest = 250;
constexpr int kSmallest = 50;
// A panel with few lines does not shout: its lines are as high as if there were so many.
constexpr int kFewestLines = 10;
// In units of the toolkit's scale. A width, not a stop: numbers of unequal length do not line up.
constexpr double kTabWidth = 80;

struct Lines {
    // What they may fill.
    int room = 0;
    // Of the highest line.
    int lineHeight = 0;
    // Of all lines to the last one that shows anything.
    int height = 0;
};

// How high the text is, in pixels, as the panel shows it now.
Lines Measure(Evas_Object* panel) {
    edje_object_calc_force(panel);
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
        lines.height = width > 0 ? y + height : lines.height;
    }
    return lines;
}

bool FitsAt(Evas_Object* panel, int percent) {
    edje_object_scale_set(panel, elm_config_scale_get() * percent / 100);
    const Lines lines = Measure(panel);
    return lines.height <= lines.room && lines.lineHeight <= lines.room / kFewestLines;
}

// The largest size that fits; the smallest one when none does.
void Fit(Evas_Object* label) {
    Evas_Object* panel = elm_layout_edje_get(label);
    int fitting = kSmallest;
    int tooLarge = kLargest + 1;
    while (tooLarge - fitting > 1) {
        const int percent = (fitting + tooLarge) / 2;
        (FitsAt(panel, percent) ? fitting : tooLarge) = percent;
    }
    FitsAt(panel, fitting);
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

void SetUpScrolled(Evas_Object* label, Evas_Object* scroller) {
    SetTabWidth(elm_layout_edje_get(label));
    evas_object_event_callback_add(label, EVAS_CALLBACK_SHOW, OnShown, scroller);
    evas_object_event_callback_add(label, EVAS_CALLBACK_HIDE, OnHidden, scroller);
}

void SetUpCell(Evas_Object* label) {
    elm_layout_signal_emit(label, "quorvel,text,cell", "quorvel");
    // Now: the layout must not see how high the text would like to be.
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
        Evas_Object* around = elm_object_parent_widget_get(label);
        if (IsWidget(around, "elm_scroller")) {
            SetUpScrolled(label, around);
        } else {
            SetUpCell(label);
        }
    }
}

}  // namespace quorvel::desktop
