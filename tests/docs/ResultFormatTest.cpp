// Checks the example in docs/result-format.md with the parser, the row texts and the analysis.

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELItemText.h"
#include "fixtures/StoreTest.h"

namespace {

// The indexes of two failed items of the example.
constexpr unsigned int kPanelPattern = 1;
constexpr unsigned int kTunerLock = 2;

// Returns the lines of each fenced block of the document. The key is the text after the opening
// fence; it is empty for the lines outside the blocks.
std::map<std::string, std::string> ReadBlocks() {
    std::map<std::string, std::string> blocks;
    std::ifstream document(QUORVEL_RESULT_FORMAT);
    std::string block;
    for (std::string line; std::getline(document, line);) {
        if (line.rfind("```", 0) == 0) {
            block = line.substr(3);
        } else {
            blocks[block] += line + "\n";
        }
    }
    return blocks;
}

class ResultFormatTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        PrivateData::WriteRnsc(m_Blocks.at("xml qelRnscXml.xml"));
        Load(m_Blocks.at("xml qelXml.xml"));
    }

    std::map<std::string, std::string> m_Blocks = ReadBlocks();
};

TEST_F(ResultFormatTest, ListsRowsOfExample) {
    std::string rows;
    for (unsigned int i = 0; i < Store().GetNumOfResult(); ++i) {
        rows += QELItemText::ComposeRow(Store(), i) + "\n";
    }
    EXPECT_EQ(rows, m_Blocks.at("text rows"));
}

TEST_F(ResultFormatTest, FillsPanelsOfExample) {
    EXPECT_EQ(Store().GetSummary() + Store().GetNetworkInfo(), m_Blocks.at("text left panel"));
    EXPECT_EQ(Store().GetInformation(), m_Blocks.at("text right panel"));
}

TEST_F(ResultFormatTest, ShowsDetailTextsOfExample) {
    EXPECT_EQ(QELItemText::ComposeResult(Store(), kPanelPattern) + "\n",
              m_Blocks.at("text detail of Panel pattern"));
    EXPECT_EQ(QELItemText::ComposeResult(Store(), kTunerLock),
              m_Blocks.at("text detail of Tuner lock"));
}

TEST_F(ResultFormatTest, ListsConflictsOfExample) {
    ASSERT_TRUE(QELAnalysisData::GetInstance()->IsValid(kTunerLock));
    EXPECT_EQ(Store().GetResult(kTunerLock, "detailed") + QELAnalysis::m_Analyze(kTunerLock),
              m_Blocks.at("text analysis of Tuner lock") + "\n");
}

}  // namespace
