#include "QELItemList.h"

#include <Elementary.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "QELAnalysisData.h"
#include "QELPopupLoading.h"
#include "fakes/FailingNew.h"
#include "fakes/FakeServices.h"
#include "fakes/NoThreads.h"
#include "fixtures/PrivateData.h"
#include "fixtures/ScreenTest.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kItemListSource = "QELItemList.cpp";

void* RowData(unsigned int index) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the data of a row is its index
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(index));
}

class QELItemListTest : public ScreenTest {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        OpenRecordedWindow();
    }

    void Create() {
        m_List.Create(&ad);
        Screen::ProcessEvents(ad.win);
    }

    // Creates the list, and the popup and the analysis data, which a press requires.
    void CreateForPress() {
        QELPopupLoading::GetInstance()->Create(&ad);
        QELAnalysisData::GetInstance();
        Create();
        FakeLog::Clear();
        ToolkitCalls::Start();
    }

    void Press(unsigned int index) { QELItemList::OnPress(&ad, ad.itemList, Row(index)); }

    // Returns the text that the row's callback returns for the part; no value for a null pointer.
    std::optional<std::string> TextFor(unsigned int index, const char* part = "elm.text") const {
        const std::unique_ptr<char, decltype(&std::free)> text(
            QELItemList::m_GetItemText(RowData(index), ad.itemList, part), &std::free);
        return text ? std::optional<std::string>(text.get()) : std::nullopt;
    }

    // Returns the text that the row shows.
    std::string ShownText(unsigned int index) const {
        const char* text = elm_object_item_part_text_get(Row(index), "elm.text");
        return text == nullptr ? "" : text;
    }

    Evas_Object* IconFor(unsigned int index, const char* part = "elm.swallow.icon") const {
        return QELItemList::m_GetItemContent(RowData(index), ad.itemList, part);
    }

    // Minimum width, minimum height, maximum width and maximum height, in pixels.
    using Hints = std::array<int, 4>;
    static Hints HintsOf(const Evas_Object* obj) {
        Hints hints{};
        evas_object_size_hint_min_get(obj, &hints[0], &hints[1]);
        evas_object_size_hint_max_get(obj, &hints[2], &hints[3]);
        return hints;
    }

    QELItemList m_List;
};

// --- Tests of Create

TEST_F(QELItemListTest, RejectsCreateWithoutAppData) {
    ExpectRecordIsNeeded(m_List, &QELItemList::Create, "Create", kItemListSource);
    EXPECT_EQ(m_List.m_bgItemList, nullptr);
}

TEST_F(QELItemListTest, CreatesPlacesAndFocusesWidgetsInOrder) {
    AddFailed(ItemOfType("bt", "A"));
    m_List.Create(&ad);
    ToolkitCalls::Names names = Names();
    names.insert({{m_List.m_bgItemList, "background"}, {Row(0), "row"}});
    const std::vector<std::string> functions = {
        "evas_object_rectangle_add", "evas_object_color_set", "elm_genlist_add",
        "evas_object_show",          "elm_table_pack",        "elm_object_focus_set",
        "elm_genlist_item_bring_in"};
    EXPECT_THAT(ToolkitCalls::Take(names, functions),
                ElementsAre("evas_object_rectangle_add(background, canvas)",         //
                            "evas_object_color_set(background, 255, 255, 255, 10)",  //
                            "elm_genlist_add(itemList, table)",                      //
                            "evas_object_show(background)",                          //
                            "elm_table_pack(table, background, 0, 1, 1, 7)",         //
                            "evas_object_show(itemList)",                            //
                            "elm_table_pack(table, itemList, 0, 1, 1, 7)",           //
                            "elm_object_focus_set(itemList, 1)",                     //
                            "elm_genlist_item_bring_in(row, 2)"));
    EXPECT_THAT(FakeLog::Lines().back(), InfoLine("done Create", kItemListSource, "Create"));
}

TEST_F(QELItemListTest, EnablesHomogeneousRowsAndMultipleSelection) {
    AddFailed(ItemOfType("bt", "A"));
    Create();
    EXPECT_TRUE(elm_genlist_homogeneous_get(ad.itemList));
    EXPECT_TRUE(elm_genlist_multi_select_get(ad.itemList));
    EXPECT_FALSE(elm_object_disabled_get(ad.itemList));
}

TEST_F(QELItemListTest, PlacesListOverBackground) {
    AddFailed(ItemOfType("bt", "A"));
    Create();
    EXPECT_EQ(Screen::AreaOf(m_List.m_bgItemList), Screen::AreaOf(ad.itemList));
    EXPECT_THAT(Screen::PackedIn(ad.table), ElementsAre(m_List.m_bgItemList, ad.itemList));
    EXPECT_THAT(Screen::ColourOf(m_List.m_bgItemList), ElementsAre(10, 10, 10, 10));
}

TEST_F(QELItemListTest, ShowsOneRowPerFailedItemInStoreOrder) {
    for (const char* name : {"C", "A", "B"}) {
        AddFailed(ItemOfType("rnsc", name));
        AddPassed(ItemOfType("rnsc", "passed"));
    }
    Create();
    ASSERT_EQ(elm_genlist_items_count(ad.itemList), 3U);
    EXPECT_EQ(ShownText(0), "C");
    EXPECT_EQ(ShownText(1), "A");
    EXPECT_EQ(ShownText(2), "B");
    for (unsigned int i = 0; i < 3; ++i) {
        EXPECT_EQ(elm_object_item_data_get(Row(i)), RowData(i));
        EXPECT_EQ(elm_genlist_item_index_get(Row(i)), static_cast<int>(i) + 1);
        EXPECT_EQ(elm_genlist_item_type_get(Row(i)), ELM_GENLIST_ITEM_NONE);
        EXPECT_EQ(elm_genlist_item_parent_get(Row(i)), nullptr);
    }
}

TEST_F(QELItemListTest, SetsStyleAndCallbacksOfRows) {
    AddFailed(ItemOfType("bt", "A"));
    Create();
    const Elm_Genlist_Item_Class* rowClass = elm_genlist_item_item_class_get(Row(0));
    EXPECT_STREQ(rowClass->item_style, "C_TextItem_WhiteSingleline02");
    EXPECT_EQ(rowClass->func.text_get, &QELItemList::m_GetItemText);
    EXPECT_EQ(rowClass->func.content_get, &QELItemList::m_GetItemContent);
    EXPECT_EQ(rowClass->func.state_get, nullptr);
    EXPECT_EQ(rowClass->func.del, nullptr);
    EXPECT_EQ(ToolkitCalls::Count("elm_genlist_item_class_free"), 1);
}

TEST_F(QELItemListTest, FocusesFirstRowAtTop) {
    for (int i = 0; i < 3; ++i) {
        AddFailed(ItemOfType("bt", "A"));
    }
    Create();
    EXPECT_EQ(Screen::FocusedWidget(ad.win), ad.itemList);
    EXPECT_EQ(elm_object_focused_item_get(ad.itemList), Row(0));
    EXPECT_EQ(Screen::AreaOf(elm_object_item_track(Row(0))).y, Screen::AreaOf(ad.itemList).y);
    for (unsigned int i = 0; i < 3; ++i) {
        EXPECT_FALSE(elm_genlist_item_selected_get(Row(i))) << "row " << i;
    }
}

TEST_F(QELItemListTest, DisablesEmptyListAndSetsNoFocus) {
    AddPassed(ItemOfType("bt", "passed"));
    Create();
    EXPECT_EQ(elm_genlist_items_count(ad.itemList), 0U);
    EXPECT_TRUE(elm_object_disabled_get(ad.itemList));
    EXPECT_EQ(elm_object_focused_item_get(ad.itemList), nullptr);
    EXPECT_EQ(ToolkitCalls::Count("elm_object_focus_set"), 0);
    EXPECT_EQ(ToolkitCalls::Count("elm_genlist_item_class_free"), 1);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(InfoLine("done Create", kItemListSource, "Create")));
}

TEST_F(QELItemListTest, MovesRowFocusWithArrowKeysWithoutSelecting) {
    for (int i = 0; i < 3; ++i) {
        AddFailed(ItemOfType("bt", "A"));
    }
    Create();
    Screen::Press(ad.win, "Down");
    EXPECT_EQ(elm_object_focused_item_get(ad.itemList), Row(1));
    Screen::Press(ad.win, "Down");
    EXPECT_EQ(elm_object_focused_item_get(ad.itemList), Row(2));
    Screen::Press(ad.win, "Up");
    EXPECT_EQ(elm_object_focused_item_get(ad.itemList), Row(1));
    EXPECT_FALSE(elm_genlist_item_selected_get(Row(1)));
    EXPECT_EQ(FakeLog::Count("an Item is pressed."), 0);
}

class QELItemListStoreTest : public ScreenTest {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        OpenWindow();
        ToolkitCalls::Start();
    }

    QELItemList m_List;
};

TEST_F(QELItemListStoreTest, KeepsListEmptyAndEnabledWithoutResultStore) {
    const FailingNew failing(1);
    m_List.m_CreateList(&ad);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(elm_genlist_items_count(ad.itemList), 0U);
    EXPECT_FALSE(elm_object_disabled_get(ad.itemList));
    EXPECT_EQ(ToolkitCalls::Count("elm_genlist_item_class_free"), 0)
        << "the row class is not freed without the result store";
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp")));
}

TEST_F(QELItemListStoreTest, SkipsFocusAndDoneLineWithoutResultStore) {
    // The application requests the store to fill the list, packs the list, and requests the store
    // again to set the focus.
    std::optional<FailingNew> failing;
    failing.emplace(1);
    ToolkitCalls::OnCall("elm_table_pack", [&failing] {
        failing.reset();
        failing.emplace(1);
    });
    m_List.Create(&ad);
    EXPECT_TRUE(failing->HasFailed());
    EXPECT_NE(m_List.m_bgItemList, nullptr);
    EXPECT_TRUE(IsVisible(ad.itemList));
    EXPECT_EQ(ToolkitCalls::Count("elm_object_focus_set"), 0);
    const auto storeError = ErrorLine("failed to get instance\n", "QELXmlParser.cpp");
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(storeError, storeError));
}

// --- Tests of placing and focus

TEST_F(QELItemListTest, FillsListCell) {
    Create();
    ExpectPlaced(m_List, TABLE_LOCATION_ITEM_LIST, {0, 1, 1, 7});
}

TEST_F(QELItemListTest, ShowsButDoesNotPlaceObjectAtOtherLocations) {
    Create();
    ExpectShownButNotPlaced(m_List, {0, 1, 2, 3, 5, 6, 7, 8, 9}, kItemListSource);
}

TEST_F(QELItemListTest, RejectsFocusWithoutList) {
    m_List.m_OnFocus(nullptr, 0);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Evas_Object is NULL", kItemListSource, "m_OnFocus")));
}

TEST_F(QELItemListTest, FocusesOnlyListWhenRowIsMissing) {
    AddFailed(ItemOfType("bt", "A"));
    Create();
    FakeLog::Clear();
    ToolkitCalls::Start();
    m_List.m_OnFocus(ad.itemList, 1);
    EXPECT_THAT(ToolkitCalls::Take(Names()), ElementsAre("elm_object_focus_set(itemList, 1)"));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("focusedItem is NULL", kItemListSource, "m_OnFocus")));
}

TEST_F(QELItemListTest, ScrollsFocusedRowToTop) {
    for (int i = 0; i < 100; ++i) {
        AddFailed(ItemOfType("bt", "A"));
    }
    Create();
    m_List.m_OnFocus(ad.itemList, 40);
    EXPECT_TRUE(Screen::PumpUntil([this] {
        const Evas_Object* row = elm_object_item_track(Row(40));
        const bool atTop = row != nullptr && Screen::AreaOf(row).y == Screen::AreaOf(ad.itemList).y;
        elm_object_item_untrack(Row(40));
        return atTop;
    }));
    EXPECT_EQ(elm_object_focused_item_get(ad.itemList), Row(40));
}

// --- Tests of the texts of the rows

struct RowText {
    const char* label;
    ResultItem item;
    const char* text;
};

void PrintTo(const RowText& row, std::ostream* out) {
    *out << row.label;
}

class QELItemListTextTest : public QELItemListTest, public testing::WithParamInterface<RowText> {};

TEST_P(QELItemListTextTest, ShowsRowTextOfType) {
    AddFailed(GetParam().item);
    Create();
    EXPECT_EQ(TextFor(0), GetParam().text);
    EXPECT_EQ(ShownText(0), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, QELItemListTextTest,
    testing::Values(
        RowText{"bt", {{"type", "bt"}, {"connection", "paired"}, {"name", "N"}}, "bt paired"},
        RowText{"wifi", {{"type", "wifi"}, {"connection", "X"}}, "wifi X"},
        RowText{"withoutConnection", {{"type", "bt"}}, "bt "},
        RowText{"typePrefix", {{"type", "w"}, {"connection", "X"}}, "w X"},
        RowText{
            "app", {{"type", "app"}, {"name", "N"}, {"opcode", "12"}, {"msgcode", "7"}}, "N(12,7)"},
        RowText{"appWithoutCodes", {{"type", "app"}, {"name", "N"}}, "N(,)"},
        RowText{"appWithEmptyCodes",
                {{"type", "app"}, {"name", "N"}, {"opcode", ""}, {"msgcode", ""}},
                "N(,)"},
        RowText{"rnsc", {{"type", "rnsc"}, {"name", " N "}}, " N "},
        RowText{"image", {{"type", "image"}, {"name", "Photo"}}, "Photo"},
        RowText{"withoutName", {{"type", "image"}}, ""},
        RowText{"nameInUtf8", {{"type", "rnsc"}, {"name", "Größe 크기"}}, "Größe 크기"}),
    [](const auto& test) { return std::string(test.param.label); });

TEST_F(QELItemListTest, ShowsEmptyTextAndNoIconForUnknownType) {
    AddFailed(ItemOfType("printer", "N"));
    m_List.Create(&ad);
    FakeLog::Clear();
    EXPECT_EQ(TextFor(0), "");
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("resultType is invalid -1", kItemListSource,
                                                        "m_GetItemText")));
    FakeLog::Clear();
    const Evas_Object* icon = IconFor(0);
    ASSERT_NE(icon, nullptr);
    EXPECT_FALSE(Screen::HasPicture(icon));
    EXPECT_EQ(HintsOf(icon), (Hints{35, 35, 35, 35}));
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(ErrorLine("Not defined result type. -1", kItemListSource, "m_GetItemContent"),
                    InfoLine("resourcePath = ", kItemListSource, "m_GetItemContent"),
                    ErrorLine("Failed to set Resource = ", kItemListSource, "m_GetItemContent")));
}

TEST_F(QELItemListTest, ReturnsTextForPartsThatBeginWithElmText) {
    AddFailed(ItemOfType("rnsc", "N"));
    m_List.Create(&ad);
    EXPECT_EQ(TextFor(0, "elm.text"), "N");
    EXPECT_EQ(TextFor(0, "elm.text.sub"), "N");
    EXPECT_EQ(TextFor(0, "elm.textual"), "N");
    EXPECT_EQ(TextFor(0, "elm.tex"), std::nullopt);
    EXPECT_EQ(TextFor(0, "elm.swallow.icon"), std::nullopt);
    EXPECT_EQ(TextFor(0, ""), std::nullopt);
}

TEST_F(QELItemListTest, ReturnsNoTextForIndexOutOfRange) {
    AddFailed(ItemOfType("rnsc", "N"));
    m_List.Create(&ad);
    FakeLog::Clear();
    EXPECT_EQ(TextFor(1), std::nullopt);
    EXPECT_EQ(TextFor(0xFFFFFFFFU), std::nullopt);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELItemListStoreTest, ReturnsNoTextAndNoIconWithoutResultStore) {
    Evas_Object* list = elm_genlist_add(ad.table);
    {
        const FailingNew failing(1);
        EXPECT_EQ(QELItemList::m_GetItemText(nullptr, list, "elm.text"), nullptr);
        EXPECT_TRUE(failing.HasFailed());
    }
    const FailingNew failing(1);
    EXPECT_EQ(QELItemList::m_GetItemContent(nullptr, list, "elm.swallow.icon"), nullptr);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(ToolkitCalls::Count("elm_image_add"), 1)
        << "the image is created before the store is requested";
    const auto storeError = ErrorLine("failed to get instance\n", "QELXmlParser.cpp");
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(storeError, storeError));
}

// --- Tests of the icons of the rows

struct RowIcon {
    const char* type;
    const char* path;
};

void PrintTo(const RowIcon& icon, std::ostream* out) {
    *out << icon.type;
}

class QELItemListIconTest : public QELItemListTest, public testing::WithParamInterface<RowIcon> {};

TEST_P(QELItemListIconTest, LoadsMenuIconOfType) {
    AddFailed(ItemOfType(GetParam().type, "N"));
    const fs::path folder = PrivateData::Path("icons");
    const fs::path file = folder / GetParam().path;
    fs::create_directories(file.parent_path());
    Screen::WriteImage(file, {250, 10, 10});
    FakeServices::SetResourceFolder(folder);
    m_List.Create(&ad);
    FakeLog::Clear();

    const Evas_Object* icon = IconFor(0);

    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(Screen::FileOf(icon), file);
    EXPECT_EQ(FakeServices::Lookups().back().appId, "org.tizen.menu");
    EXPECT_EQ(FakeServices::Lookups().back().relativePath, GetParam().path);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(InfoLine("resourcePath = " + file.string(),
                                                       kItemListSource, "m_GetItemContent")));
}

INSTANTIATE_TEST_SUITE_P(
    Types, QELItemListIconTest,
    testing::Values(RowIcon{"bt", "Settings_Popup/device_icon/r_icon_device_s_bluetooth.webp"},
                    RowIcon{"wifi", "Settings_Popup/device_icon/r_icon_device_s_wifi.webp"},
                    RowIcon{"app", "Settings/menu_icon/4_general/setting_icon_general_s.webp"},
                    RowIcon{"rnsc", "Settings_Popup/device_icon/r_icon_device_s_pc.webp"},
                    RowIcon{"image", "Settings_Popup/device_icon/r_icon_device_s_pc.webp"}),
    [](const auto& test) { return std::string(test.param.type); });

TEST_F(QELItemListTest, DrawsIconLeftOfText) {
    AddFailed(ItemOfType("bt", "N"));
    const fs::path folder = PrivateData::Path("icons");
    fs::create_directories(folder / "Settings_Popup/device_icon");
    Screen::WriteImage(folder / "Settings_Popup/device_icon/r_icon_device_s_bluetooth.webp",
                       {250, 10, 10});
    FakeServices::SetResourceFolder(folder);
    Create();
    const Area list = Screen::AreaOf(ad.itemList);
    const auto drawsIcon = [&] {
        return Screen::Render(ad.win).Count({list.x, list.y, 80, 80}, IsRed) >= 30 * 30;
    };
    // The toolkit can load the icon after the first frame.
    EXPECT_TRUE(Screen::PumpUntil(drawsIcon));
    const Area rest = {list.x + 80, list.y, list.width - 80, list.height};
    EXPECT_EQ(Screen::Render(ad.win).Count(rest, IsRed), 0);
}

TEST_F(QELItemListTest, LogsMissingIconFileAndReturnsEmptyImage) {
    AddFailed(ItemOfType("bt", "N"));
    FakeServices::SetResourceFolder("/no/where");
    m_List.Create(&ad);
    FakeLog::Clear();
    const Evas_Object* icon = IconFor(0);
    const std::string path = "/no/where/Settings_Popup/device_icon/r_icon_device_s_bluetooth.webp";
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("resourcePath = " + path, kItemListSource, "m_GetItemContent"),
                            ErrorLine("Failed to set Resource = " + path, kItemListSource,
                                      "m_GetItemContent")));
    EXPECT_EQ(HintsOf(icon), (Hints{35, 35, 35, 35}));
}

TEST_F(QELItemListTest, MultipliesIconSizeByScale) {
    AddFailed(ItemOfType("bt", "N"));
    m_List.Create(&ad);
    const struct {
        double scale;
        int pixels;
    } sizes[] = {{1.0, 35}, {2.0, 70}, {1.5, 53}, {0.5, 18}, {3.0, 105}};
    for (const auto& size : sizes) {
        elm_config_scale_set(size.scale);
        EXPECT_EQ(HintsOf(IconFor(0)), (Hints{size.pixels, size.pixels, size.pixels, size.pixels}))
            << "scale " << size.scale;
    }
    elm_config_scale_set(1.0);
}

// The toolkit logs an error for this call, because the icon is a widget and not an image object.
// The application still makes the call.
TEST_F(QELItemListTest, RequestsAlphaForEveryIcon) {
    AddFailed(ItemOfType("bt", "N"));
    m_List.Create(&ad);
    for (const char* folder : {"/no/where", "/else/where"}) {
        FakeServices::SetResourceFolder(folder);
        ToolkitCalls::Start();
        const Evas_Object* icon = IconFor(0);
        EXPECT_THAT(ToolkitCalls::Take({{icon, "icon"}}, {"evas_object_image_alpha_set"}),
                    ElementsAre("evas_object_image_alpha_set(icon, 1)"));
    }
}

TEST_F(QELItemListTest, ReturnsIconForPartsThatBeginWithElmSwallowIcon) {
    AddFailed(ItemOfType("bt", "N"));
    m_List.Create(&ad);
    EXPECT_NE(IconFor(0, "elm.swallow.icon"), nullptr);
    EXPECT_NE(IconFor(0, "elm.swallow.icon.1"), nullptr);
    ToolkitCalls::Start();
    EXPECT_EQ(IconFor(0, "elm.swallow.end"), nullptr);
    EXPECT_EQ(IconFor(0, "elm.swallow.ico"), nullptr);
    EXPECT_EQ(IconFor(0, "elm.text"), nullptr);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
}

TEST_F(QELItemListTest, CreatesImageBeforeCheckingIndex) {
    AddFailed(ItemOfType("bt", "N"));
    m_List.Create(&ad);
    FakeLog::Clear();
    ToolkitCalls::Start();
    EXPECT_EQ(IconFor(1), nullptr);
    EXPECT_EQ(ToolkitCalls::Count("elm_image_add"), 1);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

// --- Tests of OnPress

TEST_F(QELItemListTest, ShowsPopupBeforeWorkerStarts) {
    AddFailed(AnalysableItem("A"));
    CreateForPress();
    std::string title;
    std::string content;
    std::vector<std::string> messages;
    ToolkitCalls::OnCall("ecore_timer_add", [&] {
        title = elm_object_part_text_get(QELPopupLoading::m_Popup, "title,text");
        content = TextOf(QELPopupLoading::m_PopupLabel);
        messages = FakeLog::Messages();
    });
    Press(0);
    EXPECT_TRUE(IsVisible(QELPopupLoading::m_Popup));
    EXPECT_EQ(title, "Analyze");
    EXPECT_EQ(content, kPopupContentPrefix + "Analysis is in progress...");
    EXPECT_EQ(messages.back(), "SetRunningFlag 1");
    EXPECT_EQ(FakeLog::Messages().front(), "an Item is pressed.");
    const std::vector<std::string> calls = ToolkitCalls::Take(
        {{QELPopupLoading::m_Popup, "popup"}}, {"evas_object_show", "elm_progressbar_pulse"});
    EXPECT_EQ(calls.front(), "evas_object_show(popup)");
    EXPECT_TRUE(WaitUntilPopupStops());
}

TEST_F(QELItemListTest, ShowsPopupBeforeSettingTexts) {
    AddFailed(AnalysableItem("A"));
    CreateForPress();
    std::vector<bool> shown;
    ToolkitCalls::OnCall("elm_object_part_text_set",
                         [&shown] { shown.push_back(IsVisible(QELPopupLoading::m_Popup)); });
    Press(0);
    ASSERT_GE(shown.size(), 2U);
    EXPECT_THAT(shown, testing::Each(true));
    EXPECT_TRUE(WaitUntilPopupStops());
}

TEST_F(QELItemListTest, ReturnsFromPressBeforeWorkerEnds) {
    AddFailed(AnalysableItem("A"));
    CreateForPress();
    std::promise<void> press;
    const std::shared_future<void> pressReturned = press.get_future().share();
    std::atomic<bool> timedOut = false;
    const std::thread::id mainThread = std::this_thread::get_id();
    // Blocks the worker at its first log line until the press has returned.
    FakeLog::Observe([&](const LogLine&) {
        if (std::this_thread::get_id() != mainThread && !timedOut) {
            timedOut =
                pressReturned.wait_for(std::chrono::seconds(10)) != std::future_status::ready;
        }
    });
    Press(0);
    EXPECT_TRUE(IsVisible(QELPopupLoading::m_Popup));
    EXPECT_TRUE(elm_object_disabled_get(QELPopupLoading::m_Button));
    EXPECT_TRUE(QELPopupLoading::m_IsRunning);
    press.set_value();
    EXPECT_TRUE(WaitUntilPopupStops());
    FakeLog::Observe(nullptr);
    EXPECT_FALSE(timedOut);
    EXPECT_TRUE(QELAnalysisData::GetInstance()->GetExcutedByUser(0));
}

TEST_F(QELItemListTest, AnalysesPressedItemAndReportsCompletion) {
    AddFailed(AnalysableItem("A"));
    AddFailed(AnalysableItem("B"));
    CreateForPress();
    Press(1);
    ASSERT_TRUE(WaitUntilPopupStops());
    EXPECT_FALSE(QELAnalysisData::GetInstance()->GetExcutedByUser(0));
    EXPECT_TRUE(QELAnalysisData::GetInstance()->GetExcutedByUser(1));
    EXPECT_EQ(QELAnalysisData::GetInstance()->GetAnalysisData(1), "\n1000\t1500\tB(1)\n\n");
    EXPECT_EQ(TextOf(QELPopupLoading::m_PopupLabel),
              kPopupContentPrefix + "Analysis is completed.");
}

TEST_F(QELItemListTest, ShowsNoPopupForRejectedItem) {
    AddFailed(ItemOfType("rnsc", "A"));
    CreateForPress();
    Press(0);
    EXPECT_FALSE(IsVisible(QELPopupLoading::m_Popup));
    EXPECT_FALSE(QELPopupLoading::m_IsRunning);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("an Item is pressed.", kItemListSource, "OnPress"),
                            ErrorLine("not able to analyze RNSC test item", "QELAnalysisData.cpp"),
                            ErrorLine("this Item is invalid", kItemListSource, "OnPress")));
}

TEST_F(QELItemListTest, RejectsPressOfAnalysedItem) {
    AddFailed(AnalysableItem("A"));
    CreateForPress();
    Press(0);
    ASSERT_TRUE(WaitUntilPopupStops());
    FakeLog::Clear();
    Press(0);
    EXPECT_THAT(FakeLog::ErrorMessages(),
                ElementsAre("m_IsExecutedByUser have true value", "this Item is invalid"));
    EXPECT_EQ(QELPopupLoading::m_Timer, nullptr);
}

TEST_F(QELItemListTest, RejectsPressWithoutRow) {
    AddFailed(AnalysableItem("A"));
    CreateForPress();
    QELItemList::OnPress(&ad, ad.itemList, nullptr);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("an Item is pressed.", kItemListSource, "OnPress"),
                            ErrorLine("Elm_Object_Item is NULL", kItemListSource, "OnPress")));
}

TEST_F(QELItemListTest, RejectsPressWithoutPopup) {
    AddFailed(AnalysableItem("A"));
    Create();
    FakeLog::Clear();
    const FailingNew failing(1);
    Press(0);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("an Item is pressed.", kItemListSource, "OnPress"),
                            ErrorLine("popupLoading is NULL", kItemListSource, "OnPress")));
}

TEST_F(QELItemListTest, IgnoresPressWithoutAnalysisData) {
    AddFailed(AnalysableItem("A"));
    QELPopupLoading::GetInstance()->Create(&ad);
    Create();
    const std::vector<Elm_Object_Item*> rows = {Row(0), nullptr};
    for (Elm_Object_Item* row : rows) {
        FakeLog::Clear();
        const FailingNew failing(1);
        QELItemList::OnPress(&ad, ad.itemList, row);
        EXPECT_TRUE(failing.HasFailed());
        EXPECT_FALSE(IsVisible(QELPopupLoading::m_Popup));
        EXPECT_THAT(FakeLog::Lines(),
                    ElementsAre(InfoLine("an Item is pressed.", kItemListSource, "OnPress")));
    }
}

TEST_F(QELItemListTest, ThrowsFromPressOnInvalidCode) {
    ResultItem item = AnalysableItem("A");
    item["opcode"] = "xyz";
    AddFailed(item);
    item["opcode"] = "80000000";
    AddFailed(item);
    CreateForPress();
    EXPECT_THROW(Press(0), std::invalid_argument);
    EXPECT_THROW(Press(1), std::out_of_range);
    EXPECT_FALSE(IsVisible(QELPopupLoading::m_Popup));
}

TEST_F(QELItemListTest, ThrowsFromPressWhenWorkerCannotStart) {
    AddFailed(AnalysableItem("A"));
    CreateForPress();
    {
        const NoThreads noThreads;
        EXPECT_THROW(Press(0), std::system_error);
    }
    EXPECT_TRUE(QELPopupLoading::m_IsRunning);
    EXPECT_FALSE(QELAnalysisData::GetInstance()->GetExcutedByUser(0));
    QELPopupLoading::SetRunningFlag(false);
}

TEST_F(QELItemListTest, AnalysesFocusedRowOnOkKey) {
    AddFailed(ItemOfType("rnsc", "A"));
    AddFailed(AnalysableItem("B"));
    CreateForPress();
    Screen::Press(ad.win, "Down");
    Screen::Press(ad.win, "Return");
    EXPECT_TRUE(LoggedInfo("an Item is pressed.", kItemListSource));
    EXPECT_TRUE(elm_genlist_item_selected_get(Row(1)));
    ASSERT_TRUE(WaitUntilPopupStops());
    EXPECT_TRUE(QELAnalysisData::GetInstance()->GetExcutedByUser(1));
}

// The application accepts an item with a detailed text before it reads the codes. The worker reads
// the codes, and nothing catches its exception.
class QELItemListDeathTest : public QELItemListTest {};

TEST_F(QELItemListDeathTest, TerminatesProcessOnInvalidCodeInWorker) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ResultItem item = AnalysableItem("A");
    item["opcode"] = "xyz";
    item["detailed"] = "cable";
    AddFailed(item);
    CreateForPress();
    EXPECT_DEATH(
        {
            Press(0);
            WaitUntilPopupStops();
        },
        "std::invalid_argument");
}

// --- Tests of OnUnselect

TEST_F(QELItemListTest, SelectsUnselectedRowAgain) {
    AddFailed(ItemOfType("rnsc", "A"));
    Create();
    FakeLog::Clear();
    QELItemList::OnUnselect(&ad, ad.itemList, Row(0));
    EXPECT_TRUE(elm_genlist_item_selected_get(Row(0)));
    EXPECT_THAT(FakeLog::Lines().front(),
                InfoLine("an Item is unselected.", kItemListSource, "OnUnselect"));
}

TEST_F(QELItemListTest, RejectsUnselectWithoutRow) {
    QELItemList::OnUnselect(&ad, ad.itemList, nullptr);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("an Item is unselected.", kItemListSource, "OnUnselect"),
                            ErrorLine("Elm_Object_Item is NULL", kItemListSource, "OnUnselect")));
}

TEST_F(QELItemListTest, KeepsPressedRowSelectedAndHandlesSecondPress) {
    AddFailed(ItemOfType("rnsc", "A"));
    AddFailed(ItemOfType("rnsc", "B"));
    CreateForPress();
    evas_object_smart_callback_add(ad.itemList, "unselected", QELItemList::OnUnselect, &ad);
    Screen::Press(ad.win, "Return");
    Screen::Press(ad.win, "Return");
    EXPECT_TRUE(elm_genlist_item_selected_get(Row(0)));
    EXPECT_EQ(FakeLog::Count("an Item is pressed."), 2);
    EXPECT_EQ(FakeLog::Count("an Item is unselected."), 1);
    Screen::Press(ad.win, "Down");
    Screen::Press(ad.win, "Return");
    EXPECT_TRUE(elm_genlist_item_selected_get(Row(0)));
    EXPECT_TRUE(elm_genlist_item_selected_get(Row(1)));
}

// --- Tests of Destroy

TEST_F(QELItemListTest, DeletesListThenBackground) {
    AddFailed(ItemOfType("bt", "A"));
    Create();
    ToolkitCalls::Names names = Names();
    names.insert({m_List.m_bgItemList, "background"});
    FakeLog::Clear();
    ToolkitCalls::Start();
    m_List.Destroy(&ad);
    EXPECT_THAT(ToolkitCalls::Take(names),
                ElementsAre("evas_object_del(itemList)", "evas_object_del(background)"));
    EXPECT_EQ(ad.itemList, nullptr);
    EXPECT_EQ(m_List.m_bgItemList, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELItemListTest, DeletesNothingBeforeCreate) {
    ExpectNothingToDestroy(m_List);
}

TEST_F(QELItemListTest, RejectsDestroyWithoutAppData) {
    Create();
    ExpectRecordIsNeeded(m_List, &QELItemList::Destroy, "Destroy", kItemListSource);
    EXPECT_NE(m_List.m_bgItemList, nullptr);
}

}  // namespace
