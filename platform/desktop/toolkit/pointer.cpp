#include "toolkit/pointer.h"

#include <Ecore.h>
#include <Ecore_Evas.h>
#include <Ecore_Input.h>

#include <vector>

namespace quorvel::desktop {

namespace {

std::vector<Ecore_Event_Handler*> g_Handlers;

Eina_Bool OnPointer(void*, int, void*) {
    return ECORE_CALLBACK_DONE;
}

}  // namespace

void StopPointer() {
    for (const int event : {ECORE_EVENT_MOUSE_BUTTON_DOWN, ECORE_EVENT_MOUSE_BUTTON_UP,
                            ECORE_EVENT_MOUSE_MOVE, ECORE_EVENT_MOUSE_WHEEL}) {
        g_Handlers.push_back(ecore_event_handler_prepend(event, OnPointer, nullptr));
    }
}

void RestorePointer() {
    for (Ecore_Event_Handler* handler : g_Handlers) {
        ecore_event_handler_del(handler);
    }
    g_Handlers.clear();
}

void HidePointer(Evas_Object* window) {
    Evas* canvas = evas_object_evas_get(window);
    Evas_Object* nothing = evas_object_rectangle_add(canvas);
    evas_object_color_set(nothing, 0, 0, 0, 0);
    // Owns the object from here on.
    ecore_evas_object_cursor_set(ecore_evas_ecore_evas_get(canvas), nothing, EVAS_LAYER_MAX, 0, 0);
}

}  // namespace quorvel::desktop
