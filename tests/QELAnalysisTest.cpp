// QELAnalysis: the worker's body, the hand-over to the popup, and the shape of the analysis text.

#include "QELAnalysis.h"

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QELAnalysisData.h"
#include "QELPopupLoading.h"
#include "fakes/FailingNew.h"
#include "fixtures/Singletons.h"
#include "fixtures/StoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const FILE_NAME = "QELAnalysis.cpp";
const char* const COMPLETED = "Analysis is completed.";
const char* const CONFLICT = "100\t200\tA(3)\n";

class QELAnalysisTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        singletons::ResetPopup();
    }

    void TearDown() override {
        FakeLog::Observe(nullptr);
        singletons::ResetPopup();
        StoreTest::TearDown();
    }

    static QELAnalysisData& Data() { return *QELAnalysisData::GetInstance(); }

    // An item that ran from 100 to 200 on thread 3.
    static xml::Fields ItemA() {
        return {{"name", "A"},       {"opcode", "11"},
                {"msgcode", "22"},   {"timeAckAbsolute", "100"},
                {"duration", "100"}, {"threadID", "3"}};
    }

    // The same, but for one field.
    static xml::Fields ItemAWith(const std::string& key, const std::string& value) {
        xml::Fields fields = ItemA();
        for (auto& field : fields) {
            if (field.first == key) {
                field.second = value;
            }
        }
        return fields;
    }

    // The popup with its flag set, as an operation that was just started leaves it.
    static void StartPopup() {
        ASSERT_NE(QELPopupLoading::GetInstance(), nullptr);
        QELPopupLoading::SetRunningFlag(true);
        FakeLog::Clear();
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

// The whole analysis

TEST_F(QELAnalysisTest, TextIsStoredAndTheFlagCleared) {
    LoadItems({ItemA()});
    StartPopup();
    QELAnalysis::StartAnalyze(0);
    EXPECT_EQ(Data().GetAnalysisData(0), std::string("\n") + CONFLICT + "\n");
    EXPECT_TRUE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, COMPLETED);
    EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
    EXPECT_TRUE(LoggedNoError());
}

// The flag is the last: who sees it cleared finds the text and the result.
TEST_F(QELAnalysisTest, FlagIsClearedLast) {
    LoadItems({ItemA()});
    StartPopup();
    std::string textThen;
    std::string resultThen;
    FakeLog::Observe([&](const LogLine& line) {
        if (line.message == "SetRunningFlag 0") {
            textThen = Data().GetAnalysisData(0);
            resultThen = QELPopupLoading::m_ResultText;
        }
    });
    QELAnalysis::StartAnalyze(0);
    FakeLog::Observe(nullptr);
    EXPECT_EQ(textThen, std::string("\n") + CONFLICT + "\n");
    EXPECT_EQ(resultThen, COMPLETED);
    EXPECT_EQ(FakeLog::Lines().back().message, "SetRunningFlag 0");
}

// While the analysis runs, nothing of it is to be seen.
TEST_F(QELAnalysisTest, NothingIsStoredBeforeTheTextIsComplete) {
    LoadItems({ItemA()});
    StartPopup();
    int codesRead = 0;
    FakeLog::Observe([&](const LogLine& line) {
        if (line.message == "id=0, retCode=22") {
            ++codesRead;
            EXPECT_FALSE(QELAnalysisData::m_QELAnalysisData->m_IsExecutedByUser[0]);
            EXPECT_TRUE(QELPopupLoading::m_ResultText.empty());
            EXPECT_TRUE(QELPopupLoading::m_IsRunning);
        }
    });
    QELAnalysis::StartAnalyze(0);
    FakeLog::Observe(nullptr);
    // By the engine, by the conflict analysis, and there as one of all items.
    EXPECT_EQ(codesRead, 3);
}

TEST_F(QELAnalysisTest, OnlyTheItemAskedForIsAnalysed) {
    LoadItems({ItemAWith("name", "B"), ItemA()});
    StartPopup();
    QELAnalysis::StartAnalyze(1);
    EXPECT_EQ(Data().GetAnalysisData(0), "");
    EXPECT_FALSE(Data().GetExcutedByUser(0));
    EXPECT_EQ(Data().GetAnalysisData(1), std::string("\n") + CONFLICT + "\n");
}

TEST_F(QELAnalysisTest, UnknownItemStoresNothingButIsReportedDone) {
    LoadItems({ItemA()});
    StartPopup();
    QELAnalysis::StartAnalyze(7);
    EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("indexOfAnalysisItem=7, opcode=0, msgcode=0",
                                                   FILE_NAME, "m_Analyze")));
    EXPECT_FALSE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, COMPLETED);
    EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
}

TEST_F(QELAnalysisTest, BlockedPairIsAnalysedToTwoLineFeeds) {
    LoadItems({{{"opcode", "50"}, {"msgcode", "10"}}, ItemA()});
    StartPopup();
    QELAnalysis::StartAnalyze(0);
    EXPECT_EQ(Data().GetAnalysisData(0), "\n\n");
    EXPECT_EQ(QELPopupLoading::m_ResultText, COMPLETED);
}

TEST_F(QELAnalysisTest, FailedConflictAnalysisGivesTwoLineFeeds) {
    LoadItems({ItemAWith("threadID", "x")});
    StartPopup();
    QELAnalysis::StartAnalyze(0);
    EXPECT_EQ(Data().GetAnalysisData(0), "\n\n");
    EXPECT_TRUE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, COMPLETED);
    EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
}

TEST_F(QELAnalysisTest, MissingOrEmptyOpcodeStoresAnEmptyText) {
    for (const xml::Fields& fields :
         {xml::Fields{{"msgcode", "22"}, {"detailed", "d"}}, ItemAWith("opcode", "")}) {
        SetUp();
        LoadItems({fields});
        StartPopup();
        QELAnalysis::StartAnalyze(0);
        EXPECT_EQ(Data().GetAnalysisData(0), "");
        EXPECT_TRUE(Data().GetExcutedByUser(0));
        EXPECT_EQ(QELPopupLoading::m_ResultText, COMPLETED);
        EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
        EXPECT_THAT(OwnErrors(), ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=0, msgcode=0",
                                                       FILE_NAME, "m_Analyze")));
    }
}

TEST_F(QELAnalysisTest, MissingMsgcodeIsReportedWithTheOpcode) {
    LoadItems({{{"opcode", "5F"}}});
    EXPECT_EQ(QELAnalysis::m_Analyze(0), "");
    EXPECT_THAT(OwnErrors(),
                ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=5f, msgcode=0", FILE_NAME)));
}

TEST_F(QELAnalysisTest, MsgcodeIsNotReadAfterAMissingOpcode) {
    LoadItems({{{"msgcode", "xyz"}}});
    EXPECT_EQ(QELAnalysis::m_Analyze(0), "");
    EXPECT_EQ(FakeLog::Count("Invalid KEY[opcode]!!\n"), 1);
    EXPECT_EQ(FakeLog::Count("id=0, strCode=xyz"), 0);
}

TEST_F(QELAnalysisTest, NetworkFailureIsAnalysedToAnEmptyText) {
    Load(xml::Document(xml::Element(
        "Network", xml::Section("failedinfo", {{"type", "wifi"}, {"reason", "no AP"}}))));
    StartPopup();
    ASSERT_TRUE(Data().IsValid(0));
    FakeLog::Clear();
    QELAnalysis::StartAnalyze(0);
    EXPECT_EQ(Data().GetAnalysisData(0), "");
    EXPECT_TRUE(Data().GetExcutedByUser(0));
    EXPECT_THAT(OwnErrors(),
                ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=0, msgcode=0", FILE_NAME)));
}

// What can be missing

TEST_F(QELAnalysisTest, WithoutAnalysisStoreItReturnsSilentlyWithTheFlagSet) {
    LoadItems({ItemA()});
    StartPopup();
    {
        const FailingNew failing;
        QELAnalysis::StartAnalyze(0);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    EXPECT_TRUE(QELPopupLoading::GetRunningFlag());
    EXPECT_EQ(QELPopupLoading::m_ResultText, "");
}

// The store is asked for first.
TEST_F(QELAnalysisTest, WithoutAnalysisStoreAndPopupItIsSilent) {
    const FailingNew failing;
    QELAnalysis::StartAnalyze(0);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisTest, WithoutPopupTheItemStaysUnanalysed) {
    LoadItems({ItemA()});
    Data();
    {
        const FailingNew failing;
        QELAnalysis::StartAnalyze(0);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("popupLoading is NULL", FILE_NAME, "StartAnalyze")));
    EXPECT_EQ(Data().GetAnalysisData(0), "");
    EXPECT_FALSE(Data().GetExcutedByUser(0));
}

TEST_F(QELAnalysisTest, EngineWithoutAnalysisStoreGivesAnEmptyTextSilently) {
    LoadItems({ItemA()});
    const FailingNew failing;
    EXPECT_EQ(QELAnalysis::m_Analyze(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

// Check tables

TEST_F(QELAnalysisTest, SettingConfigRecordsAddOneLineEach) {
    LoadItems({ItemA()});
    Data().m_CheckTableList[{0x11, 0x22}] = {
        {CHECK_TYPE_SETTING_CONFIG, 0, {}, {}, {}, {}, "one"},
        {0, 0, {}, {}, {}, {}, "skipped"},
        {2, 0, {}, {}, {}, {}, "skipped"},
        {CHECK_TYPE_SETTING_CONFIG, 9, {1}, {}, {}, {}, "two"}};
    EXPECT_EQ(QELAnalysis::m_Analyze(0), std::string("\n") + "\n\n" + CONFLICT + "\n");
    EXPECT_THAT(OwnErrors(), IsEmpty());
}

TEST_F(QELAnalysisTest, CheckTablesOfOtherPairsDoNotCount) {
    LoadItems({ItemA()});
    Data().m_CheckTableList[{0x22, 0x11}] = {{CHECK_TYPE_SETTING_CONFIG, 0, {}, {}, {}, {}, ""}};
    EXPECT_EQ(QELAnalysis::m_Analyze(0), std::string("\n") + CONFLICT + "\n");
}

TEST_F(QELAnalysisTest, SettingConfigSaysNothingYet) {
    EXPECT_EQ(QELAnalysis::m_AnalyzeSettingConfig(0x50, 0x10, {1, {2}, {3}, {4}, {5}, "text"}), "");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

// Conversion errors of the item's own codes

TEST_F(QELAnalysisTest, MalformedCodeLeavesTheAnalysis) {
    LoadItems({ItemAWith("opcode", "xyz"), ItemAWith("msgcode", "80000000")});
    EXPECT_THROW(QELAnalysis::m_Analyze(0), std::invalid_argument);
    EXPECT_THROW(QELAnalysis::m_Analyze(1), std::out_of_range);
    EXPECT_THAT(OwnErrors(), IsEmpty());
}

TEST_F(QELAnalysisTest, MalformedCodeLeavesTheWorkerWithNothingStored) {
    LoadItems({ItemAWith("msgcode", "xyz")});
    StartPopup();
    EXPECT_THROW(QELAnalysis::StartAnalyze(0), std::invalid_argument);
    EXPECT_FALSE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, "");
    EXPECT_TRUE(QELPopupLoading::GetRunningFlag());
}

using QELAnalysisDeathTest = QELAnalysisTest;

// An exception that leaves a thread's function ends the process.
TEST_F(QELAnalysisDeathTest, MalformedCodeEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    LoadItems({ItemAWith("opcode", "xyz"), ItemAWith("opcode", "80000000")});
    StartPopup();
    for (const auto& [id, type] :
         {std::make_pair(0U, "invalid_argument"), std::make_pair(1U, "out_of_range")}) {
        EXPECT_EXIT(std::thread(QELAnalysis::StartAnalyze, id).join(),
                    testing::KilledBySignal(SIGABRT), type);
    }
}

// Threads

// As the popup's timer does it: the text is read only once the flag is seen cleared.
TEST_F(QELAnalysisTest, TextIsPublishedByTheFlag) {
    LoadItems({ItemA()});
    Data();
    StartPopup();
    std::thread(QELAnalysis::StartAnalyze, 0U).detach();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (QELPopupLoading::GetRunningFlag() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    ASSERT_FALSE(QELPopupLoading::GetRunningFlag());
    EXPECT_EQ(Data().GetAnalysisData(0), std::string("\n") + CONFLICT + "\n");
    EXPECT_TRUE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, COMPLETED);
}

// The screens may ask the result store while the worker reads it.
TEST_F(QELAnalysisTest, ResultStoreMayBeReadMeanwhile) {
    std::vector<xml::Fields> items(200, ItemA());
    LoadItems(items);
    Data();
    StartPopup();
    std::thread worker(QELAnalysis::StartAnalyze, 0U);
    for (unsigned int i = 0; i < 100; ++i) {
        EXPECT_EQ(Store().GetResult(i, "name"), "A");
        EXPECT_EQ(Store().GetNumOfResult(), 200U);
    }
    worker.join();
    EXPECT_EQ(Data().GetAnalysisData(0), std::string("\n") + CONFLICT + "\n");
}

}  // namespace
