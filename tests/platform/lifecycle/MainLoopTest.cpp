// The order of the callbacks, and every way to an end, in programs of their own.

#include <app.h>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "platform/fixtures/RecordedApp.h"
#include "platform/fixtures/Socket.h"
#include "platform/fixtures/XServer.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using MainLoopTest = RecordedApp;

// The whole way of a program that somebody else ends.
const std::vector<Event> kWholeLife = {"create", "control ", "terminate", "end"};

// Shorter than the start takes between the display search and the toolkit. The toolkit keeps all of
// the signals in a pipe of 64 KiB.
constexpr std::chrono::microseconds kSignalInterval{100};
constexpr int kSignals = 250;

TEST_F(MainLoopTest, CreateThenControlInsideTheMainLoop) {
    const auto app = Start({"NAME=first"});
    ASSERT_TRUE(AwaitEvent("control first"));
    EXPECT_THAT(Events(), ElementsAre("create", "control first"));
    EXPECT_THAT(Errors(*app), IsEmpty());
}

TEST_F(MainLoopTest, CloseRequestEndsTheLoopAndTerminateComesOnce) {
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
    EXPECT_THAT(Events(), ElementsAre("create", "control CLOSE", "terminate", "end"));
}

TEST_F(MainLoopTest, TerminateComesOnceAfterSigterm) {
    const auto app = Start();
    ASSERT_TRUE(AwaitEvent("control "));
    app->Signal(SIGTERM);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Events(), kWholeLife);
}

TEST_F(MainLoopTest, TerminateComesOnceAfterSigint) {
    const auto app = Start();
    ASSERT_TRUE(AwaitEvent("control "));
    app->Signal(SIGINT);
    app->Signal(SIGINT);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Events(), kWholeLife);
}

TEST_F(MainLoopTest, EndWaitsForALogCopy) {
    const auto app = Start({"EXEPARAM=COPY_AND_CLOSE"});
    ASSERT_TRUE(AwaitEvent("copy"));
    ASSERT_TRUE(AwaitEvent("terminate"));
    EXPECT_FALSE(Await([this] { return Count("end") > 0; }, std::chrono::milliseconds(500)));
    app->Proceed();
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_THAT(Events(), testing::IsSupersetOf({"terminate", "copied", "end"}));
    EXPECT_EQ(Events().back(), "end");
    EXPECT_THAT(Errors(*app), IsEmpty());
}

TEST_F(MainLoopTest, EndDoesNotWaitForEverForALogCopy) {
    const auto start = std::chrono::steady_clock::now();
    const auto app = Start({"EXEPARAM=COPY_AND_CLOSE"});
    ASSERT_TRUE(AwaitEvent("copy"));
    EXPECT_EQ(app->Exit(), 0);
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, std::chrono::seconds(5));
    EXPECT_LT(taken, std::chrono::seconds(5) + kSpareTime);
    EXPECT_EQ(Count("copied"), 0);
    EXPECT_THAT(
        Errors(*app),
        ElementsAre("shutdown stops a log copy; the next log copy removes its temporary folder"));
}

TEST_F(MainLoopTest, RefusedCreateEndsWithAnErrorAndWithoutTerminate) {
    const auto app = Start({}, {{"REFUSE_CREATE", "1"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("create", "end with an error"));
    EXPECT_THAT(Errors(*app),
                ElementsAre("the create callback of the application failed; see the log"));
}

TEST_F(MainLoopTest, CreateWithoutAWindowEndsWithAnError) {
    const auto app = Start({}, {{"NO_WINDOW", "1"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("create", "terminate", "end with an error"));
    EXPECT_THAT(Errors(*app),
                ElementsAre("no window was opened; check DISPLAY and WAYLAND_DISPLAY"));
}

TEST_F(MainLoopTest, UncaughtExceptionEndsTheProgram) {
    EXPECT_EQ(Run({"EXEPARAM=THROW"}), -SIGABRT);
    EXPECT_THAT(Events(), ElementsAre("create", "control THROW"));
}

TEST_F(MainLoopTest, ArgumentOfAnotherFormIsToldWithTheUsage) {
    const auto app = Start({"EXEPARAM=CLOSE", "close"});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("end with an error"));
    EXPECT_THAT(Errors(*app),
                ElementsAre("close: not of the form KEY=VALUE; usage: quorvel [KEY=VALUE...]"));
}

TEST_F(MainLoopTest, EarlyEndIsToldWhateverTheLevel) {
    const auto app = Start({"close"}, {{"QUORVEL_LOG_LEVEL", "off"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Errors(*app), ElementsAre(HasSubstr("usage: ")));
    EXPECT_THAT(MessagesOf(ReadFile(m_Folders.Log())), ElementsAre(HasSubstr("usage: ")));
}

TEST_F(MainLoopTest, ThemeFileThatIsNoneEndsTheStart) {
    const std::string file = m_Folders.Root() / "theme/quorvel.edj";
    std::filesystem::create_directory(m_Folders.Root() / "theme");
    std::ofstream(file) << "no theme";
    const auto app = Start({}, {{"QUORVEL_RESOURCES", m_Folders.Root()}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("end with an error"));
    EXPECT_THAT(Errors(*app), ElementsAre("the theme cannot be used: " + file));
}

TEST_F(MainLoopTest, VersionIsToldWithoutACallback) {
    const auto app = Start({"--version"});
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_THAT(app->Output(), HasSubstr("quorvel " QUORVEL_VERSION "\n"));
    EXPECT_THAT(Events(), ElementsAre("end"));
}

// Beyond what the program takes to start and end at all, which under a sanitizer is most of it.
TEST_F(MainLoopTest, NoDisplayIsToldWithinASecond) {
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(Run({"no request"}), 1);
    const auto start = std::chrono::steady_clock::now();
    const auto app = Start({}, {{"ELM_DISPLAY", ""}});
    EXPECT_EQ(app->Exit(), 1);
    const auto end = std::chrono::steady_clock::now();
    EXPECT_LT(end - start, start - before + std::chrono::seconds(1));
    EXPECT_THAT(Events(*app), ElementsAre("end with an error"));
    EXPECT_THAT(Errors(*app),
                ElementsAre("no display: neither DISPLAY nor WAYLAND_DISPLAY is set"));
}

TEST_F(MainLoopTest, DisplayThatIsNotThereIsTold) {
    const auto x = Start({}, {{"ELM_DISPLAY", ""}, {"DISPLAY", ":64000"}});
    EXPECT_EQ(x->Exit(), 1);
    EXPECT_THAT(Errors(*x), ElementsAre("no display: cannot connect to :64000"));
    const auto wayland = Start({}, {{"ELM_DISPLAY", ""}, {"WAYLAND_DISPLAY", "wayland-none"}});
    EXPECT_EQ(wayland->Exit(), 1);
    EXPECT_THAT(Errors(*wayland), ElementsAre("no display: cannot connect to wayland-none"));
}

// Listens as a display would, and says nothing.
TEST_F(MainLoopTest, DisplayThatDoesNotAnswerIsNotWaitedFor) {
    const Socket server = Socket::ListenAsX();
    const std::string display = server.Display();
    const auto app = Start({}, {{"ELM_DISPLAY", ""}, {"DISPLAY", display}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Errors(*app), ElementsAre("no display: cannot connect to " + display));
}

TEST_F(MainLoopTest, WaylandThatDoesNotAnswerIsNotWaitedFor) {
    const Socket server = Socket::ListenAsWayland(m_Folders.Root() / "run/silent");
    const auto app = Start({}, {{"ELM_DISPLAY", ""}, {"WAYLAND_DISPLAY", "silent"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Errors(*app), ElementsAre("no display: cannot connect to silent"));
}

// What asked the display on its behalf must not go on holding the lock.
TEST_F(MainLoopTest, KilledWhileItLooksForADisplayItLeavesNothingRunning) {
    const Socket server = Socket::ListenAsX();
    const auto app = Start({}, {{"ELM_DISPLAY", ""}, {"DISPLAY", server.Display()}});
    const Socket asking = server.Accept();
    app->Signal(SIGKILL);
    EXPECT_EQ(app->Exit(), -SIGKILL);
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
}

TEST_F(MainLoopTest, SignalWhileStartingStillTerminates) {
    const auto app = Start();
    ASSERT_TRUE(AwaitEvent("create"));
    app->Signal(SIGTERM);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Count("terminate"), 1);
}

// Nothing takes the signal yet: the one display keeps the program waiting for the other.
TEST_F(MainLoopTest, SignalWhileItLooksForADisplayStillTerminates) {
    const XServer x(m_Folders);
    const Socket silent = Socket::ListenAsWayland(m_Folders.Root() / "run/silent");
    const auto app =
        Start({}, {{"ELM_DISPLAY", ""}, {"WAYLAND_DISPLAY", "silent"}, {"DISPLAY", x.Display()}});
    const Socket asking = silent.Accept();
    app->Signal(SIGTERM);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Count("create"), 1);
    EXPECT_EQ(Count("terminate"), 1);
}

// Covers the moment between the end of the display search and the start of the toolkit.
TEST_F(MainLoopTest, TerminatesAfterRepeatedSignalsDuringStart) {
    const XServer x(m_Folders);
    const Socket wayland = Socket::ListenAsWayland(m_Folders.Root() / "run/wayland");
    const auto app =
        Start({}, {{"ELM_DISPLAY", ""}, {"WAYLAND_DISPLAY", "wayland"}, {"DISPLAY", x.Display()}});
    wayland.Accept();
    for (int i = 0; i < kSignals; ++i) {
        app->Signal(SIGTERM);
        std::this_thread::sleep_for(kSignalInterval);
    }
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Count("create"), 1);
    EXPECT_EQ(Count("terminate"), 1);
}

TEST_F(MainLoopTest, NullInsteadOfCallbacksIsAnError) {
    std::string name = "quorvel";
    char* arguments[] = {name.data(), nullptr};
    ui_app_lifecycle_callback_s none{};
    EXPECT_EQ(ui_app_main(0, static_cast<char**>(arguments), &none, nullptr),
              APP_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ui_app_main(1, static_cast<char**>(arguments), nullptr, nullptr),
              APP_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ui_app_main(1, nullptr, &none, nullptr), APP_ERROR_INVALID_PARAMETER);
}

}  // namespace
