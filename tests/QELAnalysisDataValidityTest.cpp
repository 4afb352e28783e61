// Tests which failed items QELAnalysisData accepts for an analysis.

#include <climits>
#include <stdexcept>
#include <string>
#include <vector>

#include "QELAnalysisData.h"
#include "fakes/FailingNew.h"
#include "fixtures/Singletons.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const char* const kRejectedTypeMessage = "not able to analyze RNSC test item";

class QELAnalysisDataValidityTest : public StoreTest {
protected:
    static QELAnalysisData& Data() { return *QELAnalysisData::GetInstance(); }

    // Loads a run with one item, and returns whether the item may be analysed.
    static bool IsValid(const xml::Fields& fields) {
        LoadItems({fields});
        return Data().IsValid(0);
    }
};

TEST_F(QELAnalysisDataValidityTest, RejectsIndexOutOfRange) {
    LoadItems({{{"detailed", "d"}}});
    EXPECT_FALSE(Data().IsValid(1));
    EXPECT_FALSE(Data().IsValid(UINT_MAX));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("index is out of range.", kAnalysisDataSource, "IsValid"),
                            ErrorLine("index is out of range.", kAnalysisDataSource, "IsValid")));
}

TEST_F(QELAnalysisDataValidityTest, RejectsAnalysedItem) {
    LoadItems({{{"detailed", "d"}}, {{"detailed", "d"}}});
    EXPECT_TRUE(Data().IsValid(0));
    Data().SetAnalysisData(0, "");
    FakeLog::Clear();
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("m_IsExecutedByUser have true value",
                                                        kAnalysisDataSource, "IsValid")));
    EXPECT_TRUE(Data().IsValid(1));
}

TEST_F(QELAnalysisDataValidityTest, RejectsItemWithoutResultStore) {
    LoadItems({{{"detailed", "d"}}});
    Data();
    singletons::ResetResultStore();
    {
        const FailingNew failing;
        EXPECT_FALSE(Data().IsValid(0));
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine("not able to get instance of xmlParser", kAnalysisDataSource,
                                      "IsValid")));
}

TEST_F(QELAnalysisDataValidityTest, ChecksFlagBeforeResultStore) {
    LoadItems({{{"detailed", "d"}}});
    Data().SetAnalysisData(0, "");
    singletons::ResetResultStore();
    FakeLog::Clear();
    const FailingNew failing;
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_FALSE(failing.HasFailed());
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre("m_IsExecutedByUser have true value"));
}

TEST_F(QELAnalysisDataValidityTest, TreatsEmptyTextsAsMissing) {
    LoadItems({{{"type", "app"}, {"detailed", "d"}, {"opcode", "5F"}}});
    Store().m_resultFailData[0]["detailed"] = "";
    Store().m_resultFailData[0]["reason"] = "";
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource),
                ElementsAre(ErrorLine("id=0, opcode=5f, msgcode=0", kAnalysisDataSource)));
}

TEST_F(QELAnalysisDataValidityTest, ChecksFlagBeforeType) {
    LoadItems({{{"type", "rnsc"}}});
    Data().SetAnalysisData(0, "");
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre("m_IsExecutedByUser have true value"));
}

TEST_F(QELAnalysisDataValidityTest, RejectsRnscAndImageItemsWithSameMessage) {
    for (const char* type : {"rnsc", "image", "r", "i"}) {
        SCOPED_TRACE(type);
        EXPECT_FALSE(IsValid({{"type", type}, {"detailed", "d"}, {"opcode", "xyz"}}));
        EXPECT_THAT(FakeLog::Lines(),
                    ElementsAre(ErrorLine(kRejectedTypeMessage, kAnalysisDataSource, "IsValid")));
    }
}

TEST_F(QELAnalysisDataValidityTest, AcceptsOtherTypes) {
    for (const char* type : {"bt", "wifi", "app", "", "other"}) {
        SCOPED_TRACE(type);
        EXPECT_TRUE(IsValid({{"type", type}, {"detailed", "d"}}));
        EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    }
}

TEST_F(QELAnalysisDataValidityTest, AcceptsDetailedTextWithAnyCodes) {
    for (const char* opcode : {"50", "xyz", "80000000", ""}) {
        SCOPED_TRACE(opcode);
        EXPECT_TRUE(IsValid({{"detailed", " "}, {"opcode", opcode}, {"msgcode", "1A"}}));
        EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    }
}

TEST_F(QELAnalysisDataValidityTest, AcceptsReasonWhenDetailedIsMissing) {
    Load(xml::Document(xml::Element(
        "Network", xml::Section("failedinfo", {{"type", "wifi"}, {"reason", "no AP"}}))));
    EXPECT_TRUE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Invalid KEY[detailed]!!\n", "QELXmlParser.cpp")));
}

TEST_F(QELAnalysisDataValidityTest, ChecksTypeBeforeReason) {
    Load(xml::Document(
        xml::Element("Network", xml::Section("failedinfo", {{"type", "r"}, {"reason", "no AP"}}))));
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine(kRejectedTypeMessage, kAnalysisDataSource)));
}

TEST_F(QELAnalysisDataValidityTest, RejectsItemWithoutFields) {
    EXPECT_FALSE(IsValid({}));
    EXPECT_THAT(
        FakeLog::ErrorsOf(kAnalysisDataSource),
        ElementsAre(ErrorLine("id=0, opcode=0, msgcode=0", kAnalysisDataSource, "IsValid")));
}

TEST_F(QELAnalysisDataValidityTest, RejectsMissingOpcodeWithoutReadingMsgcode) {
    EXPECT_FALSE(IsValid({{"type", "app"}, {"msgcode", "xyz"}}));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Invalid KEY[detailed]!!\n", "QELXmlParser.cpp"),
                            ErrorLine("Invalid KEY[reason]!!\n", "QELXmlParser.cpp"),
                            ErrorLine("Invalid KEY[opcode]!!\n", "QELXmlParser.cpp"),
                            InfoLine("id=0, strCode=", kAnalysisDataSource),
                            ErrorLine("id=0, opcode=0, msgcode=0", kAnalysisDataSource)));
}

TEST_F(QELAnalysisDataValidityTest, RejectsMissingMsgcodeAndLogsOpcode) {
    EXPECT_FALSE(IsValid({{"type", "app"}, {"opcode", "5F"}}));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource),
                ElementsAre(ErrorLine("id=0, opcode=5f, msgcode=0", kAnalysisDataSource)));
}

TEST_F(QELAnalysisDataValidityTest, TreatsEmptyCodesAsMissing) {
    EXPECT_FALSE(IsValid({{"opcode", ""}, {"msgcode", "10"}}));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource),
                ElementsAre(ErrorLine("id=0, opcode=0, msgcode=0", kAnalysisDataSource)));
    EXPECT_FALSE(IsValid({{"opcode", "50"}, {"msgcode", ""}}));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource),
                ElementsAre(ErrorLine("id=0, opcode=50, msgcode=0", kAnalysisDataSource)));
}

TEST_F(QELAnalysisDataValidityTest, LogsIndexOfRejectedItem) {
    LoadItems({{{"detailed", "d"}}, {{"name", "a"}}, {{"opcode", "50"}, {"msgcode", "10"}}});
    EXPECT_FALSE(Data().IsValid(1));
    EXPECT_FALSE(Data().IsValid(2));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource),
                ElementsAre(ErrorLine("id=1, opcode=0, msgcode=0", kAnalysisDataSource),
                            ErrorLine("not able to find checkTable from list. id=2, opcode=50, "
                                      "msgcode=10",
                                      kAnalysisDataSource)));
}

TEST_F(QELAnalysisDataValidityTest, AcceptsPairOutsideBlockList) {
    EXPECT_TRUE(IsValid({{"type", "app"}, {"opcode", "52"}, {"msgcode", "14"}}));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource), IsEmpty());
    EXPECT_THAT(FakeLog::Infos(),
                ElementsAre(InfoLine("id=0, strCode=52", kAnalysisDataSource, "GetCode"),
                            InfoLine("id=0, retCode=52", kAnalysisDataSource, "GetCode"),
                            InfoLine("id=0, strCode=14", kAnalysisDataSource, "GetCode"),
                            InfoLine("id=0, retCode=14", kAnalysisDataSource, "GetCode")));
}

TEST_F(QELAnalysisDataValidityTest, RejectsBlockListedPairWithoutCheckTable) {
    EXPECT_FALSE(IsValid({{"type", "wifi"}, {"opcode", "50"}, {"msgcode", "1A"}}));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource),
                ElementsAre(ErrorLine("not able to find checkTable from list. id=0, opcode=50, "
                                      "msgcode=1a",
                                      kAnalysisDataSource, "IsValid")));
}

TEST_F(QELAnalysisDataValidityTest, AcceptsDetailedTextWithoutReadingCodes) {
    EXPECT_TRUE(
        IsValid({{"type", "wifi"}, {"opcode", "50"}, {"msgcode", "1A"}, {"detailed", "d"}}));
    EXPECT_THAT(FakeLog::Messages(), Not(Contains(HasSubstr("strCode"))));
}

TEST_F(QELAnalysisDataValidityTest, RejectsBlockListedPairWithEmptyCheckTableSilently) {
    LoadItems({{{"opcode", "50"}, {"msgcode", "1A"}}});
    Data().m_CheckTableList[{0x50, 0x1A}] = {};
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource), IsEmpty());
}

TEST_F(QELAnalysisDataValidityTest, AcceptsBlockListedPairWithCheckTable) {
    LoadItems({{{"opcode", "50"}, {"msgcode", "1A"}}});
    Data().m_CheckTableList[{0x50, 0x1A}].emplace_back();
    EXPECT_TRUE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource), IsEmpty());
}

TEST_F(QELAnalysisDataValidityTest, ThrowsForInvalidCodes) {
    EXPECT_THROW(IsValid({{"opcode", "xyz"}, {"msgcode", "10"}}), std::invalid_argument);
    EXPECT_THROW(IsValid({{"opcode", "50"}, {"msgcode", "xyz"}}), std::invalid_argument);
    EXPECT_THROW(IsValid({{"opcode", "80000000"}, {"msgcode", "10"}}), std::out_of_range);
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisDataSource), IsEmpty());
}

TEST_F(QELAnalysisDataValidityTest, LeavesStoreUnchanged) {
    LoadItems({{{"detailed", "d"}}, {{"opcode", "50"}, {"msgcode", "10"}}});
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(Data().IsValid(0));
        EXPECT_FALSE(Data().IsValid(1));
    }
    EXPECT_THAT(Data().m_IsExecutedByUser, ElementsAre(false, false));
    EXPECT_THAT(Data().m_AnalysisData, ElementsAre("", ""));
}

}  // namespace
