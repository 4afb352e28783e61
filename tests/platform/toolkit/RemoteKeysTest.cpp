#include "toolkit/remote_keys.h"

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

TEST(RemoteKey, AnArrowIsItself) {
    for (const char* arrow : {"Up", "Down", "Left", "Right"}) {
        EXPECT_STREQ(RemoteKey(arrow), arrow);
    }
}

TEST(RemoteKey, EachOkIsReturn) {
    for (const char* key : {"Select", "Return", "KP_Enter"}) {
        EXPECT_STREQ(RemoteKey(key), "Return");
    }
}

TEST(RemoteKey, AllOthersAreNothing) {
    for (const char* key :
         {"Escape", "XF86Back", "Back",  "BackSpace", "space", "Tab",  "ISO_Left_Tab",
          "Home",   "End",      "Prior", "Next",      "F4",    "Menu", "a",
          "KP_Up",  "Alt_L",    "up",    "Returned",  "Retur", ""}) {
        EXPECT_EQ(RemoteKey(key), nullptr) << key;
    }
}

// Keys on their way through the main loop, as a display sends them, and what comes out.
class RemoteKeys : public testing::Test {
protected:
    void SetUp() override {
        Stage::StartToolkit();
        for (const int type : {ECORE_EVENT_KEY_DOWN, ECORE_EVENT_KEY_UP}) {
            m_Handlers.push_back(ecore_event_handler_add(type, OnKey, this));
        }
    }
    void TearDown() override {
        for (Ecore_Event_Handler* handler : m_Handlers) {
            ecore_event_handler_del(handler);
        }
    }

    void Send(int type, const char* name, unsigned modifiers = 0) {
        auto* event = static_cast<Ecore_Event_Key*>(std::calloc(1, sizeof(Ecore_Event_Key)));
        event->keyname = name;
        event->key = name;
        event->string = name;
        event->compose = name;
        event->modifiers = modifiers;
        ecore_event_add(type, event, nullptr, nullptr);
        bool handled = false;
        ecore_job_add([](void* done) { *static_cast<bool*>(done) = true; }, &handled);
        ASSERT_TRUE(Screen::PumpUntil([&] { return handled; }));
    }
    void Send(const char* name) {
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
    static Eina_Bool OnKey(void* data, int, void* event) {
        auto* self = static_cast<RemoteKeys*>(data);
        const auto* key = static_cast<Ecore_Event_Key*>(event);
        EXPECT_STREQ(key->key, key->keyname);
        self->m_Keys.push_back(
            {key->keyname, key->string != nullptr || key->compose != nullptr, key->modifiers});
        self->m_Names.emplace_back(key->keyname);
        return ECORE_CALLBACK_PASS_ON;
    }

    std::vector<Ecore_Event_Handler*> m_Handlers;
};

TEST_F(RemoteKeys, OkOfTheRemoteControlReachesTheToolkitAsReturn) {
    Send("Select");
    EXPECT_THAT(m_Names, ElementsAre("Return", "Return"));
}

TEST_F(RemoteKeys, BackEscapeAndTheKeyboardReachNothing) {
    for (const char* key : {"XF86Back", "Escape", "space", "Tab", "q"}) {
        Send(key);
    }
    EXPECT_THAT(m_Names, IsEmpty());
}

TEST_F(RemoteKeys, AKeyBringsNeitherTextNorModifiers) {
    Send(ECORE_EVENT_KEY_DOWN, "Down", ECORE_EVENT_MODIFIER_SHIFT | ECORE_EVENT_MODIFIER_ALT);
    ASSERT_EQ(m_Keys.size(), 1U);
    EXPECT_EQ(m_Keys[0].name, "Down");
    EXPECT_FALSE(m_Keys[0].hasText);
    EXPECT_EQ(m_Keys[0].modifiers, 0U);
}

TEST_F(RemoteKeys, AfterTheEndEveryKeyPasses) {
    StopRemoteKeys();
    Send("Escape");
    StartRemoteKeys();
    EXPECT_THAT(m_Names, ElementsAre("Escape", "Escape"));
}

// What is behind the popup must not get a key while the popup has no focus of its own.
TEST_F(RemoteKeys, UntilThePopupsButtonIsEnabledNoKeyReachesTheToolkit) {
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

// What OK does once it has come through.
TEST(RemoteKeysOnScreen, ARowIsPressedByOkAlone) {
    Stage stage;
    stage.Press("Down");
    stage.Press("Up");
    EXPECT_EQ(stage.RowPresses(), 0);
    stage.Press("Return");
    EXPECT_EQ(stage.RowPresses(), 1);
}

TEST(RemoteKeysOnScreen, ARunningPopupTakesNoKeyAndAFinishedOneGoesByOk) {
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

}  // namespace
}  // namespace quorvel::desktop
