// Tests the analysis texts, the flags and the code readers of QELAnalysisData.

#include "QELAnalysisData.h"

#include <climits>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "fakes/FailingNew.h"
#include "fixtures/Singletons.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kNoResultStoreMessage = "not able to get instance of xmlParser";

class QELAnalysisDataTest : public StoreTest {
protected:
    static QELAnalysisData& Data() { return *QELAnalysisData::GetInstance(); }

    // Loads two failed items with a passed item between them.
    static QELAnalysisData& LoadTwoFailedItems() {
        LoadItems({{{"name", "a"}}, {{"name", "b"}, {"result", "pass"}}, {{"name", "c"}}});
        return Data();
    }
};

// --- Tests of the single instance

TEST_F(QELAnalysisDataTest, HasVirtualDestructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<QELAnalysisData>);
}

TEST_F(QELAnalysisDataTest, ReturnsSameInstance) {
    EXPECT_EQ(QELAnalysisData::m_QELAnalysisData, nullptr);
    QELAnalysisData* data = QELAnalysisData::GetInstance();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(QELAnalysisData::GetInstance(), data);
    EXPECT_EQ(QELAnalysisData::m_QELAnalysisData, data);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTest, RetriesFailedAllocationSilently) {
    {
        const FailingNew failing;
        EXPECT_EQ(QELAnalysisData::GetInstance(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    EXPECT_NE(QELAnalysisData::GetInstance(), nullptr);
}

TEST_F(QELAnalysisDataTest, HoldsTextAndFlagForEachFailedItem) {
    const QELAnalysisData& data = LoadTwoFailedItems();
    EXPECT_THAT(data.m_AnalysisData, ElementsAre("", ""));
    EXPECT_THAT(data.m_IsExecutedByUser, ElementsAre(false, false));
    EXPECT_THAT(data.m_CheckTableList, IsEmpty());
    EXPECT_EQ(data.m_BlockList.size(), 54U);
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTest, ReadsNumberOfFailedItemsOnce) {
    QELAnalysisData& data = LoadTwoFailedItems();
    Store().m_resultFailData.emplace_back();
    EXPECT_EQ(&Data(), &data);
    EXPECT_EQ(data.m_AnalysisData.size(), 2U);
    EXPECT_EQ(data.m_IsExecutedByUser.size(), 2U);
}

TEST_F(QELAnalysisDataTest, StaysEmptyWithoutResultStore) {
    {
        // The second allocation is the result store.
        const FailingNew failing(2);
        ASSERT_NE(QELAnalysisData::GetInstance(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine(kNoResultStoreMessage, kAnalysisDataSource, "m_Init")));
    EXPECT_THAT(Data().m_AnalysisData, IsEmpty());
    EXPECT_THAT(Data().m_IsExecutedByUser, IsEmpty());
    EXPECT_THAT(Data().m_BlockList, IsEmpty());
}

TEST_F(QELAnalysisDataTest, ResizesAndClearsListsOnInit) {
    QELAnalysisData& data = LoadTwoFailedItems();
    data.SetAnalysisData(0, "text");
    Store().m_resultFailData.emplace_back();
    data.m_Init();
    EXPECT_THAT(data.m_AnalysisData, ElementsAre("", "", ""));
    EXPECT_THAT(data.m_IsExecutedByUser, ElementsAre(false, false, false));
}

// --- Tests of the texts and the flags

TEST_F(QELAnalysisDataTest, SetsFlagWhenTextIsStored) {
    QELAnalysisData& data = LoadTwoFailedItems();
    EXPECT_EQ(data.GetAnalysisData(1), "");
    EXPECT_FALSE(data.GetExcutedByUser(1));
    data.SetAnalysisData(1, "text\n");
    EXPECT_EQ(data.GetAnalysisData(1), "text\n");
    EXPECT_TRUE(data.GetExcutedByUser(1));
    EXPECT_EQ(data.GetAnalysisData(0), "");
    EXPECT_FALSE(data.GetExcutedByUser(0));
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTest, SetsFlagForEmptyText) {
    QELAnalysisData& data = LoadTwoFailedItems();
    data.SetAnalysisData(0, "");
    EXPECT_EQ(data.GetAnalysisData(0), "");
    EXPECT_TRUE(data.GetExcutedByUser(0));
}

TEST_F(QELAnalysisDataTest, KeepsLastTextAndFlag) {
    QELAnalysisData& data = LoadTwoFailedItems();
    data.SetAnalysisData(0, "first");
    data.SetAnalysisData(0, "");
    data.SetAnalysisData(0, "last");
    EXPECT_EQ(data.GetAnalysisData(0), "last");
    EXPECT_TRUE(data.GetExcutedByUser(0));
}

TEST_F(QELAnalysisDataTest, StoresAndReturnsCopiesOfTexts) {
    QELAnalysisData& data = LoadTwoFailedItems();
    std::string text = "text";
    data.SetAnalysisData(0, text);
    text = "changed";
    std::string copy = data.GetAnalysisData(0);
    copy += "changed";
    EXPECT_EQ(data.GetAnalysisData(0), "text");
}

TEST_F(QELAnalysisDataTest, IgnoresTextForInvalidIndex) {
    QELAnalysisData& data = LoadTwoFailedItems();
    for (const unsigned int id : {2U, UINT_MAX}) {
        data.SetAnalysisData(id, "x");
        EXPECT_EQ(data.GetAnalysisData(id), "");
    }
    EXPECT_THAT(data.m_AnalysisData, ElementsAre("", ""));
    EXPECT_THAT(data.m_IsExecutedByUser, ElementsAre(false, false));
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTest, LogsInvalidIndexWhenFlagIsRead) {
    QELAnalysisData& data = LoadTwoFailedItems();
    EXPECT_FALSE(data.GetExcutedByUser(2));
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("index is out of range.",
                                                        kAnalysisDataSource, "GetExcutedByUser")));
}

TEST_F(QELAnalysisDataTest, RejectsEveryIndexWithoutFailedItems) {
    QELAnalysisData& data = Data();
    EXPECT_FALSE(data.GetExcutedByUser(0));
    EXPECT_TRUE(LoggedError("index is out of range.", kAnalysisDataSource));
    EXPECT_EQ(data.GetAnalysisData(0), "");
    data.SetAnalysisData(0, "x");
    EXPECT_THAT(data.m_AnalysisData, IsEmpty());
    EXPECT_THAT(data.m_IsExecutedByUser, IsEmpty());
}

TEST_F(QELAnalysisDataTest, StoresTextWithoutFlag) {
    QELAnalysisData& data = LoadTwoFailedItems();
    data.m_IsExecutedByUser.resize(1);
    data.SetAnalysisData(1, "text");
    EXPECT_EQ(data.GetAnalysisData(1), "text");
    EXPECT_THAT(data.m_IsExecutedByUser, ElementsAre(false));
}

// --- Tests of the code readers

// A code reader, and the index of the tested item in the list that the reader uses.
struct CodeReader {
    const char* name;
    bool (QELAnalysisData::*read)(unsigned int, const std::string&, unsigned char*);
    unsigned int index;
};

std::ostream& operator<<(std::ostream& out, const CodeReader& reader) {
    return out << reader.name;
}

const CodeReader kCodeReaders[] = {{"GetCode", &QELAnalysisData::GetCode, 0},
                                   {"GetCodeFromAll", &QELAnalysisData::GetCodeFromAll, 1}};

// The value that ReadCode stores in the byte before it reads a code.
const unsigned char kUntouchedByte = 0xEE;

class QELAnalysisDataCodeTest : public QELAnalysisDataTest,
                                public testing::WithParamInterface<CodeReader> {
protected:
    // Loads a passed item and the tested item, and creates the analysis data.
    static void LoadSecondItem(const xml::Fields& fields) {
        LoadItems({{{"result", "pass"}}, fields});
        Data();
    }

    // Sets the byte to kUntouchedByte, then reads the field of the tested item.
    static bool ReadCode(const std::string& key, unsigned char& code) {
        code = kUntouchedByte;
        return (Data().*GetParam().read)(GetParam().index, key, &code);
    }
};

INSTANTIATE_TEST_SUITE_P(Readers, QELAnalysisDataCodeTest, testing::ValuesIn(kCodeReaders));

struct CodeCase {
    const char* text;
    unsigned char code;
};

TEST_P(QELAnalysisDataCodeTest, ReturnsLowByteOfHexadecimalNumber) {
    for (const CodeCase& expected :
         {CodeCase{"52", 0x52}, CodeCase{"0x52", 0x52}, CodeCase{"0X52", 0x52},
          CodeCase{"  52", 0x52}, CodeCase{"\n\t52", 0x52}, CodeCase{"52 and more", 0x52},
          CodeCase{"52g", 0x52}, CodeCase{"152", 0x52}, CodeCase{"1FF", 0xFF}, CodeCase{"-1", 0xFF},
          CodeCase{"+a", 0x0A}, CodeCase{"aB", 0xAB}, CodeCase{"0", 0x00}, CodeCase{"00", 0x00},
          CodeCase{"1.9", 0x01}, CodeCase{"7FFFFFFF", 0xFF}, CodeCase{"-80000000", 0x00},
          CodeCase{"0x", 0x00}, CodeCase{"0y", 0x00}}) {
        SCOPED_TRACE(expected.text);
        unsigned char code = 0;
        LoadSecondItem({{"opcode", expected.text}});
        EXPECT_TRUE(ReadCode("opcode", code));
        EXPECT_EQ(code, expected.code);
    }
}

TEST_P(QELAnalysisDataCodeTest, LogsTextAndCode) {
    LoadSecondItem({{"msgcode", "1A rest"}});
    unsigned char code = 0;
    EXPECT_TRUE(ReadCode("msgcode", code));
    const std::string index = std::to_string(GetParam().index);
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(
            InfoLine("id=" + index + ", strCode=1A rest", kAnalysisDataSource, GetParam().name),
            InfoLine("id=" + index + ", retCode=1a", kAnalysisDataSource, GetParam().name)));
}

TEST_P(QELAnalysisDataCodeTest, KeepsByteForMissingField) {
    LoadSecondItem({{"name", "a"}});
    unsigned char code = 0;
    EXPECT_FALSE(ReadCode("opcode", code));
    EXPECT_EQ(code, kUntouchedByte);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("Invalid KEY[opcode]!!\n", "QELXmlParser.cpp"),
                            InfoLine("id=" + std::to_string(GetParam().index) + ", strCode=",
                                     kAnalysisDataSource, GetParam().name)));
}

TEST_P(QELAnalysisDataCodeTest, KeepsByteForEmptyField) {
    LoadSecondItem({{"opcode", "52"}});
    // An empty CDATA section stores an empty text. An empty element is not stored.
    for (auto* items : {&Store().m_resultFailData, &Store().m_resultAllData}) {
        for (auto& item : *items) {
            item["opcode"] = "";
        }
    }
    unsigned char code = 0;
    EXPECT_FALSE(ReadCode("opcode", code));
    EXPECT_EQ(code, kUntouchedByte);
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(InfoLine("id=" + std::to_string(GetParam().index) + ", strCode=",
                                     kAnalysisDataSource, GetParam().name)));
}

TEST_P(QELAnalysisDataCodeTest, KeepsByteForUnknownItem) {
    LoadSecondItem({{"opcode", "52"}});
    unsigned char code = kUntouchedByte;
    EXPECT_FALSE((Data().*GetParam().read)(9, "opcode", &code));
    EXPECT_EQ(code, kUntouchedByte);
    EXPECT_THAT(FakeLog::Infos(),
                ElementsAre(InfoLine("id=9, strCode=", kAnalysisDataSource, GetParam().name)));
    EXPECT_EQ(FakeLog::Errors().size(), 1U);
}

TEST_P(QELAnalysisDataCodeTest, ThrowsForTextWithoutHexadecimalNumber) {
    for (const char* text : {"xyz", " ", "-", "g1", "-x"}) {
        SCOPED_TRACE(text);
        LoadSecondItem({{"opcode", text}});
        unsigned char code = 0;
        try {
            ReadCode("opcode", code);
            ADD_FAILURE() << GetParam().name << " throws no std::invalid_argument";
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "stoi");
        }
        EXPECT_EQ(code, kUntouchedByte);
    }
    EXPECT_TRUE(LoggedNoError());
}

TEST_P(QELAnalysisDataCodeTest, ThrowsForNumberOutsideIntRange) {
    for (const char* text : {"80000000", "FFFFFFFF", "-80000001", "11111111111111111111"}) {
        SCOPED_TRACE(text);
        LoadSecondItem({{"opcode", text}});
        unsigned char code = 0;
        try {
            ReadCode("opcode", code);
            ADD_FAILURE() << GetParam().name << " throws no std::out_of_range";
        } catch (const std::out_of_range& e) {
            EXPECT_STREQ(e.what(), "stoi");
        }
        EXPECT_EQ(code, kUntouchedByte);
    }
}

TEST_P(QELAnalysisDataCodeTest, LogsMissingResultStore) {
    LoadSecondItem({{"opcode", "52"}});
    singletons::ResetResultStore();
    unsigned char code = 0;
    {
        const FailingNew failing;
        EXPECT_FALSE(ReadCode("opcode", code));
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_EQ(code, kUntouchedByte);
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                    ErrorLine(kNoResultStoreMessage, kAnalysisDataSource, GetParam().name)));
}

TEST_F(QELAnalysisDataTest, ReadsCodesOfFailedItemsAndAllItems) {
    LoadItems({{{"opcode", "11"}, {"result", "pass"}}, {{"opcode", "22"}}});
    unsigned char code = 0;
    EXPECT_TRUE(Data().GetCode(0, "opcode", &code));
    EXPECT_EQ(code, 0x22);
    EXPECT_TRUE(Data().GetCodeFromAll(0, "opcode", &code));
    EXPECT_EQ(code, 0x11);
}

}  // namespace
