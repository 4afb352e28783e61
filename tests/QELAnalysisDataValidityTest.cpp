// QELAnalysisData: which failed items may be analysed.

#include <climits>
#include <stdexcept>
#include <string>
#include <vector>

#include "QELAnalysisData.h"
#include "fakes/FailingNew.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const char* const FILE_NAME = "QELAnalysisData.cpp";
const char* const NO_RNSC = "not able to analyze RNSC test item";

class QELAnalysisDataValidityTest : public StoreTest {
protected:
    static QELAnalysisData& Data() { return *QELAnalysisData::GetInstance(); }

    // Whether an item with these fields, the only one of its run, is valid.
    static bool IsValid(const xml::Fields& fields) {
        LoadItems({fields});
        return Data().IsValid(0);
    }

    // The errors of the store itself; the result store adds its own about missing keys.
    static std::vector<LogLine> OwnErrors() {
        std::vector<LogLine> own;
        for (const LogLine& line : FakeLog::Errors()) {
            if (line.file == FILE_NAME) {
                own.push_back(line);
            }
        }
        return own;
    }
};

TEST_F(QELAnalysisDataValidityTest, IndexOutOfRangeIsRefused) {
    LoadItems({{{"detailed", "d"}}});
    EXPECT_FALSE(Data().IsValid(1));
    EXPECT_FALSE(Data().IsValid(UINT_MAX));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("index is out of range.", FILE_NAME, "IsValid"),
                            ErrorLine("index is out of range.", FILE_NAME, "IsValid")));
}

TEST_F(QELAnalysisDataValidityTest, AnalysedItemIsRefused) {
    LoadItems({{{"detailed", "d"}}, {{"detailed", "d"}}});
    EXPECT_TRUE(Data().IsValid(0));
    Data().SetAnalysisData(0, "");
    FakeLog::Clear();
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("m_IsExecutedByUser have true value", FILE_NAME, "IsValid")));
    EXPECT_TRUE(Data().IsValid(1));
}

TEST_F(QELAnalysisDataValidityTest, MissingResultStoreIsRefused) {
    LoadItems({{{"detailed", "d"}}});
    Data();
    delete QELXmlParser::m_qelXmlParser;
    QELXmlParser::m_qelXmlParser = nullptr;
    {
        const FailingNew failing;
        EXPECT_FALSE(Data().IsValid(0));
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                    ErrorLine("not able to get instance of xmlParser", FILE_NAME, "IsValid")));
}

// The flag comes before the store.
TEST_F(QELAnalysisDataValidityTest, AnalysedItemIsRefusedBeforeTheStoreIsAskedFor) {
    LoadItems({{{"detailed", "d"}}});
    Data().SetAnalysisData(0, "");
    delete QELXmlParser::m_qelXmlParser;
    QELXmlParser::m_qelXmlParser = nullptr;
    FakeLog::Clear();
    const FailingNew failing;
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_FALSE(failing.HasFailed());
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre("m_IsExecutedByUser have true value"));
}

TEST_F(QELAnalysisDataValidityTest, EmptyTextsAreNone) {
    LoadItems({{{"type", "app"}, {"detailed", "d"}, {"opcode", "5F"}}});
    Store().m_resultFailData[0]["detailed"] = "";
    Store().m_resultFailData[0]["reason"] = "";
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("id=0, opcode=5f, msgcode=0", FILE_NAME)));
}

// The flag comes before the type, and the type before the detailed text and the codes.
TEST_F(QELAnalysisDataValidityTest, AnalysedItemIsRefusedBeforeItsType) {
    LoadItems({{{"type", "rnsc"}}});
    Data().SetAnalysisData(0, "");
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre("m_IsExecutedByUser have true value"));
}

TEST_F(QELAnalysisDataValidityTest, RnscAndImageItemsAreRefusedInTheSameWords) {
    for (const char* type : {"rnsc", "image", "r", "i"}) {
        SCOPED_TRACE(type);
        EXPECT_FALSE(IsValid({{"type", type}, {"detailed", "d"}, {"opcode", "xyz"}}));
        EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine(NO_RNSC, FILE_NAME, "IsValid")));
    }
}

TEST_F(QELAnalysisDataValidityTest, OtherTypesDoNotMatter) {
    for (const char* type : {"bt", "wifi", "app", "", "other"}) {
        SCOPED_TRACE(type);
        EXPECT_TRUE(IsValid({{"type", type}, {"detailed", "d"}}));
        EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    }
}

TEST_F(QELAnalysisDataValidityTest, DetailedTextIsAcceptedWhateverTheCodes) {
    for (const char* opcode : {"50", "xyz", "80000000", ""}) {
        SCOPED_TRACE(opcode);
        EXPECT_TRUE(IsValid({{"detailed", " "}, {"opcode", opcode}, {"msgcode", "1A"}}));
        EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    }
}

TEST_F(QELAnalysisDataValidityTest, ReasonIsAcceptedAfterTheMissingDetailed) {
    Load(xml::Document(xml::Element(
        "Network", xml::Section("failedinfo", {{"type", "wifi"}, {"reason", "no AP"}}))));
    EXPECT_TRUE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Invalid KEY[detailed]!!\n", "QELXmlParser.cpp")));
}

// Of a network failure even the type can refuse it.
TEST_F(QELAnalysisDataValidityTest, TypeIsAskedBeforeTheReason) {
    Load(xml::Document(
        xml::Element("Network", xml::Section("failedinfo", {{"type", "r"}, {"reason", "no AP"}}))));
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine(NO_RNSC, FILE_NAME)));
}

TEST_F(QELAnalysisDataValidityTest, EmptyRecordIsRefused) {
    EXPECT_FALSE(IsValid({}));
    EXPECT_THAT(OwnErrors(),
                ElementsAre(ErrorLine("id=0, opcode=0, msgcode=0", FILE_NAME, "IsValid")));
}

TEST_F(QELAnalysisDataValidityTest, MissingOpcodeIsRefusedWithoutReadingTheMsgcode) {
    EXPECT_FALSE(IsValid({{"type", "app"}, {"msgcode", "xyz"}}));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Invalid KEY[detailed]!!\n", "QELXmlParser.cpp"),
                            ErrorLine("Invalid KEY[reason]!!\n", "QELXmlParser.cpp"),
                            ErrorLine("Invalid KEY[opcode]!!\n", "QELXmlParser.cpp"),
                            InfoLine("id=0, strCode=", FILE_NAME),
                            ErrorLine("id=0, opcode=0, msgcode=0", FILE_NAME)));
}

TEST_F(QELAnalysisDataValidityTest, MissingMsgcodeIsRefusedWithTheOpcode) {
    EXPECT_FALSE(IsValid({{"type", "app"}, {"opcode", "5F"}}));
    EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("id=0, opcode=5f, msgcode=0", FILE_NAME)));
}

TEST_F(QELAnalysisDataValidityTest, EmptyCodesAreMissingCodes) {
    EXPECT_FALSE(IsValid({{"opcode", ""}, {"msgcode", "10"}}));
    EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("id=0, opcode=0, msgcode=0", FILE_NAME)));
    EXPECT_FALSE(IsValid({{"opcode", "50"}, {"msgcode", ""}}));
    EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("id=0, opcode=50, msgcode=0", FILE_NAME)));
}

TEST_F(QELAnalysisDataValidityTest, IdentifierOfTheItemIsPrinted) {
    LoadItems({{{"detailed", "d"}}, {{"name", "a"}}, {{"opcode", "50"}, {"msgcode", "10"}}});
    EXPECT_FALSE(Data().IsValid(1));
    EXPECT_FALSE(Data().IsValid(2));
    EXPECT_THAT(OwnErrors(),
                ElementsAre(ErrorLine("id=1, opcode=0, msgcode=0", FILE_NAME),
                            ErrorLine("not able to find checkTable from list. id=2, opcode=50, "
                                      "msgcode=10",
                                      FILE_NAME)));
}

TEST_F(QELAnalysisDataValidityTest, PairThatIsNotBlockedIsAccepted) {
    EXPECT_TRUE(IsValid({{"type", "app"}, {"opcode", "52"}, {"msgcode", "14"}}));
    EXPECT_THAT(OwnErrors(), IsEmpty());
    EXPECT_THAT(FakeLog::Infos(), ElementsAre(InfoLine("id=0, strCode=52", FILE_NAME, "GetCode"),
                                              InfoLine("id=0, retCode=52", FILE_NAME, "GetCode"),
                                              InfoLine("id=0, strCode=14", FILE_NAME, "GetCode"),
                                              InfoLine("id=0, retCode=14", FILE_NAME, "GetCode")));
}

TEST_F(QELAnalysisDataValidityTest, BlockedPairWithoutCheckTableIsRefused) {
    EXPECT_FALSE(IsValid({{"type", "wifi"}, {"opcode", "50"}, {"msgcode", "1A"}}));
    EXPECT_THAT(OwnErrors(),
                ElementsAre(ErrorLine("not able to find checkTable from list. id=0, opcode=50, "
                                      "msgcode=1a",
                                      FILE_NAME, "IsValid")));
}

TEST_F(QELAnalysisDataValidityTest, BlockedPairWithDetailedTextIsAcceptedUnread) {
    EXPECT_TRUE(
        IsValid({{"type", "wifi"}, {"opcode", "50"}, {"msgcode", "1A"}, {"detailed", "d"}}));
    EXPECT_THAT(FakeLog::Messages(), Not(Contains(HasSubstr("strCode"))));
}

TEST_F(QELAnalysisDataValidityTest, BlockedPairWithEmptyCheckTableIsRefusedSilently) {
    LoadItems({{{"opcode", "50"}, {"msgcode", "1A"}}});
    Data().m_CheckTableList[{0x50, 0x1A}] = {};
    EXPECT_FALSE(Data().IsValid(0));
    EXPECT_THAT(OwnErrors(), IsEmpty());
}

TEST_F(QELAnalysisDataValidityTest, BlockedPairWithCheckTableIsAccepted) {
    LoadItems({{{"opcode", "50"}, {"msgcode", "1A"}}});
    Data().m_CheckTableList[{0x50, 0x1A}].emplace_back();
    EXPECT_TRUE(Data().IsValid(0));
    EXPECT_THAT(OwnErrors(), IsEmpty());
}

TEST_F(QELAnalysisDataValidityTest, MalformedCodesLetTheirExceptionOut) {
    EXPECT_THROW(IsValid({{"opcode", "xyz"}, {"msgcode", "10"}}), std::invalid_argument);
    EXPECT_THROW(IsValid({{"opcode", "50"}, {"msgcode", "xyz"}}), std::invalid_argument);
    EXPECT_THROW(IsValid({{"opcode", "80000000"}, {"msgcode", "10"}}), std::out_of_range);
    EXPECT_THAT(OwnErrors(), IsEmpty());
}

TEST_F(QELAnalysisDataValidityTest, AskingChangesNothing) {
    LoadItems({{{"detailed", "d"}}, {{"opcode", "50"}, {"msgcode", "10"}}});
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(Data().IsValid(0));
        EXPECT_FALSE(Data().IsValid(1));
    }
    EXPECT_THAT(Data().m_IsExecutedByUser, ElementsAre(false, false));
    EXPECT_THAT(Data().m_AnalysisData, ElementsAre("", ""));
}

}  // namespace
