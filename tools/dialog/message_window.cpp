#include "dialog/message_window.h"

#include <Efreet.h>
#include <Elementary.h>

#include <cstdlib>

namespace quorvel::dialog {

namespace {

constexpr int kWidth = 720;
constexpr int kHeight = 360;
// Makes the texts larger than the toolkit's default.
constexpr double kScale = 1.4;

void OnPressed(void* /*data*/, Evas_Object* /*button*/, void* /*event*/) {
    elm_exit();
}

Evas_Object* AddText(Evas_Object* window, const std::string& text) {
    Evas_Object* entry = elm_entry_add(window);
    elm_entry_editable_set(entry, EINA_FALSE);
    elm_entry_scrollable_set(entry, EINA_TRUE);
    elm_entry_line_wrap_set(entry, ELM_WRAP_MIXED);
    elm_object_scale_set(entry, kScale);
    char* markup = elm_entry_utf8_to_markup(text.c_str());
    elm_object_text_set(entry, markup);
    std::free(markup);
    evas_object_size_hint_weight_set(entry, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    evas_object_size_hint_align_set(entry, EVAS_HINT_FILL, EVAS_HINT_FILL);
    evas_object_show(entry);
    return entry;
}

Evas_Object* AddButton(Evas_Object* window) {
    Evas_Object* button = elm_button_add(window);
    elm_object_text_set(button, "OK");
    elm_object_scale_set(button, kScale);
    evas_object_size_hint_align_set(button, EVAS_HINT_FILL, 0.5);
    evas_object_smart_callback_add(button, "clicked", OnPressed, nullptr);
    evas_object_show(button);
    return button;
}

void FillWindow(Evas_Object* window, const std::string& text) {
    Evas_Object* box = elm_box_add(window);
    elm_box_padding_set(box, 0, 8);
    evas_object_size_hint_weight_set(box, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    elm_win_resize_object_add(window, box);
    elm_box_pack_end(box, AddText(window, text));
    Evas_Object* button = AddButton(window);
    elm_box_pack_end(box, button);
    evas_object_show(box);
    elm_object_focus_set(button, EINA_TRUE);
}

}  // namespace

bool ShowMessage(const std::string& text) {
    // The cache would start a process that reads the applications of the desktop.
    efreet_cache_disable();
    if (elm_init(0, nullptr) == 0) {
        return false;
    }
    elm_policy_set(ELM_POLICY_QUIT, ELM_POLICY_QUIT_LAST_WINDOW_CLOSED);
    Evas_Object* window = elm_win_util_standard_add("quorvel", "Quorvel");
    if (window != nullptr) {
        elm_win_autodel_set(window, EINA_TRUE);
        FillWindow(window, text);
        evas_object_resize(window, kWidth, kHeight);
        evas_object_show(window);
        elm_run();
    }
    elm_shutdown();
    return window != nullptr;
}

}  // namespace quorvel::dialog
