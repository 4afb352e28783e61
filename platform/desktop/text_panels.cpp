#include "text_panels.h"

#include <Elementary.h>

#include <string_view>

#include "widgets.h"

namespace quorvel::desktop {

namespace {

constexpr double kLargest = 1.5;
constexpr double kSmallest = 0.5;
constexpr double kStep = 0.05;

// The height of the text, in pixels, as the panel shows it now.
int TextHeight(Evas_Object* panel) {
    edje_object_calc_force(panel);
    // The part belongs to the panel.
    auto* text = const_cast<Evas_Object*>(edje_object_part_object_get(panel, "shown"));
    int height = 0;
    evas_object_textblock_size_formatted_get(text, nullptr, &height);
    return height;
}

void Fit(Evas_Object* label) {
    int height = 0;
    evas_object_geometry_get(label, nullptr, nullptr, nullptr, &height);
    Evas_Object* panel = elm_layout_edje_get(label);
    for (double factor = kLargest; factor >= kSmallest; factor -= kStep) {
        edje_object_scale_set(panel, factor * elm_config_scale_get());
        if (TextHeight(panel) <= height) {
            return;
        }
    }
}

void OnResized(void*, Evas*, Evas_Object* label, void*) {
    Fit(label);
}

bool IsTextPanel(const Evas_Object* label) {
    const char* style = elm_object_style_get(label);
    return style != nullptr && std::string_view(style) == "slide_short" &&
           !IsWidget(elm_object_parent_widget_get(label), "elm_scroller");
}

}  // namespace

void FitTextPanels(Evas_Object* window) {
    for (Evas_Object* label : LabelsOf(window)) {
        if (IsTextPanel(label)) {
            elm_layout_signal_emit(label, "quorvel,text,cell", "quorvel");
            evas_object_event_callback_add(label, EVAS_CALLBACK_RESIZE, OnResized, nullptr);
            Fit(label);
        }
    }
}

}  // namespace quorvel::desktop
