// Checks what docs/result-format.md states about values with the real parser: its example, and
// elements without content.

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELItemText.h"
#include "fixtures/StoreTest.h"

namespace {

// The failed items of the example.
constexpr unsigned int kPanelPattern = 1;
constexpr unsigned int kTunerLock = 2;

// Returns the fenced blocks of the document: the text after the fence, and the lines of the block.
std::map<std::string, std::string> ReadBlocks() {
    std::map<std::string, std::string> blocks;
    std::ifstream document(QUORVEL_RESULT_FORMAT);
    std::string* block = nullptr;
    for (std::string line; std::getline(document, line);) {
        if (line.rfind("```", 0) == 0) {
            block = block == nullptr ? &blocks[line.substr(3)] : nullptr;
        } else if (block != nullptr) {
            *block += line + "\n";
        }
    }
    return blocks;
}

// Removes the empty lines that separate the parts of the detail text.
std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of('\n');
    const auto last = text.find_last_not_of('\n');
    return first == std::string::npos ? "" : text.substr(first, last - first + 1) + "\n";
}

class ResultFormatTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        PrivateData::WriteRnsc(m_Blocks.at("xml qelRnscXml.xml"));
        PrivateData::WriteMain(m_Blocks.at("xml qelXml.xml"));
        ASSERT_TRUE(Store().ParseFile());
    }

    std::map<std::string, std::string> m_Blocks = ReadBlocks();
};

TEST_F(ResultFormatTest, ListsRowsOfTheExample) {
    std::string rows;
    for (unsigned int i = 0; i < Store().GetNumOfResult(); ++i) {
        rows += QELItemText::ComposeRow(Store(), i) + "\n";
    }
    EXPECT_EQ(rows, m_Blocks.at("text rows"));
}

TEST_F(ResultFormatTest, FillsPanelsOfTheExample) {
    EXPECT_EQ(Store().GetSummary() + Store().GetNetworkInfo(), m_Blocks.at("text left panel"));
    EXPECT_EQ(Store().GetInformation(), m_Blocks.at("text right panel"));
}

TEST_F(ResultFormatTest, ShowsDetailTextsOfTheExample) {
    EXPECT_EQ(Trimmed(QELItemText::ComposeResult(Store(), kPanelPattern)),
              m_Blocks.at("text detail of Panel pattern"));
    EXPECT_EQ(Trimmed(QELItemText::ComposeResult(Store(), kTunerLock)),
              m_Blocks.at("text detail of Tuner lock"));
}

TEST_F(ResultFormatTest, ListsConflictsOfTheExample) {
    ASSERT_TRUE(QELAnalysisData::GetInstance()->IsValid(kTunerLock));
    EXPECT_EQ(Trimmed(Store().GetResult(kTunerLock, "detailed")) +
                  Trimmed(QELAnalysis::m_Analyze(kTunerLock)),
              m_Blocks.at("text analysis of Tuner lock"));
}

TEST_F(ResultFormatTest, StoresEmptyCdataAsValueButNoEmptyElement) {
    PrivateData::Clean();
    Load(
        "<r><FAnetTest><test><type><![CDATA[]]></type><name></name><spec/>"
        "<measure><!-- comment --></measure></test></FAnetTest></r>");
    EXPECT_EQ(Store().GetResultData(), std::vector<ResultItem>({{{"type", ""}}}));
    EXPECT_EQ(Store().GetResultType(0), RESULT_TYPE_APP);
}

}  // namespace
