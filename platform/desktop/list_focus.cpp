#include "list_focus.h"

#include <Elementary.h>

#include <string_view>

#include "focus_watch.h"
#include "widgets.h"

namespace quorvel::desktop {

namespace {

void PassOn(const Evas_Object* list, bool focused) {
    Elm_Object_Item* row = elm_object_focused_item_get(list);
    if (row != nullptr) {
        elm_object_item_signal_emit(
            row, focused ? "quorvel,list,focused" : "quorvel,list,unfocused", "quorvel");
    }
}

Elm_Object_Item* RowTowards(std::string_view key, Elm_Object_Item* row) {
    if (key == "Down") {
        return elm_genlist_item_next_get(row);
    }
    return key == "Up" ? elm_genlist_item_prev_get(row) : nullptr;
}

// The toolkit moves only to a row that it has made already, so it stops at the edge of what it
// shows when the next one begins exactly there.
Eina_Bool OnEvent(void*, Evas_Object* list, Evas_Object*, Evas_Callback_Type type, void* event) {
    Elm_Object_Item* row = elm_object_focused_item_get(list);
    if (type != EVAS_CALLBACK_KEY_DOWN || row == nullptr) {
        return EINA_FALSE;
    }
    auto* key = static_cast<Evas_Event_Key_Down*>(event);
    Elm_Object_Item* next = RowTowards(key->key, row);
    if (next == nullptr) {
        return EINA_FALSE;
    }
    elm_object_item_focus_set(next, EINA_TRUE);
    key->event_flags = static_cast<Evas_Event_Flags>(key->event_flags | EVAS_EVENT_FLAG_ON_HOLD);
    return EINA_TRUE;
}

}  // namespace

void WatchListFocus(Evas_Object* window) {
    for (Evas_Object* list : WidgetsOf(window, "elm_genlist")) {
        elm_object_event_callback_add(list, OnEvent, nullptr);
        WatchFocus(list, [list](bool focused) { PassOn(list, focused); });
    }
}

}  // namespace quorvel::desktop
