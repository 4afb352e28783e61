// QELXmlParser: the records of the test items and the queries on them.

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

const char* const FILE_NAME = "QELXmlParser.cpp";

std::string InvalidId(const std::string& list, const std::string& id, size_t size) {
    return "Invalid ID[" + id + "]!! " + list + ".size[" + std::to_string(size) + "]\n";
}

std::string InvalidKey(const std::string& key) {
    return "Invalid KEY[" + key + "]!!\n";
}

class QELXmlParserItemsTest : public StoreTest {
protected:
    // Loads a main file whose FAnetTest list has this content, and keeps what was logged.
    static void ParseList(const std::string& content) {
        PrivateData::WriteMain(
            xml::Document(xml::Section("Information", {}) + xml::Section("Network", {}) +
                          xml::Section("Summary", {}) + xml::Section("RNSCImage", {}) +
                          xml::Section("RNSCTest", {}) + "<FAnetTest>" + content + "</FAnetTest>"));
        EXPECT_TRUE(Store().ParseFile());
    }
};

// Records

TEST_F(QELXmlParserItemsTest, EveryFieldIsKeptAsItStands) {
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

TEST_F(QELXmlParserItemsTest, OtherElementsOfAnItemAreNotKept) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}, {"reason", "r"}, {"connection", "c"}}});
    EXPECT_THAT(store.m_resultFailData[0], ElementsAre(Pair("name", "a")));
}

TEST_F(QELXmlParserItemsTest, AbsentFieldIsLeftOutSilently) {
    ParseList(xml::Item({{"name", "a"}}));
    EXPECT_THAT(Store().m_resultFailData[0], ElementsAre(Pair("name", "a")));
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserItemsTest, EmptyFieldIsLeftOutWithALog) {
    ParseList("<test><name></name><spec/><type>wifi</type></test>");
    EXPECT_THAT(Store().m_resultFailData[0], ElementsAre(Pair("type", "wifi")));
    EXPECT_THAT(FakeLog::Errors(),
                ElementsAre(ErrorLine("Content of current node is NULL\n", FILE_NAME),
                            ErrorLine("Content of current node is NULL\n", FILE_NAME)));
}

TEST_F(QELXmlParserItemsTest, FirstOfTwoEqualFieldsIsTaken) {
    const QELXmlParser& store = LoadItems({{{"name", "first"}, {"name", "second"}}});
    EXPECT_EQ(store.GetResult(0, "name"), "first");
}

TEST_F(QELXmlParserItemsTest, FirstFieldDecidesEvenWhenItIsEmpty) {
    ParseList("<test><result/><result>pass</result></test>");
    EXPECT_EQ(Store().GetNumOfResult(), 1U);
    EXPECT_THAT(Store().m_resultFailData[0], IsEmpty());
}

TEST_F(QELXmlParserItemsTest, ItemWithoutChildrenIsAnEmptyFailedRecord) {
    ParseList("<test/><test></test>");
    ASSERT_EQ(Store().GetNumOfResult(), 2U);
    ASSERT_EQ(Store().GetNumOfResultAll(), 2U);
    EXPECT_THAT(Store().m_resultFailData[0], IsEmpty());
    EXPECT_THAT(Store().m_resultAllData[1], IsEmpty());
    EXPECT_EQ(Store().GetResult(0), "");
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserItemsTest, OtherElementsOfAListAreIgnoredSilently) {
    ParseList("text<Test/><item/><!-- test --><test><name>a</name></test><tests/>");
    ASSERT_EQ(Store().GetNumOfResultAll(), 1U);
    EXPECT_EQ(Store().GetResult(0, "name"), "a");
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserItemsTest, NestedItemsAreNotFound) {
    ParseList("<group><test><name>a</name></test></group>");
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
}

TEST_F(QELXmlParserItemsTest, ListWithoutChildrenIsLogged) {
    ParseList("");
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_THAT(FakeLog::Errors(), ElementsAre(ErrorLine("ERROR No Test Item Info\n", FILE_NAME,
                                                         "m_ParseItemInfoList")));
}

TEST_F(QELXmlParserItemsTest, ListOfWhiteSpaceHasChildren) {
    ParseList(" \n ");
    EXPECT_EQ(Store().GetNumOfResultAll(), 0U);
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELXmlParserItemsTest, ListParserTellsWhatItFound) {
    QELXmlParser& store = Load("<r><RNSCImage/><RNSCTest><test/></RNSCTest></r>");
    EXPECT_FALSE(store.m_ParseItemInfoList("RNSCImage"));
    EXPECT_TRUE(store.m_ParseItemInfoList("RNSCTest"));
    EXPECT_FALSE(store.m_ParseItemInfoList("FAnetTest"));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("ERROR No Test Item Info\n", FILE_NAME),
                            ErrorLine("ERROR can`t find <FAnetTest> from XML\n", FILE_NAME)));
}

TEST_F(QELXmlParserItemsTest, ItemParserTellsWhatItFound) {
    QELXmlParser& store = Load("<r><test/><other/></r>");
    xmlNode* test = QELXmlParser::m_FindNodeWithTagInfo(store.m_rootNode, "test");
    xmlNode* other = QELXmlParser::m_FindNodeWithTagInfo(store.m_rootNode, "other");
    EXPECT_TRUE(store.m_ParseItemInfo(test));
    EXPECT_FALSE(store.m_ParseItemInfo(other));
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    EXPECT_FALSE(store.m_ParseItemInfo(nullptr));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Parent Node is NULL\n", FILE_NAME, "m_ParseItemInfo")));
    EXPECT_EQ(store.GetNumOfResultAll(), 1U);
}

TEST_F(QELXmlParserItemsTest, ListsAreReadInTheirOrderWhateverTheFileHas) {
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

// Failed or not

struct Verdict_s {
    const char* result;
    bool failed;
};

class QELXmlParserVerdictTest : public QELXmlParserItemsTest,
                                public testing::WithParamInterface<Verdict_s> {};

TEST_P(QELXmlParserVerdictTest, ComesFromThePrefixOfFail) {
    const QELXmlParser& store = LoadItems({{{"result", GetParam().result}}});
    EXPECT_EQ(store.GetNumOfResult(), GetParam().failed ? 1U : 0U);
    EXPECT_EQ(store.GetNumOfResultAll(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Results, QELXmlParserVerdictTest,
                         testing::Values(Verdict_s{"fail", true}, Verdict_s{"fai", true},
                                         Verdict_s{"fa", true}, Verdict_s{"f", true},
                                         Verdict_s{"", true}, Verdict_s{"failed", false},
                                         Verdict_s{"FAIL", false}, Verdict_s{"Fail", false},
                                         Verdict_s{"pass", false}, Verdict_s{" fail", false},
                                         Verdict_s{"fail ", false}, Verdict_s{" ", false},
                                         Verdict_s{"ail", false}));

TEST_F(QELXmlParserItemsTest, ItemWithoutResultIsFailed) {
    EXPECT_EQ(LoadItems({{{"name", "a"}}}).GetNumOfResult(), 1U);
}

// The two lists number their items on their own.
TEST_F(QELXmlParserItemsTest, SameItemHasTwoIdentifiers) {
    const QELXmlParser& store =
        LoadItems({{{"name", "good"}, {"result", "pass"}}, {{"name", "bad"}, {"result", "fail"}}});
    ASSERT_EQ(store.GetNumOfResult(), 1U);
    ASSERT_EQ(store.GetNumOfResultAll(), 2U);
    EXPECT_EQ(store.GetResult(0, "name"), "bad");
    EXPECT_EQ(store.GetResultFromAll(1, "name"), "bad");
    EXPECT_EQ(store.GetResultFromAll(0, "name"), "good");
}

// Queries with a key

TEST_F(QELXmlParserItemsTest, MarksAreReplacedInDetailedOfFailedItemsOnly) {
    const QELXmlParser& store = LoadItems({{{"detailed", "a;b^c"}, {"spec", "a;b^c"}}});
    EXPECT_EQ(store.GetResult(0, "detailed"), "a\nb\n\nc");
    EXPECT_EQ(store.GetResult(0, "spec"), "a;b^c");
    EXPECT_EQ(store.GetResultFromAll(0, "detailed"), "a;b^c");
    EXPECT_EQ(store.GetResultFromAll(0, "spec"), "a;b^c");
    // The record itself stays as it was.
    EXPECT_EQ(store.m_resultFailData[0].at("detailed"), "a;b^c");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserItemsTest, MarksMayStandAnywhere) {
    const QELXmlParser& store = LoadItems({{{"detailed", ";^;x^^"}}});
    EXPECT_EQ(store.GetResult(0, "detailed"), "\n\n\n\nx\n\n\n\n");
}

TEST_F(QELXmlParserItemsTest, IdentifierEqualToTheCountIsInvalid) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}}, {{"name", "b"}, {"result", "pass"}}});
    EXPECT_EQ(store.GetResult(1, "name"), "");
    EXPECT_EQ(store.GetResultFromAll(2, "name"), "");
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(
            ErrorLine(InvalidId("m_resultFailData", "1", 1), FILE_NAME, "GetResult"),
            ErrorLine(InvalidId("m_resultAllData", "2", 2), FILE_NAME, "GetResultFromAll")));
}

TEST_F(QELXmlParserItemsTest, AnyIdentifierOfAnEmptyStoreIsInvalid) {
    const QELXmlParser& store = Store();
    EXPECT_EQ(store.GetResult(0, "name"), "");
    EXPECT_EQ(store.GetResult(0), "");
    EXPECT_EQ(store.GetResultFromAll(0, "name"), "");
    EXPECT_EQ(store.GetResultType(0), RESULT_TYPE_INVALID);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine(InvalidId("m_resultFailData", "0", 0), FILE_NAME),
                            ErrorLine(InvalidId("m_resultFailData", "0", 0), FILE_NAME),
                            ErrorLine(InvalidId("m_resultAllData", "0", 0), FILE_NAME),
                            ErrorLine(InvalidId("m_resultFailData", "0", 0), FILE_NAME)));
}

TEST_F(QELXmlParserItemsTest, HugeIdentifierIsPrintedSigned) {
    EXPECT_EQ(Store().GetResult(UINT_MAX, "name"), "");
    EXPECT_TRUE(LoggedError(InvalidId("m_resultFailData", "-1", 0), FILE_NAME));
    EXPECT_EQ(Store().GetResultFromAll(UINT_MAX, "name"), "");
    EXPECT_TRUE(LoggedError(InvalidId("m_resultAllData", "-1", 0), FILE_NAME));
}

TEST_F(QELXmlParserItemsTest, EmptyKeyIsInvalid) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}}});
    EXPECT_EQ(store.GetResult(0, ""), "");
    EXPECT_EQ(store.GetResultFromAll(0, ""), "");
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine(InvalidKey(""), FILE_NAME, "GetResult"),
                            ErrorLine(InvalidKey(""), FILE_NAME, "GetResultFromAll")));
}

TEST_F(QELXmlParserItemsTest, AbsentKeyIsInvalid) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}}});
    EXPECT_EQ(store.GetResult(0, "reason"), "");
    EXPECT_EQ(store.GetResultFromAll(0, "Name"), "");
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine(InvalidKey("reason"), FILE_NAME, "GetResult"),
                            ErrorLine(InvalidKey("Name"), FILE_NAME, "GetResultFromAll")));
}

TEST_F(QELXmlParserItemsTest, IdentifierIsCheckedBeforeTheKey) {
    EXPECT_EQ(Store().GetResult(3, ""), "");
    EXPECT_EQ(Store().GetResultFromAll(3, ""), "");
    EXPECT_THAT(FakeLog::Messages(), ElementsAre(InvalidId("m_resultFailData", "3", 0),
                                                 InvalidId("m_resultAllData", "3", 0)));
}

// The item text

TEST_F(QELXmlParserItemsTest, ItemTextHasTheShownKeysInTheirOrder) {
    const QELXmlParser& store = LoadItems({{{"measure", "NG"},
                                            {"spec", "OK"},
                                            {"duration", "3.2"},
                                            {"result", "fail"},
                                            {"type", "wifi"}}});
    EXPECT_EQ(store.GetResult(0), "type=wifi\nduration=3.2\nspec=OK\nmeasure=NG\n");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserItemsTest, ItemTextHasNoOtherKey) {
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

TEST_F(QELXmlParserItemsTest, ItemTextWithoutShownKeysIsEmpty) {
    EXPECT_EQ(LoadItems({{{"name", "a"}}}).GetResult(0), "");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserItemsTest, ItemTextOfABadIdentifierIsEmpty) {
    EXPECT_EQ(LoadItems({{{"type", "wifi"}}}).GetResult(1), "");
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine(InvalidId("m_resultFailData", "1", 1),
                                                        FILE_NAME, "GetResult")));
}

TEST_F(QELXmlParserItemsTest, ItemTextOfANetworkFailureHasTypeAndConnection) {
    const QELXmlParser& store = Load(xml::Document(xml::Element(
        "Network", xml::Section("failedinfo",
                                {{"type", "wifi"}, {"connection", "none"}, {"reason", "no AP"}}))));
    EXPECT_EQ(store.GetResult(0), "type=wifi\nconnection=none\n");
}

// Types

struct Typed_s {
    const char* value;
    app_result_type_e type;
};

class QELXmlParserTypeTest : public QELXmlParserItemsTest,
                             public testing::WithParamInterface<Typed_s> {};

TEST_P(QELXmlParserTypeTest, ComesFromThePrefixOfAKeyword) {
    const QELXmlParser& store = LoadItems({{{"type", GetParam().value}}});
    EXPECT_EQ(store.GetResultType(0), GetParam().type);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Values, QELXmlParserTypeTest,
    testing::Values(Typed_s{"bt", RESULT_TYPE_BT}, Typed_s{"b", RESULT_TYPE_BT},
                    Typed_s{"wifi", RESULT_TYPE_WIFI}, Typed_s{"w", RESULT_TYPE_WIFI},
                    Typed_s{"app", RESULT_TYPE_APP}, Typed_s{"ap", RESULT_TYPE_APP},
                    Typed_s{"a", RESULT_TYPE_APP}, Typed_s{"rnsc", RESULT_TYPE_RNSC},
                    Typed_s{"r", RESULT_TYPE_RNSC}, Typed_s{"image", RESULT_TYPE_IMAGE},
                    Typed_s{"i", RESULT_TYPE_IMAGE}, Typed_s{"wifi5", RESULT_TYPE_INVALID},
                    Typed_s{"WIFI", RESULT_TYPE_INVALID}, Typed_s{"bluetooth", RESULT_TYPE_INVALID},
                    Typed_s{" wifi", RESULT_TYPE_INVALID}, Typed_s{"x", RESULT_TYPE_INVALID},
                    // Never stored as an empty value: the key is missing.
                    Typed_s{"", RESULT_TYPE_INVALID}));

TEST_F(QELXmlParserItemsTest, TypesHaveTheirNumbers) {
    EXPECT_EQ(RESULT_TYPE_INVALID, -1);
    EXPECT_EQ(RESULT_TYPE_BT, 0);
    EXPECT_EQ(RESULT_TYPE_WIFI, 1);
    EXPECT_EQ(RESULT_TYPE_APP, 2);
    EXPECT_EQ(RESULT_TYPE_RNSC, 3);
    EXPECT_EQ(RESULT_TYPE_IMAGE, 4);
}

TEST_F(QELXmlParserItemsTest, MissingTypeIsInvalidWithoutALog) {
    EXPECT_EQ(LoadItems({{{"name", "a"}}}).GetResultType(0), RESULT_TYPE_INVALID);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELXmlParserItemsTest, EmptyTypeWouldBeTheFirstKeyword) {
    Store().m_resultFailData.push_back({{"type", ""}});
    EXPECT_EQ(Store().GetResultType(0), RESULT_TYPE_APP);
}

TEST_F(QELXmlParserItemsTest, TypeOfABadIdentifierIsInvalid) {
    EXPECT_EQ(LoadItems({{{"type", "wifi"}}}).GetResultType(1), RESULT_TYPE_INVALID);
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine(InvalidId("m_resultFailData", "1", 1),
                                                        FILE_NAME, "GetResultType")));
}

// Copies and threads

TEST_F(QELXmlParserItemsTest, ResultDataIsACopyOfTheFailedItems) {
    const QELXmlParser& store = LoadItems({{{"name", "a"}}, {{"name", "b"}, {"result", "pass"}}});
    std::vector<ResultItem> copy = store.GetResultData();
    EXPECT_THAT(copy, ElementsAre(ElementsAre(Pair("name", "a"))));
    copy[0]["name"] = "changed";
    copy.emplace_back();
    EXPECT_EQ(store.GetNumOfResult(), 1U);
    EXPECT_EQ(store.GetResult(0, "name"), "a");
}

TEST_F(QELXmlParserItemsTest, QueriesChangeNothing) {
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

TEST_F(QELXmlParserItemsTest, QueriesMayRunOnSeveralThreads) {
    const QELXmlParser& store =
        LoadItems({{{"name", "a"}, {"detailed", "x;y"}, {"type", "app"}, {"measure", "m"}}});
    std::vector<std::thread> threads;
    std::vector<int> good(4, 0);
    threads.reserve(good.size());
    for (int& count : good) {
        threads.emplace_back([&store, &count] {
            for (int i = 0; i < 200; ++i) {
                const bool right = store.GetResult(0) == "type=app\nmeasure=m\n" &&
                                   store.GetResult(0, "detailed") == "x\ny" &&
                                   store.GetResultFromAll(0, "detailed") == "x;y" &&
                                   store.GetResultType(0) == RESULT_TYPE_APP &&
                                   store.GetNumOfResult() == 1 && store.GetNumOfResultAll() == 1;
                count += right ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(good, testing::Each(200));
}

}  // namespace
