// Tests the check tables and the block list of QELAnalysisData.

#include <cstdint>
#include <map>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "QELAnalysisData.h"
#include "fakes/FailingNew.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The expected block list: each opcode with its msgcodes. The gaps, such as 0x14 for 0x52 and 0x11
// for 0xCC, are intended.
const std::map<int, std::vector<int>> kBlockedCodes = {
    {0x2A, {0x11}},
    {0x32, {0x02}},
    {0x50, {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A}},
    {0x52, {0x10, 0x11, 0x12, 0x13, 0x15, 0x16, 0x17}},
    {0x60, {0x11}},
    {0x71, {0x02}},
    {0x72, {0x10, 0x11}},
    {0x73, {0x10}},
    {0x74, {0x01, 0x03}},
    {0x87, {0x26}},
    {0x88, {0x02}},
    {0x9D, {0x10}},
    {0xA7, {0x02, 0x10}},
    {0xBB, {0x10, 0x11, 0x17, 0x18, 0x20}},
    {0xBE, {0x04, 0x12, 0x13, 0x14, 0x15}},
    {0xCC, {0x04, 0x10, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x21, 0x22}},
    {0xDD, {0x10}},
    {0xE0, {0x10}},
};

std::set<std::pair<int, int>> GetExpectedPairs() {
    std::set<std::pair<int, int>> pairs;
    for (const auto& entry : kBlockedCodes) {
        for (const int msgcode : entry.second) {
            pairs.emplace(entry.first, msgcode);
        }
    }
    return pairs;
}

// Returns every code pair that is block-listed.
std::set<std::pair<int, int>> FindBlockedPairs(QELAnalysisData& data) {
    std::set<std::pair<int, int>> pairs;
    for (int opcode = 0; opcode < 256; ++opcode) {
        for (int msgcode = 0; msgcode < 256; ++msgcode) {
            if (data.IsItInBlockList(static_cast<unsigned char>(opcode),
                                     static_cast<unsigned char>(msgcode))) {
                pairs.emplace(opcode, msgcode);
            }
        }
    }
    return pairs;
}

class QELAnalysisDataTablesTest : public StoreTest {
protected:
    static QELAnalysisData& Data() { return *QELAnalysisData::GetInstance(); }
};

TEST_F(QELAnalysisDataTablesTest, BlocksExactlyExpectedPairs) {
    EXPECT_EQ(GetExpectedPairs().size(), 54U);
    EXPECT_EQ(FindBlockedPairs(Data()), GetExpectedPairs());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTablesTest, ComparesBothCodesWithBlockList) {
    EXPECT_TRUE(Data().IsItInBlockList(0x50, 0x1A));
    EXPECT_TRUE(Data().IsItInBlockList(0x2A, 0x11));
    EXPECT_FALSE(Data().IsItInBlockList(0x52, 0x14));
    EXPECT_FALSE(Data().IsItInBlockList(0xCC, 0x11));
    EXPECT_FALSE(Data().IsItInBlockList(0x11, 0x2A));
}

TEST_F(QELAnalysisDataTablesTest, ReplacesWholeBlockList) {
    Data().m_BlockList = {{1, 2}};
    Data().m_InitBlockList();
    EXPECT_EQ(FindBlockedPairs(Data()), GetExpectedPairs());
}

TEST_F(QELAnalysisDataTablesTest, BlocksNoPairWithoutResultStore) {
    {
        // The second allocation is the result store.
        const FailingNew failing(2);
        ASSERT_NE(QELAnalysisData::GetInstance(), nullptr);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FindBlockedPairs(Data()), IsEmpty());
}

TEST_F(QELAnalysisDataTablesTest, ReturnsEmptyCheckTableForEveryPair) {
    EXPECT_THAT(Data().m_CheckTableList, IsEmpty());
    for (int opcode = 0; opcode < 256; ++opcode) {
        for (int msgcode = 0; msgcode < 256; ++msgcode) {
            ASSERT_THAT(Data().GetCheckTable(static_cast<unsigned char>(opcode),
                                             static_cast<unsigned char>(msgcode)),
                        IsEmpty());
        }
    }
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisDataTablesTest, ReturnsCopyOfCheckTableInOrder) {
    Data().m_CheckTableList[{0x50, 0x10}] = {{1, 2, {3, 4}, {5}, {}, {6}, "first"},
                                             {7, 8, {}, {}, {9}, {}, "second"}};
    std::vector<QELAnalysisCheckTable_s> table = Data().GetCheckTable(0x50, 0x10);
    ASSERT_EQ(table.size(), 2U);
    EXPECT_EQ(table[0].type, 1U);
    EXPECT_EQ(table[0].param, 2U);
    EXPECT_THAT(table[0].values1, ElementsAre(3, 4));
    EXPECT_THAT(table[0].values2, ElementsAre(5));
    EXPECT_THAT(table[0].values3, IsEmpty());
    EXPECT_THAT(table[0].values4, ElementsAre(6));
    EXPECT_EQ(table[0].text, "first");
    EXPECT_EQ(table[1].text, "second");
    table[0].text = "changed";
    table[0].values1.clear();
    EXPECT_EQ(Data().GetCheckTable(0x50, 0x10)[0].text, "first");
    EXPECT_EQ(Data().GetCheckTable(0x50, 0x10)[0].values1.size(), 2U);
    EXPECT_THAT(Data().GetCheckTable(0x10, 0x50), IsEmpty());
    EXPECT_THAT(Data().GetCheckTable(0x50, 0x11), IsEmpty());
}

TEST_F(QELAnalysisDataTablesTest, Uses32BitFieldsInCheckRecords) {
    EXPECT_EQ(CHECK_TYPE_SETTING_CONFIG, 1U);
    EXPECT_TRUE((std::is_same_v<decltype(QELAnalysisCheckTable_s::type), std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(QELAnalysisCheckTable_s::param), std::uint32_t>));
    EXPECT_EQ(sizeof(QELAnalysisCheckTable_s::values1[0]), 4U);
    EXPECT_EQ(sizeof(QELAnalysisCheckTable_s::values2[0]), 4U);
    EXPECT_EQ(sizeof(QELAnalysisCheckTable_s::values3[0]), 4U);
    EXPECT_EQ(sizeof(QELAnalysisCheckTable_s::values4[0]), 4U);
}

}  // namespace
