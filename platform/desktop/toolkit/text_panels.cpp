#include "toolkit/text_panels.h"

#include <Elementary.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

namespace quorvel::desktop {

namespace {

// In units of the toolkit's scale.
constexpr int kTabWidth = 30;
// In bytes. A layout takes a second for each megabyte.
constexpr int kMaxInfoText = 32768;

// The toolkit does not scale the width of a tab.
void SetTabWidth(void*, Evas_Object* label, void*) {
    const long width = std::lround(kTabWidth * elm_config_scale_get());
    const std::string style = "DEFAULT='tabstops=" + std::to_string(width) + "'";
    Evas_Object* layout = elm_layout_edje_get(label);
    edje_object_part_text_style_user_pop(layout, "shown");
    edje_object_part_text_style_user_push(layout, "shown", style.c_str());
}

// data: the scroller around the label.
void OnShownOrHidden(void* data, Evas*, Evas_Object* label, void*) {
    const bool isShown = evas_object_visible_get(label) != EINA_FALSE;
    elm_layout_signal_emit(static_cast<Evas_Object*>(data),
                           isShown ? "quorvel,text,shown" : "quorvel,text,hidden", "quorvel");
}

void SetUpDetailPanel(Evas_Object* label, Evas_Object* scroller) {
    SetTabWidth(nullptr, label, nullptr);
    evas_object_smart_callback_add(label, "theme,changed", SetTabWidth, nullptr);
    evas_object_event_callback_add(label, EVAS_CALLBACK_SHOW, OnShownOrHidden, scroller);
    evas_object_event_callback_add(label, EVAS_CALLBACK_HIDE, OnShownOrHidden, scroller);
}

// Takes ownership of a string of the toolkit, which can be null.
std::string Take(char* text) {
    const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
    return text == nullptr ? "" : text;
}

// Removes the application's tags, the last line break, and the end of a text that is too long. The
// application's text size depends on the number of lines; the theme has one size.
void SetInfoText(Evas_Object* label) {
    std::string text =
        Take(evas_textblock_text_markup_to_utf8(nullptr, elm_object_text_get(label)));
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    if (int end = kMaxInfoText; text.size() > kMaxInfoText) {
        eina_unicode_utf8_get_prev(text.c_str(), &end);
        text.resize(static_cast<std::size_t>(end));
    }
    elm_object_text_set(label,
                        Take(evas_textblock_text_utf8_to_markup(nullptr, text.c_str())).c_str());
}

void SetUpInfoPanel(Evas_Object* label) {
    SetInfoText(label);
    elm_layout_signal_emit(label, "quorvel,text,cell", "quorvel");
    // Process the signal before the layout reads the height of the text.
    edje_object_message_signal_process(elm_layout_edje_get(label));
    elm_layout_sizing_eval(label);
}

}  // namespace

void SetUpTextPanels(const Widgets& widgets) {
    SetUpDetailPanel(widgets.text, widgets.scroller);
    std::for_each(widgets.infoPanels.begin(), widgets.infoPanels.end(), SetUpInfoPanel);
    elm_layout_signal_emit(widgets.infoPanels.back(), "quorvel,text,edge", "quorvel");
}

}  // namespace quorvel::desktop
