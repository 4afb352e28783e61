#include "QELWindow.h"

#include <Elementary.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "QELButtonLogCapture.h"
#include "QELItemDetailView.h"
#include "QELItemList.h"
#include "QELItemView.h"
#include "QELPopupLoading.h"
#include "fakes/FailingNew.h"
#include "fakes/FakeServices.h"
#include "fixtures/PrivateData.h"
#include "fixtures/ScreenTest.h"

namespace fs = std::filesystem;

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const char* const SOURCE = "QELWindow.cpp";

// Two failed items, and something in every panel.
const char* const RUN =
    "<run><Information><model>M1</model></Information>"
    "<Network><type>wifi</type></Network><Summary><duration>60</duration></Summary>"
    "<RNSCImage></RNSCImage><RNSCTest></RNSCTest><FAnetTest>"
    "<test><type>app</type><name>First</name><opcode>52</opcode><msgcode>14</msgcode>"
    "<result>fail</result></test>"
    "<test><type>bt</type><name>Second</name><result>fail</result></test>"
    "<test><type>bt</type><name>Third</name><result>pass</result></test>"
    "</FAnetTest></run>";

class QELWindowTest : public ScreenTest {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        PrivateData::WriteMain(RUN);
    }

    void TearDown() override {
        m_window.Destroy(&ad);
        ScreenTest::TearDown();
    }

    void Create() { m_window.Create(&ad); }

    void ExpectNothingOwned() const {
        EXPECT_EQ(m_window.m_ItemList, nullptr);
        EXPECT_EQ(m_window.m_ItemView, nullptr);
        EXPECT_EQ(m_window.m_ButtonLogCapture, nullptr);
        EXPECT_EQ(m_window.m_BgRect, nullptr);
        EXPECT_EQ(m_window.m_TitleBg, nullptr);
        EXPECT_EQ(m_window.m_BgImage, nullptr);
    }

    ToolkitCalls::Names AllNames() const {
        ToolkitCalls::Names names = Names();
        names.insert({
            {m_window.m_BgRect, "bgRect"},
            {m_window.m_BgImage, "bgImage"},
            {m_window.m_TitleBg, "titleBg"},
            {QELPopupLoading::m_Popup, "popup"},
            Named(&QELItemDetailView::UpdateText, "UpdateText"),
            Named(&QELItemView::Update, "Update"),
            Named(&QELItemList::OnUnselect, "OnUnselect"),
            Named(&QELButtonLogCapture::OnPress, "OnPress"),
            Named(&QELItemDetailView::OnFocus, "OnFocus"),
            Named(&QELItemDetailView::OnUnfocus, "OnUnfocus"),
        });
        return names;
    }

    QELWindow m_window;
};

// --- create

TEST_F(QELWindowTest, StartsWithoutAnything) {
    ExpectNothingOwned();
}

TEST_F(QELWindowTest, CreateWithoutRecordDoesNothing) {
    ExpectRecordIsNeeded(m_window, &QELWindow::Create, "Create", SOURCE);
}

TEST_F(QELWindowTest, ReadsBothResultFilesBeforeItTouchesTheToolkit) {
    std::vector<std::string> logged;
    ToolkitCalls::OnCall("elm_app_base_scale_set", [&logged] { logged = FakeLog::Messages(); });
    Create();
    EXPECT_THAT(logged, Contains("[m_ParseFile] Start!! \n[" + PrivateData::RnscFile() + "]\n"));
    EXPECT_THAT(logged, Contains("[m_ParseFile] Start!! \n[" + PrivateData::MainFile() + "]\n"));
    EXPECT_EQ(ToolkitCalls::Take({}).front(), "elm_app_base_scale_set(2)");
    EXPECT_EQ(QELXmlParser::GetInstance()->GetNumOfResult(), 2U);
}

TEST_F(QELWindowTest, BuildsWindowTableBackgroundAndTitleInThisOrder) {
    Create();
    std::vector<std::string> calls = ToolkitCalls::Take(AllNames());
    calls.resize(std::min<size_t>(calls.size(), 19));
    EXPECT_THAT(calls,
                ElementsAre("elm_app_base_scale_set(2)",                                 //
                            "elm_win_util_standard_add(win, \"quorvel\", \"quorvel\")",  //
                            "elm_win_autodel_set(win, 1)",                               //
                            "evas_object_show(win)",                                     //
                            "elm_table_add(table, win)",                                 //
                            "elm_win_resize_object_add(win, table)",                     //
                            "evas_object_rectangle_add(bgRect, canvas)",                 //
                            "evas_object_image_add(bgImage, canvas)",                    //
                            "evas_object_rectangle_add(titleBg, canvas)",                //
                            "evas_object_color_set(titleBg, 255, 255, 255, 30)",         //
                            "elm_label_add(titleLabel, table)",                          //
                            "evas_object_show(bgImage)",                                 //
                            "elm_table_pack(table, bgImage, 0, 0, 3, 8)",                //
                            "evas_object_show(titleBg)",                                 //
                            "elm_table_pack(table, titleBg, 0, 0, 3, 1)",                //
                            "evas_object_show(titleLabel)",                              //
                            "elm_table_pack(table, titleLabel, 0, 0, 3, 1)",             //
                            "evas_object_show(table)",                                   //
                            "elm_popup_add(popup, win)"));
}

TEST_F(QELWindowTest, PropertiesAreSetBetweenTheseCalls) {
    std::vector<std::string> steps;
    const auto note = [&steps](const std::string& call) {
        ToolkitCalls::OnCall(call, [&steps, call] { steps.push_back(call); });
    };
    for (const char* call :
         {"elm_table_add", "elm_table_homogeneous_set", "elm_table_padding_set",
          "evas_object_size_hint_weight_set", "elm_win_resize_object_add", "evas_object_image_add",
          "evas_object_image_file_set", "elm_label_add", "elm_object_part_text_set",
          "evas_object_size_hint_align_set", "elm_table_pack"}) {
        note(call);
    }
    // "evas_object_show" also comes before the first of these.
    ToolkitCalls::OnCall("evas_object_show", [&steps] {
        if (!steps.empty()) {
            steps.emplace_back("evas_object_show");
        }
    });
    ToolkitCalls::OnCall("evas_object_image_filled_set", [&steps] {
        const std::vector<std::string> lines = FakeLog::Messages();
        const bool told = lines.back().rfind("Resource = ", 0) == 0;
        steps.emplace_back(told ? "filled after the line" : "filled before the line");
    });
    ToolkitCalls::OnCall("elm_popup_add", [] { ToolkitCalls::Start(); });
    Create();
    const std::vector<std::string> placing = {"evas_object_size_hint_weight_set",
                                              "evas_object_size_hint_align_set", "evas_object_show",
                                              "elm_table_pack"};
    std::vector<std::string> expected = {"elm_table_add",
                                         "elm_table_homogeneous_set",
                                         "elm_table_padding_set",
                                         "evas_object_size_hint_weight_set",
                                         "elm_win_resize_object_add",
                                         "evas_object_image_add",
                                         "evas_object_image_file_set",
                                         "filled after the line",
                                         "elm_label_add",
                                         "elm_object_part_text_set"};
    for (int i = 0; i < 3; ++i) {
        expected.insert(expected.end(), placing.begin(), placing.end());
    }
    expected.emplace_back("evas_object_show");  // the table
    EXPECT_EQ(steps, expected);
}

TEST_F(QELWindowTest, WindowIsNamedAndDeletesItself) {
    Create();
    EXPECT_STREQ(elm_win_title_get(ad.win), "quorvel");
    EXPECT_TRUE(elm_win_autodel_get(ad.win));
    EXPECT_TRUE(IsVisible(ad.win));
    EXPECT_DOUBLE_EQ(elm_app_base_scale_get(), 2.0);
}

TEST_F(QELWindowTest, TableIsHomogeneousPaddedAndFillsTheWindow) {
    Create();
    Screen::Settle(ad.win);
    EXPECT_TRUE(elm_table_homogeneous_get(ad.table));
    int horizontal = 0;
    int vertical = 0;
    elm_table_padding_get(ad.table, &horizontal, &vertical);
    EXPECT_EQ(horizontal, 2);
    EXPECT_EQ(vertical, 2);
    double x = 0;
    double y = 0;
    evas_object_size_hint_weight_get(ad.table, &x, &y);
    EXPECT_DOUBLE_EQ(x, EVAS_HINT_EXPAND);
    EXPECT_DOUBLE_EQ(y, EVAS_HINT_EXPAND);
    EXPECT_EQ(Screen::AreaOf(ad.table), Screen::AreaOf(ad.win));
    EXPECT_EQ(Screen::AreaOf(ad.win), (Area{0, 0, Screen::WIDTH, Screen::HEIGHT}));
}

TEST_F(QELWindowTest, EveryViewLiesInItsCell) {
    Create();
    const std::vector<Evas_Object*> packed = Screen::PackedIn(ad.table);
    std::vector<Cell> cells;
    std::transform(packed.begin(), packed.end(), std::back_inserter(cells), Screen::CellOf);
    EXPECT_THAT(cells, ElementsAre(Cell{0, 0, 3, 8},    // background
                                   Cell{0, 0, 3, 1},    // title rectangle
                                   Cell{0, 0, 3, 1},    // title label
                                   Cell{0, 1, 1, 7},    // the list's rectangle
                                   Cell{0, 1, 1, 7},    // list
                                   Cell{1, 1, 2, 6},    // item label
                                   Cell{1, 1, 1, 2},    // left information
                                   Cell{2, 1, 1, 2},    // right information
                                   Cell{1, 1, 2, 6},    // photo
                                   Cell{1, 3, 2, 4},    // the detail's rectangle
                                   Cell{1, 3, 2, 4},    // detail
                                   Cell{1, 7, 1, 1},    // log capture box
                                   Cell{1, 7, 1, 1}));  // log capture button
    EXPECT_EQ(Screen::CellOf(m_window.m_BgImage), (Cell{0, 0, 3, 8}));
    EXPECT_EQ(Screen::CellOf(ad.titleLabel), (Cell{0, 0, 3, 1}));
    EXPECT_EQ(Screen::CellOf(ad.itemList), (Cell{0, 1, 1, 7}));
    EXPECT_EQ(Screen::CellOf(ad.logCaptureButton), (Cell{1, 7, 1, 1}));
}

TEST_F(QELWindowTest, DetailLiesInTheLowerPartOfTheItemView) {
    Create();
    Screen::Settle(ad.win);
    const Area view = Screen::AreaOf(ad.itemLabel);
    const Area detail = Screen::AreaOf(QELItemDetailView::m_bgItemDetailView);
    EXPECT_TRUE(view.Holds(detail)) << view << " does not hold " << detail;
    EXPECT_EQ(view.Bottom(), detail.Bottom());
    EXPECT_LE(Screen::AreaOf(ad.infoLabelLeft).Bottom(), detail.y);
    EXPECT_LE(Screen::AreaOf(ad.itemList).Right(), view.x);
}

// --- background and title

TEST_F(QELWindowTest, BackgroundIsAResourceOfTheMenu) {
    FakeServices::SetResourceFolder("/res");
    Create();
    const char* file = nullptr;
    const char* key = "";
    evas_object_image_file_get(m_window.m_BgImage, &file, &key);
    EXPECT_STREQ(file, "/res/Settings/setting_bg_base.webp");
    EXPECT_EQ(key, nullptr);
    EXPECT_TRUE(evas_object_image_filled_get(m_window.m_BgImage));
    EXPECT_TRUE(LoggedInfo("Resource = /res/Settings/setting_bg_base.webp", SOURCE));
}

TEST_F(QELWindowTest, BackgroundIsLookedUpASecondTimeForTheLog) {
    size_t lookups = 0;
    ToolkitCalls::OnCall("elm_popup_add", [&lookups] { lookups = FakeServices::Lookups().size(); });
    Create();
    ASSERT_EQ(lookups, 2U);
    for (size_t i = 0; i < lookups; ++i) {
        EXPECT_EQ(FakeServices::Lookups()[i].appId, "org.tizen.menu");
        EXPECT_EQ(FakeServices::Lookups()[i].relativePath, "Settings/setting_bg_base.webp");
    }
}

TEST_F(QELWindowTest, BackgroundFillsTheWholeWindow) {
    const fs::path folder = fs::path(PrivateData::Path("resources")) / "Settings";
    fs::create_directories(folder);
    Screen::WriteImage(folder / "setting_bg_base.webp", {0, 0, 200});
    FakeServices::SetResourceFolder(folder.parent_path());
    Create();
    const Picture picture = Screen::Render(ad.win);
    EXPECT_EQ(picture.At(1919, 1079), (Colour{0, 0, 200}));
    EXPECT_EQ(picture.At(1919, 1000), (Colour{0, 0, 200}));
    EXPECT_EQ(picture.At(639, 1079), (Colour{0, 0, 200}));  // between list and item view
}

TEST_F(QELWindowTest, MissingBackgroundLeavesTheImageEmpty) {
    FakeServices::SetNoResources();
    Create();
    EXPECT_TRUE(LoggedInfo("Resource = ", SOURCE));
    EXPECT_TRUE(IsVisible(m_window.m_BgImage));
    EXPECT_TRUE(LoggedInfo("done app_create", SOURCE));
}

TEST_F(QELWindowTest, PlainRectangleIsNeverShownOrPlaced) {
    Create();
    ASSERT_NE(m_window.m_BgRect, nullptr);
    EXPECT_FALSE(IsVisible(m_window.m_BgRect));
    EXPECT_FALSE(Screen::IsPacked(ad.table, m_window.m_BgRect));
}

TEST_F(QELWindowTest, TitleKeepsItsOpenBoldTagAndItsOrderOfClosingTags) {
    Create();
    EXPECT_EQ(TextOf(ad.titleLabel),
              "<align=center font_size=80 color=#CCCCCC><b>Quorvel</align></font_size></color>");
}

TEST_F(QELWindowTest, TitleStandsInGreyOnATranslucentWhiteBar) {
    Create();
    // The toolkit keeps colours with their transparency multiplied in.
    EXPECT_THAT(Screen::ColourOf(m_window.m_TitleBg), ElementsAre(30, 30, 30, 30));
    const Picture picture = Screen::Render(ad.win);
    const Area bar = Screen::AreaOf(m_window.m_TitleBg);
    const auto isGrey = [](const Colour& colour) { return colour == Colour{204, 204, 204}; };
    EXPECT_GT(picture.Count(bar, isGrey), 1000);
    EXPECT_EQ(picture.Count({bar.x, bar.y, bar.width / 4, bar.height}, isGrey), 0);
    EXPECT_EQ(picture.Count({bar.width * 3 / 4, bar.y, bar.width / 4, bar.height}, isGrey), 0);
    EXPECT_GT(picture.At(5, bar.Bottom() - 1).red, picture.At(5, bar.Bottom() + 1).red);
}

// --- placing

TEST_F(QELWindowTest, ShowFillsEachOfItsCells) {
    Create();
    ExpectPlaced(m_window, TABLE_LOCATION_TITLE, {0, 0, 3, 1});
    ExpectPlaced(m_window, TABLE_LOCATION_BACKGROUND, {0, 0, 3, 8});
}

TEST_F(QELWindowTest, OtherLocationsAreShownButNotPlaced) {
    Create();
    ExpectShownButNotPlaced(m_window, {0, 2, 3, 4, 5, 6, 7, 8, 10, -1}, SOURCE);
}

// --- views

TEST_F(QELWindowTest, ViewsComeInTheirOrder) {
    Create();
    std::vector<std::string> done;
    for (const LogLine& line : FakeLog::Lines()) {
        if (line.message == "done Create" || line.message == "done app_create") {
            done.push_back(line.file);
        }
    }
    EXPECT_THAT(done, ElementsAre("QELPopupLoading.cpp", "QELItemList.cpp", "QELItemDetailView.cpp",
                                  "QELItemView.cpp", "QELButtonLogCapture.cpp", SOURCE));
    EXPECT_THAT(FakeLog::Lines().back(), InfoLine("done app_create", SOURCE, "Create"));
}

TEST_F(QELWindowTest, EveryFieldOfTheRecordIsFilled) {
    Create();
    EXPECT_NE(ad.win, nullptr);
    EXPECT_NE(ad.table, nullptr);
    EXPECT_NE(ad.titleLabel, nullptr);
    EXPECT_NE(ad.itemList, nullptr);
    EXPECT_NE(ad.itemLabel, nullptr);
    EXPECT_NE(ad.itemImage, nullptr);
    EXPECT_NE(ad.detailLabel, nullptr);
    EXPECT_NE(ad.infoLabelLeft, nullptr);
    EXPECT_NE(ad.infoLabelRight, nullptr);
    EXPECT_NE(ad.logCaptureButton, nullptr);
}

struct FailedAllocation_s {
    int nth;  // of Create; the result store is the first
    const char* message;
    const char* file;
    int views;  // how many of the record's list, item label and button exist then
};

void PrintTo(const FailedAllocation_s& failure, std::ostream* out) {
    *out << failure.message;
}

class QELWindowAllocationTest : public QELWindowTest,
                                public testing::WithParamInterface<FailedAllocation_s> {};

TEST_P(QELWindowAllocationTest, FailureStopsTheRemainingCreations) {
    const FailingNew failing(GetParam().nth);
    Create();
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_TRUE(LoggedError(GetParam().message, GetParam().file));
    const std::vector<Evas_Object*> fields = {ad.itemList, ad.itemLabel, ad.logCaptureButton};
    for (size_t i = 0; i < fields.size(); ++i) {
        EXPECT_EQ(fields[i] != nullptr, static_cast<int>(i) < GetParam().views) << i;
    }
    // The window stays, and the connections are still made.
    EXPECT_TRUE(IsVisible(ad.win));
    EXPECT_TRUE(LoggedInfo("done app_create", SOURCE));
    const std::vector<std::string> calls = ToolkitCalls::Take(AllNames(), {"register"});
    EXPECT_THAT(calls, Contains("register(" +
                                std::string(ad.detailLabel == nullptr ? "null" : "detailLabel") +
                                ", \"unfocused\", OnUnfocus, ad)"));
}

INSTANTIATE_TEST_SUITE_P(
    Views, QELWindowAllocationTest,
    testing::Values(FailedAllocation_s{2, "popupLoading is failed to create", "QELWindow.cpp", 0},
                    FailedAllocation_s{3, "QELItemList is failed to create", "QELWindow.cpp", 0},
                    FailedAllocation_s{4, "QELItemView is failed to create", "QELWindow.cpp", 1},
                    FailedAllocation_s{6, "QELButtonLogCapture is failed to create",
                                       "QELWindow.cpp", 2}),
    [](const auto& test) { return "allocation" + std::to_string(test.param.nth); });

TEST_F(QELWindowTest, MissingDetailViewDoesNotStopTheButton) {
    const FailingNew failing(5);
    Create();
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(ad.detailLabel, nullptr);
    EXPECT_NE(ad.logCaptureButton, nullptr);
}

TEST_F(QELWindowTest, MissingResultStoreIsSkipped) {
    const FailingNew failing(1);
    Create();
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(FakeLog::Count("[m_ParseFile] Start!! \n[" + PrivateData::MainFile() + "]\n"), 0);
    EXPECT_THAT(FakeLog::Errors().front(),
                ErrorLine("failed to get instance\n", "QELXmlParser.cpp", "GetInstance"));
    EXPECT_EQ(FakeLog::Lines()[1].message.rfind("Resource = ", 0), 0U);
    EXPECT_TRUE(LoggedInfo("done app_create", SOURCE));
}

TEST_F(QELWindowTest, WithoutResultFilesTheWindowStillComesUp) {
    PrivateData::Clean();
    Create();
    Screen::Settle(ad.win);
    EXPECT_TRUE(IsVisible(ad.titleLabel));
    EXPECT_TRUE(IsVisible(m_window.m_BgImage));
    EXPECT_EQ(elm_genlist_items_count(ad.itemList), 0U);
    EXPECT_TRUE(elm_object_disabled_get(ad.itemList));
    EXPECT_EQ(Screen::FocusedWidget(ad.win), ad.logCaptureButton);
    EXPECT_THAT(TextOf(ad.detailLabel),
                testing::HasSubstr("There is no failed production history."));
}

// A main file that cannot be read, or lacks what it should have; the other file is good.
struct BadFile_s {
    const char* what;
    const char* content;  // null: a folder lies in its place
};

void PrintTo(const BadFile_s& file, std::ostream* out) {
    *out << file.what;
}

class QELWindowBadFileTest : public QELWindowTest, public testing::WithParamInterface<BadFile_s> {};

TEST_P(QELWindowBadFileTest, WindowShowsWhatCouldBeRead) {
    PrivateData::Clean();
    PrivateData::WriteRnsc(RUN);
    if (GetParam().content == nullptr) {
        fs::create_directory(PrivateData::MainFile());
    } else {
        PrivateData::WriteMain(GetParam().content);
    }
    Create();
    Screen::Settle(ad.win);
    EXPECT_TRUE(IsVisible(ad.titleLabel));
    EXPECT_EQ(elm_genlist_items_count(ad.itemList), 2U);
    EXPECT_EQ(elm_object_focused_item_get(ad.itemList), Row(0));
    EXPECT_THAT(TextOf(ad.infoLabelRight), testing::HasSubstr("model=M1<br/>"));
    EXPECT_TRUE(LoggedInfo("done app_create", SOURCE));
}

INSTANTIATE_TEST_SUITE_P(
    MainFile, QELWindowBadFileTest,
    testing::Values(BadFile_s{"folder", nullptr}, BadFile_s{"empty", ""},
                    BadFile_s{"cutOff", "<run><FAnetTest><test><name>A"},
                    BadFile_s{"wrongEncoding",
                              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><run>\xFF</run>"},
                    BadFile_s{"otherRoot", "<html></html>"}, BadFile_s{"noSections", "<run></run>"},
                    BadFile_s{"noLists", "<run><Information></Information></run>"}),
    [](const auto& test) { return std::string(test.param.what); });

// --- connections

TEST_F(QELWindowTest, ConnectsSixHandlersInThisOrder) {
    Create();
    std::vector<std::string> calls = ToolkitCalls::Take(AllNames(), {"register"});
    ASSERT_EQ(calls.size(), 8U);  // the first two are the popup's own
    calls.erase(calls.begin(), calls.begin() + 2);
    EXPECT_THAT(calls, ElementsAre("register(itemList, \"item,focused\", UpdateText, ad)",
                                   "register(itemList, \"item,focused\", Update, ad)",
                                   "register(itemList, \"unselected\", OnUnselect, ad)",
                                   "register(logCaptureButton, \"clicked\", OnPress, ad)",
                                   "register(detailLabel, \"focused\", OnFocus, ad)",
                                   "register(detailLabel, \"unfocused\", OnUnfocus, ad)"));
}

struct FailedRegistration_s {
    int nth;
    const char* event;
};

void PrintTo(const FailedRegistration_s& failure, std::ostream* out) {
    *out << failure.event;
}

class QELWindowRegistrationTest : public QELWindowTest,
                                  public testing::WithParamInterface<FailedRegistration_s> {};

TEST_P(QELWindowRegistrationTest, FailureIsLoggedAndStopsTheRemainingOnes) {
    const int popupRegistrations = 2;
    ToolkitCalls::FailRegistration(popupRegistrations + GetParam().nth);
    Create();
    EXPECT_EQ(ToolkitCalls::Count("register"), popupRegistrations + GetParam().nth);
    const std::string message =
        "it is falied to add event callback for " + std::string(GetParam().event) + ".";
    EXPECT_TRUE(LoggedError(message, SOURCE));
    EXPECT_TRUE(LoggedInfo("done app_create", SOURCE));
}

INSTANTIATE_TEST_SUITE_P(
    Handlers, QELWindowRegistrationTest,
    testing::Values(FailedRegistration_s{1, "item,focused"},
                    FailedRegistration_s{2, "item,focused"}, FailedRegistration_s{3, "unselected"},
                    FailedRegistration_s{4, "clicked"}, FailedRegistration_s{5, "focused"},
                    FailedRegistration_s{6, "unfocused"}),
    [](const auto& test) { return "handler" + std::to_string(test.param.nth); });

TEST_F(QELWindowTest, FocusedRowUpdatesTheDetailTextBeforeTheItemView) {
    Create();
    Screen::Settle(ad.win);
    FakeLog::Clear();
    Screen::Press(ad.win, "Down");
    std::vector<std::string> files;
    for (const LogLine& line : FakeLog::Lines()) {
        if (line.message == "index : 1, resultSize : 2") {
            files.push_back(line.file + " " + line.function);
        }
    }
    EXPECT_THAT(files, ElementsAre("QELItemDetailView.cpp UpdateText", "QELItemView.cpp Update"));
}

// The panel's text steps aside, so that only its translucent background lies over the photo.
TEST_F(QELWindowTest, PhotoIsSeenThroughThePanelWhileAnImageItemIsFocused) {
    const std::string photo = PrivateData::Path("photo.png");
    Screen::WriteImage(photo, {250, 10, 10});
    PrivateData::WriteMain(
        "<run><FAnetTest><test><type>bt</type><result>fail</result></test>"
        "<test><type>image</type><result>fail</result><detailed>" +
        photo + "</detailed></test></FAnetTest></run>");
    Create();
    Screen::Settle(ad.win);
    const Area panel = Screen::AreaOf(QELItemDetailView::m_bgItemDetailView);
    const auto redPixels = [&] {
        return Screen::Render(ad.win).Count(panel, [](const Colour& colour) {
            return colour.red > 200 && colour.green < 80 && colour.blue < 80;
        });
    };
    Screen::Press(ad.win, "Down");
    EXPECT_FALSE(IsVisible(ad.detailLabel));
    EXPECT_FALSE(IsVisible(ad.infoLabelLeft));
    EXPECT_TRUE(Screen::PumpUntil([&] { return redPixels() > panel.height * panel.height / 2; }));
    Screen::Press(ad.win, "Up");
    EXPECT_TRUE(IsVisible(ad.detailLabel));
    EXPECT_TRUE(IsVisible(ad.infoLabelLeft));
    EXPECT_EQ(redPixels(), 0);
}

TEST_F(QELWindowTest, UnselectedRowIsSelectedAgain) {
    Create();
    Screen::Settle(ad.win);
    elm_genlist_item_selected_set(Row(1), EINA_TRUE);
    elm_genlist_item_selected_set(Row(1), EINA_FALSE);
    EXPECT_TRUE(elm_genlist_item_selected_get(Row(1)));
    EXPECT_TRUE(LoggedInfo("an Item is unselected.", "QELItemList.cpp"));
}

TEST_F(QELWindowTest, ClickedButtonStartsTheCapture) {
    Create();
    FakeServices::CloseGate();
    evas_object_smart_callback_call(ad.logCaptureButton, "clicked", nullptr);
    EXPECT_TRUE(LoggedInfo("Log Capture button is pressed.", "QELButtonLogCapture.cpp"));
    EXPECT_TRUE(IsVisible(QELPopupLoading::m_Popup));
}

TEST_F(QELWindowTest, FocusOfTheDetailLabelBrightensItsPanel) {
    Create();
    Evas_Object* panel = QELItemDetailView::m_bgItemDetailView;
    evas_object_smart_callback_call(ad.detailLabel, "focused", nullptr);
    EXPECT_EQ(Screen::ColourOf(panel).back(), 50);
    evas_object_smart_callback_call(ad.detailLabel, "unfocused", nullptr);
    EXPECT_EQ(Screen::ColourOf(panel).back(), 20);
}

// --- destroy

TEST_F(QELWindowTest, DestroyDeletesInThisOrder) {
    Create();
    ToolkitCalls::Names names = AllNames();
    names.insert({
        {m_window.m_ItemList->m_bgItemList, "listBg"},
        {QELItemDetailView::m_bgItemDetailView, "detailBg"},
        {m_window.m_ItemView->m_itemDetailView->m_scrollerItemDetailView, "scroller"},
        {m_window.m_ItemView->m_bgInfoViewLeft, "leftBg"},
        {m_window.m_ItemView->m_bgInfoViewRight, "rightBg"},
        {m_window.m_ButtonLogCapture->m_Box, "box"},
    });
    ToolkitCalls::Start();
    m_window.Destroy(&ad);
    EXPECT_THAT(
        ToolkitCalls::Take(names),
        ElementsAre("evas_object_del(win)", "evas_object_del(table)", "evas_object_del(titleLabel)",
                    "evas_object_del(bgRect)", "evas_object_del(bgImage)",
                    "evas_object_del(titleBg)", "evas_object_del(itemList)",
                    "evas_object_del(listBg)", "evas_object_del(detailLabel)",
                    "evas_object_del(detailBg)", "evas_object_del(scroller)",
                    "evas_object_del(itemLabel)", "evas_object_del(itemImage)",
                    "evas_object_del(infoLabelLeft)", "evas_object_del(infoLabelRight)",
                    "evas_object_del(leftBg)", "evas_object_del(rightBg)",
                    "evas_object_del(logCaptureButton)", "evas_object_del(box)"));
}

TEST_F(QELWindowTest, DestroyClearsEverythingButThePopup) {
    Create();
    const QELPopupLoading* popup = QELPopupLoading::GetInstance();
    m_window.Destroy(&ad);
    const _appdata empty = {};
    EXPECT_EQ(std::memcmp(&ad, &empty, sizeof(ad)), 0);
    ExpectNothingOwned();
    EXPECT_EQ(QELPopupLoading::GetInstance(), popup);
}

TEST_F(QELWindowTest, SecondDestroyDeletesNothing) {
    Create();
    m_window.Destroy(&ad);
    FakeLog::Clear();
    ToolkitCalls::Start();
    m_window.Destroy(&ad);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELWindowTest, DestroyWithoutRecordDoesNothing) {
    Create();
    ExpectRecordIsNeeded(m_window, &QELWindow::Destroy, "Destroy", SOURCE);
    EXPECT_NE(m_window.m_ItemList, nullptr);
}

TEST_F(QELWindowTest, DestroyIsSafeWhenCreationStoppedEarly) {
    {
        const FailingNew failing(3);
        Create();
    }
    FakeLog::Clear();
    m_window.Destroy(&ad);
    EXPECT_EQ(ad.win, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

}  // namespace
