#include "QELItemView.h"

#include <Elementary.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "QELItemDetailView.h"
#include "QELItemList.h"
#include "fakes/FailingNew.h"
#include "fixtures/PrivateData.h"
#include "fixtures/ScreenTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kItemViewSource = "QELItemView.cpp";
const char* const kPrefixWithFontSize9 = "<align=left left_margin=20 wrap=char font_size=9>";
const char* const kMissingPhotoText =
    "<align=center font_size=20 color=#CCCCCC><b>There is no RNS result capture(photo) file."
    "</align></font_size></color>";

class QELItemViewTest : public ScreenTest {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        m_PhotoPath = PrivateData::Path("photo.png");
        Screen::WriteImage(m_PhotoPath, {250, 10, 10});
        OpenRecordedWindow();
    }

    void TearDown() override {
        m_View.Destroy(&ad);
        ScreenTest::TearDown();
    }

    void Create() {
        m_View.Create(&ad);
        Screen::ProcessEvents(ad.win);
    }

    // Creates the list and the view. Connects the focus event of the list as QELWindow does.
    void CreateWithList() {
        m_List.Create(&ad);
        Create();
        evas_object_smart_callback_add(ad.itemList, "item,focused", QELItemView::Update, &ad);
        FakeLog::Clear();
        ToolkitCalls::Start();
    }

    void Update(unsigned int index) { QELItemView::Update(&ad, ad.itemList, Row(index)); }

    static ResultItem ImageItem(const std::string& path) {
        ResultItem item = ItemOfType("image", "Photo");
        item["detailed"] = path;
        return item;
    }

    // Returns the text of the photo label. Renders first, because a cleared label keeps its old
    // text until the next frame. A label that never had a text contains a line break.
    std::string PhotoText() {
        Screen::Render(ad.win);
        const std::string text = TextOf(ad.itemLabel);
        return text == "<br>" ? "" : text;
    }

    void ExpectPhotoShown() const {
        EXPECT_TRUE(IsVisible(ad.itemLabel));
        EXPECT_TRUE(IsVisible(ad.itemImage));
        EXPECT_FALSE(IsVisible(ad.infoLabelLeft));
        EXPECT_FALSE(IsVisible(ad.infoLabelRight));
    }

    void ExpectInformationShown() const {
        EXPECT_FALSE(IsVisible(ad.itemLabel));
        EXPECT_FALSE(IsVisible(ad.itemImage));
        EXPECT_TRUE(IsVisible(ad.infoLabelLeft));
        EXPECT_TRUE(IsVisible(ad.infoLabelRight));
    }

    QELItemView m_View;
    QELItemList m_List;
    std::string m_PhotoPath;
};

// --- Tests of Create

TEST_F(QELItemViewTest, RejectsCreateWithoutAppData) {
    ExpectRecordIsNeeded(m_View, &QELItemView::Create, "Create", kItemViewSource);
    EXPECT_EQ(m_View.m_bgInfoViewLeft, nullptr);
    EXPECT_EQ(m_View.m_bgInfoViewRight, nullptr);
}

TEST_F(QELItemViewTest, CreatesAndPlacesWidgetsInOrder) {
    m_View.Create(&ad);
    ToolkitCalls::Names names = Names();
    names.insert({
        {m_View.m_bgInfoViewLeft, "leftRect"},
        {m_View.m_bgInfoViewRight, "rightRect"},
        {QELItemDetailView::m_bgItemDetailView, "detailRect"},
    });
    std::vector<std::string> calls = ToolkitCalls::Take(names);
    ASSERT_GT(calls.size(), 16U);
    calls.resize(16);
    EXPECT_THAT(calls, ElementsAre("evas_object_rectangle_add(leftRect, canvas)",        //
                                   "elm_label_add(infoLabelLeft, table)",                //
                                   "evas_object_rectangle_add(rightRect, canvas)",       //
                                   "elm_label_add(infoLabelRight, table)",               //
                                   "elm_label_add(itemLabel, table)",                    //
                                   "elm_image_add(itemImage, itemLabel)",                //
                                   "evas_object_show(itemLabel)",                        //
                                   "elm_table_pack(table, itemLabel, 1, 1, 2, 6)",       //
                                   "evas_object_show(infoLabelLeft)",                    //
                                   "elm_table_pack(table, infoLabelLeft, 1, 1, 1, 2)",   //
                                   "evas_object_show(infoLabelRight)",                   //
                                   "elm_table_pack(table, infoLabelRight, 2, 1, 1, 2)",  //
                                   "evas_object_show(itemImage)",                        //
                                   "elm_table_pack(table, itemImage, 1, 1, 2, 6)",       //
                                   "evas_object_hide(itemImage)",                        //
                                   "evas_object_rectangle_add(detailRect, canvas)"));
}

TEST_F(QELItemViewTest, CreatesDetailViewThenLogsDone) {
    Create();
    EXPECT_NE(m_View.m_itemDetailView, nullptr);
    EXPECT_NE(ad.detailLabel, nullptr);
    const std::vector<LogLine> lines = FakeLog::Lines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_THAT(lines[lines.size() - 2], InfoLine("done Create", "QELItemDetailView.cpp"));
    EXPECT_THAT(lines.back(), InfoLine("done Create", kItemViewSource, "Create"));
}

TEST_F(QELItemViewTest, ShowsPhotoWithoutDetailView) {
    AddFailed(ItemOfType("bt", "A"));
    AddFailed(ImageItem(m_PhotoPath));
    m_List.Create(&ad);
    FakeLog::Clear();
    {
        const FailingNew failing(1);
        m_View.Create(&ad);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_EQ(m_View.m_itemDetailView, nullptr);
    EXPECT_EQ(ad.detailLabel, nullptr);
    EXPECT_TRUE(LoggedError("QELItemDetailView is failed to create", kItemViewSource));
    EXPECT_EQ(FakeLog::Count("done Create"), 0);
    Update(1);
    ExpectPhotoShown();
}

TEST_F(QELItemViewTest, HidesOnlyPhotoAfterCreate) {
    Create();
    EXPECT_TRUE(IsVisible(ad.itemLabel));
    EXPECT_TRUE(IsVisible(ad.infoLabelLeft));
    EXPECT_TRUE(IsVisible(ad.infoLabelRight));
    EXPECT_FALSE(IsVisible(ad.itemImage));
}

TEST_F(QELItemViewTest, KeepsRectanglesHiddenUnplacedAndUncoloured) {
    AddFailed(ItemOfType("bt", "A"));
    CreateWithList();
    Update(0);
    for (Evas_Object* rectangle : {m_View.m_bgInfoViewLeft, m_View.m_bgInfoViewRight}) {
        ASSERT_NE(rectangle, nullptr);
        EXPECT_FALSE(IsVisible(rectangle));
        EXPECT_FALSE(Screen::IsPacked(ad.table, rectangle));
        EXPECT_THAT(Screen::ColourOf(rectangle), ElementsAre(255, 255, 255, 255));
    }
}

TEST_F(QELItemViewTest, PlacesInformationPanelsSideBySideAtTop) {
    Create();
    const Area left = Screen::AreaOf(ad.infoLabelLeft);
    const Area right = Screen::AreaOf(ad.infoLabelRight);
    EXPECT_EQ(Screen::CellOf(ad.infoLabelLeft), (Cell{1, 1, 1, 2}));
    EXPECT_EQ(Screen::CellOf(ad.infoLabelRight), (Cell{2, 1, 1, 2}));
    EXPECT_LE(left.Right(), right.x);
    EXPECT_EQ(left.y, right.y);
    EXPECT_TRUE(Screen::AreaOf(ad.itemLabel).Holds(left));
    EXPECT_TRUE(Screen::AreaOf(ad.itemLabel).Holds(right));
}

TEST_F(QELItemViewTest, SetsStyleAndEllipsisOfInformationPanels) {
    Create();
    for (const Evas_Object* label : {ad.infoLabelLeft, ad.infoLabelRight}) {
        EXPECT_STREQ(elm_object_style_get(label), "slide_short");
        EXPECT_TRUE(elm_label_ellipsis_get(label));
    }
}

// --- Tests of the placing of objects

TEST_F(QELItemViewTest, FillsEachOfItsCells) {
    Create();
    ExpectPlaced(m_View, TABLE_LOCATION_INFO_LEFT, {1, 1, 1, 2});
    ExpectPlaced(m_View, TABLE_LOCATION_INFO_RIGHT, {2, 1, 1, 2});
    ExpectPlaced(m_View, TABLE_LOCATION_ITEM_VIEW, {1, 1, 2, 6});
}

TEST_F(QELItemViewTest, ShowsButDoesNotPlaceObjectAtOtherLocations) {
    Create();
    ExpectShownButNotPlaced(m_View, {0, 1, 4, 6, 7, 8, 9}, kItemViewSource);
}

// --- Tests of the texts of the information panels

TEST_F(QELItemViewTest, ShowsSummaryThenNetworkInLeftPanel) {
    QELXmlParser* parser = QELXmlParser::GetInstance();
    parser->m_summaryStartTime = "10:00";
    parser->m_summaryDuration = "60";
    parser->m_summaryRetryCount = "2";
    parser->m_networkType = "wifi";
    parser->m_moduleElapsedTime = "7";
    Create();
    EXPECT_EQ(TextOf(ad.infoLabelLeft),
              std::string(kPrefixWithFontSize9) +
                  "starttime=10:00<br/>duration=60<br/>retrycount=2<br/>type=wifi<br/>"
                  "connection=<br/>pairing elapsed time=<br/>pairing end time=<br/>"
                  "module start time=<br/>module elapsed time=7<br/>");
}

TEST_F(QELItemViewTest, ShowsInformationInRightPanel) {
    QELXmlParser::GetInstance()->m_model = "M1";
    Create();
    EXPECT_EQ(TextOf(ad.infoLabelRight),
              "<align=left left_margin=20 wrap=char font_size=7>"
              "sn=<br/>model=M1<br/>option=<br/>mm=<br/>sm=<br/>ss=<br/>mt=<br/>bt=<br/>"
              "ld1=<br/>ld2=<br/>dnso=<br/>");
}

TEST_F(QELItemViewTest, EscapesMarkupInInformationPanels) {
    QELXmlParser::GetInstance()->m_model = "<b>M&1</b>";
    QELXmlParser::GetInstance()->m_networkType = "a<b&c";
    Create();
    EXPECT_THAT(TextOf(ad.infoLabelRight),
                testing::HasSubstr("model=&lt;b&gt;M&amp;1&lt;/b&gt;<br/>"));
    EXPECT_THAT(TextOf(ad.infoLabelLeft), testing::HasSubstr("type=a&lt;b&amp;c<br/>"));
}

TEST_F(QELItemViewTest, DrawsRightPanelTextAfterLeftMargin) {
    QELXmlParser::GetInstance()->m_model = "MMMMMMMM";
    Create();
    const auto isBright = [](const Colour& colour) { return colour.red > 150; };
    const Picture picture = Screen::Render(ad.win);
    const Area right = Screen::AreaOf(ad.infoLabelRight);
    EXPECT_GT(picture.Count(right, isBright), 20);
    EXPECT_EQ(picture.Count({right.x, right.y, 20, right.height}, isBright), 0);
}

TEST_F(QELItemViewTest, ShowsOnlyPrefixAtOtherLocations) {
    Create();
    for (const int location : {5, 0}) {
        FakeLog::Clear();
        m_View.m_SetTextCommonInfoView(ad.infoLabelLeft,
                                       static_cast<app_table_location_e>(location));
        EXPECT_EQ(TextOf(ad.infoLabelLeft), kPrefixWithFontSize9);
        EXPECT_THAT(FakeLog::Lines(),
                    ElementsAre(ErrorLine("there is no information about table location " +
                                              std::to_string(location),
                                          kItemViewSource, "m_SetTextCommonInfoView"),
                                InfoLine("newline is = 0", kItemViewSource, "m_GetFontSize")));
    }
}

class QELItemViewStoreTest : public ScreenTest {
protected:
    QELItemView m_View;
};

TEST_F(QELItemViewStoreTest, KeepsPanelTextWithoutResultStore) {
    OpenWindow();
    Evas_Object* label = elm_label_add(ad.table);
    elm_object_text_set(label, "before");
    const FailingNew failing(1);
    m_View.m_SetTextCommonInfoView(label, TABLE_LOCATION_INFO_LEFT);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(TextOf(label), "before");
    EXPECT_THAT(FakeLog::Lines().back(), ErrorLine("not able to get instance of xmlParser",
                                                   kItemViewSource, "m_SetTextCommonInfoView"));
}

TEST_F(QELItemViewStoreTest, KeepsPhotoLabelWithoutResultStore) {
    OpenWindow();
    ad.itemLabel = elm_label_add(ad.table);
    elm_object_text_set(ad.itemLabel, "before");
    const FailingNew failing(1);
    QELItemView::m_SetText(&ad, nullptr, "/no/photo");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(TextOf(ad.itemLabel), "before");
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp")));
}

TEST_F(QELItemViewStoreTest, IgnoresUpdateWithoutResultStore) {
    const FailingNew failing(1);
    QELItemView::Update(&ad, nullptr, nullptr);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp")));
}

// --- Tests of the font size

struct FontSize {
    int newlines;
    int size;
};

void PrintTo(const FontSize& font, std::ostream* out) {
    *out << font.newlines << " newlines";
}

class QELItemViewFontTest : public QELItemViewTest, public testing::WithParamInterface<FontSize> {};

TEST_P(QELItemViewFontTest, ReturnsSmallerFontForMoreLines) {
    const std::string text(static_cast<size_t>(GetParam().newlines), '\n');
    EXPECT_EQ(m_View.m_GetFontSize("a" + text + "b"), GetParam().size);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("newline is = " + std::to_string(GetParam().newlines),
                                     kItemViewSource, "m_GetFontSize")));
}

INSTANTIATE_TEST_SUITE_P(Lines, QELItemViewFontTest,
                         testing::Values(FontSize{0, 9}, FontSize{1, 9}, FontSize{9, 9},
                                         FontSize{10, 7}, FontSize{11, 7}, FontSize{12, 7},
                                         FontSize{13, 5}, FontSize{1000, 5}));

TEST_F(QELItemViewTest, CountsOnlyLineFeedsAsLineBreaks) {
    EXPECT_EQ(m_View.m_GetFontSize(std::string(20, '\r')), 9);
    EXPECT_EQ(m_View.m_GetFontSize(""), 9);
    EXPECT_THAT(FakeLog::Messages(), ElementsAre("newline is = 0", "newline is = 0"));
}

TEST_F(QELItemViewTest, ShrinksFontForLineFeedsInData) {
    // The panel text has nine line feeds of its own.
    const struct {
        int lineFeeds;
        const char* size;
    } texts[] = {
        {0, "font_size=9>"}, {1, "font_size=7>"}, {3, "font_size=7>"}, {4, "font_size=5>"}};
    Create();
    for (const auto& text : texts) {
        QELXmlParser::GetInstance()->m_networkType =
            std::string(static_cast<size_t>(text.lineFeeds), '\n');
        m_View.m_SetTextCommonInfoView(ad.infoLabelLeft, TABLE_LOCATION_INFO_LEFT);
        EXPECT_THAT(TextOf(ad.infoLabelLeft), testing::HasSubstr(text.size))
            << text.lineFeeds << " line feeds";
    }
}

// --- Tests of the photo and the information panels

TEST_F(QELItemViewTest, ShowsPhotoForImageItem) {
    AddFailed(ImageItem(m_PhotoPath));
    CreateWithList();
    Update(0);
    ExpectPhotoShown();
    EXPECT_EQ(Screen::FileOf(ad.itemImage), m_PhotoPath);
    EXPECT_EQ(PhotoText(), "");
    EXPECT_STREQ(elm_object_style_get(ad.itemLabel), "slide_short");
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("index : 0, resultSize : 1", kItemViewSource, "Update"),
                            InfoLine("jpg Filepath : " + m_PhotoPath, kItemViewSource, "Update")));
}

TEST_F(QELItemViewTest, SetsPhotoThenTextBeforeShowingThem) {
    AddFailed(ImageItem(m_PhotoPath));
    CreateWithList();
    std::vector<std::string> steps;
    ToolkitCalls::OnCall("elm_image_file_set", [&steps] {
        steps.push_back("file after " + std::to_string(ToolkitCalls::Count("evas_object_show")));
    });
    ToolkitCalls::OnCall("elm_object_part_text_set", [&steps] {
        steps.push_back("text after " + std::to_string(ToolkitCalls::Count("evas_object_show")));
    });
    Update(0);
    EXPECT_THAT(steps, ElementsAre("file after 0", "text after 0"));
    EXPECT_THAT(ToolkitCalls::Take(Names()),
                ElementsAre("evas_object_show(itemLabel)", "evas_object_show(itemImage)",
                            "evas_object_hide(infoLabelLeft)", "evas_object_hide(infoLabelRight)"));
}

TEST_F(QELItemViewTest, ShowsNoPhotoAndNoTextForFolderPath) {
    AddFailed(ImageItem(PrivateData::Path(".")));
    CreateWithList();
    Update(0);
    ExpectPhotoShown();
    EXPECT_EQ(PhotoText(), "");
    EXPECT_FALSE(Screen::HasPicture(ad.itemImage));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELItemViewTest, DrawsPhotoOverWholeItemView) {
    AddFailed(ImageItem(m_PhotoPath));
    CreateWithList();
    Update(0);
    const Area view = Screen::AreaOf(ad.itemLabel);
    EXPECT_EQ(Screen::AreaOf(ad.itemImage), view);
    // The photo is a square and keeps its aspect ratio. The toolkit can load the photo after the
    // first frame.
    EXPECT_TRUE(Screen::PumpUntil([&] {
        return Screen::Render(ad.win).Count(view, IsRed) > view.height * view.height * 9 / 10;
    }));
    EXPECT_EQ(Screen::Render(ad.win).Count({0, 0, view.x, Screen::kHeight}, IsRed), 0);
}

TEST_F(QELItemViewTest, ShowsGreyTextForMissingPhoto) {
    AddFailed(ImageItem("/no/such/photo.png"));
    CreateWithList();
    Update(0);
    ExpectPhotoShown();
    EXPECT_EQ(PhotoText(), kMissingPhotoText);
    EXPECT_FALSE(Screen::HasPicture(ad.itemImage));
    EXPECT_TRUE(LoggedInfo("jpg Filepath : /no/such/photo.png", kItemViewSource));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELItemViewTest, RemovesPreviousPhotoWhenNextPhotoIsMissing) {
    AddFailed(ImageItem(m_PhotoPath));
    AddFailed(ImageItem("/no/such/photo.png"));
    AddFailed(ImageItem(m_PhotoPath));
    CreateWithList();
    Update(0);
    ASSERT_TRUE(Screen::HasPicture(ad.itemImage));
    Update(1);
    EXPECT_FALSE(Screen::HasPicture(ad.itemImage));
    EXPECT_EQ(PhotoText(), kMissingPhotoText);
    Update(2);
    EXPECT_TRUE(Screen::HasPicture(ad.itemImage));
}

TEST_F(QELItemViewTest, ShowsNoPhotoAndNoTextForEmptyPath) {
    AddFailed(ImageItem(""));
    CreateWithList();
    Update(0);
    ExpectPhotoShown();
    EXPECT_EQ(PhotoText(), "");
    EXPECT_FALSE(Screen::HasPicture(ad.itemImage));
    EXPECT_TRUE(LoggedInfo("jpg Filepath : ", kItemViewSource));
}

TEST_F(QELItemViewTest, ShowsNoPhotoAndNoTextWithoutPath) {
    AddFailed(ItemOfType("image", "Photo"));
    CreateWithList();
    Update(0);
    ExpectPhotoShown();
    EXPECT_EQ(PhotoText(), "");
    // The application reads the path for the log line, for the image and for the label.
    EXPECT_EQ(FakeLog::Count("Invalid KEY[detailed]!!\n"), 3);
}

TEST_F(QELItemViewTest, ReplacesMissingPhotoTextWithPhoto) {
    AddFailed(ImageItem("/no/such/photo.png"));
    AddFailed(ImageItem(m_PhotoPath));
    CreateWithList();
    Update(0);
    Update(1);
    EXPECT_EQ(PhotoText(), "");
    EXPECT_TRUE(Screen::HasPicture(ad.itemImage));
    Update(0);
    EXPECT_EQ(PhotoText(), kMissingPhotoText);
}

class QELItemViewTypeTest : public QELItemViewTest,
                            public testing::WithParamInterface<const char*> {};

TEST_P(QELItemViewTypeTest, ShowsInformationForTypeWithoutPhoto) {
    AddFailed(ItemOfType(GetParam(), "A"));
    AddFailed(ImageItem(m_PhotoPath));
    CreateWithList();
    const std::string left = TextOf(ad.infoLabelLeft);
    const std::string right = TextOf(ad.infoLabelRight);
    Update(1);
    ExpectPhotoShown();
    FakeLog::Clear();
    Update(0);
    ExpectInformationShown();
    EXPECT_EQ(TextOf(ad.infoLabelLeft), left);
    EXPECT_EQ(TextOf(ad.infoLabelRight), right);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("index : 0, resultSize : 2", kItemViewSource, "Update")));
}

INSTANTIATE_TEST_SUITE_P(Types, QELItemViewTypeTest,
                         testing::Values("bt", "wifi", "app", "rnsc", "printer"));

TEST_F(QELItemViewTest, KeepsPanelTextsOnUpdate) {
    AddFailed(ItemOfType("bt", "A"));
    CreateWithList();
    const std::string before = TextOf(ad.infoLabelRight);
    QELXmlParser::GetInstance()->m_model = "later";
    Update(0);
    EXPECT_EQ(TextOf(ad.infoLabelRight), before);
}

TEST_F(QELItemViewTest, SwitchesPhotoAndInformationWithRowFocus) {
    AddFailed(ItemOfType("bt", "A"));
    AddFailed(ImageItem(m_PhotoPath));
    CreateWithList();
    Screen::Press(ad.win, "Down");
    ExpectPhotoShown();
    Screen::Press(ad.win, "Up");
    ExpectInformationShown();
}

TEST_F(QELItemViewTest, IgnoresUpdateWithoutAppData) {
    QELItemView::Update(nullptr, nullptr, nullptr);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
}

TEST_F(QELItemViewTest, IgnoresRowWithoutFailedItem) {
    AddFailed(ItemOfType("bt", "A"));
    AddFailed(ImageItem(m_PhotoPath));
    CreateWithList();
    QELXmlParser::GetInstance()->m_resultFailData.resize(1);
    Update(1);
    EXPECT_THAT(ToolkitCalls::Take({}), IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("index : 1, resultSize : 1", kItemViewSource, "Update")));
}

// --- Tests of Destroy

TEST_F(QELItemViewTest, DeletesWidgetsInOrder) {
    Create();
    ToolkitCalls::Names names = Names();
    names.insert({
        {m_View.m_bgInfoViewLeft, "leftRect"},
        {m_View.m_bgInfoViewRight, "rightRect"},
        {QELItemDetailView::m_bgItemDetailView, "detailRect"},
        {m_View.m_itemDetailView->m_scrollerItemDetailView, "scroller"},
    });
    FakeLog::Clear();
    ToolkitCalls::Start();
    m_View.Destroy(&ad);
    EXPECT_THAT(ToolkitCalls::Take(names),
                ElementsAre("evas_object_del(detailLabel)", "evas_object_del(detailRect)",
                            "evas_object_del(scroller)", "evas_object_del(itemLabel)",
                            "evas_object_del(itemImage)", "evas_object_del(infoLabelLeft)",
                            "evas_object_del(infoLabelRight)", "evas_object_del(leftRect)",
                            "evas_object_del(rightRect)"));
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELItemViewTest, ClearsFieldsAndMembersOnDestroy) {
    Create();
    m_View.Destroy(&ad);
    EXPECT_EQ(m_View.m_itemDetailView, nullptr);
    EXPECT_EQ(m_View.m_bgInfoViewLeft, nullptr);
    EXPECT_EQ(m_View.m_bgInfoViewRight, nullptr);
    EXPECT_EQ(ad.itemLabel, nullptr);
    EXPECT_EQ(ad.itemImage, nullptr);
    EXPECT_EQ(ad.infoLabelLeft, nullptr);
    EXPECT_EQ(ad.infoLabelRight, nullptr);
    EXPECT_EQ(ad.detailLabel, nullptr);
    EXPECT_NE(ad.table, nullptr);
}

TEST_F(QELItemViewTest, DeletesNothingBeforeCreate) {
    ExpectNothingToDestroy(m_View);
}

TEST_F(QELItemViewTest, RejectsDestroyWithoutAppData) {
    Create();
    ExpectRecordIsNeeded(m_View, &QELItemView::Destroy, "Destroy", kItemViewSource);
    EXPECT_NE(m_View.m_itemDetailView, nullptr);
}

}  // namespace
