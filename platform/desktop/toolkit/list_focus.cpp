#include "toolkit/list_focus.h"

#include <Efl_Ui.h>
#include <Elementary.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "toolkit/focus_watch.h"
#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

bool IsPopupShown(Evas_Object* window) {
    const std::vector<Evas_Object*> popups = WidgetsOf(window, "elm_popup");
    return std::any_of(popups.begin(), popups.end(), [](const Evas_Object* popup) {
        return evas_object_visible_get(popup) != EINA_FALSE;
    });
}

// Follows the focus of one list; kept by the function that watches it, and so gone with the list.
class ListFocus {
public:
    ListFocus(Evas_Object* window, Evas_Object* list) : m_Window(window), m_List(list) {}

    void Settle(bool focused) {
        Elm_Object_Item* row = elm_object_focused_item_get(m_List);
        if (row == nullptr) {
            return;
        }
        elm_object_item_signal_emit(
            row, focused ? "quorvel,list,focused" : "quorvel,list,unfocused", "quorvel");
        if (focused && m_WasLeft && elm_genlist_items_count(m_List) == 1) {
            evas_object_smart_callback_call(m_List, "item,focused", row);
        }
        m_WasLeft = !focused && elm_object_focused_object_get(m_Window) != nullptr &&
                    !IsPopupShown(m_Window);
    }

private:
    Evas_Object* m_Window;
    Evas_Object* m_List;
    bool m_WasLeft = false;  // for another widget of the screen
};

Elm_Object_Item* RowTowards(std::string_view key, Elm_Object_Item* row) {
    if (key == "Down") {
        return elm_genlist_item_next_get(row);
    }
    return key == "Up" ? elm_genlist_item_prev_get(row) : nullptr;
}

// A list whose only row was focused before it was drawn does not know of it: it then takes itself
// for the widget in focus, and every arrow for a way into itself.
void RememberRow(Evas_Object* list) {
    if (efl_ui_focus_manager_focus_get(list) != list) {
        return;
    }
    Eina_Iterator* rows =
        efl_ui_focus_manager_viewport_elements_get(list, efl_gfx_entity_geometry_get(list));
    void* row = nullptr;
    if (eina_iterator_next(rows, &row) != EINA_FALSE) {
        efl_ui_focus_manager_focus_set(list, static_cast<Efl_Ui_Focus_Object*>(row));
    }
    eina_iterator_free(rows);
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
        RememberRow(list);
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
        WatchFocus(list, [focus = ListFocus(window, list)](bool focused) mutable {
            focus.Settle(focused);
        });
    }
}

}  // namespace quorvel::desktop
