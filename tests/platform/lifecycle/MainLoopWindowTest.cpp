// Tests an application whose window a window manager minimises, restores and closes.

#include <csignal>
#include <memory>
#include <string>

#include "platform/fixtures/RecordedApp.h"
#include "platform/fixtures/XServer.h"

using testing::ElementsAre;

namespace {

class MainLoopWindowTest : public RecordedApp {
protected:
    void SetUp() override {
        m_Display = {{"ELM_DISPLAY", ""}, {"DISPLAY", m_Server.Display()}};
        ASSERT_NE(m_Display["DISPLAY"], "");
        m_Manager = std::make_unique<ChildProgram>(m_Folders, "openbox", Arguments{}, m_Display);
        // A window that opens before the manager runs does not get the focus.
        ASSERT_TRUE(Await([this] { return IsManaged(); }));
        m_App = Start({}, m_Display);
        ASSERT_TRUE(AwaitEvent("focused"));
        ASSERT_TRUE(AwaitEvent("control "));
    }

    bool IsManaged() const {
        ChildProgram probe(m_Folders, "xprop", {"-root", "_NET_SUPPORTING_WM_CHECK"}, m_Display);
        return probe.Exit() == 0 && probe.Output().find("window id") != std::string::npos;
    }

    // Sends the program a command for its window (see recording_app.cpp).
    void Do(const std::string& command) const {
        EXPECT_EQ(Run({"EXEPARAM=" + command}, m_Display), 0);
    }

    // Returns the events without the three events of the start.
    std::vector<Event> EventsSinceStart() const {
        std::vector<Event> events;
        for (const Event& event : Events(*m_App)) {
            if (event != "create" && event != "control " && event != "focused") {
                events.push_back(event);
            }
        }
        return events;
    }

    XServer m_Server{m_Folders};
    Environment m_Display;
    std::unique_ptr<ChildProgram> m_Manager;
    std::unique_ptr<ChildProgram> m_App;
};

TEST_F(MainLoopWindowTest, CallsPauseAndResumeOnMinimiseAndRestore) {
    Do("MINIMISE");
    ASSERT_TRUE(AwaitEvent("pause"));
    Do("RESTORE");
    ASSERT_TRUE(AwaitEvent("resume"));
    Do("CLOSE");
    EXPECT_EQ(m_App->Exit(), 0);
    EXPECT_THAT(EventsSinceStart(), ElementsAre("control MINIMISE", "pause", "control RESTORE",
                                                "resume", "control CLOSE", "terminate", "exit"));
}

// The toolkit reports a window that opens like a window that is restored.
TEST_F(MainLoopWindowTest, KeepsFramesOfDisplayWhenWindowOpens) {
    Do("CLOSE");
    EXPECT_EQ(m_App->Exit(), 0);
    m_Display["VERTICAL_SYNC"] = "1";
    m_App = Start({}, m_Display);
    EXPECT_TRUE(AwaitEvent("frames of the display"));
}

TEST_F(MainLoopWindowTest, RestoresMinimisedWindowOnSecondStart) {
    Do("MINIMISE");
    ASSERT_TRUE(AwaitEvent("pause"));
    EXPECT_EQ(Run({}, m_Display), 0);
    EXPECT_TRUE(AwaitEvent("resume"));
    EXPECT_EQ(Count("create"), 1);
}

TEST_F(MainLoopWindowTest, TerminatesWhenWindowCloses) {
    Do("QUIT");
    EXPECT_EQ(m_App->Exit(), 0);
    EXPECT_THAT(EventsSinceStart(), ElementsAre("control QUIT", "terminate", "exit"));
}

TEST_F(MainLoopWindowTest, CallsNoResumeOnShutdownWhileMinimised) {
    Do("MINIMISE");
    ASSERT_TRUE(AwaitEvent("pause"));
    m_App->Signal(SIGTERM);
    EXPECT_EQ(m_App->Exit(), 0);
    EXPECT_THAT(EventsSinceStart(), ElementsAre("control MINIMISE", "pause", "terminate", "exit"));
}

}  // namespace
