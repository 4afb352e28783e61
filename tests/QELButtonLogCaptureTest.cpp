#include "QELButtonLogCapture.h"

#include <Elementary.h>

#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "QELPopupLoading.h"
#include "fakes/FailingNew.h"
#include "fakes/FakeServices.h"
#include "fakes/NoThreads.h"
#include "fixtures/PrivateData.h"
#include "fixtures/ScreenTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kButtonLogCaptureSource = "QELButtonLogCapture.cpp";

class QELButtonLogCaptureTest : public ScreenTest {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        OpenWindow();
        ToolkitCalls::Start();
    }

    // Creates the button and the popup. Connects the button as QELWindow does.
    void Create() {
        QELXmlParser::GetInstance();
        QELPopupLoading::GetInstance()->Create(&ad);
        m_LogCapture.Create(&ad);
        evas_object_smart_callback_add(ad.logCaptureButton, "clicked", QELButtonLogCapture::OnPress,
                                       &ad);
        Screen::ProcessEvents(ad.win);
        FakeLog::Clear();
        ToolkitCalls::Start();
    }

    // Runs a capture whose log copy returns the result, then presses OK in the popup.
    void CaptureAndConfirm(int result) {
        FakeServices::SetCopyResult(result);
        evas_object_smart_callback_call(ad.logCaptureButton, "clicked", nullptr);
        ASSERT_TRUE(WaitUntilPopupStops());
        evas_object_smart_callback_call(QELPopupLoading::m_Button, "clicked", nullptr);
    }

    bool IsEnabled() const { return !elm_object_disabled_get(ad.logCaptureButton); }
    static std::string Content() { return TextOf(QELPopupLoading::m_PopupLabel); }
    static std::string CaptureCount() { return PrivateData::Read("num_of_log_capture"); }

    QELButtonLogCapture m_LogCapture;
};

// --- Tests of Create

TEST_F(QELButtonLogCaptureTest, RejectsCreateWithoutAppData) {
    ExpectRecordIsNeeded(m_LogCapture, &QELButtonLogCapture::Create, "Create",
                         kButtonLogCaptureSource);
    EXPECT_EQ(m_LogCapture.m_Box, nullptr);
}

TEST_F(QELButtonLogCaptureTest, CreatesNoButtonWithoutResultStore) {
    const FailingNew failing(1);
    m_LogCapture.Create(&ad);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(m_LogCapture.m_Box, nullptr);
    EXPECT_EQ(ad.logCaptureButton, nullptr);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp")));
}

TEST_F(QELButtonLogCaptureTest, CreatesAndPlacesWidgetsInOrder) {
    AddFailed(ItemOfType("bt", "A"));
    m_LogCapture.Create(&ad);
    ToolkitCalls::Names names = Names();
    names.insert({m_LogCapture.m_Box, "box"});
    EXPECT_THAT(ToolkitCalls::Take(names),
                ElementsAre("elm_box_add(box, table)",                 //
                            "elm_box_pack_end(table, box)",            //
                            "elm_button_add(logCaptureButton, box)",   //
                            "evas_object_show(box)",                   //
                            "elm_table_pack(table, box, 1, 7, 1, 1)",  //
                            "evas_object_show(logCaptureButton)",      //
                            "elm_table_pack(table, logCaptureButton, 1, 7, 1, 1)"));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("done Create", kButtonLogCaptureSource, "Create")));
}

TEST_F(QELButtonLogCaptureTest, CreatesEmptyHorizontalBoxWithPadding) {
    Create();
    EXPECT_TRUE(elm_box_horizontal_get(m_LogCapture.m_Box));
    int horizontal = 0;
    int vertical = 0;
    elm_box_padding_get(m_LogCapture.m_Box, &horizontal, &vertical);
    EXPECT_EQ(horizontal, 10);
    EXPECT_EQ(vertical, 10);
    EXPECT_EQ(elm_box_children_get(m_LogCapture.m_Box), nullptr);
}

TEST_F(QELButtonLogCaptureTest, PlacesButtonAndBoxInSameBottomCell) {
    Create();
    EXPECT_EQ(Screen::CellOf(m_LogCapture.m_Box), (Cell{1, 7, 1, 1}));
    EXPECT_EQ(Screen::CellOf(ad.logCaptureButton), (Cell{1, 7, 1, 1}));
    EXPECT_TRUE(Screen::IsPacked(ad.table, m_LogCapture.m_Box));
    EXPECT_TRUE(Screen::IsPacked(ad.table, ad.logCaptureButton));
}

TEST_F(QELButtonLogCaptureTest, SetsStyleAndLabelOfButton) {
    Create();
    EXPECT_STREQ(elm_object_style_get(ad.logCaptureButton), "C_ButtonBasic_WhiteText");
    EXPECT_EQ(TextOf(ad.logCaptureButton), "Log Capture");
    EXPECT_TRUE(IsVisible(ad.logCaptureButton));
    EXPECT_TRUE(IsEnabled());
}

TEST_F(QELButtonLogCaptureTest, RestoresLabelInSetText) {
    Create();
    elm_object_text_set(ad.logCaptureButton, "x");
    m_LogCapture.m_SetText(&ad);
    EXPECT_EQ(TextOf(ad.logCaptureButton), "Log Capture");
}

TEST_F(QELButtonLogCaptureTest, FocusesButtonWithoutFailedItems) {
    Create();
    EXPECT_EQ(Screen::FocusedWidget(ad.win), ad.logCaptureButton);
}

TEST_F(QELButtonLogCaptureTest, KeepsFocusOnOtherWidgetWithFailedItems) {
    AddFailed(ItemOfType("bt", "A"));
    Evas_Object* other = elm_button_add(ad.table);
    elm_table_pack(ad.table, other, 0, 1, 1, 1);
    evas_object_show(other);
    elm_object_focus_set(other, EINA_TRUE);
    Create();
    EXPECT_EQ(Screen::FocusedWidget(ad.win), other);
}

// --- Tests of the placing of objects

TEST_F(QELButtonLogCaptureTest, CentresObjectInItsCell) {
    ExpectPlaced(m_LogCapture, TABLE_LOCATION_LOG_CAPTURE, {1, 7, 1, 1}, {0.8, 1.0, 0.5, -1.0});
}

TEST_F(QELButtonLogCaptureTest, ShowsButDoesNotPlaceObjectAtOtherLocations) {
    ExpectShownButNotPlaced(m_LogCapture, {0, 1, 2, 3, 4, 5, 6, 8, 9}, kButtonLogCaptureSource);
}

// --- Tests of OnPress

TEST_F(QELButtonLogCaptureTest, ShowsPopupWhileLogCopyRuns) {
    Create();
    FakeServices::CloseGate();
    QELButtonLogCapture::OnPress(&ad, ad.logCaptureButton, nullptr);
    ASSERT_TRUE(Screen::PumpUntil(FakeServices::IsCopying));
    EXPECT_TRUE(IsVisible(QELPopupLoading::m_Popup));
    EXPECT_STREQ(elm_object_part_text_get(QELPopupLoading::m_Popup, "title,text"),
                 "Capture Log To USB");
    EXPECT_EQ(Content(), kPopupContentPrefix + "Log files are storing to USB...");
    EXPECT_TRUE(elm_object_disabled_get(QELPopupLoading::m_Button));
    EXPECT_TRUE(elm_progressbar_is_pulsing_get(QELPopupLoading::m_PopupProgress));
    EXPECT_TRUE(QELPopupLoading::m_IsRunning);
    EXPECT_TRUE(IsEnabled());
}

TEST_F(QELButtonLogCaptureTest, ShowsPopupAndTextsBeforeWorkerRuns) {
    Create();
    std::string content;
    int copiesBegun = -1;
    ToolkitCalls::OnCall("ecore_timer_add", [&content, &copiesBegun] {
        content = Content();
        copiesBegun = FakeServices::CopiesBegun();
    });
    std::vector<bool> shown;
    ToolkitCalls::OnCall("elm_object_part_text_set",
                         [&shown] { shown.push_back(IsVisible(QELPopupLoading::m_Popup)); });
    QELButtonLogCapture::OnPress(&ad, ad.logCaptureButton, nullptr);
    EXPECT_THAT(shown, ElementsAre(true, true));
    EXPECT_EQ(content, kPopupContentPrefix + "Log files are storing to USB...");
    EXPECT_EQ(copiesBegun, 0);
    ASSERT_TRUE(WaitUntilPopupStops());
    const std::vector<std::string> calls = ToolkitCalls::Take(
        {{QELPopupLoading::m_Popup, "popup"}}, {"evas_object_show", "elm_progressbar_pulse"});
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front(), "evas_object_show(popup)");
}

TEST_F(QELButtonLogCaptureTest, RunsLogCopyOnWorkerThread) {
    Create();
    QELButtonLogCapture::OnPress(&ad, ad.logCaptureButton, nullptr);
    ASSERT_TRUE(WaitUntilPopupStops());
    EXPECT_EQ(FakeServices::CopiesBegun(), 1);
    EXPECT_NE(FakeServices::CopyThread(), std::this_thread::get_id());
}

TEST_F(QELButtonLogCaptureTest, KeepsMainLoopRunningDuringLogCopy) {
    Create();
    FakeServices::CloseGate();
    QELButtonLogCapture::OnPress(&ad, ad.logCaptureButton, nullptr);
    EXPECT_TRUE(Screen::PumpUntil([] { return FakeLog::Count("m_IsRunning 1") >= 4; }));
    EXPECT_TRUE(FakeServices::IsCopying());
}

TEST_F(QELButtonLogCaptureTest, RejectsPressWithoutPopup) {
    QELXmlParser::GetInstance();
    m_LogCapture.Create(&ad);
    FakeLog::Clear();
    const FailingNew failing(1);
    QELButtonLogCapture::OnPress(&ad, ad.logCaptureButton, nullptr);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(FakeServices::CopiesBegun(), 0);
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(InfoLine("Log Capture button is pressed.", kButtonLogCaptureSource, "OnPress"),
                    ErrorLine("popupLoading is NULL", kButtonLogCaptureSource, "OnPress")));
}

TEST_F(QELButtonLogCaptureTest, ThrowsFromPressWhenWorkerCannotStart) {
    Create();
    {
        const NoThreads noThreads;
        EXPECT_THROW(QELButtonLogCapture::OnPress(&ad, ad.logCaptureButton, nullptr),
                     std::system_error);
    }
    EXPECT_TRUE(QELPopupLoading::m_IsRunning);
    EXPECT_EQ(FakeServices::CopiesBegun(), 0);
    QELPopupLoading::SetRunningFlag(false);
}

// --- Tests of the worker

class QELButtonLogCaptureSuccessTest : public QELButtonLogCaptureTest,
                                       public testing::WithParamInterface<int> {};

TEST_P(QELButtonLogCaptureSuccessTest, ReportsSuccessForEveryResultButMinusOne) {
    PrivateData::Write("num_of_log_capture", "41\n");
    Create();
    CaptureAndConfirm(GetParam());
    EXPECT_EQ(Content(), kPopupContentPrefix + "Successfully stored log files to USB.");
    EXPECT_EQ(CaptureCount(), "42\n");
    EXPECT_FALSE(IsEnabled());
    EXPECT_TRUE(LoggedInfo("retAutoApi = " + std::to_string(GetParam()), kButtonLogCaptureSource));
    EXPECT_TRUE(LoggedNoError());
}

INSTANTIATE_TEST_SUITE_P(Results, QELButtonLogCaptureSuccessTest, testing::Values(0, 1, -2, 255));

TEST_F(QELButtonLogCaptureTest, CreatesCounterOnFirstSuccess) {
    Create();
    CaptureAndConfirm(0);
    EXPECT_EQ(CaptureCount(), "1\n");
}

TEST_F(QELButtonLogCaptureTest, ReportsFailureForMinusOne) {
    Create();
    CaptureAndConfirm(-1);
    EXPECT_EQ(Content(), kPopupContentPrefix + "Failed to store log files to USB.");
    EXPECT_FALSE(PrivateData::Exists("num_of_log_capture"));
    EXPECT_FALSE(QELButtonLogCapture::doCaptureLog);
    EXPECT_TRUE(IsEnabled());
    EXPECT_TRUE(LoggedInfo("retAutoApi = -1", kButtonLogCaptureSource));
}

TEST_F(QELButtonLogCaptureTest, ReportsSuccessDespiteInvalidCounter) {
    PrivateData::Write("num_of_log_capture", "abc");
    Create();
    CaptureAndConfirm(0);
    EXPECT_EQ(Content(), kPopupContentPrefix + "Successfully stored log files to USB.");
    EXPECT_EQ(CaptureCount(), "abc");
    EXPECT_FALSE(IsEnabled());
}

TEST_F(QELButtonLogCaptureTest, CopiesThenCountsThenClearsRunningFlag) {
    PrivateData::Write("num_of_log_capture", "abc");
    QELPopupLoading::GetInstance();
    FakeLog::Clear();
    QELButtonLogCapture::m_CaptureLog();
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("retAutoApi = 0", kButtonLogCaptureSource, "m_CaptureLog"),
                            ErrorLine("failed to get data", "QELUtil.cpp", "IncreaseCount"),
                            InfoLine("SetRunningFlag 0", "QELPopupLoading.cpp")));
    EXPECT_EQ(QELPopupLoading::m_ResultText, "Successfully stored log files to USB.");
    EXPECT_TRUE(QELButtonLogCapture::doCaptureLog);
}

TEST_F(QELButtonLogCaptureTest, ClearsRunningFlagLast) {
    const struct {
        int result;
        const char* text;
        const char* count;
    } captures[] = {{-1, "Failed to store log files to USB.", ""},
                    {0, "Successfully stored log files to USB.", "1\n"}};
    QELPopupLoading::GetInstance();
    for (const auto& capture : captures) {
        FakeServices::SetCopyResult(capture.result);
        std::string text;
        std::string count;
        bool isCaptured = false;
        FakeLog::Observe([&](const LogLine& line) {
            if (line.message == "SetRunningFlag 0") {
                text = QELPopupLoading::m_ResultText;
                count = PrivateData::Exists("num_of_log_capture") ? CaptureCount() : "";
                isCaptured = QELButtonLogCapture::doCaptureLog;
            }
        });
        QELButtonLogCapture::m_CaptureLog();
        FakeLog::Observe(nullptr);
        EXPECT_EQ(text, capture.text);
        EXPECT_EQ(count, capture.count);
        EXPECT_EQ(isCaptured, capture.result != -1);
    }
}

TEST_F(QELButtonLogCaptureTest, StoresFailureTextAndClearsRunningFlag) {
    QELPopupLoading::GetInstance();
    QELPopupLoading::m_IsRunning = true;
    FakeLog::Clear();
    FakeServices::SetCopyResult(-1);
    QELButtonLogCapture::m_CaptureLog();
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("retAutoApi = -1", kButtonLogCaptureSource, "m_CaptureLog"),
                            InfoLine("SetRunningFlag 0", "QELPopupLoading.cpp")));
    EXPECT_EQ(QELPopupLoading::m_ResultText, "Failed to store log files to USB.");
}

TEST_F(QELButtonLogCaptureTest, SkipsLogCopyWithoutPopup) {
    QELPopupLoading::m_IsRunning = true;
    {
        const FailingNew failing(1);
        QELButtonLogCapture::m_CaptureLog();
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_TRUE(QELPopupLoading::m_IsRunning);
    EXPECT_EQ(FakeServices::CopiesBegun(), 0);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("popupLoading is NULL",
                                                        kButtonLogCaptureSource, "m_CaptureLog")));
    QELPopupLoading::m_IsRunning = false;
}

// --- Tests of the confirmation in the popup

TEST_F(QELButtonLogCaptureTest, KeepsButtonEnabledUntilSuccessIsConfirmed) {
    Create();
    QELButtonLogCapture::OnPress(&ad, ad.logCaptureButton, nullptr);
    ASSERT_TRUE(WaitUntilPopupStops());
    EXPECT_TRUE(IsEnabled());
    evas_object_smart_callback_call(QELPopupLoading::m_Button, "clicked", nullptr);
    EXPECT_FALSE(IsEnabled());
}

TEST_F(QELButtonLogCaptureTest, AllowsAnotherCaptureAfterFailure) {
    Create();
    CaptureAndConfirm(-1);
    EXPECT_TRUE(IsEnabled());
    CaptureAndConfirm(0);
    EXPECT_FALSE(IsEnabled());
    EXPECT_EQ(FakeServices::CopiesBegun(), 2);
    EXPECT_EQ(CaptureCount(), "1\n");
}

TEST_F(QELButtonLogCaptureTest, IgnoresOkKeyAfterSuccessfulCapture) {
    Create();
    CaptureAndConfirm(0);
    Screen::ProcessEvents(ad.win);
    FakeLog::Clear();
    elm_object_focus_set(ad.logCaptureButton, EINA_TRUE);
    Screen::Press(ad.win, "Return");
    EXPECT_EQ(FakeLog::Count("Log Capture button is pressed."), 0);
    EXPECT_EQ(FakeServices::CopiesBegun(), 1);
}

TEST_F(QELButtonLogCaptureTest, StartsCaptureOnOkKey) {
    Create();
    Screen::Press(ad.win, "Return");
    EXPECT_TRUE(LoggedInfo("Log Capture button is pressed.", kButtonLogCaptureSource));
    EXPECT_TRUE(WaitUntilPopupStops());
    EXPECT_EQ(FakeServices::CopiesBegun(), 1);
}

TEST_F(QELButtonLogCaptureTest, KeepsButtonDisabledAfterLaterConfirmation) {
    Create();
    CaptureAndConfirm(0);
    // The popup of an analysis starts, stops and is confirmed.
    QELPopupLoading::GetInstance()->Show();
    QELPopupLoading::GetInstance()->Start();
    QELPopupLoading::SetRunningFlag(false);
    ASSERT_TRUE(WaitUntilPopupStops());
    evas_object_smart_callback_call(QELPopupLoading::m_Button, "clicked", nullptr);
    EXPECT_FALSE(IsEnabled());
    EXPECT_TRUE(QELButtonLogCapture::doCaptureLog);
}

TEST_F(QELButtonLogCaptureTest, KeepsButtonEnabledOnConfirmationWithoutCapture) {
    Create();
    QELButtonLogCapture::SetDisable(&ad, nullptr, nullptr);
    EXPECT_TRUE(IsEnabled());
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(InfoLine("Press OK in popup is pressed.",
                                                       kButtonLogCaptureSource, "SetDisable")));
}

TEST_F(QELButtonLogCaptureTest, KeepsButtonEnabledOnConfirmationWithoutAppData) {
    Create();
    QELButtonLogCapture::doCaptureLog = true;
    QELButtonLogCapture::SetDisable(nullptr, nullptr, nullptr);
    EXPECT_TRUE(IsEnabled());
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(InfoLine("Press OK in popup is pressed.",
                                                       kButtonLogCaptureSource, "SetDisable")));
}

// --- Tests of Destroy

TEST_F(QELButtonLogCaptureTest, DeletesButtonThenBox) {
    Create();
    ToolkitCalls::Names names = Names();
    names.insert({m_LogCapture.m_Box, "box"});
    m_LogCapture.Destroy(&ad);
    EXPECT_THAT(ToolkitCalls::Take(names),
                ElementsAre("evas_object_del(logCaptureButton)", "evas_object_del(box)"));
    EXPECT_EQ(ad.logCaptureButton, nullptr);
    EXPECT_EQ(m_LogCapture.m_Box, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELButtonLogCaptureTest, DeletesNothingBeforeCreate) {
    ExpectNothingToDestroy(m_LogCapture);
}

TEST_F(QELButtonLogCaptureTest, RejectsDestroyWithoutAppData) {
    Create();
    ExpectRecordIsNeeded(m_LogCapture, &QELButtonLogCapture::Destroy, "Destroy",
                         kButtonLogCaptureSource);
    EXPECT_NE(m_LogCapture.m_Box, nullptr);
}

}  // namespace
