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

const char* const kWindowSource = "QELWindow.cpp";

// A result file with two failed items and values for every panel.
const char* const kResultFileContent =
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
        PrivateData::WriteMain(kResultFileContent);
    }

    void TearDown() override {
        m_Window.Destroy(&ad);
        ScreenTest::TearDown();
    }

    void Create() { m_Window.Create(&ad); }

    void ExpectNothingOwned() const {
        EXPECT_EQ(m_Window.m_ItemList, nullptr);
        EXPECT_EQ(m_Window.m_ItemView, nullptr);
        EXPECT_EQ(m_Window.m_ButtonLogCapture, nullptr);
        EXPECT_EQ(m_Window.m_BgRect, nullptr);
        EXPECT_EQ(m_Window.m_TitleBg, nullptr);
        EXPECT_EQ(m_Window.m_BgImage, nullptr);
    }

    ToolkitCalls::Names AllNames() const {
        ToolkitCalls::Names names = Names();
        names.insert({
            {m_Window.m_BgRect, "bgRect"},
            {m_Window.m_BgImage, "bgImage"},
            {m_Window.m_TitleBg, "titleBg"},
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

    QELWindow m_Window;
};

// --- Tests of Create

TEST_F(QELWindowTest, OwnsNothingBeforeCreate) {
    ExpectNothingOwned();
}

TEST_F(QELWindowTest, RejectsCreateWithoutAppData) {
    ExpectRecordIsNeeded(m_Window, &QELWindow::Create, "Create", kWindowSource);
}

TEST_F(QELWindowTest, ReadsBothResultFilesBeforeToolkitCalls) {
    std::vector<std::string> logged;
    ToolkitCalls::OnCall("elm_app_base_scale_set", [&logged] { logged = FakeLog::Messages(); });
    Create();
    EXPECT_THAT(logged, Contains("[m_ParseFile] Start!! \n[" + PrivateData::RnscFile() + "]\n"));
    EXPECT_THAT(logged, Contains("[m_ParseFile] Start!! \n[" + PrivateData::MainFile() + "]\n"));
    EXPECT_EQ(ToolkitCalls::Take({}).front(), "elm_app_base_scale_set(2)");
    EXPECT_EQ(QELXmlParser::GetInstance()->GetNumOfResult(), 2U);
}

TEST_F(QELWindowTest, CreatesWindowTableBackgroundAndTitleInOrder) {
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

TEST_F(QELWindowTest, SetsWidgetPropertiesInOrder) {
    std::vector<std::string> steps;
    const std::vector<std::string> observedCalls = {"elm_table_add",
                                                    "elm_table_homogeneous_set",
                                                    "elm_table_padding_set",
                                                    "evas_object_size_hint_weight_set",
                                                    "elm_win_resize_object_add",
                                                    "evas_object_image_add",
                                                    "evas_object_image_file_set",
                                                    "elm_label_add",
                                                    "elm_object_part_text_set",
                                                    "evas_object_size_hint_align_set",
                                                    "elm_table_pack"};
    for (const std::string& call : observedCalls) {
        ToolkitCalls::OnCall(call, [&steps, call] { steps.push_back(call); });
    }
    // The window is shown before the first step.
    ToolkitCalls::OnCall("evas_object_show", [&steps] {
        if (!steps.empty()) {
            steps.emplace_back("evas_object_show");
        }
    });
    ToolkitCalls::OnCall("evas_object_image_filled_set", [&steps] {
        const bool isPathLogged = FakeLog::Messages().back().rfind("Resource = ", 0) == 0;
        steps.emplace_back(isPathLogged ? "filled after the log line"
                                        : "filled before the log line");
    });
    // Stops the observation before the views are created.
    ToolkitCalls::OnCall("elm_popup_add", [] { ToolkitCalls::Start(); });
    Create();
    const std::vector<std::string> placingSteps = {"evas_object_size_hint_weight_set",
                                                   "evas_object_size_hint_align_set",
                                                   "evas_object_show", "elm_table_pack"};
    std::vector<std::string> expected = {"elm_table_add",
                                         "elm_table_homogeneous_set",
                                         "elm_table_padding_set",
                                         "evas_object_size_hint_weight_set",
                                         "elm_win_resize_object_add",
                                         "evas_object_image_add",
                                         "evas_object_image_file_set",
                                         "filled after the log line",
                                         "elm_label_add",
                                         "elm_object_part_text_set"};
    for (int object = 0; object < 3; ++object) {
        expected.insert(expected.end(), placingSteps.begin(), placingSteps.end());
    }
    expected.emplace_back("evas_object_show");  // the table
    EXPECT_EQ(steps, expected);
}

TEST_F(QELWindowTest, SetsTitleAndAutomaticDeletionOfWindow) {
    Create();
    EXPECT_STREQ(elm_win_title_get(ad.win), "quorvel");
    EXPECT_TRUE(elm_win_autodel_get(ad.win));
    EXPECT_TRUE(IsVisible(ad.win));
    EXPECT_DOUBLE_EQ(elm_app_base_scale_get(), 2.0);
}

TEST_F(QELWindowTest, FillsWindowWithHomogeneousPaddedTable) {
    Create();
    Screen::ProcessEvents(ad.win);
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
    EXPECT_EQ(Screen::AreaOf(ad.win), (Area{0, 0, Screen::kWidth, Screen::kHeight}));
}

TEST_F(QELWindowTest, PlacesEveryViewInItsCell) {
    Create();
    const std::vector<Evas_Object*> packed = Screen::PackedIn(ad.table);
    std::vector<Cell> cells;
    std::transform(packed.begin(), packed.end(), std::back_inserter(cells), Screen::CellOf);
    EXPECT_THAT(cells, ElementsAre(Cell{0, 0, 3, 8},    // background
                                   Cell{0, 0, 3, 1},    // title rectangle
                                   Cell{0, 0, 3, 1},    // title label
                                   Cell{0, 1, 1, 7},    // list rectangle
                                   Cell{0, 1, 1, 7},    // list
                                   Cell{1, 1, 2, 6},    // item label
                                   Cell{1, 1, 1, 2},    // left information panel
                                   Cell{2, 1, 1, 2},    // right information panel
                                   Cell{1, 1, 2, 6},    // photo
                                   Cell{1, 3, 2, 4},    // detail rectangle
                                   Cell{1, 3, 2, 4},    // detail scroller
                                   Cell{1, 7, 1, 1},    // log capture box
                                   Cell{1, 7, 1, 1}));  // log capture button
    EXPECT_EQ(Screen::CellOf(m_Window.m_BgImage), (Cell{0, 0, 3, 8}));
    EXPECT_EQ(Screen::CellOf(ad.titleLabel), (Cell{0, 0, 3, 1}));
    EXPECT_EQ(Screen::CellOf(ad.itemList), (Cell{0, 1, 1, 7}));
    EXPECT_EQ(Screen::CellOf(ad.logCaptureButton), (Cell{1, 7, 1, 1}));
}

TEST_F(QELWindowTest, PlacesDetailPanelAtBottomOfItemView) {
    Create();
    Screen::ProcessEvents(ad.win);
    const Area view = Screen::AreaOf(ad.itemLabel);
    const Area detail = Screen::AreaOf(QELItemDetailView::m_bgItemDetailView);
    EXPECT_TRUE(view.Holds(detail)) << view << " does not hold " << detail;
    EXPECT_EQ(view.Bottom(), detail.Bottom());
    EXPECT_LE(Screen::AreaOf(ad.infoLabelLeft).Bottom(), detail.y);
    EXPECT_LE(Screen::AreaOf(ad.itemList).Right(), view.x);
}

// --- Tests of the background and the title

TEST_F(QELWindowTest, LoadsBackgroundFromMenuResources) {
    FakeServices::SetResourceFolder("/res");
    Create();
    const char* file = nullptr;
    const char* key = "";
    evas_object_image_file_get(m_Window.m_BgImage, &file, &key);
    EXPECT_STREQ(file, "/res/Settings/setting_bg_base.webp");
    EXPECT_EQ(key, nullptr);
    EXPECT_TRUE(evas_object_image_filled_get(m_Window.m_BgImage));
    EXPECT_TRUE(LoggedInfo("Resource = /res/Settings/setting_bg_base.webp", kWindowSource));
}

TEST_F(QELWindowTest, RequestsBackgroundPathAgainForLog) {
    size_t lookups = 0;
    ToolkitCalls::OnCall("elm_popup_add", [&lookups] { lookups = FakeServices::Lookups().size(); });
    Create();
    ASSERT_EQ(lookups, 2U);
    for (size_t i = 0; i < lookups; ++i) {
        EXPECT_EQ(FakeServices::Lookups()[i].appId, "org.tizen.menu");
        EXPECT_EQ(FakeServices::Lookups()[i].relativePath, "Settings/setting_bg_base.webp");
    }
}

TEST_F(QELWindowTest, FillsWindowWithBackground) {
    const fs::path folder = fs::path(PrivateData::Path("resources")) / "Settings";
    fs::create_directories(folder);
    Screen::WriteImage(folder / "setting_bg_base.webp", {0, 0, 200});
    FakeServices::SetResourceFolder(folder.parent_path());
    Create();
    const Picture picture = Screen::Render(ad.win);
    EXPECT_EQ(picture.At(1919, 1079), (Colour{0, 0, 200}));
    EXPECT_EQ(picture.At(1919, 1000), (Colour{0, 0, 200}));
    EXPECT_EQ(picture.At(639, 1079), (Colour{0, 0, 200}));  // between the list and the item view
}

TEST_F(QELWindowTest, ShowsEmptyImageWithoutBackgroundFile) {
    FakeServices::SetNoResources();
    Create();
    EXPECT_TRUE(LoggedInfo("Resource = ", kWindowSource));
    EXPECT_TRUE(IsVisible(m_Window.m_BgImage));
    EXPECT_TRUE(LoggedInfo("done app_create", kWindowSource));
}

TEST_F(QELWindowTest, KeepsPlainRectangleHiddenAndUnplaced) {
    Create();
    ASSERT_NE(m_Window.m_BgRect, nullptr);
    EXPECT_FALSE(IsVisible(m_Window.m_BgRect));
    EXPECT_FALSE(Screen::IsPacked(ad.table, m_Window.m_BgRect));
}

TEST_F(QELWindowTest, KeepsOpenBoldTagAndClosingTagOrderOfTitle) {
    Create();
    EXPECT_EQ(TextOf(ad.titleLabel),
              "<align=center font_size=80 color=#CCCCCC><b>Quorvel</align></font_size></color>");
}

TEST_F(QELWindowTest, DrawsGreyTitleOnTranslucentWhiteBar) {
    Create();
    // The toolkit clamps the components of the colour to the alpha.
    EXPECT_THAT(Screen::ColourOf(m_Window.m_TitleBg), ElementsAre(30, 30, 30, 30));
    const Picture picture = Screen::Render(ad.win);
    const Area bar = Screen::AreaOf(m_Window.m_TitleBg);
    const auto isGrey = [](const Colour& colour) { return colour == Colour{204, 204, 204}; };
    EXPECT_GT(picture.Count(bar, isGrey), 1000);
    EXPECT_EQ(picture.Count({bar.x, bar.y, bar.width / 4, bar.height}, isGrey), 0);
    EXPECT_EQ(picture.Count({bar.width * 3 / 4, bar.y, bar.width / 4, bar.height}, isGrey), 0);
    EXPECT_GT(picture.At(5, bar.Bottom() - 1).red, picture.At(5, bar.Bottom() + 1).red);
}

// --- Tests of the placing of objects

TEST_F(QELWindowTest, FillsEachOfItsCells) {
    Create();
    ExpectPlaced(m_Window, TABLE_LOCATION_TITLE, {0, 0, 3, 1});
    ExpectPlaced(m_Window, TABLE_LOCATION_BACKGROUND, {0, 0, 3, 8});
}

TEST_F(QELWindowTest, ShowsButDoesNotPlaceObjectAtOtherLocations) {
    Create();
    ExpectShownButNotPlaced(m_Window, {0, 2, 3, 4, 5, 6, 7, 8, 10, -1}, kWindowSource);
}

// --- Tests of the creation of the views

TEST_F(QELWindowTest, CreatesViewsInOrder) {
    Create();
    std::vector<std::string> done;
    for (const LogLine& line : FakeLog::Lines()) {
        if (line.message == "done Create" || line.message == "done app_create") {
            done.push_back(line.file);
        }
    }
    EXPECT_THAT(done, ElementsAre("QELPopupLoading.cpp", "QELItemList.cpp", "QELItemDetailView.cpp",
                                  "QELItemView.cpp", "QELButtonLogCapture.cpp", kWindowSource));
    EXPECT_THAT(FakeLog::Lines().back(), InfoLine("done app_create", kWindowSource, "Create"));
}

TEST_F(QELWindowTest, FillsEveryFieldOfAppData) {
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

struct FailedAllocation {
    int nth;  // counted from the start of Create; 1 is the result store
    const char* message;
    const char* file;
    int existingFields;  // the number of fields that exist: list, item label, button, in this order
};

void PrintTo(const FailedAllocation& failure, std::ostream* out) {
    *out << failure.message;
}

class QELWindowAllocationTest : public QELWindowTest,
                                public testing::WithParamInterface<FailedAllocation> {};

TEST_P(QELWindowAllocationTest, SkipsRemainingViewsAfterFailure) {
    const FailingNew failing(GetParam().nth);
    Create();
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_TRUE(LoggedError(GetParam().message, GetParam().file));
    const std::vector<Evas_Object*> fields = {ad.itemList, ad.itemLabel, ad.logCaptureButton};
    for (size_t i = 0; i < fields.size(); ++i) {
        EXPECT_EQ(fields[i] != nullptr, static_cast<int>(i) < GetParam().existingFields)
            << "field " << i;
    }
    // The window stays visible, and the handlers are connected.
    EXPECT_TRUE(IsVisible(ad.win));
    EXPECT_TRUE(LoggedInfo("done app_create", kWindowSource));
    const std::string detailLabel = ad.detailLabel == nullptr ? "null" : "detailLabel";
    EXPECT_THAT(ToolkitCalls::Take(AllNames(), {"register"}),
                Contains("register(" + detailLabel + ", \"unfocused\", OnUnfocus, ad)"));
}

INSTANTIATE_TEST_SUITE_P(
    Views, QELWindowAllocationTest,
    testing::Values(FailedAllocation{2, "popupLoading is failed to create", "QELWindow.cpp", 0},
                    FailedAllocation{3, "QELItemList is failed to create", "QELWindow.cpp", 0},
                    FailedAllocation{4, "QELItemView is failed to create", "QELWindow.cpp", 1},
                    FailedAllocation{6, "QELButtonLogCapture is failed to create", "QELWindow.cpp",
                                     2}),
    [](const auto& test) { return "allocation" + std::to_string(test.param.nth); });

TEST_F(QELWindowTest, CreatesLogCaptureButtonWithoutDetailView) {
    const FailingNew failing(5);
    Create();
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(ad.detailLabel, nullptr);
    EXPECT_NE(ad.logCaptureButton, nullptr);
}

TEST_F(QELWindowTest, CompletesCreateWithoutResultStore) {
    const FailingNew failing(1);
    Create();
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(FakeLog::Count("[m_ParseFile] Start!! \n[" + PrivateData::MainFile() + "]\n"), 0);
    EXPECT_THAT(FakeLog::Errors().front(),
                ErrorLine("failed to get instance\n", "QELXmlParser.cpp", "GetInstance"));
    EXPECT_THAT(FakeLog::Messages().at(1), testing::StartsWith("Resource = "));
    EXPECT_TRUE(LoggedInfo("done app_create", kWindowSource));
}

TEST_F(QELWindowTest, ShowsWindowWithoutResultFiles) {
    PrivateData::Clean();
    Create();
    Screen::ProcessEvents(ad.win);
    EXPECT_TRUE(IsVisible(ad.titleLabel));
    EXPECT_TRUE(IsVisible(m_Window.m_BgImage));
    EXPECT_EQ(elm_genlist_items_count(ad.itemList), 0U);
    EXPECT_TRUE(elm_object_disabled_get(ad.itemList));
    EXPECT_EQ(Screen::FocusedWidget(ad.win), ad.logCaptureButton);
    EXPECT_THAT(TextOf(ad.detailLabel),
                testing::HasSubstr("There is no failed production history."));
}

// A main result file without readable items. The other result file is complete.
struct BadFile {
    const char* label;
    const char* content;  // null: the path of the file is a folder
};

void PrintTo(const BadFile& file, std::ostream* out) {
    *out << file.label;
}

class QELWindowBadFileTest : public QELWindowTest, public testing::WithParamInterface<BadFile> {};

TEST_P(QELWindowBadFileTest, ShowsRnscFileWhenMainFileIsBad) {
    PrivateData::Clean();
    PrivateData::WriteRnsc(kResultFileContent);
    if (GetParam().content == nullptr) {
        fs::create_directory(PrivateData::MainFile());
    } else {
        PrivateData::WriteMain(GetParam().content);
    }
    Create();
    Screen::ProcessEvents(ad.win);
    EXPECT_TRUE(IsVisible(ad.titleLabel));
    EXPECT_EQ(elm_genlist_items_count(ad.itemList), 2U);
    EXPECT_EQ(elm_object_focused_item_get(ad.itemList), Row(0));
    EXPECT_THAT(TextOf(ad.infoLabelRight), testing::HasSubstr("model=M1<br/>"));
    EXPECT_TRUE(LoggedInfo("done app_create", kWindowSource));
}

INSTANTIATE_TEST_SUITE_P(
    MainFile, QELWindowBadFileTest,
    testing::Values(BadFile{"folder", nullptr}, BadFile{"empty", ""},
                    BadFile{"truncated", "<run><FAnetTest><test><name>A"},
                    BadFile{"wrongEncoding",
                            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><run>\xFF</run>"},
                    BadFile{"otherRoot", "<html></html>"}, BadFile{"noSections", "<run></run>"},
                    BadFile{"noLists", "<run><Information></Information></run>"}),
    [](const auto& test) { return std::string(test.param.label); });

// --- Tests of the registered handlers

TEST_F(QELWindowTest, ConnectsSixHandlersInOrder) {
    Create();
    std::vector<std::string> calls = ToolkitCalls::Take(AllNames(), {"register"});
    // The popup registers the first two handlers itself.
    ASSERT_EQ(calls.size(), 8U);
    calls.erase(calls.begin(), calls.begin() + 2);
    EXPECT_THAT(calls, ElementsAre("register(itemList, \"item,focused\", UpdateText, ad)",
                                   "register(itemList, \"item,focused\", Update, ad)",
                                   "register(itemList, \"unselected\", OnUnselect, ad)",
                                   "register(logCaptureButton, \"clicked\", OnPress, ad)",
                                   "register(detailLabel, \"focused\", OnFocus, ad)",
                                   "register(detailLabel, \"unfocused\", OnUnfocus, ad)"));
}

struct FailedRegistration {
    int nth;
    const char* event;
};

void PrintTo(const FailedRegistration& failure, std::ostream* out) {
    *out << failure.event;
}

class QELWindowRegistrationTest : public QELWindowTest,
                                  public testing::WithParamInterface<FailedRegistration> {};

TEST_P(QELWindowRegistrationTest, LogsFailureAndSkipsRemainingHandlers) {
    constexpr int kPopupRegistrations = 2;
    ToolkitCalls::FailRegistration(kPopupRegistrations + GetParam().nth);
    Create();
    EXPECT_EQ(ToolkitCalls::Count("register"), kPopupRegistrations + GetParam().nth);
    const std::string message =
        "it is falied to add event callback for " + std::string(GetParam().event) + ".";
    EXPECT_TRUE(LoggedError(message, kWindowSource));
    EXPECT_TRUE(LoggedInfo("done app_create", kWindowSource));
}

INSTANTIATE_TEST_SUITE_P(
    Handlers, QELWindowRegistrationTest,
    testing::Values(FailedRegistration{1, "item,focused"}, FailedRegistration{2, "item,focused"},
                    FailedRegistration{3, "unselected"}, FailedRegistration{4, "clicked"},
                    FailedRegistration{5, "focused"}, FailedRegistration{6, "unfocused"}),
    [](const auto& test) { return "handler" + std::to_string(test.param.nth); });

TEST_F(QELWindowTest, UpdatesDetailTextBeforeItemViewOnRowFocus) {
    Create();
    Screen::ProcessEvents(ad.win);
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

// The detail label is hidden, so only the translucent panel background covers the photo.
TEST_F(QELWindowTest, DrawsPhotoThroughDetailPanelForImageItem) {
    const std::string photo = PrivateData::Path("photo.png");
    Screen::WriteImage(photo, {250, 10, 10});
    PrivateData::WriteMain(
        "<run><FAnetTest><test><type>bt</type><result>fail</result></test>"
        "<test><type>image</type><result>fail</result><detailed>" +
        photo + "</detailed></test></FAnetTest></run>");
    Create();
    Screen::ProcessEvents(ad.win);
    const Area panel = Screen::AreaOf(QELItemDetailView::m_bgItemDetailView);
    const auto redPixels = [&] { return Screen::Render(ad.win).Count(panel, IsRed); };
    Screen::Press(ad.win, "Down");
    EXPECT_FALSE(IsVisible(ad.detailLabel));
    EXPECT_FALSE(IsVisible(ad.infoLabelLeft));
    EXPECT_TRUE(Screen::PumpUntil([&] { return redPixels() > panel.height * panel.height / 2; }));
    Screen::Press(ad.win, "Up");
    EXPECT_TRUE(IsVisible(ad.detailLabel));
    EXPECT_TRUE(IsVisible(ad.infoLabelLeft));
    EXPECT_EQ(redPixels(), 0);
}

TEST_F(QELWindowTest, SelectsUnselectedRowAgain) {
    Create();
    Screen::ProcessEvents(ad.win);
    elm_genlist_item_selected_set(Row(1), EINA_TRUE);
    elm_genlist_item_selected_set(Row(1), EINA_FALSE);
    EXPECT_TRUE(elm_genlist_item_selected_get(Row(1)));
    EXPECT_TRUE(LoggedInfo("an Item is unselected.", "QELItemList.cpp"));
}

TEST_F(QELWindowTest, StartsCaptureOnButtonClick) {
    Create();
    FakeServices::CloseGate();
    evas_object_smart_callback_call(ad.logCaptureButton, "clicked", nullptr);
    EXPECT_TRUE(LoggedInfo("Log Capture button is pressed.", "QELButtonLogCapture.cpp"));
    EXPECT_TRUE(IsVisible(QELPopupLoading::m_Popup));
}

TEST_F(QELWindowTest, BrightensDetailPanelOnFocus) {
    Create();
    Evas_Object* panel = QELItemDetailView::m_bgItemDetailView;
    evas_object_smart_callback_call(ad.detailLabel, "focused", nullptr);
    EXPECT_EQ(Screen::ColourOf(panel).back(), 50);
    evas_object_smart_callback_call(ad.detailLabel, "unfocused", nullptr);
    EXPECT_EQ(Screen::ColourOf(panel).back(), 20);
}

// --- Tests of Destroy

TEST_F(QELWindowTest, DeletesWidgetsInOrder) {
    Create();
    ToolkitCalls::Names names = AllNames();
    names.insert({
        {m_Window.m_ItemList->m_bgItemList, "listBg"},
        {QELItemDetailView::m_bgItemDetailView, "detailBg"},
        {m_Window.m_ItemView->m_itemDetailView->m_scrollerItemDetailView, "scroller"},
        {m_Window.m_ItemView->m_bgInfoViewLeft, "leftBg"},
        {m_Window.m_ItemView->m_bgInfoViewRight, "rightBg"},
        {m_Window.m_ButtonLogCapture->m_Box, "box"},
    });
    ToolkitCalls::Start();
    m_Window.Destroy(&ad);
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

TEST_F(QELWindowTest, ClearsEverythingButPopupOnDestroy) {
    Create();
    const QELPopupLoading* popup = QELPopupLoading::GetInstance();
    m_Window.Destroy(&ad);
    const _appdata empty = {};
    EXPECT_EQ(std::memcmp(&ad, &empty, sizeof(ad)), 0);
    ExpectNothingOwned();
    EXPECT_EQ(QELPopupLoading::GetInstance(), popup);
}

TEST_F(QELWindowTest, DeletesNothingOnSecondDestroy) {
    Create();
    m_Window.Destroy(&ad);
    FakeLog::Clear();
    ToolkitCalls::Start();
    m_Window.Destroy(&ad);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELWindowTest, RejectsDestroyWithoutAppData) {
    Create();
    ExpectRecordIsNeeded(m_Window, &QELWindow::Destroy, "Destroy", kWindowSource);
    EXPECT_NE(m_Window.m_ItemList, nullptr);
}

TEST_F(QELWindowTest, DestroysPartlyCreatedWindow) {
    {
        const FailingNew failing(3);
        Create();
        EXPECT_TRUE(failing.HasFailed());
    }
    FakeLog::Clear();
    m_Window.Destroy(&ad);
    EXPECT_EQ(ad.win, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

}  // namespace
