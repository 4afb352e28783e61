#include "toolkit/input.h"

#include <Ecore.h>
#include <Ecore_Input.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "fixtures/Screen.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Runs the main loop until the queued events are handled.
void HandleEvents() {
    bool handled = false;
    ecore_job_add([](void* done) { *static_cast<bool*>(done) = true; }, &handled);
    ASSERT_TRUE(Screen::PumpUntil([&] { return handled; }));
}

// Sends key events to the main loop, as a display does, and records the keys that pass the filter.
class InputTest : public testing::Test {
protected:
    void SetUp() override {
        Stage::StartToolkit();
        for (const int type : {ECORE_EVENT_KEY_DOWN, ECORE_EVENT_KEY_UP}) {
            m_Handlers.push_back(ecore_event_handler_add(type, m_OnKey, this));
        }
    }
    void TearDown() override {
        for (Ecore_Event_Handler* handler : m_Handlers) {
            ecore_event_handler_del(handler);
        }
    }

    static void Send(int type, const char* name, unsigned modifiers = 0) {
        auto* event = static_cast<Ecore_Event_Key*>(std::calloc(1, sizeof(Ecore_Event_Key)));
        event->keyname = name;
        event->key = name;
        event->string = name;
        event->compose = name;
        event->modifiers = modifiers;
        ecore_event_add(type, event, nullptr, nullptr);
        HandleEvents();
    }
    static void Send(const char* name) {
        Send(ECORE_EVENT_KEY_DOWN, name);
        Send(ECORE_EVENT_KEY_UP, name);
    }

    struct Key {
        std::string name;
        bool hasText;
        unsigned modifiers;
    };
    std::vector<Key> m_Keys;
    std::vector<std::string> m_Names;

private:
    static Eina_Bool m_OnKey(void* data, int, void* event) {
        auto* self = static_cast<InputTest*>(data);
        const auto* key = static_cast<Ecore_Event_Key*>(event);
        EXPECT_STREQ(key->key, key->keyname);
        self->m_Keys.push_back(
            {key->keyname, key->string != nullptr || key->compose != nullptr, key->modifiers});
        self->m_Names.emplace_back(key->keyname);
        return ECORE_CALLBACK_PASS_ON;
    }

    std::vector<Ecore_Event_Handler*> m_Handlers;
};

TEST_F(InputTest, MapsArrowsToThemselves) {
    for (const char* arrow : {"Up", "Down", "Left", "Right"}) {
        EXPECT_STREQ(RemoteKey(arrow), arrow);
    }
}

TEST_F(InputTest, MapsOkKeysToReturn) {
    for (const char* key : {"Select", "Return", "KP_Enter"}) {
        EXPECT_STREQ(RemoteKey(key), "Return");
    }
}

TEST_F(InputTest, MapsOtherKeysToNull) {
    for (const char* key :
         {"Escape", "XF86Back", "Back",  "BackSpace", "space", "Tab",  "ISO_Left_Tab",
          "Home",   "End",      "Prior", "Next",      "F4",    "Menu", "a",
          "KP_Up",  "Alt_L",    "up",    "Returned",  "Retur", ""}) {
        EXPECT_EQ(RemoteKey(key), nullptr) << key;
    }
}

TEST_F(InputTest, PassesOkOfRemoteControlAsReturn) {
    Send("Select");
    EXPECT_THAT(m_Names, ElementsAre("Return", "Return"));
}

TEST_F(InputTest, StopsBackEscapeAndOtherKeys) {
    for (const char* key : {"XF86Back", "Escape", "space", "Tab", "q"}) {
        Send(key);
    }
    EXPECT_THAT(m_Names, IsEmpty());
}

TEST_F(InputTest, RemovesTextAndModifiers) {
    Send(ECORE_EVENT_KEY_DOWN, "Down", ECORE_EVENT_MODIFIER_SHIFT | ECORE_EVENT_MODIFIER_ALT);
    ASSERT_EQ(m_Keys.size(), 1U);
    EXPECT_EQ(m_Keys[0].name, "Down");
    EXPECT_FALSE(m_Keys[0].hasText);
    EXPECT_EQ(m_Keys[0].modifiers, 0U);
}

TEST_F(InputTest, PassesAllKeysAfterStop) {
    StopInputFilter();
    Send("Escape");
    StartInputFilter();
    EXPECT_THAT(m_Names, ElementsAre("Escape", "Escape"));
}

// The widgets behind the popup must not get a key while the popup has no focus.
TEST_F(InputTest, StopsKeysUntilPopupButtonIsEnabled) {
    Stage stage;
    stage.ShowPopup(true);
    for (const char* key : {"Up", "Down", "Left", "Right", "Return"}) {
        Send(key);
    }
    EXPECT_THAT(m_Names, IsEmpty());
    stage.ShowPopup(false);
    Send("Up");
    EXPECT_THAT(m_Names, ElementsAre("Up", "Up"));
}

// The test checks the effect of the keys that pass the filter.
TEST_F(InputTest, SelectsRowOnlyOnOk) {
    Stage stage;
    stage.Press("Down");
    stage.Press("Up");
    EXPECT_EQ(stage.RowPresses(), 0);
    stage.Press("Return");
    EXPECT_EQ(stage.RowPresses(), 1);
}

TEST_F(InputTest, ClosesFinishedPopupOnlyOnOk) {
    Stage stage;
    stage.ShowPopup(true);
    for (const char* key : {"Up", "Down", "Left", "Right", "Return"}) {
        stage.Press(key);
    }
    EXPECT_TRUE(evas_object_visible_get(stage.popup));
    EXPECT_THAT(stage.FocusedRows(), IsEmpty());
    stage.ShowPopup(false);
    for (const char* key : {"Up", "Down", "Left", "Right"}) {
        stage.Press(key);
    }
    EXPECT_TRUE(evas_object_visible_get(stage.popup));
    stage.Press("Return");
    EXPECT_FALSE(evas_object_visible_get(stage.popup));
    EXPECT_EQ(stage.OkPresses(), 1);
    EXPECT_EQ(stage.RowPresses(), 0);
}

// Sends a pointer event. Returns whether a handler behind the filter receives the event.
template <typename Event>
bool PassesFilter(int type) {
    bool passes = false;
    Ecore_Event_Handler* handler = ecore_event_handler_add(
        type,
        [](void* data, int, void*) -> Eina_Bool {
            *static_cast<bool*>(data) = true;
            return ECORE_CALLBACK_PASS_ON;
        },
        &passes);
    ecore_event_add(type, std::calloc(1, sizeof(Event)), nullptr, nullptr);
    HandleEvents();
    ecore_event_handler_del(handler);
    return passes;
}

TEST_F(InputTest, StopsPointerEvents) {
    EXPECT_FALSE(PassesFilter<Ecore_Event_Mouse_Button>(ECORE_EVENT_MOUSE_BUTTON_DOWN));
    EXPECT_FALSE(PassesFilter<Ecore_Event_Mouse_Button>(ECORE_EVENT_MOUSE_BUTTON_UP));
    EXPECT_FALSE(PassesFilter<Ecore_Event_Mouse_Wheel>(ECORE_EVENT_MOUSE_WHEEL));
    EXPECT_FALSE(PassesFilter<Ecore_Event_Mouse_Move>(ECORE_EVENT_MOUSE_MOVE));
}

TEST_F(InputTest, PassesPointerEventsAfterStop) {
    StopInputFilter();
    const bool passes = PassesFilter<Ecore_Event_Mouse_Wheel>(ECORE_EVENT_MOUSE_WHEEL);
    StartInputFilter();
    EXPECT_TRUE(passes);
}

}  // namespace
}  // namespace quorvel::desktop
