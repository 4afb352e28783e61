#include "remote_keys.h"

#include <Ecore.h>
#include <Ecore_Input.h>

#include <array>

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

// Stands before the toolkit's own handlers. The event belongs to the main loop, which frees it as
// one block, so that its strings may be exchanged for constant ones.
Eina_Bool OnKey(void*, int, void* event) {
    auto* key = static_cast<Ecore_Event_Key*>(event);
    const char* seen = key->keyname == nullptr ? nullptr : RemoteKey(key->keyname);
    if (seen == nullptr) {
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
