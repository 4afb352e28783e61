// The entry of the program, which the build compiles for the tests under another name.

#include <gmock/gmock.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "QELApp.h"
#include "fakes/FakeApp.h"
#include "fakes/FakeLog.h"
#include "quorvel.h"

int QuorvelMain(int argc, char** argv);

namespace {

using testing::ElementsAre;

class MainTest : public testing::Test {
protected:
    void SetUp() override { FakeApp::Clear(); }
    void TearDown() override { FakeApp::Clear(); }

    int Run() { return QuorvelMain(3, m_argv); }

    char m_program[8] = "quorvel";
    char m_first[8] = "A=1";
    char m_second[8] = "B=2";
    char* m_argv[4] = {m_program, m_first, m_second, nullptr};
};

TEST_F(MainTest, LogsTheStartLineAtErrorLevel) {
    Run();
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("quorvel is launched.", "main.cpp")));
}

TEST_F(MainTest, LogsTheStartLineBeforeThePlatformTakesOver) {
    std::vector<std::string> logged;
    FakeApp::SetMainBody([&logged](const FakeApp::MainCall&) { logged = FakeLog::Messages(); });
    Run();
    EXPECT_THAT(logged, ElementsAre("quorvel is launched."));
}

TEST_F(MainTest, HandsItsArgumentsToThePlatform) {
    Run();
    const std::optional<FakeApp::MainCall> call = FakeApp::LastMainCall();
    ASSERT_TRUE(call.has_value());
    EXPECT_EQ(call->argc, 3);
    EXPECT_EQ(call->argv, m_argv);
}

TEST_F(MainTest, HandsTheFiveCallbacksToThePlatform) {
    Run();
    const std::optional<FakeApp::MainCall> call = FakeApp::LastMainCall();
    ASSERT_TRUE(call.has_value());
    EXPECT_EQ(call->callbacks.create, &QELApp::s_Create);
    EXPECT_EQ(call->callbacks.terminate, &QELApp::s_Terminate);
    EXPECT_EQ(call->callbacks.pause, &QELApp::s_Pause);
    EXPECT_EQ(call->callbacks.resume, &QELApp::s_Resume);
    EXPECT_EQ(call->callbacks.app_control, &QELApp::s_Control);
}

TEST_F(MainTest, HandsAZeroFilledRecordToThePlatform) {
    const _appdata zero = {};
    bool isZero = false;
    FakeApp::SetMainBody([&zero, &isZero](const FakeApp::MainCall& call) {
        ASSERT_NE(call.userData, nullptr);
        isZero = std::memcmp(call.userData, &zero, sizeof(zero)) == 0;
    });
    Run();
    EXPECT_TRUE(isZero);
}

TEST_F(MainTest, ReturnsZeroWithoutAnotherLineWhenThePlatformEndsWell) {
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(FakeLog::Lines().size(), 1U);
}

TEST_F(MainTest, LogsAndReturnsTheErrorOfThePlatform) {
    for (const int error : {1, -22}) {
        FakeLog::Clear();
        FakeApp::SetMainResult(error);
        EXPECT_EQ(Run(), error);
        EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("quorvel is launched.", "main.cpp"),
                                                  ErrorLine("app_main() is failed. err = [" +
                                                                std::to_string(error) + "]",
                                                            "main.cpp")));
    }
}

}  // namespace
