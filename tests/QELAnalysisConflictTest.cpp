// QELAnalysis: the resource conflict list.

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

const char* const FILE_NAME = "QELAnalysis.cpp";
const char* const FUNCTION = "m_AnalyzeResourceConflictList";
const char* const INVALID_ARGUMENT = "Exception - invalid_argument[stoi]";
const char* const OUT_OF_RANGE = "Exception - out_of_range[stoi]";

// An item of a run, of a pair that is not block-listed.
xml::Fields Item(const std::string& name, const std::string& thread, const std::string& start,
                 const std::string& duration) {
    return {{"name", name},       {"opcode", "11"},           {"msgcode", "22"},
            {"threadID", thread}, {"timeAckAbsolute", start}, {"duration", duration}};
}

xml::Fields With(xml::Fields fields, const std::string& key, const std::string& value) {
    for (auto& field : fields) {
        if (field.first == key) {
            field.second = value;
        }
    }
    return fields;
}

xml::Fields Without(xml::Fields fields, const std::string& key) {
    fields.erase(std::remove_if(fields.begin(), fields.end(),
                                [&key](const auto& field) { return field.first == key; }),
                 fields.end());
    return fields;
}

xml::Fields Passed(xml::Fields fields) {
    fields.emplace_back("result", "pass");
    return fields;
}

// The analysed item of most tests, and its line.
const xml::Fields OWN = Item("own", "1", "1000", "500");
const std::string OWN_LINE = "1000\t1500\town(1)\n";

class QELAnalysisConflictTest : public StoreTest {
protected:
    // The conflict list of the first failed item.
    static std::string Conflicts(const std::vector<xml::Fields>& items) {
        LoadItems(items);
        return QELAnalysis::m_AnalyzeResourceConflictList(0);
    }

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

// Windows

struct Window_s {
    const char* start;
    const char* duration;
    const char* line;  // null when it is not listed
};

std::ostream& operator<<(std::ostream& out, const Window_s& window) {
    return out << window.start << " for " << window.duration;
}

class QELAnalysisWindowTest : public QELAnalysisConflictTest,
                              public testing::WithParamInterface<Window_s> {};

TEST_P(QELAnalysisWindowTest, OnAnotherThreadIsListedWhenItConflicts) {
    const std::string line = GetParam().line == nullptr ? "" : GetParam().line;
    EXPECT_EQ(Conflicts({OWN, Item("B", "2", GetParam().start, GetParam().duration)}),
              OWN_LINE + line);
    EXPECT_TRUE(LoggedNoError());
}

TEST_P(QELAnalysisWindowTest, OnTheSameThreadIsNeverListed) {
    EXPECT_EQ(Conflicts({OWN, Item("B", "1", GetParam().start, GetParam().duration)}), OWN_LINE);
}

INSTANTIATE_TEST_SUITE_P(
    Windows, QELAnalysisWindowTest,
    testing::Values(Window_s{"1000", "0", "1000\t1000\tB(2)\n"},     // starts inside
                    Window_s{"1200", "1000", "1200\t2200\tB(2)\n"},  // starts inside
                    Window_s{"1200", "100", "1200\t1300\tB(2)\n"},   // lies inside
                    Window_s{"1499", "1", "1499\t1500\tB(2)\n"},     // the last start inside
                    Window_s{"1499", "900", "1499\t2399\tB(2)\n"},   //
                    Window_s{"500", "600", "500\t1100\tB(2)\n"},     // ends inside
                    Window_s{"500", "501", "500\t1001\tB(2)\n"},     // the first end inside
                    Window_s{"500", "500", nullptr},                 // ends at the start
                    Window_s{"500", "499", nullptr},                 //
                    Window_s{"0", "0", nullptr},                     //
                    Window_s{"1500", "0", "1500\t1500\tB(2)\n"},     // ends at the end
                    Window_s{"1500", "10", nullptr},                 // starts at the end
                    Window_s{"1501", "0", nullptr},                  //
                    Window_s{"900", "700", "900\t1600\tB(2)\n"},     // encloses
                    Window_s{"999", "502", "999\t1501\tB(2)\n"},     // encloses by one
                    Window_s{"900", "600", "900\t1500\tB(2)\n"},     // ends at the end
                    Window_s{"1000", "500", "1000\t1500\tB(2)\n"},   // the same window
                    Window_s{"1000", "501", "1000\t1501\tB(2)\n"},   //
                    // Negative numbers are compared and written as their unsigned images.
                    Window_s{"-5", "10", nullptr},                       // 4294967291 to 5
                    Window_s{"-5", "1205", "4294967291\t1200\tB(2)\n"},  // wraps to end inside
                    Window_s{"1200", "-100", "1200\t1100\tB(2)\n"},      // ends before its start
                    Window_s{"2000", "-700", "2000\t1300\tB(2)\n"},      // ends inside, backwards
                    Window_s{"2000", "-500", "2000\t1500\tB(2)\n"},      //
                    Window_s{"2000", "-1000", nullptr},                  //
                    Window_s{"0", "-1", "0\t4294967295\tB(2)\n"},        // encloses up to the top
                    Window_s{"2147483647", "2147483647", nullptr}));

TEST_F(QELAnalysisConflictTest, WithoutCandidatesThereIsTheOwnLineAlone) {
    EXPECT_EQ(Conflicts({OWN}), OWN_LINE);
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELAnalysisConflictTest, OwnWindowOfNoLengthListsOnlyWhatEnclosesIt) {
    EXPECT_EQ(Conflicts({Item("own", "1", "1000", "0"), Item("at", "2", "1000", "0"),
                         Item("from", "2", "1000", "5"), Item("until", "2", "900", "100"),
                         Item("around", "2", "999", "2")}),
              "1000\t1000\town(1)\n999\t1001\taround(2)\n");
}

TEST_F(QELAnalysisConflictTest, OwnNegativeWindowIsWrittenUnsigned) {
    EXPECT_EQ(Conflicts({Item("own", "-1", "-10", "4"), Item("B", "2", "-8", "1"),
                         Item("C", "2", "5", "1")}),
              "4294967286\t4294967290\town(-1)\n4294967288\t4294967289\tB(2)\n");
}

// From 4294967286 over the top to 10: no start and no end lies between the two, read as numbers.
TEST_F(QELAnalysisConflictTest, OwnWindowThatWrapsHoldsNothing) {
    EXPECT_EQ(Conflicts({Item("own", "1", "-10", "20"), Item("B", "2", "-5", "1"),
                         Item("C", "2", "5", "1")}),
              "4294967286\t10\town(1)\n");
}

// A window is around a wrapped one when it starts before its start and ends after its end.
TEST_F(QELAnalysisConflictTest, OwnWindowThatWrapsCanBeEnclosed) {
    EXPECT_EQ(Conflicts({Item("own", "1", "-10", "20"), Item("B", "2", "100", "1")}),
              "4294967286\t10\town(1)\n100\t101\tB(2)\n");
}

// Lines

TEST_F(QELAnalysisConflictTest, LinesFollowTheListOfAllItems) {
    EXPECT_EQ(
        Conflicts({Passed(Item("first", "2", "1400", "10")), Item("own", "1", "1000", "500"),
                   Item("second", "3", "1100", "10"), Passed(Item("third", "4", "1000", "1"))}),
        OWN_LINE + "1400\t1410\tfirst(2)\n1100\t1110\tsecond(3)\n1000\t1001\tthird(4)\n");
}

TEST_F(QELAnalysisConflictTest, ItemsOfBothFilesTakePart) {
    PrivateData::WriteRnsc(xml::DocumentOf({Passed(Item("rnsc", "7", "1100", "10"))}));
    EXPECT_EQ(Conflicts({OWN}), OWN_LINE + "1100\t1110\trnsc(7)\n");
}

TEST_F(QELAnalysisConflictTest, AnyFailedItemCanBeAnalysed) {
    LoadItems({Passed(Item("good", "1", "0", "10")), Item("a", "2", "5", "10"),
               Item("b", "3", "12", "1")});
    EXPECT_EQ(QELAnalysis::m_AnalyzeResourceConflictList(1), "12\t13\tb(3)\n5\t15\ta(2)\n");
}

// The own thread is written as a number, that of the others as it stands.
TEST_F(QELAnalysisConflictTest, ThreadIsParsedInTheFirstLineOnly) {
    EXPECT_EQ(Conflicts({Item("own", "007", "1000", "500"), Item("B", " 08 (x)", "1000", "1"),
                         Item("C", "007", "1000", "1"), Item("D", "+7", "1000", "1")}),
              "1000\t1500\town(7)\n1000\t1001\tB( 08 (x))\n");
}

TEST_F(QELAnalysisConflictTest, NegativeThreadsAreThreads) {
    EXPECT_EQ(Conflicts({Item("own", "-3", "1000", "500"), Item("B", "3", "1000", "1"),
                         Item("C", "-3", "1000", "1")}),
              "1000\t1500\town(-3)\n1000\t1001\tB(3)\n");
}

TEST_F(QELAnalysisConflictTest, NumbersStopAtTheFirstOtherCharacter) {
    EXPECT_EQ(
        Conflicts({Item("own", "1.9", " 1000ms", "12.5"), Item("B", "2nd", "\n1001", "+3 s")}),
        "1000\t1012\town(1)\n1001\t1004\tB(2nd)\n");
}

TEST_F(QELAnalysisConflictTest, NamesStandAsTheyAre) {
    EXPECT_EQ(Conflicts({Item("a;b^<c>\t(x)", "1", "1000", "500"),
                         Item("M\xC3\xBCnchen & Co", "2", "1000", "1")}),
              "1000\t1500\ta;b^<c>\t(x)(1)\n1000\t1001\tM\xC3\xBCnchen & Co(2)\n");
}

TEST_F(QELAnalysisConflictTest, MissingNameIsAnEmptyName) {
    EXPECT_EQ(Conflicts({Without(OWN, "name"), Without(Item("B", "2", "1000", "1"), "name")}),
              "1000\t1500\t(1)\n1000\t1001\t(2)\n");
}

TEST_F(QELAnalysisConflictTest, NameIsReadOnlyOfListedItems) {
    Conflicts({OWN, Without(Item("B", "2", "5000", "1"), "name")});
    EXPECT_EQ(FakeLog::Count("Invalid KEY[name]!!\n"), 0);
}

// Codes

TEST_F(QELAnalysisConflictTest, BlockedOwnPairGivesAnEmptyTextWithoutReadingOn) {
    EXPECT_EQ(Conflicts({With(With(Item("own", "x", "x", "x"), "opcode", "50"), "msgcode", "1A"),
                         Item("B", "2", "1000", "1")}),
              "");
    EXPECT_TRUE(LoggedNoError());
    EXPECT_THAT(FakeLog::Messages(), ElementsAre("id=0, strCode=50", "id=0, retCode=50",
                                                 "id=0, strCode=1A", "id=0, retCode=1a"));
}

TEST_F(QELAnalysisConflictTest, BlockedCandidateIsNotListedAndNotRead) {
    EXPECT_EQ(
        Conflicts({OWN, With(With(Item("B", "x", "x", "x"), "opcode", "0x150"), "msgcode", "10"),
                   Item("C", "2", "1000", "1")}),
        OWN_LINE + "1000\t1001\tC(2)\n");
    EXPECT_TRUE(LoggedNoError());
}

TEST_F(QELAnalysisConflictTest, CandidateWithoutCodesIsSkippedUnread) {
    for (const char* key : {"opcode", "msgcode"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(Conflicts({OWN, Without(Item("B", "x", "x", "x"), key),
                             With(Item("C", "x", "x", "x"), key, ""), Item("D", "2", "1000", "1")}),
                  OWN_LINE + "1000\t1001\tD(2)\n");
        EXPECT_THAT(OwnErrors(), IsEmpty());
    }
}

TEST_F(QELAnalysisConflictTest, CodesAreReadInOrderForEveryItem) {
    Conflicts({OWN, Without(Item("B", "2", "1000", "1"), "opcode")});
    EXPECT_THAT(FakeLog::Messages(),
                ElementsAre("id=0, strCode=11", "id=0, retCode=11", "id=0, strCode=22",
                            "id=0, retCode=22",  // the own codes
                            "id=0, strCode=11", "id=0, retCode=11", "id=0, strCode=22",
                            "id=0, retCode=22",  // the item among all items
                            "Invalid KEY[opcode]!!\n", "id=1, strCode="));
}

TEST_F(QELAnalysisConflictTest, MissingOwnCodesAreReported) {
    EXPECT_EQ(Conflicts({Without(OWN, "opcode")}), "");
    EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=0, msgcode=0",
                                                   FILE_NAME, FUNCTION)));
    FakeLog::Clear();
    EXPECT_EQ(Conflicts({With(With(OWN, "opcode", "A1"), "msgcode", "")}), "");
    EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=a1, msgcode=0",
                                                   FILE_NAME, FUNCTION)));
}

TEST_F(QELAnalysisConflictTest, UnknownItemHasNoCodes) {
    LoadItems({OWN});
    EXPECT_EQ(QELAnalysis::m_AnalyzeResourceConflictList(1), "");
    EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("indexOfAnalysisItem=1, opcode=0, msgcode=0",
                                                   FILE_NAME, FUNCTION)));
}

// Conversion errors

TEST_F(QELAnalysisConflictTest, MalformedOwnCodesLeaveTheFunction) {
    EXPECT_THROW(Conflicts({With(OWN, "opcode", "xyz")}), std::invalid_argument);
    EXPECT_THROW(Conflicts({With(OWN, "msgcode", "80000000")}), std::out_of_range);
    EXPECT_THAT(OwnErrors(), IsEmpty());
}

struct BadNumber_s {
    const char* text;
    const char* message;
};

std::ostream& operator<<(std::ostream& out, const BadNumber_s& bad) {
    return out << testing::PrintToString(bad.text);
}

class QELAnalysisBadNumberTest
    : public QELAnalysisConflictTest,
      public testing::WithParamInterface<std::tuple<const char*, BadNumber_s>> {
protected:
    static xml::Fields Broken(const xml::Fields& fields) {
        return With(fields, std::get<0>(GetParam()), std::get<1>(GetParam()).text);
    }

    static void ExpectMessage() {
        EXPECT_THAT(OwnErrors(),
                    ElementsAre(ErrorLine(std::get<1>(GetParam()).message, FILE_NAME, FUNCTION)));
    }
};

TEST_P(QELAnalysisBadNumberTest, OfTheItemEmptiesTheText) {
    EXPECT_EQ(Conflicts({Broken(OWN), Item("B", "2", "1000", "1")}), "");
    ExpectMessage();
}

TEST_P(QELAnalysisBadNumberTest, OfACandidateEmptiesTheText) {
    EXPECT_EQ(Conflicts({OWN, Item("B", "2", "1000", "1"), Broken(Item("C", "3", "1000", "1")),
                         Item("D", "4", "x", "x")}),
              "");
    ExpectMessage();
}

INSTANTIATE_TEST_SUITE_P(
    Fields, QELAnalysisBadNumberTest,
    testing::Combine(testing::Values("threadID", "timeAckAbsolute", "duration"),
                     testing::Values(BadNumber_s{"", INVALID_ARGUMENT},
                                     BadNumber_s{" ", INVALID_ARGUMENT},
                                     BadNumber_s{"x1", INVALID_ARGUMENT},
                                     BadNumber_s{"-", INVALID_ARGUMENT},
                                     BadNumber_s{"2147483648", OUT_OF_RANGE},
                                     BadNumber_s{"-2147483649", OUT_OF_RANGE},
                                     BadNumber_s{"99999999999999999999", OUT_OF_RANGE})));

TEST_F(QELAnalysisConflictTest, MissingNumbersEmptyTheText) {
    for (const char* key : {"threadID", "timeAckAbsolute", "duration"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(Conflicts({OWN, Without(Item("B", "2", "1000", "1"), key)}), "");
        EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine(INVALID_ARGUMENT, FILE_NAME, FUNCTION)));
        EXPECT_EQ(FakeLog::Count("Invalid KEY[" + std::string(key) + "]!!\n"), 1);
        EXPECT_EQ(Conflicts({Without(OWN, key), Item("B", "2", "1000", "1")}), "");
    }
}

// Of several faults the first one in this order counts: thread, start, duration, name.
TEST_F(QELAnalysisConflictTest, NumbersAreReadInOrderAndTheFirstFaultEndsIt) {
    const xml::Fields none =
        Without(Without(Without(Without(OWN, "threadID"), "timeAckAbsolute"), "duration"), "name");
    const xml::Fields fromStart =
        Without(Without(Without(OWN, "timeAckAbsolute"), "duration"), "name");
    const xml::Fields fromDuration = Without(Without(OWN, "duration"), "name");
    const struct {
        xml::Fields fields;
        const char* line;
    } faults[] = {{none, "Invalid KEY[threadID]!!\n"},
                  {fromStart, "Invalid KEY[timeAckAbsolute]!!\n"},
                  {fromDuration, "Invalid KEY[duration]!!\n"}};
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.line);
        EXPECT_EQ(Conflicts({fault.fields}), "");
        EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(fault.line, INVALID_ARGUMENT));
        EXPECT_EQ(Conflicts({OWN, With(fault.fields, "threadID", "2")}), "");
        EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(fault.line, INVALID_ARGUMENT));
    }
}

TEST_F(QELAnalysisConflictTest, KindOfTheFirstBadNumberIsTold) {
    const xml::Fields tooLargeFirst = Item("A", "99999999999", "x", "x");
    const xml::Fields malformedFirst = Item("A", "2", "x", "99999999999");
    EXPECT_EQ(Conflicts({tooLargeFirst}), "");
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(OUT_OF_RANGE));
    EXPECT_EQ(Conflicts({malformedFirst}), "");
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(INVALID_ARGUMENT));
    EXPECT_EQ(Conflicts({OWN, tooLargeFirst}), "");
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(OUT_OF_RANGE));
    EXPECT_EQ(Conflicts({OWN, malformedFirst}), "");
    EXPECT_THAT(FakeLog::ErrorMessages(), ElementsAre(INVALID_ARGUMENT));
}

TEST_F(QELAnalysisConflictTest, MalformedCodeOfACandidateEmptiesTheText) {
    for (const char* key : {"opcode", "msgcode"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(Conflicts({OWN, Item("B", "2", "1000", "1"),
                             With(Item("C", "2", "9000", "1"), key, "xyz")}),
                  "");
        EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine(INVALID_ARGUMENT, FILE_NAME, FUNCTION)));
        EXPECT_EQ(Conflicts({OWN, With(Item("C", "2", "9000", "1"), key, "80000000")}), "");
        EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine(OUT_OF_RANGE, FILE_NAME, FUNCTION)));
    }
}

// Of an item of the same thread nothing but codes and thread is read.
TEST_F(QELAnalysisConflictTest, TimesOfTheSameThreadAreNotRead) {
    EXPECT_EQ(
        Conflicts({OWN, Item("B", "1", "x", "x"), Without(Item("C", "1", "", ""), "duration")}),
        OWN_LINE);
    EXPECT_THAT(OwnErrors(), IsEmpty());
}

TEST_F(QELAnalysisConflictTest, LimitsOfTheIntRangeAreNumbers) {
    EXPECT_EQ(Conflicts({Item("own", "2147483647", "2147483647", "2147483647"),
                         Item("B", "-2147483648", "-2147483648", "-2147483648"),
                         Item("C", "1", "-2147483648", "1")}),
              "2147483647\t4294967294\town(2147483647)\n2147483648\t0\tB(-2147483648)\n"
              "2147483648\t2147483649\tC(1)\n");
}

// Missing stores

TEST_F(QELAnalysisConflictTest, MissingResultStoreIsReported) {
    const FailingNew failing;
    EXPECT_EQ(QELAnalysis::m_AnalyzeResourceConflictList(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(
        FakeLog::Lines(),
        ElementsAre(ErrorLine("failed to get instance\n", "QELXmlParser.cpp"),
                    ErrorLine("not able to get instance of xmlParser", FILE_NAME, FUNCTION)));
}

TEST_F(QELAnalysisConflictTest, MissingAnalysisStoreIsReported) {
    LoadItems({OWN});
    const FailingNew failing;
    EXPECT_EQ(QELAnalysis::m_AnalyzeResourceConflictList(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(), ElementsAre(ErrorLine("not able to get instance of analysisData",
                                                        FILE_NAME, FUNCTION)));
}

TEST_F(QELAnalysisConflictTest, NothingIsStored) {
    LoadItems({OWN, Item("B", "2", "1000", "1")});
    QELAnalysis::m_AnalyzeResourceConflictList(0);
    EXPECT_THAT(QELAnalysisData::GetInstance()->m_IsExecutedByUser, ElementsAre(false, false));
    EXPECT_THAT(QELAnalysisData::GetInstance()->m_AnalysisData, ElementsAre("", ""));
}

}  // namespace
