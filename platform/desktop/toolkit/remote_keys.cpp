#include "toolkit/remote_keys.h"

#include <Ecore.h>
#include <Ecore_Input.h>
#include <Elementary.h>

#include <array>

#include "toolkit/widgets.h"
#include "toolkit/window.h"

namespace quorvel::desktop {

namespace {

struct KeyMeaning {
    std::string_view name;
    const char* seen;
};

constexpr std::array<KeyMeaning, 7> kKeys{{
    {"Up", "Up"},
    {"Down", "Down"},
    {"Left", "Left"},
    {"Right", "Right"},
    {"Return", "Return"},
    {"KP_Enter", "Return"},
    {"Select", "Return"},
}};

std::array<Ecore_Event_Handler*, 2> g_Handlers{};

bool IsInside(const Evas_Object* widget, const Evas_Object* parent) {
    while (widget != nullptr && widget != parent) {
        widget = elm_object_parent_widget_get(widget);
    }
    return widget != nullptr;
}

// A popup takes the focus a little later than it is shown, and gives it away while its button is
// disabled. What is behind it must not get a key for that.
bool IsForShownPopup() {
    Evas_Object* window = MainWindow();
    for (Evas_Object* popup : WidgetsOf(window, "elm_popup")) {
        if (evas_object_visible_get(popup) != EINA_FALSE) {
            return IsInside(elm_object_focused_object_get(window), popup);
        }
    }
    return true;
}

// Stands before the toolkit's own handlers. The event belongs to the main loop, which frees it as
// one block, so that its strings may be exchanged for constant ones.
Eina_Bool OnKey(void*, int, void* event) {
    auto* key = static_cast<Ecore_Event_Key*>(event);
    const char* seen = key->keyname == nullptr ? nullptr : RemoteKey(key->keyname);
    if (seen == nullptr || !IsForShownPopup()) {
        return ECORE_CALLBACK_DONE;
    }
    key->keyname = seen;
    key->key = seen;
    key->string = nullptr;
    key->compose = nullptr;
    key->modifiers = 0;
    return ECORE_CALLBACK_PASS_ON;
}

}  // namespace

const char* RemoteKey(std::string_view keyName) {
    for (const KeyMeaning& key : kKeys) {
        if (key.name == keyName) {
            return key.seen;
        }
    }
    return nullptr;
}

void StartRemoteKeys() {
    g_Handlers = {ecore_event_handler_prepend(ECORE_EVENT_KEY_DOWN, OnKey, nullptr),
                  ecore_event_handler_prepend(ECORE_EVENT_KEY_UP, OnKey, nullptr)};
}

void StopRemoteKeys() {
    for (Ecore_Event_Handler*& handler : g_Handlers) {
        if (handler != nullptr) {
            ecore_event_handler_del(handler);
            handler = nullptr;
        }
    }
}

}  // namespace quorvel::desktop
