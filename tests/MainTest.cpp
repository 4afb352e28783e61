// The entry of the program, which the build compiles for the tests under another name.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <iterator>
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

// What stands before anything has run.
struct StartValues_s {
    bool hasWindow = QELApp::m_QelWindow != nullptr;
    bool hasStore = QELXmlParser::m_qelXmlParser != nullptr;
    bool hasAnalysisStore = QELAnalysisData::m_QELAnalysisData != nullptr;
    bool hasPopup = QELPopupLoading::m_QELPopupLoading != nullptr;
    bool hasTimer = QELPopupLoading::m_Timer != nullptr;
    bool runs = QELPopupLoading::m_IsRunning;
    bool hasCaptured = QELButtonLogCapture::doCaptureLog;
    bool hasPanel = QELItemDetailView::m_bgItemDetailView != nullptr;
};
const StartValues_s START_VALUES;

// Leaves something where the next function has its record.
[[gnu::noinline]] void SoilTheStack() {
    volatile char soil[4096];
    for (volatile char& byte : soil) {
        byte = 0x5A;
    }
}

TEST(StartTest, NothingExistsAndNothingRuns) {
    EXPECT_FALSE(START_VALUES.hasWindow);
    EXPECT_FALSE(START_VALUES.hasStore);
    EXPECT_FALSE(START_VALUES.hasAnalysisStore);
    EXPECT_FALSE(START_VALUES.hasPopup);
    EXPECT_FALSE(START_VALUES.hasTimer);
    EXPECT_FALSE(START_VALUES.runs);
    EXPECT_FALSE(START_VALUES.hasCaptured);
    EXPECT_FALSE(START_VALUES.hasPanel);
}

TEST(RecordTest, FieldsStandInTheirOrder) {
    const std::size_t offsets[] = {offsetof(_appdata, win),
                                   offsetof(_appdata, table),
                                   offsetof(_appdata, titleLabel),
                                   offsetof(_appdata, itemList),
                                   offsetof(_appdata, itemLabel),
                                   offsetof(_appdata, itemImage),
                                   offsetof(_appdata, detailLabel),
                                   offsetof(_appdata, infoLabelLeft),
                                   offsetof(_appdata, infoLabelRight),
                                   offsetof(_appdata, logCaptureButton)};
    EXPECT_EQ(offsets[0], 0U);
    EXPECT_EQ(std::adjacent_find(std::begin(offsets), std::end(offsets), std::greater_equal<>()),
              std::end(offsets));
}

TEST(RecordTest, LocationsHaveTheirNumbers) {
    EXPECT_THAT((std::vector<int>{TABLE_LOCATION_TITLE, TABLE_LOCATION_INFO_LEFT,
                                  TABLE_LOCATION_INFO_RIGHT, TABLE_LOCATION_ITEM_LIST,
                                  TABLE_LOCATION_ITEM_VIEW, TABLE_LOCATION_ITEM_DETAIL,
                                  TABLE_LOCATION_LOG_CAPTURE, TABLE_LOCATION_BACKGROUND}),
                ElementsAre(1, 2, 3, 4, 5, 6, 7, 9));
    EXPECT_THAT(
        (std::vector<int>{POPUP_LOCATION_LABEL, POPUP_LOCATION_PROGRESS, POPUP_LOCATION_BUTTON}),
        ElementsAre(0, 1, 2));
}

class MainTest : public testing::Test {
protected:
    void SetUp() override { FakeApp::Clear(); }
    void TearDown() override { FakeApp::Clear(); }

    int Run() {
        SoilTheStack();
        return QuorvelMain(3, m_argv);
    }

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
