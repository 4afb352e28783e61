#include "toolkit/label_focus.h"

#include <Elementary.h>

#include "toolkit/focus_watch.h"
#include "toolkit/widgets.h"

namespace quorvel::desktop {

namespace {

void PassOn(Evas_Object* label, bool focused) {
    Evas_Object* around = elm_object_parent_widget_get(label);
    if (IsWidget(around, "elm_scroller")) {
        elm_layout_signal_emit(around, focused ? "quorvel,text,focused" : "quorvel,text,unfocused",
                               "quorvel");
    }
    evas_object_smart_callback_call(label, focused ? "focused" : "unfocused", nullptr);
}

}  // namespace

void WatchLabelFocus(Evas_Object* window) {
    for (Evas_Object* label : WidgetsOf(window, "elm_label")) {
        WatchFocus(label, [label, told = false](bool focused) mutable {
            if (focused != told) {
                told = focused;
                PassOn(label, focused);
            }
        });
    }
}

}  // namespace quorvel::desktop
