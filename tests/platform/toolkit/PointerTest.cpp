#include "toolkit/pointer.h"

#include <Ecore.h>
#include <Ecore_Evas.h>
#include <Ecore_Input.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <vector>

#include "fixtures/Screen.h"
#include "platform/fixtures/Stage.h"

namespace quorvel::desktop {
namespace {

class Pointer : public testing::Test {
protected:
    void SetUp() override { Stage::StartToolkit(); }
    void TearDown() override {
        for (Ecore_Event_Handler* handler : m_Handlers) {
            ecore_event_handler_del(handler);
        }
    }

    // Sends an event of a pointer; whether somebody behind the port hears of it.
    template <typename Event>
    bool IsHeard(int type) {
        bool heard = false;
        m_Handlers.push_back(ecore_event_handler_add(
            type,
            [](void* data, int, void*) -> Eina_Bool {
                *static_cast<bool*>(data) = true;
                return ECORE_CALLBACK_PASS_ON;
            },
            &heard));
        ecore_event_add(type, std::calloc(1, sizeof(Event)), nullptr, nullptr);
        bool handled = false;
        ecore_job_add([](void* done) { *static_cast<bool*>(done) = true; }, &handled);
        EXPECT_TRUE(Screen::PumpUntil([&] { return handled; }));
        ecore_event_handler_del(m_Handlers.back());
        m_Handlers.pop_back();
        return heard;
    }

    std::vector<Ecore_Event_Handler*> m_Handlers;
};

TEST_F(Pointer, DoesNothing) {
    EXPECT_FALSE(IsHeard<Ecore_Event_Mouse_Button>(ECORE_EVENT_MOUSE_BUTTON_DOWN));
    EXPECT_FALSE(IsHeard<Ecore_Event_Mouse_Button>(ECORE_EVENT_MOUSE_BUTTON_UP));
    EXPECT_FALSE(IsHeard<Ecore_Event_Mouse_Wheel>(ECORE_EVENT_MOUSE_WHEEL));
    EXPECT_FALSE(IsHeard<Ecore_Event_Mouse_Move>(ECORE_EVENT_MOUSE_MOVE));
}

TEST_F(Pointer, WorksAgainAfterTheEnd) {
    RestorePointer();
    const bool heard = IsHeard<Ecore_Event_Mouse_Wheel>(ECORE_EVENT_MOUSE_WHEEL);
    StopPointer();
    EXPECT_TRUE(heard);
}

TEST_F(Pointer, IsNotSeen) {
    const Stage stage;
    Evas_Object* cursor = nullptr;
    const Ecore_Evas* canvas = ecore_evas_ecore_evas_get(evas_object_evas_get(stage.window));
    ecore_evas_cursor_get(canvas, &cursor, nullptr, nullptr, nullptr);
    ASSERT_NE(cursor, nullptr);
    EXPECT_THAT(Screen::ColourOf(cursor), testing::Each(0));
}

}  // namespace
}  // namespace quorvel::desktop
