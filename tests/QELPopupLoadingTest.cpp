#include "QELPopupLoading.h"

#include <Elementary.h>

#include <chrono>
#include <cstring>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QELButtonLogCapture.h"
#include "fakes/FailingNew.h"
#include "fixtures/ScreenTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kPopupLoadingSource = "QELPopupLoading.cpp";

class QELPopupLoadingTest : public ScreenTest {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        OpenWindow();
        m_PopupLoading = QELPopupLoading::GetInstance();
        FakeLog::Clear();
        ToolkitCalls::Start();
    }

    void TearDown() override {
        // Some tests set the flag without a worker, which would clear the flag.
        QELPopupLoading::m_IsRunning = false;
        ScreenTest::TearDown();
    }

    void Create() {
        m_PopupLoading->Create(&ad);
        FakeLog::Clear();
        ToolkitCalls::Start();
    }

    // Makes the calls that the application makes before it starts a worker.
    void ShowAndStart() {
        m_PopupLoading->Show();
        m_PopupLoading->SetText("Title", "Please wait");
        m_PopupLoading->Start();
    }

    // Makes the last calls of a worker on another thread and waits until the calls return.
    static void FinishWorker(const std::string& text) {
        std::thread([text] {
            QELPopupLoading::SetResultText(text);
            QELPopupLoading::SetRunningFlag(false);
        }).join();
    }

    bool WaitUntilStopped() {
        const bool isStopped = WaitUntilPopupStops();
        Screen::ProcessEvents(ad.win);
        return isStopped;
    }

    ToolkitCalls::Names AllNames() const {
        ToolkitCalls::Names names = Names();
        names.insert({
            {QELPopupLoading::m_Popup, "popup"},
            {m_PopupLoading->m_PopupTable, "popupTable"},
            {QELPopupLoading::m_PopupLabel, "label"},
            {QELPopupLoading::m_PopupProgress, "progress"},
            {QELPopupLoading::m_Button, "button"},
            Named(&QELPopupLoading::OnOkPress, "OnOkPress"),
            Named(&QELPopupLoading::m_CheckRunning, "m_CheckRunning"),
            Named(&QELButtonLogCapture::SetDisable, "SetDisable"),
        });
        return names;
    }

    static std::string Content() { return TextOf(QELPopupLoading::m_PopupLabel); }
    static std::string Title() {
        const char* title = elm_object_part_text_get(QELPopupLoading::m_Popup, "title,text");
        return title == nullptr ? "" : title;
    }
    static bool IsPopupVisible() { return IsVisible(QELPopupLoading::m_Popup); }
    static bool IsOkEnabled() { return !elm_object_disabled_get(QELPopupLoading::m_Button); }

    QELPopupLoading* m_PopupLoading = nullptr;
};

// --- Tests of the single instance

TEST_F(QELPopupLoadingTest, ReturnsSameInstance) {
    ASSERT_NE(m_PopupLoading, nullptr);
    EXPECT_EQ(QELPopupLoading::GetInstance(), m_PopupLoading);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELPopupLoadingTest, StartsIdleWithoutWidgets) {
    EXPECT_EQ(m_PopupLoading->m_PopupTable, nullptr);
    EXPECT_EQ(m_PopupLoading->m_AppData, nullptr);
    EXPECT_EQ(QELPopupLoading::m_Popup, nullptr);
    EXPECT_EQ(QELPopupLoading::m_PopupLabel, nullptr);
    EXPECT_EQ(QELPopupLoading::m_PopupProgress, nullptr);
    EXPECT_EQ(QELPopupLoading::m_Button, nullptr);
    EXPECT_EQ(QELPopupLoading::m_Timer, nullptr);
    EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
}

class QELPopupLoadingInstanceTest : public ScreenTest {};

TEST_F(QELPopupLoadingInstanceTest, ClearsAndLogsRunningFlagOnConstruction) {
    QELPopupLoading::m_IsRunning = true;
    QELPopupLoading::GetInstance();
    EXPECT_FALSE(QELPopupLoading::m_IsRunning);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("SetRunningFlag 0", kPopupLoadingSource, "SetRunningFlag")));
}

TEST_F(QELPopupLoadingInstanceTest, ReturnsNullOnFailedAllocationAndRetries) {
    {
        const FailingNew failing(1);
        EXPECT_EQ(QELPopupLoading::GetInstance(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    EXPECT_NE(QELPopupLoading::GetInstance(), nullptr);
}

// --- Tests of Create

TEST_F(QELPopupLoadingTest, RejectsCreateWithoutAppData) {
    m_PopupLoading->Create(nullptr);
    EXPECT_EQ(QELPopupLoading::m_Popup, nullptr);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("there is no appdata", kPopupLoadingSource, "Create")));
}

TEST_F(QELPopupLoadingTest, CreatesHiddenWidgetsInOrder) {
    m_PopupLoading->Create(&ad);
    EXPECT_THAT(ToolkitCalls::Take(AllNames()),
                ElementsAre("elm_popup_add(popup, win)",                                    //
                            "elm_table_add(popupTable, popup)",                             //
                            "elm_object_part_content_set(popup, \"default\", popupTable)",  //
                            "elm_label_add(label, popupTable)",                             //
                            "elm_progressbar_add(progress, popupTable)",                    //
                            "elm_object_part_content_set(popup, \"default\", popupTable)",  //
                            "elm_button_add(button, popupTable)",                           //
                            "register(button, \"clicked\", OnOkPress, ad)",                 //
                            "register(button, \"clicked\", SetDisable, ad)"));
    EXPECT_FALSE(IsPopupVisible());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("Progress bar added", kPopupLoadingSource, "Create"),
                            InfoLine("done Create", kPopupLoadingSource, "Create")));
}

TEST_F(QELPopupLoadingTest, StoresAppDataWithoutChangingIt) {
    const _appdata before = ad;
    m_PopupLoading->Create(&ad);
    EXPECT_EQ(m_PopupLoading->m_AppData, &ad);
    EXPECT_EQ(std::memcmp(&ad, &before, sizeof(ad)), 0);
}

TEST_F(QELPopupLoadingTest, SetsStylesOfWidgets) {
    Create();
    EXPECT_STREQ(elm_object_style_get(QELPopupLoading::m_Popup), "C_PopupBasic_WhiteBottom");
    EXPECT_STREQ(elm_object_style_get(QELPopupLoading::m_PopupLabel),
                 "popup/C_PopupBasic_WhiteBottom");
    EXPECT_STREQ(elm_object_style_get(QELPopupLoading::m_PopupProgress), "C_Loading_WhiteSmall");
    EXPECT_STREQ(elm_object_style_get(QELPopupLoading::m_Button), "C_ButtonBasic_WhiteText");
    EXPECT_EQ(TextOf(QELPopupLoading::m_Button), "OK");
    EXPECT_TRUE(elm_progressbar_pulse_get(QELPopupLoading::m_PopupProgress));
    EXPECT_TRUE(elm_table_homogeneous_get(m_PopupLoading->m_PopupTable));
    EXPECT_EQ(elm_object_content_get(QELPopupLoading::m_Popup), m_PopupLoading->m_PopupTable);
}

class QELPopupLoadingRegistrationTest : public QELPopupLoadingTest,
                                        public testing::WithParamInterface<int> {};

TEST_P(QELPopupLoadingRegistrationTest, LogsFailureAndStopsCreate) {
    ToolkitCalls::FailRegistration(GetParam());
    m_PopupLoading->Create(&ad);
    EXPECT_EQ(ToolkitCalls::Count("register"), GetParam());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("Progress bar added", kPopupLoadingSource, "Create"),
                            ErrorLine("it is falied to add event callback for clicked.",
                                      kPopupLoadingSource, "Create")));
}

INSTANTIATE_TEST_SUITE_P(Handlers, QELPopupLoadingRegistrationTest, testing::Values(1, 2));

// --- Tests of Show and Hide

TEST_F(QELPopupLoadingTest, ShowsAndPacksWidgetsInOrder) {
    Create();
    m_PopupLoading->Show();
    EXPECT_THAT(ToolkitCalls::Take(AllNames()),
                ElementsAre("evas_object_show(popup)",                           //
                            "evas_object_show(popupTable)",                      //
                            "evas_object_show(label)",                           //
                            "elm_table_pack(popupTable, label, 1, 0, 5, 2)",     //
                            "evas_object_show(progress)",                        //
                            "elm_table_pack(popupTable, progress, 0, 0, 1, 2)",  //
                            "evas_object_show(button)",                          //
                            "elm_table_pack(popupTable, button, 2, 2, 2, 1)"));
    EXPECT_TRUE(IsPopupVisible());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELPopupLoadingTest, PlacesProgressLeftOfLabelAndOkBelowLabel) {
    Create();
    ShowAndStart();
    Screen::ProcessEvents(ad.win);
    const Area label = Screen::AreaOf(QELPopupLoading::m_PopupLabel);
    const Area progress = Screen::AreaOf(QELPopupLoading::m_PopupProgress);
    const Area button = Screen::AreaOf(QELPopupLoading::m_Button);
    EXPECT_LE(progress.Right(), label.x);
    EXPECT_GE(button.y, label.Bottom());
    EXPECT_EQ(Screen::CellOf(QELPopupLoading::m_PopupLabel), (Cell{1, 0, 5, 2}));
    EXPECT_EQ(Screen::CellOf(QELPopupLoading::m_PopupProgress), (Cell{0, 0, 1, 2}));
    EXPECT_EQ(Screen::CellOf(QELPopupLoading::m_Button), (Cell{2, 2, 2, 1}));
}

TEST_F(QELPopupLoadingTest, ShowsButDoesNotPlaceObjectAtOtherLocations) {
    Create();
    for (const int location : {3, -1, 9}) {
        FakeLog::Clear();
        Evas_Object* obj = evas_object_rectangle_add(evas_object_evas_get(ad.win));
        m_PopupLoading->m_Show(obj, static_cast<app_popup_location_e>(location));
        EXPECT_TRUE(IsVisible(obj));
        EXPECT_FALSE(Screen::IsPacked(m_PopupLoading->m_PopupTable, obj));
        EXPECT_THAT(FakeLog::Lines(),
                    ElementsAre(ErrorLine("there is no information about popup location",
                                          kPopupLoadingSource, "m_Show")));
        EXPECT_EQ(PlacingOf(obj), kFilling);
    }
}

TEST_F(QELPopupLoadingTest, RejectsShowBeforeCreate) {
    m_PopupLoading->Show();
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("there is no appdata", kPopupLoadingSource, "Show")));
}

TEST_F(QELPopupLoadingTest, ReportsFirstMissingWidgetOnShowAndHide) {
    Create();
    // The test clears the widgets from the last to the first, so that each becomes the first
    // missing widget.
    const std::vector<std::pair<Evas_Object**, std::string>> widgets = {
        {&QELPopupLoading::m_Button, "m_Button"},
        {&QELPopupLoading::m_PopupProgress, "m_PopupProgress"},
        {&QELPopupLoading::m_PopupLabel, "m_PopupLabel"},
        {&m_PopupLoading->m_PopupTable, "m_PopupTable"},
        {&QELPopupLoading::m_Popup, "m_Popup"},
    };
    for (const auto& [widget, name] : widgets) {
        *widget = nullptr;
        FakeLog::Clear();
        m_PopupLoading->Show();
        m_PopupLoading->Hide();
        EXPECT_THAT(FakeLog::Lines(),
                    ElementsAre(ErrorLine(name + " is not ready", kPopupLoadingSource, "Show"),
                                ErrorLine(name + " is not ready", kPopupLoadingSource, "Hide")));
    }
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
}

TEST_F(QELPopupLoadingTest, HidesWithoutAppData) {
    Create();
    m_PopupLoading->Show();
    m_PopupLoading->m_AppData = nullptr;
    m_PopupLoading->Hide();
    EXPECT_FALSE(IsPopupVisible());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELPopupLoadingTest, HidesAllWidgetsInOrder) {
    Create();
    m_PopupLoading->Show();
    ToolkitCalls::Start();
    m_PopupLoading->Hide();
    EXPECT_THAT(ToolkitCalls::Take(AllNames()),
                ElementsAre("evas_object_hide(popup)", "evas_object_hide(popupTable)",
                            "evas_object_hide(label)", "evas_object_hide(progress)",
                            "evas_object_hide(button)"));
    EXPECT_FALSE(IsPopupVisible());
}

// --- Tests of SetText

TEST_F(QELPopupLoadingTest, EscapesContentAfterOpenPrefix) {
    Create();
    m_PopupLoading->SetText("T", "a<b & c>d\ne");
    EXPECT_EQ(Content(), kPopupContentPrefix + "a&lt;b &amp; c&gt;d<br/>e");
}

TEST_F(QELPopupLoadingTest, ShowsTitleWithoutEscaping) {
    Create();
    m_PopupLoading->SetText("<b>Title</b> &amp; more", "x");
    EXPECT_EQ(Title(), "<b>Title</b> &amp; more");
}

TEST_F(QELPopupLoadingTest, ShowsOnlyPrefixForEmptyText) {
    Create();
    m_PopupLoading->SetText("", "");
    EXPECT_EQ(Title(), "");
    EXPECT_EQ(Content(), kPopupContentPrefix);
}

TEST_F(QELPopupLoadingTest, RejectsEachTextWithoutItsWidget) {
    m_PopupLoading->SetText("T", "C");
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(
            ErrorLine("m_Popup is not ready", kPopupLoadingSource, "m_SetTitleText"),
            ErrorLine("m_PopupLabel is not ready", kPopupLoadingSource, "m_SetContentText")));
}

// --- Tests of Start

TEST_F(QELPopupLoadingTest, StartsPulseThenTimerThenDisablesOk) {
    Create();
    m_PopupLoading->Start();
    EXPECT_THAT(ToolkitCalls::Take(AllNames()),
                ElementsAre("elm_progressbar_pulse(progress, 1)",
                            "ecore_timer_add(0.1, m_CheckRunning, null)",
                            "elm_object_disabled_set(button, 1)"));
    EXPECT_TRUE(QELPopupLoading::m_IsRunning);
    EXPECT_NE(QELPopupLoading::m_Timer, nullptr);
    EXPECT_FALSE(IsOkEnabled());
    EXPECT_TRUE(elm_progressbar_is_pulsing_get(QELPopupLoading::m_PopupProgress));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("SetRunningFlag 1", kPopupLoadingSource, "SetRunningFlag")));
}

TEST_F(QELPopupLoadingTest, SetsRunningFlagBeforePulseStarts) {
    Create();
    bool running = false;
    ToolkitCalls::OnCall("elm_progressbar_pulse",
                         [&running] { running = QELPopupLoading::m_IsRunning; });
    m_PopupLoading->Start();
    EXPECT_TRUE(running);
}

TEST_F(QELPopupLoadingTest, RejectsStartWithoutProgressBar) {
    Create();
    QELPopupLoading::m_PopupProgress = nullptr;
    QELPopupLoading::m_Button = nullptr;
    m_PopupLoading->Start();
    EXPECT_FALSE(QELPopupLoading::m_IsRunning);
    EXPECT_EQ(QELPopupLoading::m_Timer, nullptr);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("m_PopupProgress is not ready",
                                                        kPopupLoadingSource, "Start")));
}

TEST_F(QELPopupLoadingTest, RejectsStartWithoutButton) {
    Create();
    QELPopupLoading::m_Button = nullptr;
    m_PopupLoading->Start();
    EXPECT_FALSE(QELPopupLoading::m_IsRunning);
    EXPECT_EQ(QELPopupLoading::m_Timer, nullptr);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("m_Button is not ready", kPopupLoadingSource, "Start")));
}

TEST_F(QELPopupLoadingTest, KeepsTimerAndButtonStateOnSecondStart) {
    Create();
    m_PopupLoading->Start();
    const Ecore_Timer* timer = QELPopupLoading::m_Timer;
    elm_object_disabled_set(QELPopupLoading::m_Button, EINA_FALSE);
    QELPopupLoading::SetRunningFlag(false);
    FakeLog::Clear();
    ToolkitCalls::Start();

    m_PopupLoading->Start();

    EXPECT_EQ(QELPopupLoading::m_Timer, timer);
    EXPECT_TRUE(IsOkEnabled());
    EXPECT_TRUE(QELPopupLoading::m_IsRunning);
    EXPECT_THAT(ToolkitCalls::Take(AllNames()), ElementsAre("elm_progressbar_pulse(progress, 1)"));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("SetRunningFlag 1", kPopupLoadingSource, "SetRunningFlag"),
                            ErrorLine("timer is in used", kPopupLoadingSource, "Start")));
}

// --- Tests of polling and Stop

TEST_F(QELPopupLoadingTest, KeepsPollingWhileRunningFlagIsSet) {
    Create();
    m_PopupLoading->Start();
    FakeLog::Clear();
    EXPECT_EQ(QELPopupLoading::m_CheckRunning(nullptr), ECORE_CALLBACK_RENEW);
    EXPECT_NE(QELPopupLoading::m_Timer, nullptr);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("m_IsRunning 1", kPopupLoadingSource, "m_CheckRunning"),
                            InfoLine("m_IsRunning 1", kPopupLoadingSource, "GetRunningFlag")));
}

TEST_F(QELPopupLoadingTest, StopsPollingWhenRunningFlagIsClear) {
    Create();
    m_PopupLoading->Start();
    FinishWorker("Done");
    FakeLog::Clear();
    EXPECT_EQ(QELPopupLoading::m_CheckRunning(nullptr), ECORE_CALLBACK_CANCEL);
    EXPECT_EQ(QELPopupLoading::m_Timer, nullptr);
    EXPECT_EQ(Content(), kPopupContentPrefix + "Done");
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("m_IsRunning 0", kPopupLoadingSource, "m_CheckRunning"),
                            InfoLine("m_IsRunning 0", kPopupLoadingSource, "GetRunningFlag")));
}

TEST_F(QELPopupLoadingTest, PollsUntilWorkerIsDone) {
    Create();
    ShowAndStart();
    FakeLog::Clear();
    const auto polls = [] { return FakeLog::Count("m_IsRunning 1") / 2; };
    ASSERT_TRUE(Screen::PumpUntil([&polls] { return polls() >= 2; }));
    EXPECT_FALSE(IsOkEnabled());
    EXPECT_EQ(Content(), kPopupContentPrefix + "Please wait");
    FinishWorker("Done");
    ASSERT_TRUE(WaitUntilStopped());
    EXPECT_EQ(FakeLog::Count("m_IsRunning 0"), 2);
    EXPECT_EQ(Content(), kPopupContentPrefix + "Done");
}

TEST_F(QELPopupLoadingTest, StopsAtFirstPollWhenWorkerFinishesEarlier) {
    Create();
    m_PopupLoading->Show();
    m_PopupLoading->SetText("Title", "Please wait");
    // The measurement starts before the timer exists, so a delay of the test only lengthens the
    // time.
    const double start = ecore_time_get();
    m_PopupLoading->Start();
    FinishWorker("Done");
    FakeLog::Clear();

    EXPECT_NE(QELPopupLoading::m_Timer, nullptr);
    EXPECT_FALSE(IsOkEnabled());
    EXPECT_EQ(Content(), kPopupContentPrefix + "Please wait");

    double stopped = 0;
    ToolkitCalls::OnCall("elm_object_disabled_set", [&stopped] { stopped = ecore_time_get(); });
    ASSERT_TRUE(WaitUntilStopped());
    EXPECT_GE(stopped - start, 0.099);  // the interval of 0.1 s, less 1 ms for rounding
    EXPECT_THAT(FakeLog::Messages(), ElementsAre("m_IsRunning 0", "m_IsRunning 0"));
    EXPECT_EQ(Content(), kPopupContentPrefix + "Done");
}

TEST_F(QELPopupLoadingTest, ShowsResultAndFocusesOkOnStop) {
    Create();
    ShowAndStart();
    FinishWorker("It is <done> & well");
    ASSERT_TRUE(WaitUntilStopped());
    EXPECT_FALSE(elm_progressbar_is_pulsing_get(QELPopupLoading::m_PopupProgress));
    EXPECT_TRUE(IsOkEnabled());
    EXPECT_EQ(Screen::FocusedWidget(ad.win), QELPopupLoading::m_Button);
    EXPECT_TRUE(IsPopupVisible());
    EXPECT_EQ(Title(), "Title");
    EXPECT_EQ(Content(), kPopupContentPrefix + "It is &lt;done&gt; &amp; well");
}

TEST_F(QELPopupLoadingTest, DeletesTimerThenStopsPulseThenEnablesOk) {
    Create();
    m_PopupLoading->Start();
    ToolkitCalls::Start();
    QELPopupLoading::Stop();
    EXPECT_THAT(
        ToolkitCalls::Take(AllNames()),
        ElementsAre("ecore_timer_del(?)", "elm_progressbar_pulse(progress, 0)",
                    "elm_object_disabled_set(button, 0)", "elm_object_focus_set(button, 1)"));
}

TEST_F(QELPopupLoadingTest, ShowsResultBetweenPulseStopAndOkEnabling) {
    Create();
    m_PopupLoading->Start();
    QELPopupLoading::SetResultText("Done");
    bool pulsing = true;
    std::string content;
    ToolkitCalls::OnCall("elm_object_part_text_set", [&pulsing] {
        pulsing = elm_progressbar_is_pulsing_get(QELPopupLoading::m_PopupProgress) != 0;
    });
    ToolkitCalls::OnCall("elm_object_disabled_set", [&content] { content = Content(); });
    QELPopupLoading::Stop();
    EXPECT_FALSE(pulsing);
    EXPECT_EQ(content, kPopupContentPrefix + "Done");
}

TEST_F(QELPopupLoadingTest, DoesNotPollAfterStop) {
    Create();
    m_PopupLoading->Start();
    QELPopupLoading::Stop();
    FakeLog::Clear();
    const double end = ecore_time_get() + 0.35;  // seconds; three poll intervals
    EXPECT_TRUE(Screen::PumpUntil([end] { return ecore_time_get() > end; }));
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELPopupLoadingTest, KeepsTimerOnStopWithoutProgressBar) {
    Create();
    m_PopupLoading->Start();
    FakeLog::Clear();
    QELPopupLoading::m_PopupProgress = nullptr;
    QELPopupLoading::Stop();
    EXPECT_NE(QELPopupLoading::m_Timer, nullptr);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("m_PopupProgress is not ready",
                                                        kPopupLoadingSource, "Stop")));
}

TEST_F(QELPopupLoadingTest, ShowsResultOnStopWithoutButton) {
    Create();
    QELPopupLoading::SetResultText("Done");
    QELPopupLoading::m_Button = nullptr;
    QELPopupLoading::Stop();
    EXPECT_EQ(Content(), kPopupContentPrefix + "Done");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELPopupLoadingTest, ShowsOnlyPrefixWhenFirstWorkerSetsNoResult) {
    Create();
    ShowAndStart();
    QELPopupLoading::SetRunningFlag(false);
    ASSERT_TRUE(WaitUntilStopped());
    EXPECT_EQ(Content(), kPopupContentPrefix);
}

TEST_F(QELPopupLoadingTest, ShowsPreviousResultWhenLaterWorkerSetsNoResult) {
    Create();
    ShowAndStart();
    FinishWorker("First");
    ASSERT_TRUE(WaitUntilStopped());
    ShowAndStart();
    EXPECT_EQ(Content(), kPopupContentPrefix + "Please wait");
    QELPopupLoading::SetRunningFlag(false);
    ASSERT_TRUE(WaitUntilStopped());
    EXPECT_EQ(Content(), kPopupContentPrefix + "First");
}

// --- Tests of the running flag

TEST_F(QELPopupLoadingTest, SetsReadsAndLogsRunningFlag) {
    QELPopupLoading::SetRunningFlag(true);
    EXPECT_TRUE(QELPopupLoading::GetRunningFlag());
    QELPopupLoading::SetRunningFlag(false);
    EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("SetRunningFlag 1", kPopupLoadingSource, "SetRunningFlag"),
                            InfoLine("m_IsRunning 1", kPopupLoadingSource, "GetRunningFlag"),
                            InfoLine("SetRunningFlag 0", kPopupLoadingSource, "SetRunningFlag"),
                            InfoLine("m_IsRunning 0", kPopupLoadingSource, "GetRunningFlag")));
}

TEST_F(QELPopupLoadingTest, HoldsMutexDuringStartAndStop) {
    Create();
    std::vector<bool> locked;
    const auto tryLockOnOtherThread = [&locked] {
        std::thread([&locked] {
            const bool hasLocked = QELPopupLoading::m_MutexForRunningFlag.try_lock();
            if (hasLocked) {
                QELPopupLoading::m_MutexForRunningFlag.unlock();
            }
            locked.push_back(hasLocked);
        }).join();
    };
    for (const char* call : {"elm_progressbar_pulse", "ecore_timer_add", "elm_object_disabled_set",
                             "ecore_timer_del", "elm_object_focus_set"}) {
        ToolkitCalls::OnCall(call, tryLockOnOtherThread);
    }
    m_PopupLoading->Start();
    QELPopupLoading::Stop();
    EXPECT_EQ(locked, std::vector<bool>(7, false)) << "Start and Stop make seven observed calls";
    tryLockOnOtherThread();
    EXPECT_TRUE(locked.back());
}

class QELPopupLoadingLockTest : public QELPopupLoadingTest {
protected:
    // Runs the operation on another thread while this thread holds the mutex of the running flag.
    // Returns whether the operation completes within the limit.
    template <typename Operation>
    static bool CompletesWhileLocked(Operation operation, std::chrono::milliseconds limit) {
        std::unique_lock<std::recursive_mutex> lock(QELPopupLoading::m_MutexForRunningFlag);
        std::future<void> done = std::async(std::launch::async, operation);
        const bool completed = done.wait_for(limit) == std::future_status::ready;
        lock.unlock();
        done.get();
        return completed;
    }
};

TEST_F(QELPopupLoadingLockTest, SetsAndReadsRunningFlagUnderLock) {
    const std::chrono::milliseconds limit(100);
    EXPECT_FALSE(CompletesWhileLocked([] { QELPopupLoading::SetRunningFlag(true); }, limit));
    EXPECT_TRUE(QELPopupLoading::m_IsRunning);
    EXPECT_FALSE(CompletesWhileLocked([] { QELPopupLoading::GetRunningFlag(); }, limit));
}

TEST_F(QELPopupLoadingLockTest, SetsResultTextWithoutLock) {
    // The limit is long because a busy PC may start the thread late.
    EXPECT_TRUE(CompletesWhileLocked([] { QELPopupLoading::SetResultText("Done"); },
                                     std::chrono::seconds(20)));
    EXPECT_EQ(QELPopupLoading::m_ResultText, "Done");
}

// --- Tests of OnOkPress

TEST_F(QELPopupLoadingTest, HidesPopupAndKeepsWidgetsOnOk) {
    Create();
    ShowAndStart();
    FinishWorker("Done");
    ASSERT_TRUE(WaitUntilStopped());
    FakeLog::Clear();
    Screen::Press(ad.win, "Return");
    EXPECT_FALSE(IsPopupVisible());
    EXPECT_NE(QELPopupLoading::m_Popup, nullptr);
    EXPECT_NE(QELPopupLoading::m_Button, nullptr);
    EXPECT_TRUE(LoggedInfo("OK button is pressed.", kPopupLoadingSource));
}

TEST_F(QELPopupLoadingTest, IgnoresOkKeyWhileWorkerRuns) {
    Create();
    ShowAndStart();
    Screen::ProcessEvents(ad.win);
    FakeLog::Clear();
    Screen::Press(ad.win, "Return");
    Screen::Press(ad.win, "space");
    EXPECT_TRUE(IsPopupVisible());
    EXPECT_EQ(FakeLog::Count("OK button is pressed."), 0);
}

TEST_F(QELPopupLoadingTest, ShowsPopupAgainForNextWorker) {
    Create();
    for (const char* result : {"One", "Two"}) {
        ShowAndStart();
        EXPECT_TRUE(IsPopupVisible());
        FinishWorker(result);
        ASSERT_TRUE(WaitUntilStopped());
        EXPECT_EQ(Content(), kPopupContentPrefix + result);
        Screen::Press(ad.win, "Return");
        EXPECT_FALSE(IsPopupVisible());
    }
}

TEST_F(QELPopupLoadingTest, LogsOkPressBeforeCreate) {
    QELPopupLoading::OnOkPress(nullptr, nullptr, nullptr);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("OK button is pressed.", kPopupLoadingSource, "OnOkPress")));
}

TEST_F(QELPopupLoadingTest, HandlesOkPressBeforeLogCaptureButton) {
    Create();
    m_PopupLoading->Show();
    evas_object_smart_callback_call(QELPopupLoading::m_Button, "clicked", nullptr);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("OK button is pressed.", kPopupLoadingSource),
                            InfoLine("Press OK in popup is pressed.", "QELButtonLogCapture.cpp")));
}

// --- Tests of the drawn popup

TEST_F(QELPopupLoadingTest, DrawsPopupOnlyWhileShown) {
    Create();
    const Picture before = Screen::Render(ad.win);
    ShowAndStart();
    QELPopupLoading::SetRunningFlag(false);
    ASSERT_TRUE(WaitUntilStopped());
    const Picture shown = Screen::Render(ad.win);
    Screen::Press(ad.win, "Return");
    const Picture after = Screen::Render(ad.win);

    const Area label = Screen::AreaOf(QELPopupLoading::m_PopupLabel);
    EXPECT_FALSE(before.At(label.x, label.y) == shown.At(label.x, label.y));
    EXPECT_EQ(before.At(label.x, label.y), after.At(label.x, label.y));
}

// --- Tests of Destroy

TEST_F(QELPopupLoadingTest, StopsThenDeletesWidgetsInOrder) {
    Create();
    m_PopupLoading->Show();
    m_PopupLoading->Start();
    const ToolkitCalls::Names names = AllNames();
    ToolkitCalls::Start();
    m_PopupLoading->Destroy();
    EXPECT_THAT(ToolkitCalls::Take(names),
                ElementsAre("ecore_timer_del(?)", "elm_progressbar_pulse(progress, 0)",
                            "elm_object_disabled_set(button, 0)", "elm_object_focus_set(button, 1)",
                            "evas_object_del(popup)", "evas_object_del(popupTable)",
                            "evas_object_del(label)", "evas_object_del(progress)",
                            "evas_object_del(button)"));
    EXPECT_EQ(QELPopupLoading::m_Popup, nullptr);
    EXPECT_EQ(m_PopupLoading->m_PopupTable, nullptr);
    EXPECT_EQ(QELPopupLoading::m_PopupLabel, nullptr);
    EXPECT_EQ(QELPopupLoading::m_PopupProgress, nullptr);
    EXPECT_EQ(QELPopupLoading::m_Button, nullptr);
    EXPECT_EQ(QELPopupLoading::m_Timer, nullptr);
}

TEST_F(QELPopupLoadingTest, ReportsOnlyMissingProgressBarOnDestroyBeforeCreate) {
    m_PopupLoading->Destroy();
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("m_PopupProgress is not ready",
                                                        kPopupLoadingSource, "Stop")));
}

}  // namespace
