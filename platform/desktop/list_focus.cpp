#include "list_focus.h"

#include <Elementary.h>

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

}  // namespace

void WatchListFocus(Evas_Object* window) {
    for (Evas_Object* list : WidgetsOf(window, "elm_genlist")) {
        WatchFocus(list, [list](bool focused) { PassOn(list, focused); });
    }
}

}  // namespace quorvel::desktop
