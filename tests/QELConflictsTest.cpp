// Tests the records of the conflict analysis, and the index of the time windows of a run.

#include "QELConflicts.h"

#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "QELAnalysisData.h"
#include "QELXmlParser.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string Describe(const QELConflictLine_s& line) {
    const std::string item =
        line.item == QELConflictLine_s::kNoItem ? "own" : std::to_string(line.item);
    return item + ": " + std::to_string(line.window.start) + " to " +
           std::to_string(line.window.end) + " " + line.name + " on " + line.thread;
}

std::vector<std::string> Describe(const std::vector<QELConflictLine_s>& lines) {
    std::vector<std::string> texts;
    for (const QELConflictLine_s& line : lines) {
        texts.push_back(Describe(line));
    }
    return texts;
}

class QELConflictsTest : public StoreTest {
protected:
    static QELConflictList_s Find(unsigned int id) {
        return QELConflicts::Find(Store(), *QELAnalysisData::GetInstance(), id);
    }
    static QELConflictList_s FindIndexed(unsigned int id) {
        return QELConflictIndex(Store(), *QELAnalysisData::GetInstance()).Find(id);
    }
    // Expects the state and no line, both from the item-by-item comparison and from the index.
    static void ExpectState(QELConflictState_e state) {
        for (const QELConflictList_s& list : {Find(0), FindIndexed(0)}) {
            EXPECT_EQ(list.state, state);
            EXPECT_THAT(list.lines, IsEmpty());
        }
    }
};

TEST_F(QELConflictsTest, ReturnsOwnLineThenConflictsInOrderOfItems) {
    LoadItems({MakeItem("late", "02", "1400", "500"), MakeItem("own", "007", "1000", "500"),
               MakeItem("same thread", "7", "1000", "500"), MakeItem("early", "2", "900", "200")});
    const auto lines = ElementsAre("own: 1000 to 1500 own on 7", "0: 1400 to 1900 late on 02",
                                   "3: 900 to 1100 early on 2");
    EXPECT_THAT(Describe(Find(1).lines), lines);
    EXPECT_THAT(Describe(FindIndexed(1).lines), lines);
}

TEST_F(QELConflictsTest, ReadsThreadAndWindowOfItem) {
    LoadItems({MakeItem("own", " 007", "+1000", "500"), MakeItem("long", "2", "4294967", "-1")});
    EXPECT_EQ(QELConflicts::ReadThread(Store(), 0), 7);
    EXPECT_EQ(QELConflicts::ReadWindow(Store(), 0).start, 1000U);
    EXPECT_EQ(QELConflicts::ReadWindow(Store(), 0).end, 1500U);
    EXPECT_EQ(QELConflicts::ReadThread(Store(), 1), 2);
    EXPECT_EQ(QELConflicts::ReadWindow(Store(), 1).end, 4294966U);
}

struct NumberCase {
    const char* text;
    bool isOutOfRange;
};

class QELConflictsNumberTest : public QELConflictsTest,
                               public testing::WithParamInterface<NumberCase> {};

TEST_P(QELConflictsNumberTest, ThrowsForInvalidNumber) {
    LoadItems({MakeItem("own", GetParam().text, GetParam().text, "0")});
    if (GetParam().isOutOfRange) {
        EXPECT_THROW(QELConflicts::ReadThread(Store(), 0), std::out_of_range);
        EXPECT_THROW(QELConflicts::ReadWindow(Store(), 0), std::out_of_range);
    } else {
        EXPECT_THROW(QELConflicts::ReadThread(Store(), 0), std::invalid_argument);
        EXPECT_THROW(QELConflicts::ReadWindow(Store(), 0), std::invalid_argument);
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, QELConflictsNumberTest,
                         testing::Values(NumberCase{"2147483648", true},
                                         NumberCase{"99999999999", true}, NumberCase{"x", false},
                                         NumberCase{" ", false}, NumberCase{"-", false}));

class QELConflictsTextTest : public QELConflictsTest,
                             public testing::WithParamInterface<const char*> {};

// The application converts the digits of a short number without std::stoi.
TEST_P(QELConflictsTextTest, ReadsSameNumberAsStoi) {
    LoadItems({MakeItem("own", GetParam(), GetParam(), "0")});
    EXPECT_EQ(QELConflicts::ReadThread(Store(), 0), std::stoi(GetParam()));
    EXPECT_EQ(QELConflicts::ReadWindow(Store(), 0).start,
              static_cast<std::uint32_t>(std::stoi(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Texts, QELConflictsTextTest,
                         testing::Values("0", "9", "000000012", "999999999", "1000000000",
                                         "2147483647", "-2147483648", "12x", "1 2", " 5",
                                         "00000000000000000003"));

TEST_F(QELConflictsTest, ReportsMissingCode) {
    LoadItems({MakeItem("own", "1", "1000", "500", "")});
    ExpectState(QELConflictState_e::kNoCode);
}

TEST_F(QELConflictsTest, ReportsBlockListedCode) {
    LoadItems({{{"name", "own"}, {"opcode", "DD"}, {"msgcode", "10"}}});
    ExpectState(QELConflictState_e::kBlocked);
}

TEST_F(QELConflictsTest, DropsAllLinesForOneInvalidNumber) {
    LoadItems({MakeItem("own", "1", "1000", "500"), MakeItem("B", "2", "1000", "500"),
               MakeItem("bad", "3", "1000", "x")});
    ExpectState(QELConflictState_e::kInvalidArgument);
    LoadItems({MakeItem("own", "1", "1000", "500"), MakeItem("bad", "3", "99999999999", "1")});
    ExpectState(QELConflictState_e::kOutOfRange);
}

TEST_F(QELConflictsTest, IgnoresTimesOfItemsOnSameThread) {
    LoadItems({MakeItem("bad", "1", "x", "500"), MakeItem("own", "1", "1000", "500"),
               MakeItem("other", "2", "1000", "500")});
    EXPECT_EQ(Find(1).state, QELConflictState_e::kFound);
    EXPECT_EQ(FindIndexed(1).state, QELConflictState_e::kFound);
    EXPECT_EQ(Find(2).state, QELConflictState_e::kInvalidArgument);
    EXPECT_EQ(FindIndexed(2).state, QELConflictState_e::kInvalidArgument);
}

TEST_F(QELConflictsTest, ReportsFirstOfSeveralInvalidNumbers) {
    LoadItems({MakeItem("on 1", "1", "x", "500"), MakeItem("on 2", "2", "99999999999", "500"),
               MakeItem("own", "1", "1000", "500"), MakeItem("code", "2", "1", "1", "no")});
    EXPECT_EQ(Find(2).state, QELConflictState_e::kOutOfRange);
    EXPECT_EQ(FindIndexed(2).state, QELConflictState_e::kOutOfRange);
}

TEST_F(QELConflictsTest, ReportsInvalidNumberOnOtherThreadAfterTwoOnSameThread) {
    LoadItems({MakeItem("on 1", "1", "x", "500"), MakeItem("on 1", "1", "x", "500"),
               MakeItem("on 2", "2", "99999999999", "500"), MakeItem("own", "1", "1000", "500")});
    EXPECT_EQ(Find(3).state, QELConflictState_e::kOutOfRange);
    EXPECT_EQ(FindIndexed(3).state, QELConflictState_e::kOutOfRange);
}

TEST_F(QELConflictsTest, ThrowsForInvalidOwnCode) {
    LoadItems({MakeItem("own", "1", "1000", "500", "xyz")});
    EXPECT_THROW(Find(0), std::invalid_argument);
    EXPECT_THROW(FindIndexed(0), std::invalid_argument);
}

// Returns random items on the given number of threads. Most durations are between 0 and
// maxDuration.
std::vector<xml::Fields> MakeRun(unsigned int seed, int items, int threads, int maxDuration) {
    std::mt19937 random(seed);
    const auto draw = [&random](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    std::vector<xml::Fields> run;
    for (int i = 0; i < items; ++i) {
        // A few windows wrap around, and a few end before they start.
        const int duration = draw(0, 9) == 0 ? -draw(0, 2000) : draw(0, maxDuration);
        run.push_back(MakeItem(std::to_string(i), std::to_string(draw(1, threads)),
                               std::to_string(draw(-50, 1000)), std::to_string(duration)));
    }
    return run;
}

struct Shape {
    int items;
    int threads;
    int maxDuration;
};

std::ostream& operator<<(std::ostream& out, const Shape& shape) {
    return out << shape.items << " items on " << shape.threads << " threads, up to "
               << shape.maxDuration;
}

class QELConflictsIndexTest : public QELConflictsTest, public testing::WithParamInterface<Shape> {};

TEST_P(QELConflictsIndexTest, ReturnsSameRecordsAsItemByItemComparison) {
    const Shape& shape = GetParam();
    LoadItems(MakeRun(17, shape.items, shape.threads, shape.maxDuration));
    QELAnalysisData& analysisData = *QELAnalysisData::GetInstance();
    const QELConflictIndex index(Store(), analysisData);
    for (unsigned int id = 0; id < Store().GetNumOfResult() && !HasFailure(); ++id) {
        EXPECT_EQ(Describe(index.Find(id).lines),
                  Describe(QELConflicts::Find(Store(), analysisData, id).lines));
        FakeLog::Clear();
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, QELConflictsIndexTest,
                         testing::Values(Shape{0, 1, 10}, Shape{1, 1, 10}, Shape{2, 2, 2000},
                                         Shape{63, 2, 30}, Shape{64, 64, 30}, Shape{65, 3, 2000},
                                         Shape{150, 8, 100}));

}  // namespace
