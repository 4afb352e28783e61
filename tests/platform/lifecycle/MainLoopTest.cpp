// Tests the callbacks of an application in its own process.

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

class MainLoopTest : public RecordedApp {
protected:
    // Returns variables with which a program has no folder for lock and socket and fails at once.
    Environment NoRuntimeFolder() const {
        const std::string missing = m_Folders.Root() / "missing";
        return {{"XDG_RUNTIME_DIR", missing}, {"TMPDIR", missing}};
    }
};

// The events of a program that a signal terminates.
const std::vector<Event> kTerminatedRun = {"create", "control ", "terminate", "exit"};

// Several signals arrive between two steps of the start.
constexpr std::chrono::microseconds kSignalInterval{100};
constexpr int kSignals = 250;

TEST_F(MainLoopTest, CallsCreateThenControlInsideLoop) {
    const auto app = Start({"NAME=first"});
    ASSERT_TRUE(AwaitEvent("control first"));
    EXPECT_THAT(Events(), ElementsAre("create", "control first"));
    EXPECT_THAT(Errors(*app), IsEmpty());
}

TEST_F(MainLoopTest, ReportsMissingResultFilesOnce) {
    const auto app = Start({"EXEPARAM=CLOSE"});
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_THAT(AllErrors(*app), ElementsAre(kNoResultFiles));
}

TEST_F(MainLoopTest, TerminatesOnceOnCloseRequest) {
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
    EXPECT_THAT(Events(), ElementsAre("create", "control CLOSE", "terminate", "exit"));
}

TEST_F(MainLoopTest, TerminatesOnceOnSigterm) {
    const auto app = Start();
    ASSERT_TRUE(AwaitEvent("control "));
    app->Signal(SIGTERM);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Events(), kTerminatedRun);
}

TEST_F(MainLoopTest, TerminatesOnceOnSigint) {
    const auto app = Start();
    ASSERT_TRUE(AwaitEvent("control "));
    app->Signal(SIGINT);
    app->Signal(SIGINT);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Events(), kTerminatedRun);
}

TEST_F(MainLoopTest, TerminatesOnceOnSighup) {
    const auto app = Start();
    ASSERT_TRUE(AwaitEvent("control "));
    app->Signal(SIGHUP);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Events(), kTerminatedRun);
}

TEST_F(MainLoopTest, IgnoresSighupUnderNohup) {
    ChildProgram program(m_Folders, "nohup", {QUORVEL_RECORDING_APP}, {{"RECORD", m_Record}});
    ASSERT_TRUE(AwaitEvent("control "));
    program.Signal(SIGHUP);
    ASSERT_EQ(Run({"NAME=second"}), 0);
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Exit(), 0);
    EXPECT_EQ(Count("control second"), 1);
    EXPECT_EQ(Count("terminate"), 1);
}

TEST_F(MainLoopTest, WaitsForLogCopyAtShutdown) {
    const auto app = Start({"EXEPARAM=COPY_AND_CLOSE"});
    ASSERT_TRUE(AwaitEvent("copy"));
    ASSERT_TRUE(AwaitEvent("terminate"));
    EXPECT_FALSE(Await([this] { return Count("exit") > 0; }, std::chrono::milliseconds(500)));
    app->Proceed();
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_THAT(Events(), testing::IsSupersetOf({"terminate", "copied", "exit"}));
    EXPECT_EQ(Events().back(), "exit");
    EXPECT_THAT(Errors(*app), IsEmpty());
}

TEST_F(MainLoopTest, WaitsUntilLogCopyIsCounted) {
    const auto app = Start({"EXEPARAM=COPY_COUNT_AND_CLOSE"});
    ASSERT_TRUE(AwaitEvent("terminate"));
    app->Proceed();
    ASSERT_TRUE(AwaitEvent("copied"));
    EXPECT_FALSE(Await([this] { return Count("exit") > 0; }, std::chrono::milliseconds(200)));
    app->Proceed();
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Count("counted"), 1);
    EXPECT_EQ(Events().back(), "exit");
    EXPECT_THAT(Errors(*app), IsEmpty());
}

TEST_F(MainLoopTest, StopsUncountedLogCopyAfterTwoSeconds) {
    const auto start = std::chrono::steady_clock::now();
    const auto app = Start({"EXEPARAM=COPY_COUNT_AND_CLOSE"});
    app->Proceed();
    EXPECT_EQ(app->Exit(), 0);
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, std::chrono::seconds(2));
    EXPECT_LT(taken, std::chrono::seconds(2) + kSpareTime);
    EXPECT_EQ(Count("counted"), 0);
    EXPECT_THAT(Errors(*app), ElementsAre("shutdown stops a capture after its log copy; its "
                                          "counter may be too low"));
}

// With too few descriptors, EFL would crash.
TEST_F(MainLoopTest, ReportsTooFewDescriptors) {
    ChildProgram program(m_Folders, "prlimit", {"--nofile=20", QUORVEL_RECORDING_APP},
                         {{"RECORD", m_Record}});
    EXPECT_EQ(program.Exit(), 1);
    EXPECT_THAT(Errors(program),
                ElementsAre("cannot open 64 files at once; raise the limit: ulimit -n 1024"));
}

TEST_F(MainLoopTest, RaisesSoftLimitOnDescriptors) {
    ChildProgram program(m_Folders, "prlimit",
                         {"--nofile=20:1024", QUORVEL_RECORDING_APP, "EXEPARAM=CLOSE"},
                         {{"RECORD", m_Record}});
    EXPECT_EQ(program.Exit(), 0);
    EXPECT_THAT(Errors(program), IsEmpty());
}

TEST_F(MainLoopTest, StopsLogCopyAfterFiveSeconds) {
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

TEST_F(MainLoopTest, ReportsFailedCreate) {
    const auto app = Start({}, {{"FAIL_CREATE", "1"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("create", "exit with an error"));
    EXPECT_THAT(Errors(*app),
                ElementsAre("the create callback of the application failed; see the log"));
}

TEST_F(MainLoopTest, ReportsToolkitThatCannotStart) {
    const auto app = Start({}, {{"FAIL_TOOLKIT", "1"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("exit with an error"));
    EXPECT_THAT(Errors(*app), ElementsAre("cannot initialise EFL; check its installation"));
    EXPECT_FALSE(std::filesystem::exists(m_Folders.Socket()));
}

TEST_F(MainLoopTest, AcceptsRequestWithoutControlCallback) {
    const auto app = Start({}, {{"ONLY_CREATE", "1"}});
    ASSERT_TRUE(AwaitEvent("create"));
    EXPECT_EQ(Run({"NAME=second"}), 0);
    app->Signal(SIGTERM);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_THAT(Events(*app), ElementsAre("create", "exit"));
}

TEST_F(MainLoopTest, ReportsMissingWindow) {
    const auto app = Start({}, {{"NO_WINDOW", "1"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("create", "terminate", "exit with an error"));
    EXPECT_THAT(Errors(*app),
                ElementsAre("no window was opened; check DISPLAY and WAYLAND_DISPLAY"));
}

TEST_F(MainLoopTest, AbortsOnUncaughtException) {
    EXPECT_EQ(Run({"EXEPARAM=THROW"}), -SIGABRT);
    EXPECT_THAT(Events(), ElementsAre("create", "control THROW"));
}

TEST_F(MainLoopTest, RejectsInvalidArgument) {
    const auto app = Start({"EXEPARAM=CLOSE", "close"});
    EXPECT_EQ(app->Exit(), 2);
    EXPECT_THAT(Events(), IsEmpty());
    EXPECT_EQ(app->Messages(),
              "quorvel: close: not of the form KEY=VALUE\nTry 'quorvel --help'.\n");
}

TEST_F(MainLoopTest, ReadsArgumentsAfterEndOfOptions) {
    EXPECT_EQ(Run({"NAME=first", "--", "EXEPARAM=CLOSE"}), 0);
    EXPECT_THAT(Events(), ElementsAre("create", "control firstCLOSE", "terminate", "exit"));
}

TEST_F(MainLoopTest, ReportsMissingRuntimeFolder) {
    const auto app = Start({}, NoRuntimeFolder());
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("exit with an error"));
    EXPECT_THAT(Errors(*app), ElementsAre(HasSubstr("missing/quorvel-")));
}

TEST_F(MainLoopTest, LogsErrorsAtEveryLevel) {
    Environment variables = NoRuntimeFolder();
    variables["QUORVEL_LOG_LEVEL"] = "off";
    const auto app = Start({}, variables);
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Errors(*app), ElementsAre(HasSubstr("cannot create ")));
    EXPECT_THAT(MessagesOf(ReadFile(m_Folders.Log())), ElementsAre(HasSubstr("cannot create ")));
}

TEST_F(MainLoopTest, RejectsInvalidThemeFile) {
    const std::string file = m_Folders.Root() / "theme/quorvel.edj";
    std::filesystem::create_directory(m_Folders.Root() / "theme");
    std::ofstream(file) << "not a theme";
    const auto app = Start({}, {{"QUORVEL_RESOURCES", m_Folders.Root()}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Events(), ElementsAre("exit with an error"));
    EXPECT_THAT(Errors(*app), ElementsAre(HasSubstr(file)));
}

// The test subtracts the time of a start that fails at once, because a sanitizer makes every start
// slow.
TEST_F(MainLoopTest, ReportsMissingDisplayWithinSecond) {
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(Run({}, NoRuntimeFolder()), 1);
    const auto start = std::chrono::steady_clock::now();
    const auto app = Start({}, {{"ELM_DISPLAY", ""}});
    EXPECT_EQ(app->Exit(), 1);
    const auto end = std::chrono::steady_clock::now();
    EXPECT_LT(end - start, start - before + std::chrono::seconds(1));
    EXPECT_THAT(Events(*app), ElementsAre("exit with an error"));
    EXPECT_THAT(Errors(*app),
                ElementsAre("no display: neither DISPLAY nor WAYLAND_DISPLAY is set"));
}

TEST_F(MainLoopTest, ReportsUnavailableDisplay) {
    const auto x = Start({}, {{"ELM_DISPLAY", ""}, {"DISPLAY", ":64000"}});
    EXPECT_EQ(x->Exit(), 1);
    EXPECT_THAT(Errors(*x), ElementsAre("no display: cannot connect to :64000"));
    const auto wayland = Start({}, {{"ELM_DISPLAY", ""}, {"WAYLAND_DISPLAY", "wayland-missing"}});
    EXPECT_EQ(wayland->Exit(), 1);
    EXPECT_THAT(Errors(*wayland), ElementsAre("no display: cannot connect to wayland-missing"));
}

TEST_F(MainLoopTest, ReportsXThatDoesNotAnswer) {
    const Socket server = Socket::ListenAsX();
    const std::string display = server.Display();
    const auto app = Start({}, {{"ELM_DISPLAY", ""}, {"DISPLAY", display}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Errors(*app), ElementsAre("no display: cannot connect to " + display));
}

TEST_F(MainLoopTest, ReportsWaylandThatDoesNotAnswer) {
    const Socket server = Socket::ListenAsWayland(m_Folders.Root() / "run/wayland");
    const auto app = Start({}, {{"ELM_DISPLAY", ""}, {"WAYLAND_DISPLAY", "wayland"}});
    EXPECT_EQ(app->Exit(), 1);
    EXPECT_THAT(Errors(*app), ElementsAre("no display: cannot connect to wayland"));
}

// The child process that connects to the display inherits the lock and must also end.
TEST_F(MainLoopTest, ReleasesLockWhenKilledDuringDisplaySearch) {
    const Socket server = Socket::ListenAsX();
    const auto app = Start({}, {{"ELM_DISPLAY", ""}, {"DISPLAY", server.Display()}});
    const Socket client = server.Accept();
    app->Signal(SIGKILL);
    EXPECT_EQ(app->Exit(), -SIGKILL);
    EXPECT_EQ(Run({"EXEPARAM=CLOSE"}), 0);
}

TEST_F(MainLoopTest, TerminatesAfterSignalDuringStart) {
    const auto app = Start();
    ASSERT_TRUE(AwaitEvent("create"));
    app->Signal(SIGTERM);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Count("terminate"), 1);
}

TEST_F(MainLoopTest, StopsParseAfterSignalDuringStart) {
    const std::string file = m_Folders.Root() / "result.xml";
    std::ofstream(file) << "<r/>";
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const auto app = Start({}, {{"PARSE", file}});
        ASSERT_TRUE(Await([&] { return !Events(*app).empty(); }));
        app->Signal(signal);
        app->Proceed();
        EXPECT_EQ(app->Exit(), 0) << signal;
        const std::vector<Event> events = Events(*app);
        EXPECT_THAT(events, testing::IsSupersetOf({"not parsed", "terminate", "exit"})) << signal;
        EXPECT_THAT(Errors(*app), ElementsAre(file + ": reading stops because the program ends"));
    }
}

TEST_F(MainLoopTest, ParsesFileDuringStart) {
    const std::string file = m_Folders.Root() / "result.xml";
    std::ofstream(file) << "<r/>";
    const auto app = Start({"EXEPARAM=CLOSE"}, {{"PARSE", file}});
    app->Proceed();
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Count("parsed"), 1);
    EXPECT_THAT(Errors(*app), IsEmpty());
}

// The Wayland socket does not answer, so the search is running when the signal arrives.
TEST_F(MainLoopTest, TerminatesAfterSignalDuringDisplaySearch) {
    const XServer x(m_Folders);
    const Socket wayland = Socket::ListenAsWayland(m_Folders.Root() / "run/wayland");
    const auto app =
        Start({}, {{"ELM_DISPLAY", ""}, {"WAYLAND_DISPLAY", "wayland"}, {"DISPLAY", x.Display()}});
    const Socket client = wayland.Accept();
    app->Signal(SIGTERM);
    EXPECT_EQ(app->Exit(), 0);
    EXPECT_EQ(Count("create"), 1);
    EXPECT_EQ(Count("terminate"), 1);
}

// The test covers the moment between the end of the display search and the start of the toolkit.
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

TEST_F(MainLoopTest, RejectsNullArguments) {
    std::string name = "quorvel";
    char* arguments[] = {name.data(), nullptr};
    ui_app_lifecycle_callback_s callbacks{};
    EXPECT_EQ(ui_app_main(0, static_cast<char**>(arguments), &callbacks, nullptr),
              APP_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ui_app_main(1, static_cast<char**>(arguments), nullptr, nullptr),
              APP_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ui_app_main(1, nullptr, &callbacks, nullptr), APP_ERROR_INVALID_PARAMETER);
}

}  // namespace
