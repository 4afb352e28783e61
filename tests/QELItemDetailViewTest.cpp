#include "QELItemDetailView.h"

#include <Elementary.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "QELAnalysisData.h"
#include "QELItemList.h"
#include "fakes/FailingNew.h"
#include "fixtures/ScreenTest.h"
#include "fixtures/Singletons.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const char* const kItemDetailViewSource = "QELItemDetailView.cpp";
const std::string kResultPrefix = "<align=left left_margin=20 wrap=char font_size=15>";
const std::string kRedPrefix = "<align=left left_margin=20 wrap=char font_size=15 color=#FF0000>";
const std::string kOrangePrefix =
    "<align=left left_margin=20 wrap=char font_size=15 color=#FF8000>";

// The toolkit's default theme draws light text on a dark background.
bool IsLight(const Colour& colour) {
    return colour.red > 110 && colour.green > 110 && colour.blue > 110;
}

class QELItemDetailViewTest : public ScreenTest {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        OpenRecordedWindow();
    }

    void Create() {
        m_View.Create(&ad);
        Screen::ProcessEvents(ad.win);
    }

    // Creates the list, the view and the analysis data. Connects the focus event as QELWindow does.
    void CreateWithList() {
        m_List.Create(&ad);
        Create();
        evas_object_smart_callback_add(ad.itemList, "item,focused", QELItemDetailView::UpdateText,
                                       &ad);
        QELAnalysisData::GetInstance();
        FakeLog::Clear();
        ToolkitCalls::Start();
    }

    void Update(unsigned int index) { QELItemDetailView::UpdateText(&ad, ad.itemList, Row(index)); }

    std::string Text() const { return TextOf(ad.detailLabel); }
    static int PanelAlpha() {
        return Screen::ColourOf(QELItemDetailView::m_bgItemDetailView).back();
    }

    QELItemDetailView m_View;
    QELItemList m_List;
};

// --- Tests of Create

TEST_F(QELItemDetailViewTest, ClearsBothMembersOnConstruction) {
    QELItemDetailView::m_bgItemDetailView = evas_object_rectangle_add(evas_object_evas_get(ad.win));
    const QELItemDetailView view;
    EXPECT_EQ(view.m_scrollerItemDetailView, nullptr);
    EXPECT_EQ(QELItemDetailView::m_bgItemDetailView, nullptr);
}

TEST_F(QELItemDetailViewTest, RejectsCreateWithoutAppData) {
    ExpectRecordIsNeeded(m_View, &QELItemDetailView::Create, "Create", kItemDetailViewSource);
    EXPECT_EQ(m_View.m_scrollerItemDetailView, nullptr);
}

TEST_F(QELItemDetailViewTest, CreatesAndPlacesWidgetsInOrder) {
    m_View.Create(&ad);
    ToolkitCalls::Names names = Names();
    names.insert({{QELItemDetailView::m_bgItemDetailView, "background"},
                  {m_View.m_scrollerItemDetailView, "scroller"}});
    EXPECT_THAT(ToolkitCalls::Take(names),
                ElementsAre("evas_object_rectangle_add(background, canvas)",         //
                            "evas_object_color_set(background, 255, 255, 255, 20)",  //
                            "elm_scroller_add(scroller, table)",
                            "elm_scroller_step_size_set(scroller, 0, 100)",                     //
                            "elm_label_add(detailLabel, scroller)",                             //
                            "evas_object_show(background)",                                     //
                            "elm_table_pack(table, background, 1, 3, 2, 4)",                    //
                            "evas_object_show(detailLabel)",                                    //
                            "evas_object_show(scroller)",                                       //
                            "elm_table_pack(table, scroller, 1, 3, 2, 4)",                      //
                            "elm_object_part_content_set(scroller, \"default\", detailLabel)",  //
                            "elm_object_focus_allow_set(detailLabel, 1)"));
}

TEST_F(QELItemDetailViewTest, SetsHintBeforeShowingWidgets) {
    int shown = -1;
    ToolkitCalls::OnCall("elm_object_part_text_set",
                         [&shown] { shown = ToolkitCalls::Count("evas_object_show"); });
    m_View.Create(&ad);
    EXPECT_EQ(shown, 0);
}

TEST_F(QELItemDetailViewTest, LogsLocationErrorOfLabelOnCreate) {
    Create();
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("there is no information about table location",
                                      kItemDetailViewSource, "m_Show"),
                            InfoLine("done Create", kItemDetailViewSource, "Create")));
}

TEST_F(QELItemDetailViewTest, PlacesFocusableLabelInScroller) {
    Create();
    EXPECT_EQ(elm_object_content_get(m_View.m_scrollerItemDetailView), ad.detailLabel);
    EXPECT_FALSE(Screen::IsPacked(ad.table, ad.detailLabel));
    EXPECT_TRUE(IsVisible(ad.detailLabel));
    EXPECT_TRUE(elm_object_focus_allow_get(ad.detailLabel));
    EXPECT_TRUE(elm_label_ellipsis_get(ad.detailLabel));
    EXPECT_STREQ(elm_object_style_get(ad.detailLabel), "slide_short");
    double x = 0;
    double y = 0;
    evas_object_size_hint_weight_get(ad.detailLabel, &x, &y);
    EXPECT_DOUBLE_EQ(x, 1.0);
    EXPECT_DOUBLE_EQ(y, 1.0);
}

TEST_F(QELItemDetailViewTest, SetsScrollerStyle) {
    Create();
    EXPECT_STREQ(elm_object_style_get(m_View.m_scrollerItemDetailView), "c_scrollbar_list");
}

TEST_F(QELItemDetailViewTest, PlacesScrollerOverBackgroundInSameCell) {
    Create();
    Evas_Object* background = QELItemDetailView::m_bgItemDetailView;
    EXPECT_EQ(Screen::CellOf(background), (Cell{1, 3, 2, 4}));
    EXPECT_EQ(Screen::CellOf(m_View.m_scrollerItemDetailView), (Cell{1, 3, 2, 4}));
    EXPECT_EQ(Screen::AreaOf(background), Screen::AreaOf(m_View.m_scrollerItemDetailView));
    EXPECT_THAT(Screen::PackedIn(ad.table),
                ElementsAre(background, m_View.m_scrollerItemDetailView));
    EXPECT_THAT(Screen::ColourOf(background), ElementsAre(20, 20, 20, 20));
}

TEST_F(QELItemDetailViewTest, ShowsButDoesNotPlaceObjectAtOtherLocations) {
    Create();
    ExpectShownButNotPlaced(m_View, {0, 1, 2, 3, 4, 5, 7, 8, 9}, kItemDetailViewSource);
}

TEST_F(QELItemDetailViewTest, ScrollsLongTextByOneStep) {
    ResultItem item = ItemOfType("rnsc", "A");
    for (int i = 0; i < 200; ++i) {
        item["detailed"] += "line;";
    }
    AddFailed(item);
    CreateWithList();
    Update(0);
    Screen::ProcessEvents(ad.win);
    elm_object_focus_set(ad.detailLabel, EINA_TRUE);
    Screen::Press(ad.win, "Down");
    const auto scrolled = [this] {
        int y = 0;
        elm_scroller_region_get(m_View.m_scrollerItemDetailView, nullptr, &y, nullptr, nullptr);
        return y;
    };
    EXPECT_TRUE(Screen::PumpUntil([&scrolled] { return scrolled() == 100; })) << scrolled();
}

// --- Tests of the hints

TEST_F(QELItemDetailViewTest, ShowsHintWithoutFailedItems) {
    AddPassed(ItemOfType("bt", "passed"));
    Create();
    EXPECT_EQ(Text(),
              "<align=center font_size=20 color=#CCCCCC><b>There is no failed production history."
              "</align></font_size></color>");
}

TEST_F(QELItemDetailViewTest, ShowsHintBeforeRowIsFocused) {
    AddFailed(ItemOfType("bt", "A"));
    Create();
    EXPECT_EQ(Text(),
              "<align=center font_size=20 color=#CCCCCC><b>"
              "Please choose items by pressing Up/Down keys.</align></font_size></color>");
}

TEST_F(QELItemDetailViewTest, CentresHintInPanel) {
    AddFailed(ItemOfType("bt", "A"));
    Create();
    const Picture picture = Screen::Render(ad.win);
    const Area panel = Screen::AreaOf(QELItemDetailView::m_bgItemDetailView);
    const Area leftHalf{panel.x, panel.y, panel.width / 2, panel.height};
    const Area rightHalf{panel.x + panel.width / 2, panel.y, panel.width / 2, panel.height};
    const int left = picture.Count(leftHalf, IsLight);
    const int right = picture.Count(rightHalf, IsLight);
    EXPECT_GT(left, 100);
    EXPECT_GT(right, 100);
    EXPECT_LT(std::abs(left - right), left / 2);
}

// --- Tests of the result text

TEST_F(QELItemDetailViewTest, ShowsItemTextOfBtItem) {
    ResultItem item = ItemOfType("bt", "A");
    item["connection"] = "paired";
    item["duration"] = "3";
    item["detailed"] = "not shown here";
    AddFailed(item);
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), kResultPrefix + "type=bt<br/>connection=paired<br/>duration=3<br/><br/>" +
                          kOrangePrefix);
    EXPECT_TRUE(IsVisible(ad.detailLabel));
}

TEST_F(QELItemDetailViewTest, ShowsDetailedTextOfRnscItem) {
    ResultItem item = ItemOfType("rnsc", "A");
    item["detailed"] = "one;two^three";
    AddFailed(item);
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), kResultPrefix + "one<br/>two<br/><br/>three<br/>" + kOrangePrefix);
}

TEST_F(QELItemDetailViewTest, ShowsOnlyPrefixesForRnscItemWithoutDetailedText) {
    AddFailed(ItemOfType("rnsc", "A"));
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), kResultPrefix + kOrangePrefix);
}

TEST_F(QELItemDetailViewTest, ShowsItemTextOfUnknownType) {
    AddFailed({{"type", "printer"}, {"spec", "S"}});
    AddFailed({{"measure", "M"}});
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), kResultPrefix + "type=printer<br/>spec=S<br/><br/>" + kOrangePrefix);
    Update(1);
    EXPECT_EQ(Text(), kResultPrefix + "measure=M<br/><br/>" + kOrangePrefix);
}

TEST_F(QELItemDetailViewTest, HidesLabelAndKeepsPanelForImageItem) {
    ResultItem item = ItemOfType("image", "A");
    item["detailed"] = "/some/photo.png";
    AddFailed(item);
    AddFailed(ItemOfType("bt", "B"));
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), kResultPrefix + kOrangePrefix);
    EXPECT_FALSE(IsVisible(ad.detailLabel));
    EXPECT_TRUE(IsVisible(QELItemDetailView::m_bgItemDetailView));
    EXPECT_TRUE(IsVisible(m_View.m_scrollerItemDetailView));
    Update(1);
    EXPECT_TRUE(IsVisible(ad.detailLabel));
}

TEST_F(QELItemDetailViewTest, EscapesMarkupInDetailText) {
    ResultItem item = ItemOfType("rnsc", "A");
    item["detailed"] = "<b>x</b> & y\nz";
    AddFailed(item);
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), kResultPrefix + "&lt;b&gt;x&lt;/b&gt; &amp; y<br/>z<br/>" + kOrangePrefix);
}

// --- Tests of the analysis text

TEST_F(QELItemDetailViewTest, ShowsNoRedTextBeforeAnalysis) {
    ResultItem item = AnalysableItem("A");
    item["detailed"] = "cable";
    item["reason"] = "noise";
    AddFailed(item);
    CreateWithList();
    Update(0);
    EXPECT_THAT(Text(), Not(testing::HasSubstr(kRedPrefix)));
    EXPECT_THAT(Text(), testing::EndsWith(kOrangePrefix));
}

TEST_F(QELItemDetailViewTest, ShowsRedTextsAndConflictsAfterAnalysis) {
    ResultItem item = AnalysableItem("A");
    item["detailed"] = "cable;loose";
    item["reason"] = "noise & <more>";
    AddFailed(item);
    CreateWithList();
    QELAnalysisData::GetInstance()->SetAnalysisData(0, "\n1\t2\tA(1)\n\n");
    Update(0);
    EXPECT_EQ(Text(), kResultPrefix + "type=app<br/>duration=500<br/><br/>" +  //
                          kRedPrefix + "cable<br/>loose<br/>" +                //
                          kRedPrefix + "noise &amp; &lt;more&gt;<br/>" +       //
                          kOrangePrefix + "<br/>1<tab/>2<tab/>A(1)<br/><br/>");
}

TEST_F(QELItemDetailViewTest, OmitsEmptyRedTexts) {
    ResultItem item = AnalysableItem("A");
    item["detailed"] = "";
    AddFailed(item);
    item["reason"] = "noise";
    AddFailed(item);
    CreateWithList();
    QELAnalysisData::GetInstance()->SetAnalysisData(0, "x");
    QELAnalysisData::GetInstance()->SetAnalysisData(1, "");
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(0), kOrangePrefix + "x");
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(1),
              kRedPrefix + "noise<br/>" + kOrangePrefix);
}

TEST_F(QELItemDetailViewTest, ReadsAnalysisFlagOncePerRedText) {
    ResultItem item = ItemOfType("bt", "A");
    AddFailed(item);
    CreateWithList();
    // The analysis data has no flag for an item that is added later. Each read of the flag logs an
    // error.
    item["detailed"] = "d";
    item["reason"] = "r";
    AddFailed(item);
    QELItemDetailView::m_GetMarkupAnalyzeText(1);
    EXPECT_EQ(FakeLog::Count("index is out of range."), 2);
}

TEST_F(QELItemDetailViewTest, DrawsRedAndOrangeTextsAfterAnalysis) {
    ResultItem item = AnalysableItem("A");
    item["detailed"] = "MMMMMMMMMMMM";
    AddFailed(item);
    CreateWithList();
    Update(0);
    const Area panel = Screen::AreaOf(QELItemDetailView::m_bgItemDetailView);
    const Picture before = Screen::Render(ad.win);
    EXPECT_GT(before.Count(panel, IsLight), 50);
    EXPECT_EQ(before.Count(panel, IsRed), 0);
    EXPECT_EQ(before.Count(panel, IsOrange), 0);

    QELAnalysisData::GetInstance()->SetAnalysisData(0, "\nMMMMMMMMMMMM\n\n");
    Update(0);
    const Picture after = Screen::Render(ad.win);
    EXPECT_GT(after.Count(panel, IsLight), 50);
    EXPECT_GT(after.Count(panel, IsRed), 50);
    EXPECT_GT(after.Count(panel, IsOrange), 50);
}

TEST_F(QELItemDetailViewTest, LogsResultTextAndAnalysisText) {
    AddFailed({{"type", "bt"}});
    CreateWithList();
    Update(0);
    EXPECT_THAT(
        FakeLog::Infos(),
        ElementsAre(InfoLine("index : 0, resultSize : 1", kItemDetailViewSource, "UpdateText"),
                    InfoLine("strMarkupForResultText : " + kResultPrefix + "type=bt<br/><br/>",
                             kItemDetailViewSource, "m_GetMarkupResultText"),
                    InfoLine("strReturnText : " + kOrangePrefix, kItemDetailViewSource,
                             "m_GetMarkupAnalyzeText")));
}

TEST_F(QELItemDetailViewTest, ReturnsPrefixesForIndexOutOfRange) {
    EXPECT_EQ(QELItemDetailView::m_GetMarkupResultText(7), kResultPrefix);
    FakeLog::Clear();
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(7), kOrangePrefix);
    // The application reads "detailed", "reason" and the item text. The item text is not used.
    EXPECT_EQ(FakeLog::Count("Invalid ID[7]!! m_resultFailData.size[0]\n"), 3);
}

// --- Tests without result store or analysis data

class QELItemDetailViewStoreTest : public ScreenTest {};

TEST_F(QELItemDetailViewStoreTest, ReturnsEmptyResultTextWithoutResultStore) {
    const FailingNew failing(1);
    EXPECT_EQ(QELItemDetailView::m_GetMarkupResultText(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine("failed to get QELXmlParser instance.", kItemDetailViewSource,
                                      "m_GetMarkupResultText")));
}

TEST_F(QELItemDetailViewStoreTest, ReturnsEmptyAnalysisTextWithoutAnalysisData) {
    QELXmlParser::GetInstance();
    const FailingNew failing(1);
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get QELAnalysisData instance.",
                                      kItemDetailViewSource, "m_GetMarkupAnalyzeText")));
}

// Only the first allocation fails, so the error line names the singleton that is requested first.
TEST_F(QELItemDetailViewStoreTest, ChecksAnalysisDataBeforeResultStore) {
    const FailingNew failing(1);
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("failed to get QELAnalysisData instance.",
                                      kItemDetailViewSource, "m_GetMarkupAnalyzeText")));
}

TEST_F(QELItemDetailViewStoreTest, ReturnsEmptyAnalysisTextWithoutResultStore) {
    QELAnalysisData::GetInstance();
    singletons::ResetResultStore();
    FakeLog::Clear();
    const FailingNew failing(1);
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine("failed to get QELXmlParser instance.", kItemDetailViewSource,
                                      "m_GetMarkupAnalyzeText")));
}

TEST_F(QELItemDetailViewStoreTest, KeepsLabelTextWithoutResultStore) {
    OpenWindow();
    ad.detailLabel = elm_label_add(ad.table);
    elm_object_text_set(ad.detailLabel, "before");
    QELItemDetailView view;
    const FailingNew failing(1);
    view.m_SetText(&ad, ad.detailLabel);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(TextOf(ad.detailLabel), "before");
}

TEST_F(QELItemDetailViewStoreTest, IgnoresUpdateWithoutResultStore) {
    const FailingNew failing(1);
    QELItemDetailView::UpdateText(&ad, nullptr, nullptr);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp")));
}

// --- Tests of UpdateText on the focus of a row

TEST_F(QELItemDetailViewTest, ReplacesTextWhenRowFocusMoves) {
    AddFailed({{"type", "bt"}});
    AddFailed({{"type", "wifi"}});
    CreateWithList();
    Screen::Press(ad.win, "Down");
    EXPECT_EQ(Text(), kResultPrefix + "type=wifi<br/><br/>" + kOrangePrefix);
    Screen::Press(ad.win, "Up");
    EXPECT_EQ(Text(), kResultPrefix + "type=bt<br/><br/>" + kOrangePrefix);
}

TEST_F(QELItemDetailViewTest, ShowsNewAnalysisOnNextRowFocus) {
    AddFailed({{"type", "bt"}});
    AddFailed({{"type", "wifi"}});
    CreateWithList();
    Screen::Press(ad.win, "Down");
    QELAnalysisData::GetInstance()->SetAnalysisData(1, "found");
    Screen::ProcessEvents(ad.win);
    EXPECT_THAT(Text(), Not(testing::HasSubstr("found")));
    Screen::Press(ad.win, "Up");
    Screen::Press(ad.win, "Down");
    EXPECT_THAT(Text(), testing::EndsWith(kOrangePrefix + "found"));
}

TEST_F(QELItemDetailViewTest, IgnoresUpdateWithoutAppData) {
    QELItemDetailView::UpdateText(nullptr, nullptr, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELItemDetailViewTest, IgnoresRowWithoutFailedItem) {
    AddFailed({{"type", "bt"}});
    AddFailed({{"type", "wifi"}});
    CreateWithList();
    const std::string before = Text();
    QELXmlParser::GetInstance()->m_resultFailData.resize(1);
    Update(1);
    EXPECT_EQ(Text(), before);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(InfoLine("index : 1, resultSize : 1",
                                                       kItemDetailViewSource, "UpdateText")));
}

// --- Tests of the keyboard focus

TEST_F(QELItemDetailViewTest, BrightensPanelOnFocusAndDimsItOnUnfocus) {
    Create();
    FakeLog::Clear();
    ToolkitCalls::Start();
    QELItemDetailView::OnFocus(&ad, ad.detailLabel, nullptr);
    EXPECT_EQ(PanelAlpha(), 50);
    QELItemDetailView::OnUnfocus(&ad, ad.detailLabel, nullptr);
    EXPECT_EQ(PanelAlpha(), 20);
    EXPECT_THAT(ToolkitCalls::Take({{QELItemDetailView::m_bgItemDetailView, "background"}}),
                ElementsAre("evas_object_color_set(background, 255, 255, 255, 50)",
                            "evas_object_color_set(background, 255, 255, 255, 20)"));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("OnFocus : ", kItemDetailViewSource, "OnFocus"),
                            InfoLine("OnUnfocus : ", kItemDetailViewSource, "OnUnfocus")));
}

TEST_F(QELItemDetailViewTest, DrawsBrighterPanelOnFocus) {
    Create();
    const Area panel = Screen::AreaOf(QELItemDetailView::m_bgItemDetailView);
    const Colour dim = Screen::Render(ad.win).At(panel.x + 2, panel.Bottom() - 2);
    QELItemDetailView::OnFocus(&ad, ad.detailLabel, nullptr);
    const Colour bright = Screen::Render(ad.win).At(panel.x + 2, panel.Bottom() - 2);
    EXPECT_GT(bright.red, dim.red);
}

TEST_F(QELItemDetailViewTest, RejectsFocusWithoutObject) {
    Create();
    FakeLog::Clear();
    QELItemDetailView::OnFocus(&ad, nullptr, nullptr);
    EXPECT_EQ(PanelAlpha(), 20);
    QELItemDetailView::OnFocus(&ad, ad.detailLabel, nullptr);
    QELItemDetailView::OnUnfocus(&ad, nullptr, nullptr);
    EXPECT_EQ(PanelAlpha(), 50);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Evas_Object is NULL", kItemDetailViewSource, "OnFocus"),
                            InfoLine("OnFocus : ", kItemDetailViewSource, "OnFocus"),
                            ErrorLine("Evas_Object is NULL", kItemDetailViewSource, "OnUnfocus")));
}

// --- Tests of Destroy

TEST_F(QELItemDetailViewTest, DeletesWidgetsInOrder) {
    Create();
    ToolkitCalls::Names names = Names();
    names.insert({{QELItemDetailView::m_bgItemDetailView, "background"},
                  {m_View.m_scrollerItemDetailView, "scroller"}});
    FakeLog::Clear();
    ToolkitCalls::Start();
    m_View.Destroy(&ad);
    EXPECT_THAT(ToolkitCalls::Take(names),
                ElementsAre("evas_object_del(detailLabel)", "evas_object_del(background)",
                            "evas_object_del(scroller)"));
    EXPECT_EQ(ad.detailLabel, nullptr);
    EXPECT_EQ(QELItemDetailView::m_bgItemDetailView, nullptr);
    EXPECT_EQ(m_View.m_scrollerItemDetailView, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELItemDetailViewTest, DeletesNothingBeforeCreate) {
    ExpectNothingToDestroy(m_View);
}

TEST_F(QELItemDetailViewTest, RejectsDestroyWithoutAppData) {
    Create();
    ExpectRecordIsNeeded(m_View, &QELItemDetailView::Destroy, "Destroy", kItemDetailViewSource);
    EXPECT_NE(m_View.m_scrollerItemDetailView, nullptr);
}

}  // namespace
