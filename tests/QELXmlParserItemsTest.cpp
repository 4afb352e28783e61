// Tests how QELXmlParser stores items, and the queries for items.

#include <climits>
#include <string>
#include <thread>
#include <vector>

#include "QELXmlParser.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::string FormatInvalidIndexError(const std::string& list, const std::string& index,
                                    size_t size) {
    return "Invalid ID[" + index + "]!! " + list + ".size[" + std::to_string(size) + "]\n";
}

std::string FormatInvalidKeyError(const std::string& key) {
    return "Invalid KEY[" + key + "]!!\n";
}

class QELXmlParserItemsTest : public StoreTest {
protected:
    // Parses a main file whose FAnetTest list has the content. The log lines stay in FakeLog.
    static void ParseList(const std::string& content) {
        PrivateData::WriteMain(
            xml::Document(xml::Section("Information", {}) + xml::Section("Network", {}) +
                          xml::Section("Summary", {}) + xml::Section("RNSCImage", {}) +
                          xml::Section("RNSCTest", {}) + "<FAnetTest>" + content + "</FAnetTest>"));
        EXPECT_TRUE(Store().ParseFile());
    }
};

// --- Tests of the stored items

TEST_F(QELXmlParserItemsTest, StoresEveryFieldUnchanged) {
    const xml::Fields fields = {
        {"type", "wifi"},  {"name", " A & B "}, {"opcode", "52"},      {"msgcode", "1A"},
        {"imqs", "i"},     {"result", "fail"},  {"duration", "3.2"},   {"retrycount", "2"},
        {"spec", "<OK>"},  {"measure", "NG"},   {"detailed", "a;b^c"}, {"timeAckAbsolute", "7"},
        {"threadID", " 1"}};
    const QELXmlParser& store = LoadItems({fields});
    ASSERT_EQ(store.GetNumOfResult(), 1U);
    ASSERT_EQ(store.GetNumOfResultAll(), 1U);
    EXPECT_EQ(store.m_resultFailData[0], ResultItem(fields.begin(), fields.end()));
    EXPECT_EQ(store.m_resultAllData[0], store.m_resultFailData[0]);
}

TEST_F(QELXmlParserItemsTest, IgnoresUnknownFieldsOfItem) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}, {"reason", "r"}, {"connection", "c"}}});
    EXPECT_THAT(store.m_resultFailData[0], ElementsAre(Pair("name", "a")));
}

TEST_F(QELXmlParserItemsTest, OmitsAbsentFieldSilently) {
    ParseList(xml::Item({{"name", "a"}}));
    EXPECT_THAT(Store().m_resultFailData[0], ElementsAre(Pair("name", "a")));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserItemsTest, LogsAndOmitsEmptyField) {
    ParseList("<test><name></name><spec/><type>wifi</type></test>");
    EXPECT_THAT(Store().m_resultFailData[0], ElementsAre(Pair("type", "wifi")));
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("Content of current node is NULL\n", kXmlParserSource),
                            ErrorLine("Content of current node is NULL\n", kXmlParserSource)));
}

TEST_F(QELXmlParserItemsTest, StoresEmptyCdataButNoEmptyElement) {
    ParseList(
        "<test><type><![CDATA[]]></type><name></name><spec/>"
        "<measure><!-- comment --></measure></test>");
    EXPECT_THAT(Store().m_resultFailData, ElementsAre(ElementsAre(Pair("type", ""))));
    EXPECT_EQ(Store().GetResultType(0), RESULT_TYPE_APP);
}

TEST_F(QELXmlParserItemsTest, UsesFirstOfTwoEqualFields) {
    const QELXmlParser& store = LoadItems({{{"name", "first"}, {"name", "second"}}});
    EXPECT_EQ(store.GetResult(0, "name"), "first");
}

TEST_F(QELXmlParserItemsTest, UsesFirstFieldEvenIfEmpty) {
    ParseList("<test><result/><result>pass</result></test>");
    EXPECT_EQ(Store().GetNumOfResult(), 1U);
    EXPECT_THAT(Store().m_resultFailData[0], IsEmpty());
}

TEST_F(QELXmlParserItemsTest, StoresItemWithoutFieldsAsFailed) {
    ParseList("<test/><test></test>");
    ASSERT_EQ(Store().GetNumOfResult(), 2U);
    ASSERT_EQ(Store().GetNumOfResultAll(), 2U);
    EXPECT_THAT(Store().m_resultFailData[0], IsEmpty());
    EXPECT_THAT(Store().m_resultAllData[1], IsEmpty());
    EXPECT_EQ(Store().GetResult(0), "");
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserItemsTest, IgnoresOtherElementsOfListSilently) {
    ParseList("text<Test/><item/><!-- test --><test><name>a</name></test><tests/>");
    ASSERT_EQ(Store().GetNumOfResultAll(), 1U);
    EXPECT_EQ(Store().GetResult(0, "name"), "a");
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserItemsTest, IgnoresNestedItems) {
    ParseList("<group><test><name>a</name></test></group>");
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
}

TEST_F(QELXmlParserItemsTest, LogsListWithoutChildren) {
    ParseList("");
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_THAT(FakeLog::Errors(), ElementsAre(ErrorLine("ERROR No Test Item Info\n",
                                                         kXmlParserSource, "m_ParseItemInfoList")));
}

TEST_F(QELXmlParserItemsTest, AcceptsListOfWhiteSpaceSilently) {
    ParseList(" \n ");
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserItemsTest, ReturnsWhetherListHasContent) {
    QELXmlParser& store = Load("<r><RNSCImage/><RNSCTest><test/></RNSCTest></r>");
    EXPECT_FALSE(store.m_ParseItemInfoList("RNSCImage"));
    EXPECT_TRUE(store.m_ParseItemInfoList("RNSCTest"));
    EXPECT_FALSE(store.m_ParseItemInfoList("FAnetTest"));
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(ErrorLine("ERROR No Test Item Info\n", kXmlParserSource),
                    ErrorLine("ERROR can`t find <FAnetTest> from XML\n", kXmlParserSource)));
}

TEST_F(QELXmlParserItemsTest, ReturnsWhetherNodeIsItem) {
    QELXmlParser& store = Load("<r><test/><other/></r>");
    xmlNode* test = QELXmlParser::m_FindNodeWithTagInfo(store.m_rootNode, "test");
    xmlNode* other = QELXmlParser::m_FindNodeWithTagInfo(store.m_rootNode, "other");
    EXPECT_TRUE(store.m_ParseItemInfo(test));
    EXPECT_FALSE(store.m_ParseItemInfo(other));
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    EXPECT_FALSE(store.m_ParseItemInfo(nullptr));
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("Parent Node is NULL\n", kXmlParserSource,
                                                        "m_ParseItemInfo")));
    EXPECT_EQ(store.GetNumOfResultAll(), 1U);
}

TEST_F(QELXmlParserItemsTest, ReadsListsInFixedOrder) {
    const auto list = [](const char* tag) {
        return xml::Element(tag, xml::Item({{"name", std::string(tag) + "1"}, {"result", "pass"}}) +
                                     xml::Item({{"name", std::string(tag) + "2"}}));
    };
    PrivateData::WriteRnsc(xml::Document(list("FAnetTest")));
    const QELXmlParser& store =
        Load(xml::Document(list("FAnetTest") + list("RNSCTest") + list("RNSCImage")));
    std::vector<std::string> all;
    for (unsigned int i = 0; i < store.GetNumOfResultAll(); ++i) {
        all.push_back(store.GetResultFromAll(i, "name"));
    }
    std::vector<std::string> failed;
    for (const ResultItem& item : store.GetResultData()) {
        failed.push_back(item.at("name"));
    }
    EXPECT_THAT(all, ElementsAre("FAnetTest1", "FAnetTest2", "RNSCImage1", "RNSCImage2",
                                 "RNSCTest1", "RNSCTest2", "FAnetTest1", "FAnetTest2"));
    EXPECT_THAT(failed, ElementsAre("FAnetTest2", "RNSCImage2", "RNSCTest2", "FAnetTest2"));
}

// --- Tests of the failed items

struct ResultCase {
    const char* result;
    bool isFailed;
};

class QELXmlParserResultTest : public QELXmlParserItemsTest,
                               public testing::WithParamInterface<ResultCase> {};

TEST_P(QELXmlParserResultTest, TreatsOnlyPrefixesOfFailAsFailed) {
    const QELXmlParser& store = LoadItems({{{"result", GetParam().result}}});
    EXPECT_EQ(store.GetNumOfResult(), GetParam().isFailed ? 1U : 0U);
    EXPECT_EQ(store.GetNumOfResultAll(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Results, QELXmlParserResultTest,
                         testing::Values(ResultCase{"fail", true}, ResultCase{"fai", true},
                                         ResultCase{"fa", true}, ResultCase{"f", true},
                                         ResultCase{"", true}, ResultCase{"failed", false},
                                         ResultCase{"FAIL", false}, ResultCase{"Fail", false},
                                         ResultCase{"pass", false}, ResultCase{" fail", false},
                                         ResultCase{"fail ", false}, ResultCase{" ", false},
                                         ResultCase{"ail", false}));

TEST_F(QELXmlParserItemsTest, TreatsItemWithoutResultAsFailed) {
    EXPECT_EQ(LoadItems({{{"name", "a"}}}).GetNumOfResult(), 1U);
}

TEST_F(QELXmlParserItemsTest, IndexesFailedItemsSeparately) {
    const QELXmlParser& store =
        LoadItems({{{"name", "good"}, {"result", "pass"}}, {{"name", "bad"}, {"result", "fail"}}});
    ASSERT_EQ(store.GetNumOfResult(), 1U);
    ASSERT_EQ(store.GetNumOfResultAll(), 2U);
    EXPECT_EQ(store.GetResult(0, "name"), "bad");
    EXPECT_EQ(store.GetResultFromAll(1, "name"), "bad");
    EXPECT_EQ(store.GetResultFromAll(0, "name"), "good");
}

// --- Tests of queries with a key

TEST_F(QELXmlParserItemsTest, ReplacesSeparatorsOnlyInDetailedOfFailedItems) {
    const QELXmlParser& store = LoadItems({{{"detailed", "a;b^c"}, {"spec", "a;b^c"}}});
    EXPECT_EQ(store.GetResult(0, "detailed"), "a\nb\n\nc");
    EXPECT_EQ(store.GetResult(0, "spec"), "a;b^c");
    EXPECT_EQ(store.GetResultFromAll(0, "detailed"), "a;b^c");
    EXPECT_EQ(store.GetResultFromAll(0, "spec"), "a;b^c");
    // The stored item keeps the separators.
    EXPECT_EQ(store.m_resultFailData[0].at("detailed"), "a;b^c");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserItemsTest, ReplacesSeparatorsAtAnyPosition) {
    const QELXmlParser& store = LoadItems({{{"detailed", ";^;x^^"}}});
    EXPECT_EQ(store.GetResult(0, "detailed"), "\n\n\n\nx\n\n\n\n");
}

TEST_F(QELXmlParserItemsTest, RejectsIndexEqualToItemCount) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}}, {{"name", "b"}, {"result", "pass"}}});
    EXPECT_EQ(store.GetResult(1, "name"), "");
    EXPECT_EQ(store.GetResultFromAll(2, "name"), "");
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine(FormatInvalidIndexError("m_resultFailData", "1", 1),
                                      kXmlParserSource, "GetResult"),
                            ErrorLine(FormatInvalidIndexError("m_resultAllData", "2", 2),
                                      kXmlParserSource, "GetResultFromAll")));
}

TEST_F(QELXmlParserItemsTest, RejectsAnyIndexWhenStoreIsEmpty) {
    const QELXmlParser& store = Store();
    EXPECT_EQ(store.GetResult(0, "name"), "");
    EXPECT_EQ(store.GetResult(0), "");
    EXPECT_EQ(store.GetResultFromAll(0, "name"), "");
    EXPECT_EQ(store.GetResultType(0), RESULT_TYPE_INVALID);
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(
            ErrorLine(FormatInvalidIndexError("m_resultFailData", "0", 0), kXmlParserSource),
            ErrorLine(FormatInvalidIndexError("m_resultFailData", "0", 0), kXmlParserSource),
            ErrorLine(FormatInvalidIndexError("m_resultAllData", "0", 0), kXmlParserSource),
            ErrorLine(FormatInvalidIndexError("m_resultFailData", "0", 0), kXmlParserSource)));
}

TEST_F(QELXmlParserItemsTest, LogsHugeIndexAsNegativeNumber) {
    EXPECT_EQ(Store().GetResult(UINT_MAX, "name"), "");
    EXPECT_TRUE(
        LoggedError(FormatInvalidIndexError("m_resultFailData", "-1", 0), kXmlParserSource));
    EXPECT_EQ(Store().GetResultFromAll(UINT_MAX, "name"), "");
    EXPECT_TRUE(LoggedError(FormatInvalidIndexError("m_resultAllData", "-1", 0), kXmlParserSource));
}

TEST_F(QELXmlParserItemsTest, RejectsEmptyKey) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}}});
    EXPECT_EQ(store.GetResult(0, ""), "");
    EXPECT_EQ(store.GetResultFromAll(0, ""), "");
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(ErrorLine(FormatInvalidKeyError(""), kXmlParserSource, "GetResult"),
                    ErrorLine(FormatInvalidKeyError(""), kXmlParserSource, "GetResultFromAll")));
}

TEST_F(QELXmlParserItemsTest, RejectsAbsentKey) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}}});
    EXPECT_EQ(store.GetResult(0, "reason"), "");
    EXPECT_EQ(store.GetResultFromAll(0, "Name"), "");
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(
            ErrorLine(FormatInvalidKeyError("reason"), kXmlParserSource, "GetResult"),
            ErrorLine(FormatInvalidKeyError("Name"), kXmlParserSource, "GetResultFromAll")));
}

TEST_F(QELXmlParserItemsTest, ChecksIndexBeforeKey) {
    EXPECT_EQ(Store().GetResult(3, ""), "");
    EXPECT_EQ(Store().GetResultFromAll(3, ""), "");
    EXPECT_THAT(FakeLog::Messages(),
                ElementsAre(FormatInvalidIndexError("m_resultFailData", "3", 0),
                            FormatInvalidIndexError("m_resultAllData", "3", 0)));
}

// --- Tests of the item text

TEST_F(QELXmlParserItemsTest, ReturnsItemTextInFixedKeyOrder) {
    const QELXmlParser& store = LoadItems({{{"measure", "NG"},
                                            {"spec", "OK"},
                                            {"duration", "3.2"},
                                            {"result", "fail"},
                                            {"type", "wifi"}}});
    EXPECT_EQ(store.GetResult(0), "type=wifi\nduration=3.2\nspec=OK\nmeasure=NG\n");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserItemsTest, OmitsOtherKeysFromItemText) {
    const QELXmlParser& store = LoadItems({{{"type", "t"},
                                            {"name", "x"},
                                            {"opcode", "x"},
                                            {"msgcode", "x"},
                                            {"imqs", "x"},
                                            {"duration", "d"},
                                            {"retrycount", "r"},
                                            {"spec", "s;^"},
                                            {"measure", "<m>"},
                                            {"detailed", "x"},
                                            {"timeAckAbsolute", "x"},
                                            {"threadID", "x"}}});
    EXPECT_EQ(store.GetResult(0), "type=t\nduration=d\nretrycount=r\nspec=s;^\nmeasure=<m>\n");
}

TEST_F(QELXmlParserItemsTest, ReturnsEmptyItemTextWithoutShownKeys) {
    EXPECT_EQ(LoadItems({{{"name", "a"}}}).GetResult(0), "");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserItemsTest, ReturnsEmptyItemTextForInvalidIndex) {
    EXPECT_EQ(LoadItems({{{"type", "wifi"}}}).GetResult(1), "");
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine(FormatInvalidIndexError("m_resultFailData", "1", 1),
                                      kXmlParserSource, "GetResult")));
}

TEST_F(QELXmlParserItemsTest, ReturnsTypeAndConnectionOfNetworkFailure) {
    const QELXmlParser& store = Load(xml::Document(xml::Element(
        "Network", xml::Section("failedinfo",
                                {{"type", "wifi"}, {"connection", "none"}, {"reason", "no AP"}}))));
    EXPECT_EQ(store.GetResult(0), "type=wifi\nconnection=none\n");
}

// --- Tests of the types of items

struct TypeCase {
    const char* value;
    app_result_type_e type;
};

class QELXmlParserTypeTest : public QELXmlParserItemsTest,
                             public testing::WithParamInterface<TypeCase> {};

TEST_P(QELXmlParserTypeTest, MatchesOnlyPrefixesOfKeywords) {
    const QELXmlParser& store = LoadItems({{{"type", GetParam().value}}});
    EXPECT_EQ(store.GetResultType(0), GetParam().type);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Values, QELXmlParserTypeTest,
    testing::Values(TypeCase{"bt", RESULT_TYPE_BT}, TypeCase{"b", RESULT_TYPE_BT},
                    TypeCase{"wifi", RESULT_TYPE_WIFI}, TypeCase{"w", RESULT_TYPE_WIFI},
                    TypeCase{"app", RESULT_TYPE_APP}, TypeCase{"ap", RESULT_TYPE_APP},
                    TypeCase{"a", RESULT_TYPE_APP}, TypeCase{"rnsc", RESULT_TYPE_RNSC},
                    TypeCase{"r", RESULT_TYPE_RNSC}, TypeCase{"image", RESULT_TYPE_IMAGE},
                    TypeCase{"i", RESULT_TYPE_IMAGE}, TypeCase{"wifi5", RESULT_TYPE_INVALID},
                    TypeCase{"WIFI", RESULT_TYPE_INVALID},
                    TypeCase{"bluetooth", RESULT_TYPE_INVALID},
                    TypeCase{" wifi", RESULT_TYPE_INVALID}, TypeCase{"x", RESULT_TYPE_INVALID},
                    // The store does not contain the key, because the parser ignores an empty
                    // element.
                    TypeCase{"", RESULT_TYPE_INVALID}));

TEST_F(QELXmlParserItemsTest, UsesFixedResultTypeNumbers) {
    EXPECT_EQ(RESULT_TYPE_INVALID, -1);
    EXPECT_EQ(RESULT_TYPE_BT, 0);
    EXPECT_EQ(RESULT_TYPE_WIFI, 1);
    EXPECT_EQ(RESULT_TYPE_APP, 2);
    EXPECT_EQ(RESULT_TYPE_RNSC, 3);
    EXPECT_EQ(RESULT_TYPE_IMAGE, 4);
}

TEST_F(QELXmlParserItemsTest, ReturnsInvalidTypeSilentlyForMissingType) {
    EXPECT_EQ(LoadItems({{{"name", "a"}}}).GetResultType(0), RESULT_TYPE_INVALID);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserItemsTest, MatchesFirstKeywordForEmptyType) {
    Store().m_resultFailData.push_back({{"type", ""}});
    EXPECT_EQ(Store().GetResultType(0), RESULT_TYPE_APP);
}

TEST_F(QELXmlParserItemsTest, ReturnsInvalidTypeForInvalidIndex) {
    EXPECT_EQ(LoadItems({{{"type", "wifi"}}}).GetResultType(1), RESULT_TYPE_INVALID);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine(FormatInvalidIndexError("m_resultFailData", "1", 1),
                                      kXmlParserSource, "GetResultType")));
}

// --- Tests of copies and several threads

TEST_F(QELXmlParserItemsTest, ReturnsCopyOfFailedItems) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}}, {{"name", "b"}, {"result", "pass"}}});
    std::vector<ResultItem> copy = store.GetResultData();
    EXPECT_THAT(copy, ElementsAre(ElementsAre(Pair("name", "a"))));
    copy[0]["name"] = "changed";
    copy.emplace_back();
    EXPECT_EQ(store.GetNumOfResult(), 1U);
    EXPECT_EQ(store.GetResult(0, "name"), "a");
}

TEST_F(QELXmlParserItemsTest, KeepsItemsUnchangedByQueries) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}, {"detailed", "x;y"}, {"type", "app"}}});
    const std::vector<ResultItem> failed = store.m_resultFailData;
    const std::vector<ResultItem> all = store.m_resultAllData;
    store.GetResult(0);
    store.GetResult(0, "detailed");
    store.GetResult(0, "missing");
    store.GetResultFromAll(0, "detailed");
    store.GetResultType(0);
    EXPECT_EQ(store.m_resultFailData, failed);
    EXPECT_EQ(store.m_resultAllData, all);
}

const int kRoundsPerThread = 200;

// Runs all queries in each round, on the item of AnswersQueriesOnSeveralThreads. Returns the number
// of rounds with correct answers.
int CountCorrectAnswers(const QELXmlParser& store) {
    int correct = 0;
    for (int round = 0; round < kRoundsPerThread; ++round) {
        const bool isCorrect = store.GetResult(0) == "type=app\nmeasure=m\n" &&
                               store.GetResult(0, "detailed") == "x\ny" &&
                               store.GetResultFromAll(0, "detailed") == "x;y" &&
                               store.GetResultType(0) == RESULT_TYPE_APP &&
                               store.GetNumOfResult() == 1 && store.GetNumOfResultAll() == 1;
        correct += isCorrect ? 1 : 0;
    }
    return correct;
}

TEST_F(QELXmlParserItemsTest, AnswersQueriesOnSeveralThreads) {
    const QELXmlParser& store =
        LoadItems({{{"name", "a"}, {"detailed", "x;y"}, {"type", "app"}, {"measure", "m"}}});
    std::vector<int> correctCounts(4, 0);
    std::vector<std::thread> threads;
    threads.reserve(correctCounts.size());
    for (int& count : correctCounts) {
        threads.emplace_back([&store, &count] { count = CountCorrectAnswers(store); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(correctCounts, testing::Each(kRoundsPerThread));
}

}  // namespace
