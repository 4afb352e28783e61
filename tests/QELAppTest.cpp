#include "QELApp.h"

#include <Elementary.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "QELItemDetailView.h"
#include "QELPopupLoading.h"
#include "QELWindow.h"
#include "fakes/FailingNew.h"
#include "fakes/FakeApp.h"
#include "fixtures/PrivateData.h"
#include "fixtures/ScreenTest.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kAppSource = "QELApp.cpp";

class QELAppTest : public ScreenTest {
protected:
    // Sends a launch request with the value under the key that the application reads.
    void Request(const std::string& value) {
        QELApp::s_Control(FakeApp::Request({{"EXEPARAM", value}}), &ad);
    }

    static bool HasWindow() { return QELApp::m_QelWindow != nullptr; }
    static std::string LaunchCount() { return PrivateData::Read("num_of_launch"); }
    static bool IsCloseRequested() { return ToolkitCalls::Count("elm_exit") > 0; }
};

// --- Tests of s_Create

TEST_F(QELAppTest, CreatesWindow) {
    EXPECT_TRUE(QELApp::s_Create(&ad));
    EXPECT_TRUE(HasWindow());
    EXPECT_NE(ad.win, nullptr);
    ASSERT_FALSE(FakeLog::Lines().empty());
    EXPECT_THAT(FakeLog::Lines().front(), InfoLine("s_Create is called", kAppSource, "s_Create"));
}

TEST_F(QELAppTest, StoresWindowBeforeToolkitCalls) {
    bool known = false;
    ToolkitCalls::OnCall("elm_app_base_scale_set", [&known] { known = HasWindow(); });
    QELApp::s_Create(&ad);
    EXPECT_TRUE(known);
}

TEST_F(QELAppTest, RejectsCreateWithoutAppData) {
    EXPECT_FALSE(QELApp::s_Create(nullptr));
    EXPECT_FALSE(HasWindow());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Create is called", kAppSource, "s_Create"),
                            ErrorLine("void* parameter is not valid", kAppSource, "s_Create")));
}

TEST_F(QELAppTest, RejectsCreateWithoutMemoryForWindow) {
    const FailingNew failing(1);
    EXPECT_FALSE(QELApp::s_Create(&ad));
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_FALSE(HasWindow());
    EXPECT_EQ(ad.win, nullptr);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Create is called", kAppSource, "s_Create"),
                            ErrorLine("QELWindow creation is failed.", kAppSource, "s_Create")));
}

TEST_F(QELAppTest, CreatesWindowAfterFailedCreate) {
    {
        const FailingNew failing(1);
        EXPECT_FALSE(QELApp::s_Create(&ad));
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_TRUE(QELApp::s_Create(&ad));
    EXPECT_TRUE(HasWindow());
}

TEST_F(QELAppTest, ReturnsTrueWhenPopupCannotBeCreated) {
    // The first allocation is the window, the second the result store, the third the popup.
    const FailingNew failing(3);
    EXPECT_TRUE(QELApp::s_Create(&ad));
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_TRUE(LoggedError("popupLoading is failed to create", "QELWindow.cpp"));
}

TEST_F(QELAppTest, KeepsWindowOnSecondCreate) {
    QELApp::s_Create(&ad);
    const QELWindow* window = QELApp::m_QelWindow;
    const _appdata before = ad;
    FakeLog::Clear();
    ToolkitCalls::Start();

    EXPECT_TRUE(QELApp::s_Create(&ad));

    EXPECT_EQ(QELApp::m_QelWindow, window);
    EXPECT_EQ(ad.win, before.win);
    EXPECT_EQ(ad.table, before.table);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Create is called", kAppSource, "s_Create")));
}

// --- Tests of s_Control with requests that do not close the application

TEST_F(QELAppTest, ReadsOnlyExeparamFromRequest) {
    Request("anything");
    EXPECT_THAT(FakeApp::RequestedKeys(), ElementsAre("EXEPARAM"));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Control is called", kAppSource, "s_Control")));
}

TEST_F(QELAppTest, CreatesCounterAndFlagFileOnFirstRequest) {
    QELApp::s_Control(FakeApp::Request({}), &ad);
    EXPECT_EQ(LaunchCount(), "1\n");
    ASSERT_TRUE(fs::exists(kFlagFile));
    EXPECT_EQ(fs::file_size(kFlagFile), 0U);
    EXPECT_FALSE(IsCloseRequested());
}

TEST_F(QELAppTest, IncrementsCounterAndTruncatesFlagFileOnFurtherRequests) {
    QELApp::s_Control(FakeApp::Request({}), &ad);
    for (const char* count : {"2\n", "3\n"}) {
        std::ofstream(kFlagFile) << "old";
        QELApp::s_Control(FakeApp::Request({}), &ad);
        EXPECT_EQ(LaunchCount(), count);
        EXPECT_EQ(fs::file_size(kFlagFile), 0U);
    }
}

TEST_F(QELAppTest, CountsRequestWithOtherValue) {
    int launches = 0;
    for (const char* value : {"close", "CLOS", "", "Close", " CLOSE", "OPEN"}) {
        Request(value);
        EXPECT_EQ(LaunchCount(), std::to_string(++launches) + "\n") << value;
    }
    EXPECT_FALSE(IsCloseRequested());
}

TEST_F(QELAppTest, CountsRequestWithCloseUnderOtherKey) {
    QELApp::s_Control(FakeApp::Request({{"exeparam", "CLOSE"}, {"PARAM", "CLOSE"}}), &ad);
    EXPECT_EQ(LaunchCount(), "1\n");
    EXPECT_FALSE(IsCloseRequested());
}

TEST_F(QELAppTest, KeepsWindowOnRequest) {
    QELApp::s_Create(&ad);
    const QELWindow* window = QELApp::m_QelWindow;
    Request("again");
    EXPECT_EQ(QELApp::m_QelWindow, window);
    EXPECT_NE(ad.win, nullptr);
}

TEST_F(QELAppTest, CreatesFlagFileDespiteInvalidCounter) {
    PrivateData::Write("num_of_launch", "abc");
    Request("x");
    EXPECT_EQ(LaunchCount(), "abc");
    EXPECT_TRUE(fs::exists(kFlagFile));
}

TEST_F(QELAppTest, LogsFlagFileFailureAfterCounting) {
    fs::create_directory(kFlagFile);
    Request("x");
    EXPECT_EQ(LaunchCount(), "1\n");
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Control is called", kAppSource, "s_Control"),
                            ErrorLine("failed to create flag file", kAppSource, "s_Control")));
}

TEST_F(QELAppTest, RejectsFifoAsFlagFileWithoutBlocking) {
    ASSERT_EQ(mkfifo(kFlagFile, 0600), 0);
    Request("x");
    EXPECT_EQ(LaunchCount(), "1\n");
    EXPECT_TRUE(LoggedError("failed to create flag file", kAppSource));
}

TEST_F(QELAppTest, RejectsDeviceAsFlagFile) {
    fs::create_symlink("/dev/null", kFlagFile);
    Request("x");
    EXPECT_EQ(LaunchCount(), "1\n");
    EXPECT_TRUE(LoggedError("failed to create flag file", kAppSource));
}

// The flag file is a link to the counter. The counter is therefore empty when the flag file is
// created last.
TEST_F(QELAppTest, CreatesFlagFileAfterCounting) {
    PrivateData::Write("num_of_launch", "7");
    fs::create_symlink(PrivateData::Path("num_of_launch"), kFlagFile);
    Request("x");
    EXPECT_EQ(LaunchCount(), "");
    EXPECT_TRUE(LoggedNoError());
}

// The log contains no error line of the conversion, because the application does not convert the
// request.
TEST_F(QELAppTest, IgnoresRequestWithoutAppData) {
    FakeApp::SetConversionResult(APP_CONTROL_ERROR_INVALID_PARAMETER);
    QELApp::s_Control(FakeApp::Request({{"EXEPARAM", "CLOSE"}}), nullptr);
    EXPECT_THAT(FakeApp::RequestedKeys(), IsEmpty());
    EXPECT_FALSE(PrivateData::Exists("num_of_launch"));
    EXPECT_FALSE(fs::exists(kFlagFile));
    EXPECT_FALSE(IsCloseRequested());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Control is called", kAppSource, "s_Control")));
}

TEST_F(QELAppTest, IgnoresRequestWithoutBundle) {
    FakeApp::SetConversionResult(APP_CONTROL_ERROR_INVALID_PARAMETER);
    Request("CLOSE");
    EXPECT_THAT(FakeApp::RequestedKeys(), IsEmpty());
    EXPECT_FALSE(PrivateData::Exists("num_of_launch"));
    EXPECT_FALSE(fs::exists(kFlagFile));
    EXPECT_FALSE(IsCloseRequested());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Control is called", kAppSource, "s_Control"),
                            ErrorLine("failed to initialize tempBundle", kAppSource, "s_Control")));
}

TEST_F(QELAppTest, IgnoresResultOfValueLookup) {
    FakeApp::SetValueResult(-22);
    Request("CLOSE");
    EXPECT_TRUE(IsCloseRequested());
    FakeApp::SetValueResult(0);
    QELApp::s_Control(FakeApp::Request({}), &ad);
    EXPECT_EQ(LaunchCount(), "1\n");
}

// --- Tests of s_Control with requests that close the application

class QELAppCloseTest : public QELAppTest, public testing::WithParamInterface<const char*> {};

TEST_P(QELAppCloseTest, ClosesOnValueThatBeginsWithClose) {
    QELApp::s_Create(&ad);
    FakeLog::Clear();
    Request(GetParam());
    EXPECT_FALSE(HasWindow());
    EXPECT_EQ(ad.win, nullptr);
    EXPECT_EQ(ToolkitCalls::Count("elm_exit"), 1);
    EXPECT_FALSE(PrivateData::Exists("num_of_launch"));
    EXPECT_FALSE(fs::exists(kFlagFile));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Control is called", kAppSource, "s_Control")));
}

INSTANTIATE_TEST_SUITE_P(Values, QELAppCloseTest,
                         testing::Values("CLOSE", "CLOSEX", "CLOSED", "CLOSE_NOW"),
                         [](const auto& value) { return std::string(value.param); });

TEST_F(QELAppTest, DestroysWindowBeforeEndingMainLoop) {
    QELApp::s_Create(&ad);
    const Evas_Object* win = ad.win;
    ToolkitCalls::Start();
    Request("CLOSE");
    const std::vector<std::string> calls =
        ToolkitCalls::Take({{win, "win"}}, {"evas_object_del", "elm_exit"});
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front(), "evas_object_del(win)");
    EXPECT_EQ(calls.back(), "elm_exit()");
}

TEST_F(QELAppTest, EndsMainLoopWithoutWindow) {
    Request("CLOSE");
    EXPECT_EQ(ToolkitCalls::Count("elm_exit"), 1);
    EXPECT_EQ(ToolkitCalls::Count("evas_object_del"), 0);
}

TEST_F(QELAppTest, DestroysNothingOnTerminateAfterClose) {
    QELApp::s_Create(&ad);
    Request("CLOSE");
    FakeLog::Clear();
    ToolkitCalls::Start();
    QELApp::s_Terminate(&ad);
    EXPECT_EQ(ToolkitCalls::Count("evas_object_del"), 0);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Terminate is called", kAppSource, "s_Terminate")));
}

// --- Tests of s_Pause, s_Resume and s_Terminate

TEST_F(QELAppTest, LogsPauseAndResumeWithoutToolkitCalls) {
    QELApp::s_Create(&ad);
    const QELWindow* window = QELApp::m_QelWindow;
    FakeLog::Clear();
    ToolkitCalls::Start();
    QELApp::s_Pause(&ad);
    QELApp::s_Resume(&ad);
    QELApp::s_Pause(nullptr);
    QELApp::s_Resume(nullptr);
    EXPECT_EQ(QELApp::m_QelWindow, window);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Pause is called", kAppSource, "s_Pause"),
                            InfoLine("s_Resume is called", kAppSource, "s_Resume"),
                            InfoLine("s_Pause is called", kAppSource, "s_Pause"),
                            InfoLine("s_Resume is called", kAppSource, "s_Resume")));
}

TEST_F(QELAppTest, DestroysWindowOnTerminate) {
    QELApp::s_Create(&ad);
    FakeLog::Clear();
    QELApp::s_Terminate(&ad);
    EXPECT_FALSE(HasWindow());
    EXPECT_EQ(ad.win, nullptr);
    EXPECT_EQ(ad.itemList, nullptr);
    EXPECT_FALSE(IsCloseRequested());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Terminate is called", kAppSource, "s_Terminate")));
}

TEST_F(QELAppTest, KeepsWindowOnTerminateWithoutAppData) {
    QELApp::s_Create(&ad);
    FakeLog::Clear();
    QELApp::s_Terminate(nullptr);
    EXPECT_TRUE(HasWindow());
    EXPECT_NE(ad.win, nullptr);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("s_Terminate is called", kAppSource, "s_Terminate"),
                            ErrorLine("void* parameter is not valid", kAppSource, "s_Terminate")));
}

TEST_F(QELAppTest, KeepsSingletonsAfterTerminate) {
    QELApp::s_Create(&ad);
    const auto* parser = QELXmlParser::m_qelXmlParser;
    const auto* popup = QELPopupLoading::m_QELPopupLoading;
    ASSERT_NE(parser, nullptr);
    ASSERT_NE(popup, nullptr);
    QELApp::s_Terminate(&ad);
    EXPECT_EQ(QELXmlParser::m_qelXmlParser, parser);
    EXPECT_EQ(QELPopupLoading::m_QELPopupLoading, popup);
}

// --- Test of an analysis by key presses

const char* const kRun =
    "<run><Information><model>M1</model></Information><Network><type>wifi</type></Network>"
    "<Summary><duration>60</duration></Summary><RNSCImage></RNSCImage><RNSCTest></RNSCTest>"
    "<FAnetTest>"
    "<test><type>app</type><name>Alpha</name><opcode>52</opcode><msgcode>14</msgcode>"
    "<result>fail</result><duration>500</duration><detailed>cable;loose</detailed>"
    "<timeAckAbsolute>1000</timeAckAbsolute><threadID>1</threadID></test>"
    "<test><type>wifi</type><name>Beta</name><result>fail</result></test>"
    "<test><type>app</type><name>Gamma</name><opcode>53</opcode><msgcode>01</msgcode>"
    "<result>pass</result><duration>100</duration>"
    "<timeAckAbsolute>1200</timeAckAbsolute><threadID>02</threadID></test>"
    "</FAnetTest></run>";

class QELAppScenarioTest : public QELAppTest {
protected:
    void Key(const std::string& key) { Screen::Press(ad.win, key); }
    bool WaitForFocus(const Evas_Object* widget) {
        return Screen::PumpUntil(
            [this, widget] { return Screen::FocusedWidget(ad.win) == widget; });
    }
    bool IsRowFocused(unsigned int index) const {
        return elm_object_focused_item_get(ad.itemList) == Row(index);
    }
    int PixelsOfDetail(const std::function<bool(const Colour&)>& condition) const {
        return Screen::Render(ad.win).Count(Screen::AreaOf(QELItemDetailView::m_bgItemDetailView),
                                            condition);
    }

    void ConfirmAnalysis() {
        ASSERT_TRUE(WaitForFocus(QELPopupLoading::m_Button));
        EXPECT_EQ(TextOf(QELPopupLoading::m_PopupLabel),
                  kPopupContentPrefix + "Analysis is completed.");
        Key("Return");
        EXPECT_FALSE(IsVisible(QELPopupLoading::m_Popup));
        ASSERT_TRUE(WaitForFocus(ad.itemList));
    }
};

TEST_F(QELAppScenarioTest, ShowsAnalysisTextAfterKeyPresses) {
    const std::string alpha =
        "<align=left left_margin=20 wrap=char font_size=15>type=app<br/>duration=500<br/><br/>";
    const std::string orange = "<align=left left_margin=20 wrap=char font_size=15 color=#FF8000>";
    PrivateData::WriteMain(kRun);
    ASSERT_TRUE(QELApp::s_Create(&ad));
    QELApp::s_Control(FakeApp::Request({}), &ad);
    Screen::ProcessEvents(ad.win);
    EXPECT_TRUE(IsRowFocused(0));
    EXPECT_THAT(TextOf(ad.detailLabel), testing::HasSubstr("Please choose items"));

    Key("Down");
    EXPECT_TRUE(IsRowFocused(1));
    EXPECT_THAT(TextOf(ad.detailLabel), testing::HasSubstr("type=wifi"));
    Key("Up");
    EXPECT_EQ(TextOf(ad.detailLabel), alpha + orange);

    Key("Return");
    EXPECT_TRUE(IsVisible(QELPopupLoading::m_Popup));
    ConfirmAnalysis();
    EXPECT_EQ(TextOf(ad.detailLabel), alpha + orange) << "before the row gets the focus again";

    Key("Down");
    Key("Up");
    EXPECT_EQ(TextOf(ad.detailLabel),
              alpha +
                  "<align=left left_margin=20 wrap=char font_size=15 color=#FF0000>"
                  "cable<br/>loose<br/>" +
                  orange + "<br/>1000<tab/>1500<tab/>Alpha(1)<br/>1200<tab/>1300<tab/>Gamma(02)" +
                  "<br/><br/>");
    EXPECT_GT(PixelsOfDetail(IsRed), 50);
    EXPECT_GT(PixelsOfDetail(IsOrange), 50);

    FakeLog::Clear();
    Key("Return");
    EXPECT_TRUE(LoggedError("m_IsExecutedByUser have true value", "QELAnalysisData.cpp"));
    EXPECT_FALSE(IsVisible(QELPopupLoading::m_Popup));
    Request("CLOSE");
    EXPECT_FALSE(HasWindow());
    EXPECT_EQ(LaunchCount(), "1\n");
}

}  // namespace
