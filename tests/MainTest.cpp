// Tests of the entry point. The build compiles src/main.cpp for the tests with main renamed to
// QuorvelMain.

#include <gmock/gmock.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "QELAnalysisData.h"
#include "QELApp.h"
#include "QELButtonLogCapture.h"
#include "QELItemDetailView.h"
#include "QELPopupLoading.h"
#include "QELXmlParser.h"
#include "fakes/FakeApp.h"
#include "fakes/FakeLog.h"
#include "quorvel.h"

int QuorvelMain(int argc, char** argv);

namespace {

using testing::ElementsAre;

// The state of the application's static members before main.
struct StartValues {
    bool hasWindow = QELApp::m_QelWindow != nullptr;
    bool hasStore = QELXmlParser::m_qelXmlParser != nullptr;
    bool hasAnalysisData = QELAnalysisData::m_QELAnalysisData != nullptr;
    bool hasPopup = QELPopupLoading::m_QELPopupLoading != nullptr;
    bool hasTimer = QELPopupLoading::m_Timer != nullptr;
    bool runs = QELPopupLoading::m_IsRunning;
    bool hasCaptured = QELButtonLogCapture::doCaptureLog;
    bool hasPanel = QELItemDetailView::m_bgItemDetailView != nullptr;
};
const StartValues kStartValues;

// Fills the stack memory of the next function, so that the test detects a record that is not
// zero-filled.
[[gnu::noinline]] void FillStack() {
    volatile char memory[4096];
    for (volatile char& byte : memory) {
        byte = 0x5A;
    }
}

TEST(MainStartTest, BeginsWithoutWindowAndSingletons) {
    EXPECT_FALSE(kStartValues.hasWindow);
    EXPECT_FALSE(kStartValues.hasStore);
    EXPECT_FALSE(kStartValues.hasAnalysisData);
    EXPECT_FALSE(kStartValues.hasPopup);
    EXPECT_FALSE(kStartValues.hasTimer);
    EXPECT_FALSE(kStartValues.runs);
    EXPECT_FALSE(kStartValues.hasCaptured);
    EXPECT_FALSE(kStartValues.hasPanel);
}

class MainTest : public testing::Test {
protected:
    void SetUp() override { FakeApp::Clear(); }
    void TearDown() override { FakeApp::Clear(); }

    int Run() {
        FillStack();
        return QuorvelMain(3, m_Argv);
    }

    char m_Program[8] = "quorvel";
    char m_First[8] = "A=1";
    char m_Second[8] = "B=2";
    char* m_Argv[4] = {m_Program, m_First, m_Second, nullptr};
};

TEST_F(MainTest, LogsStartLineAsError) {
    Run();
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("quorvel is launched.", "main.cpp")));
}

TEST_F(MainTest, LogsStartLineBeforePlatformCall) {
    std::vector<std::string> logged;
    FakeApp::SetMainBody([&logged](const FakeApp::MainCall&) { logged = FakeLog::Messages(); });
    Run();
    EXPECT_THAT(logged, ElementsAre("quorvel is launched."));
}

TEST_F(MainTest, PassesArgumentsToPlatform) {
    Run();
    const std::optional<FakeApp::MainCall> call = FakeApp::LastMainCall();
    ASSERT_TRUE(call.has_value());
    EXPECT_EQ(call->argc, 3);
    EXPECT_EQ(call->argv, m_Argv);
}

TEST_F(MainTest, PassesFiveCallbacksToPlatform) {
    Run();
    const std::optional<FakeApp::MainCall> call = FakeApp::LastMainCall();
    ASSERT_TRUE(call.has_value());
    EXPECT_EQ(call->callbacks.create, &QELApp::s_Create);
    EXPECT_EQ(call->callbacks.terminate, &QELApp::s_Terminate);
    EXPECT_EQ(call->callbacks.pause, &QELApp::s_Pause);
    EXPECT_EQ(call->callbacks.resume, &QELApp::s_Resume);
    EXPECT_EQ(call->callbacks.app_control, &QELApp::s_Control);
}

TEST_F(MainTest, PassesZeroFilledRecordToPlatform) {
    const _appdata zero = {};
    bool isZero = false;
    FakeApp::SetMainBody([&zero, &isZero](const FakeApp::MainCall& call) {
        ASSERT_NE(call.userData, nullptr);
        isZero = std::memcmp(call.userData, &zero, sizeof(zero)) == 0;
    });
    Run();
    EXPECT_TRUE(isZero);
}

TEST_F(MainTest, ReturnsZeroAndLogsNothingElseOnSuccess) {
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(FakeLog::Lines().size(), 1U);
}

TEST_F(MainTest, LogsAndReturnsPlatformError) {
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
