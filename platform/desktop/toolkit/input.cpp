#include "toolkit/input.h"

#include <Ecore.h>
#include <Ecore_Input.h>
#include <Elementary.h>

#include <array>
#include <vector>

#include "toolkit/widgets.h"
#include "toolkit/window.h"

namespace quorvel::desktop {

namespace {

struct Key {
    std::string_view name;
    const char* remoteKey;
};

constexpr std::array<Key, 7> kKeys{{
    {"Up", "Up"},
    {"Down", "Down"},
    {"Left", "Left"},
    {"Right", "Right"},
    {"Return", "Return"},
    {"KP_Enter", "Return"},
    {"Select", "Return"},
}};

std::vector<Ecore_Event_Handler*> g_Handlers;

// A popup gets the focus after a delay, and loses the focus while its button is disabled. Keys must
// not reach the widgets behind the popup at such times.
bool IsPopupWithoutFocus() {
    Evas_Object* window = MainWindow();
    return Widgets(window).popup != nullptr && !IsInPopup(elm_object_focused_object_get(window));
}

// Runs before the toolkit's own handlers. The main loop owns the event and frees one block.
// Constant strings can therefore replace the strings of the event.
Eina_Bool OnKey(void*, int, void* event) {
    auto* key = static_cast<Ecore_Event_Key*>(event);
    const char* remoteKey = key->keyname == nullptr ? nullptr : RemoteKey(key->keyname);
    if (remoteKey == nullptr || IsPopupWithoutFocus()) {
        return ECORE_CALLBACK_DONE;
    }
    key->keyname = remoteKey;
    key->key = remoteKey;
    key->string = nullptr;
    key->compose = nullptr;
    key->modifiers = 0;
    return ECORE_CALLBACK_PASS_ON;
}

Eina_Bool OnPointer(void*, int, void*) {
    return ECORE_CALLBACK_DONE;
}

}  // namespace

const char* RemoteKey(std::string_view keyName) {
    for (const Key& key : kKeys) {
        if (key.name == keyName) {
            return key.remoteKey;
        }
    }
    return nullptr;
}

void StartInputFilter() {
    for (const int event : {ECORE_EVENT_KEY_DOWN, ECORE_EVENT_KEY_UP}) {
        g_Handlers.push_back(ecore_event_handler_prepend(event, OnKey, nullptr));
    }
    for (const int event : {ECORE_EVENT_MOUSE_BUTTON_DOWN, ECORE_EVENT_MOUSE_BUTTON_UP,
                            ECORE_EVENT_MOUSE_MOVE, ECORE_EVENT_MOUSE_WHEEL}) {
        g_Handlers.push_back(ecore_event_handler_prepend(event, OnPointer, nullptr));
    }
}

void StopInputFilter() {
    for (Ecore_Event_Handler* handler : g_Handlers) {
        ecore_event_handler_del(handler);
    }
    g_Handlers.clear();
}

}  // namespace quorvel::desktop
