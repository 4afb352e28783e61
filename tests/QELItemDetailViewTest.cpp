#include "QELItemDetailView.h"

#include <Elementary.h>

#include <string>
#include <vector>

#include "QELAnalysisData.h"
#include "QELItemList.h"
#include "fakes/FailingNew.h"
#include "fixtures/ScreenTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const char* const SOURCE = "QELItemDetailView.cpp";
const std::string RESULT = "<align=left left_margin=20 wrap=char font_size=15>";
const std::string RED = "<align=left left_margin=20 wrap=char font_size=15 color=#FF0000>";
const std::string ORANGE = "<align=left left_margin=20 wrap=char font_size=15 color=#FF8000>";

bool IsRed(const Colour& colour) {
    return colour.red > 180 && colour.green < 80 && colour.blue < 80;
}

bool IsOrange(const Colour& colour) {
    return colour.red > 180 && colour.green > 90 && colour.green < 170 && colour.blue < 80;
}

// The text colour of the toolkit's own theme on its dark background.
bool IsLight(const Colour& colour) {
    return colour.red > 110 && colour.green > 110 && colour.blue > 110;
}

class QELItemDetailViewTest : public ScreenTest {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        OpenWindow();
        QELXmlParser::GetInstance();
        ToolkitCalls::Start();
        FakeLog::Clear();
    }

    void Create() {
        m_view.Create(&ad);
        Screen::Settle(ad.win);
    }

    // With the list, and the focus signal connected as the main window does it.
    void CreateWithList() {
        m_list.Create(&ad);
        Create();
        evas_object_smart_callback_add(ad.itemList, "item,focused", QELItemDetailView::UpdateText,
                                       &ad);
        QELAnalysisData::GetInstance();
        FakeLog::Clear();
        ToolkitCalls::Start();
    }

    void Update(unsigned int index) { QELItemDetailView::UpdateText(&ad, ad.itemList, Row(index)); }

    std::string Text() const { return TextOf(ad.detailLabel); }
    static int Alpha() { return Screen::ColourOf(QELItemDetailView::m_bgItemDetailView).back(); }

    QELItemDetailView m_view;
    QELItemList m_list;
};

// --- create

TEST_F(QELItemDetailViewTest, ConstructorClearsBothMembers) {
    QELItemDetailView::m_bgItemDetailView = evas_object_rectangle_add(evas_object_evas_get(ad.win));
    const QELItemDetailView view;
    EXPECT_EQ(view.m_scrollerItemDetailView, nullptr);
    EXPECT_EQ(QELItemDetailView::m_bgItemDetailView, nullptr);
}

TEST_F(QELItemDetailViewTest, CreateWithoutRecordDoesNothing) {
    ExpectRecordIsNeeded(m_view, &QELItemDetailView::Create, "Create", SOURCE);
    EXPECT_EQ(m_view.m_scrollerItemDetailView, nullptr);
}

TEST_F(QELItemDetailViewTest, CreateBuildsAndPlacesInThisOrder) {
    m_view.Create(&ad);
    ToolkitCalls::Names names = Names();
    names.insert({{QELItemDetailView::m_bgItemDetailView, "background"},
                  {m_view.m_scrollerItemDetailView, "scroller"}});
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

TEST_F(QELItemDetailViewTest, HintIsSetBeforeAnythingIsShown) {
    int shown = -1;
    ToolkitCalls::OnCall("elm_object_part_text_set",
                         [&shown] { shown = ToolkitCalls::Count("evas_object_show"); });
    m_view.Create(&ad);
    EXPECT_EQ(shown, 0);
}

TEST_F(QELItemDetailViewTest, EveryStartWritesTheLocationErrorOfTheLabel) {
    Create();
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(ErrorLine("there is no information about table location", SOURCE, "m_Show"),
                    InfoLine("done Create", SOURCE, "Create")));
}

TEST_F(QELItemDetailViewTest, LabelLiesInTheScrollerAndTakesTheFocus) {
    Create();
    EXPECT_EQ(elm_object_content_get(m_view.m_scrollerItemDetailView), ad.detailLabel);
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

TEST_F(QELItemDetailViewTest, ScrollerHasItsStyle) {
    Create();
    EXPECT_STREQ(elm_object_style_get(m_view.m_scrollerItemDetailView), "c_scrollbar_list");
}

TEST_F(QELItemDetailViewTest, PanelLiesInItsCellOverItsBackground) {
    Create();
    Evas_Object* background = QELItemDetailView::m_bgItemDetailView;
    EXPECT_EQ(Screen::CellOf(background), (Cell{1, 3, 2, 4}));
    EXPECT_EQ(Screen::CellOf(m_view.m_scrollerItemDetailView), (Cell{1, 3, 2, 4}));
    EXPECT_EQ(Screen::AreaOf(background), Screen::AreaOf(m_view.m_scrollerItemDetailView));
    EXPECT_THAT(Screen::PackedIn(ad.table),
                ElementsAre(background, m_view.m_scrollerItemDetailView));
    EXPECT_THAT(Screen::ColourOf(background), ElementsAre(20, 20, 20, 20));
}

TEST_F(QELItemDetailViewTest, OtherLocationsAreShownButNotPlaced) {
    Create();
    ExpectShownButNotPlaced(m_view, {0, 1, 2, 3, 4, 5, 7, 8, 9}, SOURCE);
}

TEST_F(QELItemDetailViewTest, LongTextScrollsByItsStep) {
    ResultItem item = ItemOfType("rnsc", "A");
    for (int i = 0; i < 200; ++i) {
        item["detailed"] += "line;";
    }
    AddFailed(item);
    CreateWithList();
    Update(0);
    Screen::Settle(ad.win);
    elm_object_focus_set(ad.detailLabel, EINA_TRUE);
    Screen::Press(ad.win, "Down");
    const auto scrolled = [this] {
        int y = 0;
        elm_scroller_region_get(m_view.m_scrollerItemDetailView, nullptr, &y, nullptr, nullptr);
        return y;
    };
    EXPECT_TRUE(Screen::PumpUntil([&scrolled] { return scrolled() == 100; })) << scrolled();
}

// --- hints

TEST_F(QELItemDetailViewTest, HintWithoutFailedItems) {
    AddPassed(ItemOfType("bt", "passed"));
    Create();
    EXPECT_EQ(Text(),
              "<align=center font_size=20 color=#CCCCCC><b>There is no failed production history."
              "</align></font_size></color>");
}

TEST_F(QELItemDetailViewTest, HintBeforeARowIsFocused) {
    AddFailed(ItemOfType("bt", "A"));
    Create();
    EXPECT_EQ(Text(),
              "<align=center font_size=20 color=#CCCCCC><b>"
              "Please choose items by pressing Up/Down keys.</align></font_size></color>");
}

TEST_F(QELItemDetailViewTest, HintIsSeenCentredInThePanel) {
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

// --- the result's own text

TEST_F(QELItemDetailViewTest, BtItemShowsItsWholeText) {
    ResultItem item = ItemOfType("bt", "A");
    item["connection"] = "paired";
    item["duration"] = "3";
    item["detailed"] = "not shown here";
    AddFailed(item);
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), RESULT + "type=bt<br/>connection=paired<br/>duration=3<br/><br/>" + ORANGE);
    EXPECT_TRUE(IsVisible(ad.detailLabel));
}

TEST_F(QELItemDetailViewTest, RnscItemShowsItsDetailedText) {
    ResultItem item = ItemOfType("rnsc", "A");
    item["detailed"] = "one;two^three";
    AddFailed(item);
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), RESULT + "one<br/>two<br/><br/>three<br/>" + ORANGE);
}

TEST_F(QELItemDetailViewTest, RnscItemWithoutDetailedTextShowsThePrefixes) {
    AddFailed(ItemOfType("rnsc", "A"));
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), RESULT + ORANGE);
}

TEST_F(QELItemDetailViewTest, UnknownTypeShowsTheWholeText) {
    AddFailed({{"type", "printer"}, {"spec", "S"}});
    AddFailed({{"measure", "M"}});
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), RESULT + "type=printer<br/>spec=S<br/><br/>" + ORANGE);
    Update(1);
    EXPECT_EQ(Text(), RESULT + "measure=M<br/><br/>" + ORANGE);
}

TEST_F(QELItemDetailViewTest, ImageItemHidesTheLabelButNotThePanel) {
    ResultItem item = ItemOfType("image", "A");
    item["detailed"] = "/some/photo.png";
    AddFailed(item);
    AddFailed(ItemOfType("bt", "B"));
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), RESULT + ORANGE);
    EXPECT_FALSE(IsVisible(ad.detailLabel));
    EXPECT_TRUE(IsVisible(QELItemDetailView::m_bgItemDetailView));
    EXPECT_TRUE(IsVisible(m_view.m_scrollerItemDetailView));
    Update(1);
    EXPECT_TRUE(IsVisible(ad.detailLabel));
}

TEST_F(QELItemDetailViewTest, MarkupCharactersOfTheDataAreShownLiterally) {
    ResultItem item = ItemOfType("rnsc", "A");
    item["detailed"] = "<b>x</b> & y\nz";
    AddFailed(item);
    CreateWithList();
    Update(0);
    EXPECT_EQ(Text(), RESULT + "&lt;b&gt;x&lt;/b&gt; &amp; y<br/>z<br/>" + ORANGE);
}

// --- the analysis

TEST_F(QELItemDetailViewTest, NoRedTextBeforeTheAnalysis) {
    ResultItem item = AnalysableItem("A");
    item["detailed"] = "cable";
    item["reason"] = "noise";
    AddFailed(item);
    CreateWithList();
    Update(0);
    EXPECT_THAT(Text(), Not(testing::HasSubstr(RED)));
    EXPECT_THAT(Text(), testing::EndsWith(ORANGE));
}

TEST_F(QELItemDetailViewTest, RedTextAndAnalysisAfterIt) {
    ResultItem item = AnalysableItem("A");
    item["detailed"] = "cable;loose";
    item["reason"] = "noise & <more>";
    AddFailed(item);
    CreateWithList();
    QELAnalysisData::GetInstance()->SetAnalysisData(0, "\n1\t2\tA(1)\n\n");
    Update(0);
    EXPECT_EQ(Text(), RESULT + "type=app<br/>duration=500<br/><br/>" +  //
                          RED + "cable<br/>loose<br/>" +                //
                          RED + "noise &amp; &lt;more&gt;<br/>" +       //
                          ORANGE + "<br/>1<tab/>2<tab/>A(1)<br/><br/>");
}

TEST_F(QELItemDetailViewTest, EmptyRedTextsAreLeftOut) {
    ResultItem item = AnalysableItem("A");
    item["detailed"] = "";
    AddFailed(item);
    item["reason"] = "noise";
    AddFailed(item);
    CreateWithList();
    QELAnalysisData::GetInstance()->SetAnalysisData(0, "x");
    QELAnalysisData::GetInstance()->SetAnalysisData(1, "");
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(0), ORANGE + "x");
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(1), RED + "noise<br/>" + ORANGE);
}

TEST_F(QELItemDetailViewTest, FlagIsAskedOnceForEachRedText) {
    ResultItem item = ItemOfType("bt", "A");
    AddFailed(item);
    CreateWithList();
    // One more item than the analysis store knows: its flag cannot be read.
    item["detailed"] = "d";
    item["reason"] = "r";
    AddFailed(item);
    QELItemDetailView::m_GetMarkupAnalyzeText(1);
    EXPECT_EQ(FakeLog::Count("index is out of range."), 2);
}

TEST_F(QELItemDetailViewTest, ColoursAreSeenInThePanel) {
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

TEST_F(QELItemDetailViewTest, TextsAreLogged) {
    AddFailed({{"type", "bt"}});
    CreateWithList();
    Update(0);
    EXPECT_THAT(
        FakeLog::Infos(),
        ElementsAre(InfoLine("index : 0, resultSize : 1", SOURCE, "UpdateText"),
                    InfoLine("strMarkupForResultText : " + RESULT + "type=bt<br/><br/>", SOURCE,
                             "m_GetMarkupResultText"),
                    InfoLine("strReturnText : " + ORANGE, SOURCE, "m_GetMarkupAnalyzeText")));
}

TEST_F(QELItemDetailViewTest, IndexBeyondTheStoreGivesThePrefixes) {
    EXPECT_EQ(QELItemDetailView::m_GetMarkupResultText(7), RESULT);
    FakeLog::Clear();
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(7), ORANGE);
    // Of "detailed", of "reason", and of the whole text, which is read and not used.
    EXPECT_EQ(FakeLog::Count("Invalid ID[7]!! m_resultFailData.size[0]\n"), 3);
}

// --- missing stores

class QELItemDetailViewStoreTest : public ScreenTest {};

TEST_F(QELItemDetailViewStoreTest, NoResultTextWithoutResultStore) {
    const FailingNew failing(1);
    EXPECT_EQ(QELItemDetailView::m_GetMarkupResultText(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine("failed to get QELXmlParser instance.", SOURCE,
                                      "m_GetMarkupResultText")));
}

TEST_F(QELItemDetailViewStoreTest, NoAnalysisTextWithoutAnalysisStore) {
    QELXmlParser::GetInstance();
    const FailingNew failing(1);
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("failed to get QELAnalysisData instance.",
                                                        SOURCE, "m_GetMarkupAnalyzeText")));
}

// Its own line is the only one: the result store is not asked for any more.
TEST_F(QELItemDetailViewStoreTest, AnalysisStoreIsAskedForFirst) {
    const FailingNew failing(1);
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Errors(), ElementsAre(ErrorLine("failed to get QELAnalysisData instance.",
                                                         SOURCE, "m_GetMarkupAnalyzeText")));
}

TEST_F(QELItemDetailViewStoreTest, NoAnalysisTextWithoutResultStore) {
    QELAnalysisData::GetInstance();
    delete QELXmlParser::m_qelXmlParser;
    QELXmlParser::m_qelXmlParser = nullptr;
    FakeLog::Clear();
    const FailingNew failing(1);
    EXPECT_EQ(QELItemDetailView::m_GetMarkupAnalyzeText(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine("failed to get QELXmlParser instance.", SOURCE,
                                      "m_GetMarkupAnalyzeText")));
}

TEST_F(QELItemDetailViewStoreTest, NoHintWithoutResultStore) {
    OpenWindow();
    ad.detailLabel = elm_label_add(ad.table);
    elm_object_text_set(ad.detailLabel, "before");
    QELItemDetailView view;
    const FailingNew failing(1);
    view.m_SetText(&ad, ad.detailLabel);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(TextOf(ad.detailLabel), "before");
}

TEST_F(QELItemDetailViewStoreTest, UpdateWithoutResultStoreIsSilent) {
    const FailingNew failing(1);
    QELItemDetailView::UpdateText(&ad, nullptr, nullptr);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp")));
}

// --- the focused row

TEST_F(QELItemDetailViewTest, MovingTheFocusReplacesTheText) {
    AddFailed({{"type", "bt"}});
    AddFailed({{"type", "wifi"}});
    CreateWithList();
    Screen::Press(ad.win, "Down");
    EXPECT_EQ(Text(), RESULT + "type=wifi<br/><br/>" + ORANGE);
    Screen::Press(ad.win, "Up");
    EXPECT_EQ(Text(), RESULT + "type=bt<br/><br/>" + ORANGE);
}

TEST_F(QELItemDetailViewTest, NewAnalysisShowsWhenTheFocusNextComes) {
    AddFailed({{"type", "bt"}});
    AddFailed({{"type", "wifi"}});
    CreateWithList();
    Screen::Press(ad.win, "Down");
    QELAnalysisData::GetInstance()->SetAnalysisData(1, "found");
    Screen::Settle(ad.win);
    EXPECT_THAT(Text(), Not(testing::HasSubstr("found")));
    Screen::Press(ad.win, "Up");
    Screen::Press(ad.win, "Down");
    EXPECT_THAT(Text(), testing::EndsWith(ORANGE + "found"));
}

TEST_F(QELItemDetailViewTest, UpdateWithoutRecordIsSilent) {
    QELItemDetailView::UpdateText(nullptr, nullptr, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELItemDetailViewTest, RowBeyondTheStoreChangesNothing) {
    AddFailed({{"type", "bt"}});
    AddFailed({{"type", "wifi"}});
    CreateWithList();
    const std::string before = Text();
    QELXmlParser::GetInstance()->m_resultFailData.resize(1);
    Update(1);
    EXPECT_EQ(Text(), before);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("index : 1, resultSize : 1", SOURCE, "UpdateText")));
}

// --- the keyboard focus

TEST_F(QELItemDetailViewTest, FocusBrightensAndDimsThePanel) {
    Create();
    FakeLog::Clear();
    ToolkitCalls::Start();
    QELItemDetailView::OnFocus(&ad, ad.detailLabel, nullptr);
    EXPECT_EQ(Alpha(), 50);
    QELItemDetailView::OnUnfocus(&ad, ad.detailLabel, nullptr);
    EXPECT_EQ(Alpha(), 20);
    EXPECT_THAT(ToolkitCalls::Take({{QELItemDetailView::m_bgItemDetailView, "background"}}),
                ElementsAre("evas_object_color_set(background, 255, 255, 255, 50)",
                            "evas_object_color_set(background, 255, 255, 255, 20)"));
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(InfoLine("OnFocus : ", SOURCE, "OnFocus"),
                                              InfoLine("OnUnfocus : ", SOURCE, "OnUnfocus")));
}

TEST_F(QELItemDetailViewTest, BrighterPanelIsSeen) {
    Create();
    const Area panel = Screen::AreaOf(QELItemDetailView::m_bgItemDetailView);
    const Colour dim = Screen::Render(ad.win).At(panel.x + 2, panel.Bottom() - 2);
    QELItemDetailView::OnFocus(&ad, ad.detailLabel, nullptr);
    const Colour bright = Screen::Render(ad.win).At(panel.x + 2, panel.Bottom() - 2);
    EXPECT_GT(bright.red, dim.red);
}

TEST_F(QELItemDetailViewTest, FocusWithoutObjectChangesNothing) {
    Create();
    FakeLog::Clear();
    QELItemDetailView::OnFocus(&ad, nullptr, nullptr);
    EXPECT_EQ(Alpha(), 20);
    QELItemDetailView::OnFocus(&ad, ad.detailLabel, nullptr);
    QELItemDetailView::OnUnfocus(&ad, nullptr, nullptr);
    EXPECT_EQ(Alpha(), 50);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Evas_Object is NULL", SOURCE, "OnFocus"),
                            InfoLine("OnFocus : ", SOURCE, "OnFocus"),
                            ErrorLine("Evas_Object is NULL", SOURCE, "OnUnfocus")));
}

// --- destroy

TEST_F(QELItemDetailViewTest, DestroyDeletesInThisOrder) {
    Create();
    ToolkitCalls::Names names = Names();
    names.insert({{QELItemDetailView::m_bgItemDetailView, "background"},
                  {m_view.m_scrollerItemDetailView, "scroller"}});
    FakeLog::Clear();
    ToolkitCalls::Start();
    m_view.Destroy(&ad);
    EXPECT_THAT(ToolkitCalls::Take(names),
                ElementsAre("evas_object_del(detailLabel)", "evas_object_del(background)",
                            "evas_object_del(scroller)"));
    EXPECT_EQ(ad.detailLabel, nullptr);
    EXPECT_EQ(QELItemDetailView::m_bgItemDetailView, nullptr);
    EXPECT_EQ(m_view.m_scrollerItemDetailView, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELItemDetailViewTest, DestroyBeforeCreateDeletesNothing) {
    ExpectNothingToDestroy(m_view);
}

TEST_F(QELItemDetailViewTest, DestroyWithoutRecordDoesNothing) {
    Create();
    ExpectRecordIsNeeded(m_view, &QELItemDetailView::Destroy, "Destroy", SOURCE);
    EXPECT_NE(m_view.m_scrollerItemDetailView, nullptr);
}

}  // namespace
