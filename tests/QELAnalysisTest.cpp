// Tests the analysis worker, its results, and the format of the analysis text.

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

const char* const kCompleted = "Analysis is completed.";
// The analysis text of item A in a run without conflicts.
const char* const kAnalysisText = "\n100\t200\tA(3)\n\n";
const std::chrono::seconds kTimeout(20);

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

    // Returns item A, which ran from 100 to 200 on test thread 3.
    static xml::Fields MakeItemA() {
        return {{"name", "A"},       {"opcode", "11"},
                {"msgcode", "22"},   {"timeAckAbsolute", "100"},
                {"duration", "100"}, {"threadID", "3"}};
    }

    // Returns item A with one field replaced.
    static xml::Fields MakeItemAWith(const std::string& key, const std::string& value) {
        return xml::ReplaceField(MakeItemA(), key, value);
    }

    // Creates the popup and sets its running flag, as the start of an analysis does.
    static void CreateRunningPopup() {
        ASSERT_NE(QELPopupLoading::GetInstance(), nullptr);
        QELPopupLoading::SetRunningFlag(true);
        FakeLog::Clear();
    }
};

// --- Tests of the worker

TEST_F(QELAnalysisTest, StoresTextAndClearsRunningFlag) {
    LoadItems({MakeItemA()});
    CreateRunningPopup();
    QELAnalysis::StartAnalyze(0);
    EXPECT_EQ(Data().GetAnalysisData(0), kAnalysisText);
    EXPECT_TRUE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, kCompleted);
    EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
    EXPECT_TRUE(LoggedNoError());
}

// When the flag is cleared, the analysis text and the result text are already complete.
TEST_F(QELAnalysisTest, ClearsRunningFlagLast) {
    LoadItems({MakeItemA()});
    CreateRunningPopup();
    std::string textAtClear;
    std::string resultAtClear;
    FakeLog::Observe([&](const LogLine& line) {
        if (line.message == "SetRunningFlag 0") {
            textAtClear = Data().GetAnalysisData(0);
            resultAtClear = QELPopupLoading::m_ResultText;
        }
    });
    QELAnalysis::StartAnalyze(0);
    FakeLog::Observe(nullptr);
    EXPECT_EQ(textAtClear, kAnalysisText);
    EXPECT_EQ(resultAtClear, kCompleted);
    EXPECT_EQ(FakeLog::Lines().back().message, "SetRunningFlag 0");
}

TEST_F(QELAnalysisTest, StoresNothingBeforeTextIsComplete) {
    LoadItems({MakeItemA()});
    CreateRunningPopup();
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
    // m_Analyze reads the msgcode once. The conflict analysis reads the msgcode of the analysed
    // item and of all items.
    EXPECT_EQ(codesRead, 3);
}

TEST_F(QELAnalysisTest, AnalysesOnlyRequestedItem) {
    LoadItems({MakeItemAWith("name", "B"), MakeItemA()});
    CreateRunningPopup();
    QELAnalysis::StartAnalyze(1);
    EXPECT_EQ(Data().GetAnalysisData(0), "");
    EXPECT_FALSE(Data().GetExcutedByUser(0));
    EXPECT_EQ(Data().GetAnalysisData(1), kAnalysisText);
}

TEST_F(QELAnalysisTest, ReportsCompletionForUnknownItem) {
    LoadItems({MakeItemA()});
    CreateRunningPopup();
    QELAnalysis::StartAnalyze(7);
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource),
                ElementsAre(ErrorLine("indexOfAnalysisItem=7, opcode=0, msgcode=0", kAnalysisSource,
                                      "m_Analyze")));
    EXPECT_FALSE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, kCompleted);
    EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
}

TEST_F(QELAnalysisTest, StoresTwoLineFeedsForBlockListedPair) {
    LoadItems({{{"opcode", "50"}, {"msgcode", "10"}}, MakeItemA()});
    CreateRunningPopup();
    QELAnalysis::StartAnalyze(0);
    EXPECT_EQ(Data().GetAnalysisData(0), "\n\n");
    EXPECT_EQ(QELPopupLoading::m_ResultText, kCompleted);
}

TEST_F(QELAnalysisTest, StoresTwoLineFeedsAfterFailedConflictAnalysis) {
    LoadItems({MakeItemAWith("threadID", "x")});
    CreateRunningPopup();
    QELAnalysis::StartAnalyze(0);
    EXPECT_EQ(Data().GetAnalysisData(0), "\n\n");
    EXPECT_TRUE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, kCompleted);
    EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
}

TEST_F(QELAnalysisTest, StoresEmptyTextForMissingOrEmptyOpcode) {
    for (const xml::Fields& fields :
         {xml::Fields{{"msgcode", "22"}, {"detailed", "d"}}, MakeItemAWith("opcode", "")}) {
        singletons::ResetPopup();
        LoadItems({fields});
        CreateRunningPopup();
        QELAnalysis::StartAnalyze(0);
        EXPECT_EQ(Data().GetAnalysisData(0), "");
        EXPECT_TRUE(Data().GetExcutedByUser(0));
        EXPECT_EQ(QELPopupLoading::m_ResultText, kCompleted);
        EXPECT_FALSE(QELPopupLoading::GetRunningFlag());
        EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource),
                    ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=0, msgcode=0",
                                          kAnalysisSource, "m_Analyze")));
    }
}

TEST_F(QELAnalysisTest, LogsOpcodeWhenMsgcodeIsMissing) {
    LoadItems({{{"opcode", "5F"}}});
    EXPECT_EQ(QELAnalysis::m_Analyze(0), "");
    EXPECT_THAT(
        FakeLog::ErrorsOf(kAnalysisSource),
        ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=5f, msgcode=0", kAnalysisSource)));
}

TEST_F(QELAnalysisTest, SkipsMsgcodeAfterMissingOpcode) {
    LoadItems({{{"msgcode", "xyz"}}});
    EXPECT_EQ(QELAnalysis::m_Analyze(0), "");
    EXPECT_EQ(FakeLog::Count("Invalid KEY[opcode]!!\n"), 1);
    EXPECT_EQ(FakeLog::Count("id=0, strCode=xyz"), 0);
}

TEST_F(QELAnalysisTest, StoresEmptyTextForNetworkFailure) {
    Load(xml::Document(xml::Element(
        "Network", xml::Section("failedinfo", {{"type", "wifi"}, {"reason", "no AP"}}))));
    CreateRunningPopup();
    ASSERT_TRUE(Data().IsValid(0));
    FakeLog::Clear();
    QELAnalysis::StartAnalyze(0);
    EXPECT_EQ(Data().GetAnalysisData(0), "");
    EXPECT_TRUE(Data().GetExcutedByUser(0));
    EXPECT_THAT(
        FakeLog::ErrorsOf(kAnalysisSource),
        ElementsAre(ErrorLine("indexOfAnalysisItem=0, opcode=0, msgcode=0", kAnalysisSource)));
}

// --- Tests without result store, analysis data or popup

TEST_F(QELAnalysisTest, KeepsRunningFlagWithoutAnalysisData) {
    LoadItems({MakeItemA()});
    CreateRunningPopup();
    {
        const FailingNew failing;
        QELAnalysis::StartAnalyze(0);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
    EXPECT_TRUE(QELPopupLoading::GetRunningFlag());
    EXPECT_EQ(QELPopupLoading::m_ResultText, "");
}

TEST_F(QELAnalysisTest, ChecksAnalysisDataBeforePopup) {
    const FailingNew failing;
    QELAnalysis::StartAnalyze(0);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

TEST_F(QELAnalysisTest, LeavesItemUnanalysedWithoutPopup) {
    LoadItems({MakeItemA()});
    Data();
    {
        const FailingNew failing;
        QELAnalysis::StartAnalyze(0);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_THAT(FakeLog::Lines(),
                ElementsAre(ErrorLine("popupLoading is NULL", kAnalysisSource, "StartAnalyze")));
    EXPECT_EQ(Data().GetAnalysisData(0), "");
    EXPECT_FALSE(Data().GetExcutedByUser(0));
}

TEST_F(QELAnalysisTest, ReturnsEmptyTextSilentlyWithoutAnalysisData) {
    LoadItems({MakeItemA()});
    const FailingNew failing;
    EXPECT_EQ(QELAnalysis::m_Analyze(0), "");
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

// --- Tests of the check tables

TEST_F(QELAnalysisTest, AddsOneLinePerSettingConfigRecord) {
    LoadItems({MakeItemA()});
    Data().m_CheckTableList[{0x11, 0x22}] = {
        {CHECK_TYPE_SETTING_CONFIG, 0, {}, {}, {}, {}, "one"},
        {0, 0, {}, {}, {}, {}, "skipped"},
        {2, 0, {}, {}, {}, {}, "skipped"},
        {CHECK_TYPE_SETTING_CONFIG, 9, {1}, {}, {}, {}, "two"}};
    // Each of the two setting records adds an empty line.
    EXPECT_EQ(QELAnalysis::m_Analyze(0), std::string("\n\n") + kAnalysisText);
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource), IsEmpty());
}

TEST_F(QELAnalysisTest, IgnoresCheckTablesOfOtherPairs) {
    LoadItems({MakeItemA()});
    Data().m_CheckTableList[{0x22, 0x11}] = {{CHECK_TYPE_SETTING_CONFIG, 0, {}, {}, {}, {}, ""}};
    EXPECT_EQ(QELAnalysis::m_Analyze(0), kAnalysisText);
}

TEST_F(QELAnalysisTest, ReturnsEmptyTextForSettingConfig) {
    EXPECT_EQ(QELAnalysis::m_AnalyzeSettingConfig(0x50, 0x10, {1, {2}, {3}, {4}, {5}, "text"}), "");
    EXPECT_THAT(FakeLog::Lines(), IsEmpty());
}

// --- Tests of invalid codes of the analysed item

TEST_F(QELAnalysisTest, ThrowsForInvalidCode) {
    LoadItems({MakeItemAWith("opcode", "xyz"), MakeItemAWith("msgcode", "80000000")});
    EXPECT_THROW(QELAnalysis::m_Analyze(0), std::invalid_argument);
    EXPECT_THROW(QELAnalysis::m_Analyze(1), std::out_of_range);
    EXPECT_THAT(FakeLog::ErrorsOf(kAnalysisSource), IsEmpty());
}

TEST_F(QELAnalysisTest, StoresNothingWhenCodeIsInvalid) {
    LoadItems({MakeItemAWith("msgcode", "xyz")});
    CreateRunningPopup();
    EXPECT_THROW(QELAnalysis::StartAnalyze(0), std::invalid_argument);
    EXPECT_FALSE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, "");
    EXPECT_TRUE(QELPopupLoading::GetRunningFlag());
}

using QELAnalysisDeathTest = QELAnalysisTest;

// An exception that leaves the function of a thread aborts the process.
TEST_F(QELAnalysisDeathTest, AbortsProcessForInvalidCode) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    LoadItems({MakeItemAWith("opcode", "xyz"), MakeItemAWith("opcode", "80000000")});
    CreateRunningPopup();
    for (const auto& [id, type] :
         {std::make_pair(0U, "invalid_argument"), std::make_pair(1U, "out_of_range")}) {
        EXPECT_EXIT(std::thread(QELAnalysis::StartAnalyze, id).join(),
                    testing::KilledBySignal(SIGABRT), type);
    }
}

// --- Tests of several threads

// The test reads the text without a lock after the flag is cleared, as the popup timer does.
TEST_F(QELAnalysisTest, PublishesTextThroughRunningFlag) {
    LoadItems({MakeItemA()});
    Data();
    CreateRunningPopup();
    std::thread(QELAnalysis::StartAnalyze, 0U).detach();
    const auto deadline = std::chrono::steady_clock::now() + kTimeout;
    while (QELPopupLoading::GetRunningFlag() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    ASSERT_FALSE(QELPopupLoading::GetRunningFlag());
    EXPECT_EQ(Data().GetAnalysisData(0), kAnalysisText);
    EXPECT_TRUE(Data().GetExcutedByUser(0));
    EXPECT_EQ(QELPopupLoading::m_ResultText, kCompleted);
}

TEST_F(QELAnalysisTest, AllowsResultStoreReadsDuringAnalysis) {
    std::vector<xml::Fields> items(200, MakeItemA());
    LoadItems(items);
    Data();
    CreateRunningPopup();
    std::thread worker(QELAnalysis::StartAnalyze, 0U);
    for (unsigned int i = 0; i < 100; ++i) {
        EXPECT_EQ(Store().GetResult(i, "name"), "A");
        EXPECT_EQ(Store().GetNumOfResult(), 200U);
    }
    worker.join();
    EXPECT_EQ(Data().GetAnalysisData(0), kAnalysisText);
}

}  // namespace
