// QELAnalysisData: the store of the analysis texts and flags, and the readers of the codes.

#include "QELAnalysisData.h"

#include <climits>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "fakes/FailingNew.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const FILE_NAME = "QELAnalysisData.cpp";
const char* const NO_PARSER = "not able to get instance of xmlParser";

class QELAnalysisDataTest : public StoreTest {
protected:
    static QELAnalysisData& Data() { return *QELAnalysisData::GetInstance(); }

    // Two failed items and a good one between them.
    static QELAnalysisData& DataOfTwo() {
        LoadItems({{{"name", "a"}}, {{"name", "b"}, {"result", "pass"}}, {{"name", "c"}}});
        return Data();
    }

    static void RemoveParser() {
        delete QELXmlParser::m_qelXmlParser;
        QELXmlParser::m_qelXmlParser = nullptr;
    }
};

// The instance

TEST_F(QELAnalysisDataTest, HasAVirtualDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<QELAnalysisData>);
}

TEST_F(QELAnalysisDataTest, IsOneInstance) {
    EXPECT_EQ(QELAnalysisData::m_QELAnalysisData, nullptr);
    QELAnalysisData* data = QELAnalysisData::GetInstance();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(QELAnalysisData::GetInstance(), data);
    EXPECT_EQ(QELAnalysisData::m_QELAnalysisData, data);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTest, FailedAllocationIsSilentAndTriedAgain) {
    {
        const FailingNew failing;
        EXPECT_EQ(QELAnalysisData::GetInstance(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    EXPECT_NE(QELAnalysisData::GetInstance(), nullptr);
}

TEST_F(QELAnalysisDataTest, HasATextAndAFlagForEachFailedItem) {
    const QELAnalysisData& data = DataOfTwo();
    EXPECT_THAT(data.m_AnalysisData, ElementsAre("", ""));
    EXPECT_THAT(data.m_IsExecutedByUser, ElementsAre(false, false));
    EXPECT_THAT(data.m_CheckTableList, IsEmpty());
    EXPECT_EQ(data.m_BlockList.size(), 54U);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTest, NumberOfItemsIsReadOnce) {
    QELAnalysisData& data = DataOfTwo();
    Store().m_resultFailData.emplace_back();
    EXPECT_EQ(&Data(), &data);
    EXPECT_EQ(data.m_AnalysisData.size(), 2U);
    EXPECT_EQ(data.m_IsExecutedByUser.size(), 2U);
}

TEST_F(QELAnalysisDataTest, WithoutResultStoreItStaysEmpty) {
    {
        // The first allocation is its own.
        const FailingNew failing(2);
        ASSERT_NE(QELAnalysisData::GetInstance(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine(NO_PARSER, FILE_NAME, "m_Init")));
    EXPECT_THAT(Data().m_AnalysisData, IsEmpty());
    EXPECT_THAT(Data().m_IsExecutedByUser, IsEmpty());
    EXPECT_THAT(Data().m_BlockList, IsEmpty());
}

TEST_F(QELAnalysisDataTest, InitSizesTheListsAnew) {
    QELAnalysisData& data = DataOfTwo();
    data.SetAnalysisData(0, "text");
    Store().m_resultFailData.emplace_back();
    data.m_Init();
    EXPECT_THAT(data.m_AnalysisData, ElementsAre("", "", ""));
    EXPECT_THAT(data.m_IsExecutedByUser, ElementsAre(false, false, false));
}

// Texts and flags

TEST_F(QELAnalysisDataTest, StoredTextSetsTheFlag) {
    QELAnalysisData& data = DataOfTwo();
    EXPECT_EQ(data.GetAnalysisData(1), "");
    EXPECT_FALSE(data.GetExcutedByUser(1));
    data.SetAnalysisData(1, "text\n");
    EXPECT_EQ(data.GetAnalysisData(1), "text\n");
    EXPECT_TRUE(data.GetExcutedByUser(1));
    EXPECT_EQ(data.GetAnalysisData(0), "");
    EXPECT_FALSE(data.GetExcutedByUser(0));
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTest, EmptyTextSetsTheFlagToo) {
    QELAnalysisData& data = DataOfTwo();
    data.SetAnalysisData(0, "");
    EXPECT_EQ(data.GetAnalysisData(0), "");
    EXPECT_TRUE(data.GetExcutedByUser(0));
}

TEST_F(QELAnalysisDataTest, LastTextStaysAndTheFlagNeverGoesBack) {
    QELAnalysisData& data = DataOfTwo();
    data.SetAnalysisData(0, "first");
    data.SetAnalysisData(0, "");
    data.SetAnalysisData(0, "last");
    EXPECT_EQ(data.GetAnalysisData(0), "last");
    EXPECT_TRUE(data.GetExcutedByUser(0));
}

TEST_F(QELAnalysisDataTest, TextIsACopy) {
    QELAnalysisData& data = DataOfTwo();
    std::string text = "text";
    data.SetAnalysisData(0, text);
    text = "changed";
    std::string copy = data.GetAnalysisData(0);
    copy += "changed";
    EXPECT_EQ(data.GetAnalysisData(0), "text");
}

TEST_F(QELAnalysisDataTest, IndexBeyondTheItemsStoresNothing) {
    QELAnalysisData& data = DataOfTwo();
    for (const unsigned int id : {2U, UINT_MAX}) {
        data.SetAnalysisData(id, "x");
        EXPECT_EQ(data.GetAnalysisData(id), "");
    }
    EXPECT_THAT(data.m_AnalysisData, ElementsAre("", ""));
    EXPECT_THAT(data.m_IsExecutedByUser, ElementsAre(false, false));
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTest, FlagOfAnIndexBeyondTheItemsIsAnError) {
    QELAnalysisData& data = DataOfTwo();
    EXPECT_FALSE(data.GetExcutedByUser(2));
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("index is out of range.", FILE_NAME, "GetExcutedByUser")));
}

TEST_F(QELAnalysisDataTest, WithoutFailedItemsEveryIndexIsBeyond) {
    QELAnalysisData& data = Data();
    EXPECT_FALSE(data.GetExcutedByUser(0));
    EXPECT_TRUE(LoggedError("index is out of range.", FILE_NAME));
    EXPECT_EQ(data.GetAnalysisData(0), "");
    data.SetAnalysisData(0, "x");
    EXPECT_THAT(data.m_AnalysisData, IsEmpty());
    EXPECT_THAT(data.m_IsExecutedByUser, IsEmpty());
}

TEST_F(QELAnalysisDataTest, TextIsStoredEvenWithoutAFlag) {
    QELAnalysisData& data = DataOfTwo();
    data.m_IsExecutedByUser.resize(1);
    data.SetAnalysisData(1, "text");
    EXPECT_EQ(data.GetAnalysisData(1), "text");
    EXPECT_THAT(data.m_IsExecutedByUser, ElementsAre(false));
}

// Codes

// Runs a test on both readers: GetCode, and GetCodeFromAll where the item stands second.
struct Reader_s {
    const char* name;
    bool (QELAnalysisData::*read)(unsigned int, const std::string&, unsigned char*);
    unsigned int id;
};

std::ostream& operator<<(std::ostream& out, const Reader_s& reader) {
    return out << reader.name;
}

const Reader_s READERS[] = {{"GetCode", &QELAnalysisData::GetCode, 0},
                            {"GetCodeFromAll", &QELAnalysisData::GetCodeFromAll, 1}};

class QELAnalysisDataCodeTest : public QELAnalysisDataTest,
                                public testing::WithParamInterface<Reader_s> {
protected:
    static QELAnalysisData& DataOf(const xml::Fields& fields) {
        LoadItems({{{"result", "pass"}}, fields});
        return Data();
    }

    // Reads the field of the item; the byte starts as 0xEE.
    static bool Read(const std::string& key, unsigned char& code) {
        code = 0xEE;
        return (Data().*GetParam().read)(GetParam().id, key, &code);
    }
};

INSTANTIATE_TEST_SUITE_P(Readers, QELAnalysisDataCodeTest, testing::ValuesIn(READERS));

struct Code_s {
    const char* text;
    unsigned char code;
};

TEST_P(QELAnalysisDataCodeTest, IsTheLowByteOfAHexadecimalNumber) {
    for (const Code_s& expected :
         {Code_s{"52", 0x52}, Code_s{"0x52", 0x52}, Code_s{"0X52", 0x52}, Code_s{"  52", 0x52},
          Code_s{"\n\t52", 0x52}, Code_s{"52 and more", 0x52}, Code_s{"52g", 0x52},
          Code_s{"152", 0x52}, Code_s{"1FF", 0xFF}, Code_s{"-1", 0xFF}, Code_s{"+a", 0x0A},
          Code_s{"aB", 0xAB}, Code_s{"0", 0x00}, Code_s{"00", 0x00}, Code_s{"1.9", 0x01},
          Code_s{"7FFFFFFF", 0xFF}, Code_s{"-80000000", 0x00}, Code_s{"0x", 0x00},
          Code_s{"0y", 0x00}}) {
        SCOPED_TRACE(expected.text);
        unsigned char code = 0;
        DataOf({{"opcode", expected.text}});
        EXPECT_TRUE(Read("opcode", code));
        EXPECT_EQ(code, expected.code);
    }
}

TEST_P(QELAnalysisDataCodeTest, IsLoggedBeforeAndAfter) {
    DataOf({{"msgcode", "1A rest"}});
    unsigned char code = 0;
    EXPECT_TRUE(Read("msgcode", code));
    const std::string id = std::to_string(GetParam().id);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("id=" + id + ", strCode=1A rest", FILE_NAME, GetParam().name),
                            InfoLine("id=" + id + ", retCode=1a", FILE_NAME, GetParam().name)));
}

TEST_P(QELAnalysisDataCodeTest, MissingFieldLeavesTheByte) {
    DataOf({{"name", "a"}});
    unsigned char code = 0;
    EXPECT_FALSE(Read("opcode", code));
    EXPECT_EQ(code, 0xEE);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Invalid KEY[opcode]!!\n", "QELXmlParser.cpp"),
                            InfoLine("id=" + std::to_string(GetParam().id) + ", strCode=",
                                     FILE_NAME, GetParam().name)));
}

TEST_P(QELAnalysisDataCodeTest, EmptyFieldLeavesTheByte) {
    DataOf({{"opcode", "52"}});
    // As an empty CDATA section leaves it; of an empty element nothing is stored.
    for (auto* items : {&Store().m_resultFailData, &Store().m_resultAllData}) {
        for (auto& item : *items) {
            item["opcode"] = "";
        }
    }
    unsigned char code = 0;
    EXPECT_FALSE(Read("opcode", code));
    EXPECT_EQ(code, 0xEE);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("id=" + std::to_string(GetParam().id) + ", strCode=",
                                     FILE_NAME, GetParam().name)));
}

TEST_P(QELAnalysisDataCodeTest, UnknownItemLeavesTheByte) {
    DataOf({{"opcode", "52"}});
    unsigned char code = 0xEE;
    EXPECT_FALSE((Data().*GetParam().read)(9, "opcode", &code));
    EXPECT_EQ(code, 0xEE);
    EXPECT_THAT(FakeLog::Infos(),
                ElementsAre(InfoLine("id=9, strCode=", FILE_NAME, GetParam().name)));
    EXPECT_EQ(FakeLog::Errors().size(), 1U);
}

TEST_P(QELAnalysisDataCodeTest, NoHexadecimalDigitThrows) {
    for (const char* text : {"xyz", " ", "-", "g1", "-x"}) {
        SCOPED_TRACE(text);
        DataOf({{"opcode", text}});
        unsigned char code = 0;
        try {
            Read("opcode", code);
            ADD_FAILURE() << "nothing thrown";
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "stoi");
        }
        EXPECT_EQ(code, 0xEE);
    }
    EXPECT_TRUE(LoggedNoError());
}

TEST_P(QELAnalysisDataCodeTest, NumberBeyondAnIntThrows) {
    for (const char* text : {"80000000", "FFFFFFFF", "-80000001", "11111111111111111111"}) {
        SCOPED_TRACE(text);
        DataOf({{"opcode", text}});
        unsigned char code = 0;
        try {
            Read("opcode", code);
            ADD_FAILURE() << "nothing thrown";
        } catch (const std::out_of_range& e) {
            EXPECT_STREQ(e.what(), "stoi");
        }
        EXPECT_EQ(code, 0xEE);
    }
}

TEST_P(QELAnalysisDataCodeTest, MissingResultStoreIsAnError) {
    DataOf({{"opcode", "52"}});
    RemoveParser();
    unsigned char code = 0;
    {
        const FailingNew failing;
        EXPECT_FALSE(Read("opcode", code));
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_EQ(code, 0xEE);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine(NO_PARSER, FILE_NAME, GetParam().name)));
}

// The one reader counts the failed items, the other all items.
TEST_F(QELAnalysisDataTest, ReadersIndexDifferentLists) {
    LoadItems({{{"opcode", "11"}, {"result", "pass"}}, {{"opcode", "22"}}});
    unsigned char code = 0;
    EXPECT_TRUE(Data().GetCode(0, "opcode", &code));
    EXPECT_EQ(code, 0x22);
    EXPECT_TRUE(Data().GetCodeFromAll(0, "opcode", &code));
    EXPECT_EQ(code, 0x11);
}

}  // namespace
