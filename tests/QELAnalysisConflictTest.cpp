// Tests the resource conflict list of QELAnalysis.

#include <algorithm>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "fakes/FailingNew.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xml::ReplaceField;

const char* const kFunction = "m_AnalyzeResourceConflictList";
const char* const kInvalidArgument = "Exception - invalid_argument[stoi]";
const char* const kOutOfRange = "Exception - out_of_range[stoi]";

xml::Fields ReplaceCodes(const xml::Fields& fields, const std::string& opcode,
                         const std::string& msgcode) {
    return ReplaceField(ReplaceField(fields, "opcode", opcode), "msgcode", msgcode);
}

xml::Fields RemoveField(xml::Fields fields, const std::string& key) {
    fields.erase(std::remove_if(fields.begin(), fields.end(),
                                [&key](const auto& field) { return field.first == key; }),
                 fields.end());
    return fields;
}

xml::Fields MarkPassed(xml::Fields fields) {
    fields.emplace_back("result", "pass");
    return fields;
}

// The analysed item of most tests, and its line in the conflict list.
const xml::Fields kOwnItem = MakeItem("own", "1", "1000", "500");
const std::string kOwnLine = "1000\t1500\town(1)\n";

class QELAnalysisConflictTest : public StoreTest {
protected:
    // Loads the items and returns the conflict list of the first failed item.
    static std::string ListConflicts(const std::vector<xml::Fields>& items) {
        LoadItems(items);
        return QELAnalysis::m_AnalyzeResourceConflictList(0);
    }

    // Analyses the item first alone, then as the second item of a run. Expects that both analyses
    // stop at the missing key.
    static void ExpectStopAt(const std::string& key, const xml::Fields& item) {
        SCOPED_TRACE(key);
        const std::string line = "Invalid KEY[" + key + "]!!\n";
        EXPECT_EQ(ListConflicts({item}), "");
        EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(line, kInvalidArgument));
        EXPECT_EQ(ListConflicts({kOwnItem, ReplaceField(item, "threadID", "2")}), "");
        EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(line, kInvalidArgument));
    }
};

// --- Tests of the time windows

// The time window of item B. The time window of the analysed item, kOwnItem, is 1000 to 1500.
struct WindowCase {
    const char* start;
    const char* duration;
    const char* line;  // null if the item is not listed
};

std::ostream& operator<<(std::ostream& out, const WindowCase& window) {
    return out << window.start << " for " << window.duration;
}

class QELAnalysisWindowTest : public QELAnalysisConflictTest,
                              public testing::WithParamInterface<WindowCase> {};

TEST_P(QELAnalysisWindowTest, ListsOnlyConflictsOnAnotherThread) {
    const std::string line = GetParam().line == nullptr ? "" : GetParam().line;
    EXPECT_EQ(ListConflicts({kOwnItem, MakeItem("B", "2", GetParam().start, GetParam().duration)}),
              kOwnLine + line);
    EXPECT_TRUE(LoggedNoError());
}

TEST_P(QELAnalysisWindowTest, IgnoresItemsOnSameThread) {
    EXPECT_EQ(ListConflicts({kOwnItem, MakeItem("B", "1", GetParam().start, GetParam().duration)}),
              kOwnLine);
}

INSTANTIATE_TEST_SUITE_P(
    Windows, QELAnalysisWindowTest,
    testing::Values(
        WindowCase{"1000", "0", "1000\t1000\tB(2)\n"},     // empty, at own start
        WindowCase{"1200", "1000", "1200\t2200\tB(2)\n"},  // starts inside
        WindowCase{"1200", "100", "1200\t1300\tB(2)\n"},   // inside
        WindowCase{"1499", "1", "1499\t1500\tB(2)\n"},     // inside, at the last instant
        WindowCase{"1499", "900", "1499\t2399\tB(2)\n"},   // starts at the last instant inside
        WindowCase{"500", "600", "500\t1100\tB(2)\n"},     // ends inside
        WindowCase{"500", "501", "500\t1001\tB(2)\n"},     // ends at the first instant inside
        WindowCase{"500", "500", nullptr},                 // ends at own start
        WindowCase{"500", "499", nullptr},                 // ends before own start
        WindowCase{"0", "0", nullptr},                     // empty, before own start
        WindowCase{"1500", "0", "1500\t1500\tB(2)\n"},     // empty, at own end
        WindowCase{"1500", "10", nullptr},                 // starts at own end
        WindowCase{"1501", "0", nullptr},                  // empty, after own end
        WindowCase{"900", "700", "900\t1600\tB(2)\n"},     // encloses
        WindowCase{"999", "502", "999\t1501\tB(2)\n"},     // encloses, one longer at each end
        WindowCase{"900", "600", "900\t1500\tB(2)\n"},     // starts earlier, ends at own end
        WindowCase{"1000", "500", "1000\t1500\tB(2)\n"},   // same window
        WindowCase{"1000", "501", "1000\t1501\tB(2)\n"},   // starts at own start, ends later
        // Negative numbers are compared and written as unsigned 32-bit numbers.
        WindowCase{"-5", "10", nullptr},                       // 4294967291 to 5
        WindowCase{"-5", "1205", "4294967291\t1200\tB(2)\n"},  // wraps, ends inside
        WindowCase{"1200", "-100", "1200\t1100\tB(2)\n"},      // inside, ends before it starts
        WindowCase{"2000", "-700", "2000\t1300\tB(2)\n"},      // starts later, ends inside
        WindowCase{"2000", "-500", "2000\t1500\tB(2)\n"},      // starts later, ends at own end
        WindowCase{"2000", "-1000", nullptr},                  // starts later, ends at own start
        WindowCase{"0", "-1", "0\t4294967295\tB(2)\n"},        // encloses, up to 4294967295
        WindowCase{"2147483647", "2147483647", nullptr}));     // starts after own end

TEST_F(QELAnalysisConflictTest, ReturnsOwnLineWithoutOtherItems) {
    EXPECT_EQ(ListConflicts({kOwnItem}), kOwnLine);
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELAnalysisConflictTest, ListsOnlyEnclosingItemsForEmptyWindow) {
    EXPECT_EQ(
        ListConflicts({MakeItem("own", "1", "1000", "0"), MakeItem("at", "2", "1000", "0"),
                       MakeItem("from", "2", "1000", "5"), MakeItem("until", "2", "900", "100"),
                       MakeItem("around", "2", "999", "2")}),
        "1000\t1000\town(1)\n999\t1001\taround(2)\n");
}

TEST_F(QELAnalysisConflictTest, WritesNegativeOwnWindowUnsigned) {
    EXPECT_EQ(ListConflicts({MakeItem("own", "-1", "-10", "4"), MakeItem("B", "2", "-8", "1"),
                             MakeItem("C", "2", "5", "1")}),
              "4294967286\t4294967290\town(-1)\n4294967288\t4294967289\tB(2)\n");
}

// The window of the analysed item is 4294967286 to 10. No number is at least 4294967286 and less
// than 10.
TEST_F(QELAnalysisConflictTest, FindsNoItemInsideWrappedWindow) {
    EXPECT_EQ(ListConflicts({MakeItem("own", "1", "-10", "20"), MakeItem("B", "2", "-5", "1"),
                             MakeItem("C", "2", "5", "1")}),
              "4294967286\t10\town(1)\n");
}

// The window of the analysed item is 4294967286 to 10. An item encloses the window if it starts
// before 4294967286 and ends after 10.
TEST_F(QELAnalysisConflictTest, ListsItemsThatEncloseWrappedWindow) {
    EXPECT_EQ(ListConflicts({MakeItem("own", "1", "-10", "20"), MakeItem("B", "2", "100", "1")}),
              "4294967286\t10\town(1)\n100\t101\tB(2)\n");
}

// --- Tests of the lines of the conflict list

TEST_F(QELAnalysisConflictTest, ListsConflictsInOrderOfAllItems) {
    EXPECT_EQ(
        ListConflicts({MarkPassed(MakeItem("first", "2", "1400", "10")),
                       MakeItem("own", "1", "1000", "500"), MakeItem("second", "3", "1100", "10"),
                       MarkPassed(MakeItem("third", "4", "1000", "1"))}),
        kOwnLine + "1400\t1410\tfirst(2)\n1100\t1110\tsecond(3)\n1000\t1001\tthird(4)\n");
}

TEST_F(QELAnalysisConflictTest, ListsConflictsFromBothResultFiles) {
    PrivateData::WriteRnsc(xml::DocumentOf({MarkPassed(MakeItem("rnsc", "7", "1100", "10"))}));
    EXPECT_EQ(ListConflicts({kOwnItem}), kOwnLine + "1100\t1110\trnsc(7)\n");
}

TEST_F(QELAnalysisConflictTest, AnalysesAnyFailedItem) {
    LoadItems({MarkPassed(MakeItem("good", "1", "0", "10")), MakeItem("a", "2", "5", "10"),
               MakeItem("b", "3", "12", "1")});
    EXPECT_EQ(QELAnalysis::m_AnalyzeResourceConflictList(1), "12\t13\tb(3)\n5\t15\ta(2)\n");
}

// The line of the analysed item has the thread as a number. The other lines have the unchanged
// text.
TEST_F(QELAnalysisConflictTest, WritesParsedThreadOnlyInOwnLine) {
    EXPECT_EQ(
        ListConflicts({MakeItem("own", "007", "1000", "500"), MakeItem("B", " 08 (x)", "1000", "1"),
                       MakeItem("C", "007", "1000", "1"), MakeItem("D", "+7", "1000", "1")}),
        "1000\t1500\town(7)\n1000\t1001\tB( 08 (x))\n");
}

TEST_F(QELAnalysisConflictTest, AcceptsNegativeThreads) {
    EXPECT_EQ(ListConflicts({MakeItem("own", "-3", "1000", "500"), MakeItem("B", "3", "1000", "1"),
                             MakeItem("C", "-3", "1000", "1")}),
              "1000\t1500\town(-3)\n1000\t1001\tB(3)\n");
}

TEST_F(QELAnalysisConflictTest, ParsesNumbersUpToFirstOtherCharacter) {
    EXPECT_EQ(ListConflicts({MakeItem("own", "1.9", " 1000ms", "12.5"),
                             MakeItem("B", "2nd", "\n1001", "+3 s")}),
              "1000\t1012\town(1)\n1001\t1004\tB(2nd)\n");
}

TEST_F(QELAnalysisConflictTest, WritesNamesUnchanged) {
    EXPECT_EQ(ListConflicts({MakeItem("a;b^<c>\t(x)", "1", "1000", "500"),
                             MakeItem("M\xC3\xBCnchen & Co", "2", "1000", "1")}),
              "1000\t1500\ta;b^<c>\t(x)(1)\n1000\t1001\tM\xC3\xBCnchen & Co(2)\n");
}

TEST_F(QELAnalysisConflictTest, WritesMissingNameAsEmpty) {
    EXPECT_EQ(ListConflicts({RemoveField(kOwnItem, "name"),
                             RemoveField(MakeItem("B", "2", "1000", "1"), "name")}),
              "1000\t1500\t(1)\n1000\t1001\t(2)\n");
}

TEST_F(QELAnalysisConflictTest, ReadsNamesOnlyOfListedItems) {
    ListConflicts({kOwnItem, RemoveField(MakeItem("B", "2", "5000", "1"), "name")});
    EXPECT_EQ(FakeLog::Count("Invalid KEY[name]!!\n"), 0);
}

// --- Tests of the codes of the items

TEST_F(QELAnalysisConflictTest, ReturnsEmptyTextForBlockListedItem) {
    EXPECT_EQ(ListConflicts({ReplaceCodes(MakeItem("own", "x", "x", "x"), "50", "1A"),
                             MakeItem("B", "2", "1000", "1")}),
              "");
    EXPECT_TRUE(LoggedNoError());
    // The analysis reads the two codes of the analysed item and no other item.
    EXPECT_THAT(FakeLog::Messages(), ElementsAre("id=0, strCode=50", "id=0, retCode=50",
                                                 "id=0, strCode=1A", "id=0, retCode=1a"));
}

// Item B has invalid numbers. The analysis does not read the numbers of block-listed items.
TEST_F(QELAnalysisConflictTest, SkipsBlockListedItems) {
    EXPECT_EQ(ListConflicts({kOwnItem, ReplaceCodes(MakeItem("B", "x", "x", "x"), "0x150", "10"),
                             MakeItem("C", "2", "1000", "1")}),
              kOwnLine + "1000\t1001\tC(2)\n");
    EXPECT_TRUE(LoggedNoError());
}

// Items B and C have invalid numbers. The analysis does not read the numbers of skipped items.
TEST_F(QELAnalysisConflictTest, SkipsItemsWithoutCodes) {
    for (const char* key : {"opcode", "msgcode"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(ListConflicts({kOwnItem, RemoveField(MakeItem("B", "x", "x", "x"), key),
                                 ReplaceField(MakeItem("C", "x", "x", "x"), key, ""),
                                 MakeItem("D", "2", "1000", "1")}),
                  kOwnLine + "1000\t1001\tD(2)\n");
        EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource), IsEmpty());
    }
}

TEST_F(QELAnalysisConflictTest, ReadsOpcodeBeforeMsgcodeOfEveryItem) {
    ListConflicts({kOwnItem, RemoveField(MakeItem("B", "2", "1000", "1"), "opcode")});
    EXPECT_THAT(FakeLog::Messages(),
                ElementsAre(
                    // These lines log the codes of the analysed item.
                    "id=0, strCode=11", "id=0, retCode=11", "id=0, strCode=22", "id=0, retCode=22",
                    // These lines log the codes of all items.
                    "id=0, strCode=11", "id=0, retCode=11", "id=0, strCode=22", "id=0, retCode=22",
                    "Invalid KEY[opcode]!!\n", "id=1, strCode="));
}

TEST_F(QELAnalysisConflictTest, LogsMissingOwnCodes) {
    EXPECT_EQ(ListConflicts({RemoveField(kOwnItem, "opcode")}), "");
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource),
                ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=0, msgcode=0", kAnalysisSource,
                                      kFunction)));
    FakeLog::Clear();
    EXPECT_EQ(ListConflicts({ReplaceCodes(kOwnItem, "A1", "")}), "");
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource),
                ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=a1, msgcode=0",
                                      kAnalysisSource, kFunction)));
}

TEST_F(QELAnalysisConflictTest, LogsMissingCodesOfUnknownItem) {
    LoadItems({kOwnItem});
    EXPECT_EQ(QELAnalysis::m_AnalyzeResourceConflictList(1), "");
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource),
                ElementsAre(ErrorLine("indexOfAnalysisItem=1, opcode=0, msgcode=0", kAnalysisSource,
                                      kFunction)));
}

// --- Tests of conversion errors

TEST_F(QELAnalysisConflictTest, ThrowsForInvalidOwnCodes) {
    EXPECT_THROW(ListConflicts({ReplaceField(kOwnItem, "opcode", "xyz")}), std::invalid_argument);
    EXPECT_THROW(ListConflicts({ReplaceField(kOwnItem, "msgcode", "80000000")}), std::out_of_range);
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource), IsEmpty());
}

struct InvalidNumber {
    const char* text;
    const char* message;
};

std::ostream& operator<<(std::ostream& out, const InvalidNumber& number) {
    return out << testing::PrintToString(number.text);
}

class QELAnalysisInvalidNumberTest
    : public QELAnalysisConflictTest,
      public testing::WithParamInterface<std::tuple<const char*, InvalidNumber>> {
protected:
    // Replaces the tested field with the tested text.
    static xml::Fields InvalidateNumber(const xml::Fields& fields) {
        return ReplaceField(fields, std::get<0>(GetParam()), std::get<1>(GetParam()).text);
    }

    static void ExpectExceptionLine() {
        EXPECT_THAT(
            FakeLog::ErrorsOf(kAnalysisSource),
            ElementsAre(ErrorLine(std::get<1>(GetParam()).message, kAnalysisSource, kFunction)));
    }
};

TEST_P(QELAnalysisInvalidNumberTest, ReturnsEmptyTextForInvalidOwnNumber) {
    EXPECT_EQ(ListConflicts({InvalidateNumber(kOwnItem), MakeItem("B", "2", "1000", "1")}), "");
    ExpectExceptionLine();
}

TEST_P(QELAnalysisInvalidNumberTest, ReturnsEmptyTextForInvalidNumberOfOtherItem) {
    EXPECT_EQ(ListConflicts({kOwnItem, MakeItem("B", "2", "1000", "1"),
                             InvalidateNumber(MakeItem("C", "3", "1000", "1")),
                             MakeItem("D", "4", "x", "x")}),
              "");
    ExpectExceptionLine();
}

INSTANTIATE_TEST_SUITE_P(
    Fields, QELAnalysisInvalidNumberTest,
    testing::Combine(testing::Values("threadID", "timeAckAbsolute", "duration"),
                     testing::Values(InvalidNumber{"", kInvalidArgument},
                                     InvalidNumber{" ", kInvalidArgument},
                                     InvalidNumber{"x1", kInvalidArgument},
                                     InvalidNumber{"-", kInvalidArgument},
                                     InvalidNumber{"2147483648", kOutOfRange},
                                     InvalidNumber{"-2147483649", kOutOfRange},
                                     InvalidNumber{"99999999999999999999", kOutOfRange})));

TEST_F(QELAnalysisConflictTest, ReturnsEmptyTextForMissingNumbers) {
    for (const char* key : {"threadID", "timeAckAbsolute", "duration"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(ListConflicts({kOwnItem, RemoveField(MakeItem("B", "2", "1000", "1"), key)}), "");
        EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource),
                    ElementsAre(ErrorLine(kInvalidArgument, kAnalysisSource, kFunction)));
        EXPECT_EQ(FakeLog::Count("Invalid KEY[" + std::string(key) + "]!!\n"), 1);
        EXPECT_EQ(ListConflicts({RemoveField(kOwnItem, key), MakeItem("B", "2", "1000", "1")}), "");
    }
}

// The analysis reads thread, start, duration and name, in this order.
TEST_F(QELAnalysisConflictTest, StopsAtFirstMissingNumber) {
    const xml::Fields withoutDuration = RemoveField(RemoveField(kOwnItem, "duration"), "name");
    const xml::Fields withoutTimes = RemoveField(withoutDuration, "timeAckAbsolute");
    const xml::Fields withoutNumbers = RemoveField(withoutTimes, "threadID");
    ExpectStopAt("threadID", withoutNumbers);
    ExpectStopAt("timeAckAbsolute", withoutTimes);
    ExpectStopAt("duration", withoutDuration);
}

TEST_F(QELAnalysisConflictTest, LogsErrorOfFirstInvalidNumber) {
    const xml::Fields tooLargeFirst = MakeItem("A", "99999999999", "x", "x");
    const xml::Fields malformedFirst = MakeItem("A", "2", "x", "99999999999");
    EXPECT_EQ(ListConflicts({tooLargeFirst}), "");
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(kOutOfRange));
    EXPECT_EQ(ListConflicts({malformedFirst}), "");
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(kInvalidArgument));
    EXPECT_EQ(ListConflicts({kOwnItem, tooLargeFirst}), "");
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(kOutOfRange));
    EXPECT_EQ(ListConflicts({kOwnItem, malformedFirst}), "");
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(kInvalidArgument));
}

TEST_F(QELAnalysisConflictTest, ReturnsEmptyTextForInvalidCodeOfOtherItem) {
    for (const char* key : {"opcode", "msgcode"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(ListConflicts({kOwnItem, MakeItem("B", "2", "1000", "1"),
                                 ReplaceField(MakeItem("C", "2", "9000", "1"), key, "xyz")}),
                  "");
        EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource),
                    ElementsAre(ErrorLine(kInvalidArgument, kAnalysisSource, kFunction)));
        EXPECT_EQ(ListConflicts(
                      {kOwnItem, ReplaceField(MakeItem("C", "2", "9000", "1"), key, "80000000")}),
                  "");
        EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource),
                    ElementsAre(ErrorLine(kOutOfRange, kAnalysisSource, kFunction)));
    }
}

// The analysis reads only codes and thread of items on the same thread.
TEST_F(QELAnalysisConflictTest, IgnoresTimesOfItemsOnSameThread) {
    EXPECT_EQ(ListConflicts({kOwnItem, MakeItem("B", "1", "x", "x"),
                             RemoveField(MakeItem("C", "1", "", ""), "duration")}),
              kOwnLine);
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource), IsEmpty());
}

TEST_F(QELAnalysisConflictTest, AcceptsLimitsOfIntRange) {
    EXPECT_EQ(ListConflicts({MakeItem("own", "2147483647", "2147483647", "2147483647"),
                             MakeItem("B", "-2147483648", "-2147483648", "-2147483648"),
                             MakeItem("C", "1", "-2147483648", "1")}),
              "2147483647\t4294967294\town(2147483647)\n2147483648\t0\tB(-2147483648)\n"
              "2147483648\t2147483649\tC(1)\n");
}

// --- Tests without result store or analysis data

TEST_F(QELAnalysisConflictTest, LogsMissingResultStore) {
    const FailingNew failing;
    EXPECT_EQ(QELAnalysis::m_AnalyzeResourceConflictList(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                            ErrorLine("not able to get instance of xmlParser", kAnalysisSource,
                                      kFunction)));
}

TEST_F(QELAnalysisConflictTest, LogsMissingAnalysisData) {
    LoadItems({kOwnItem});
    const FailingNew failing;
    EXPECT_EQ(QELAnalysis::m_AnalyzeResourceConflictList(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("not able to get instance of analysisData",
                                                        kAnalysisSource, kFunction)));
}

TEST_F(QELAnalysisConflictTest, LeavesAnalysisDataUnchanged) {
    LoadItems({kOwnItem, MakeItem("B", "2", "1000", "1")});
    QELAnalysis::m_AnalyzeResourceConflictList(0);
    EXPECT_THAT(QELAnalysisData::GetInstance()->m_IsExecutedByUser, ElementsAre(false, false));
    EXPECT_THAT(QELAnalysisData::GetInstance()->m_AnalysisData, ElementsAre("", ""));
}

}  // namespace
