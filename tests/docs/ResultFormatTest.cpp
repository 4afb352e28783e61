// What docs/result-format.md states about values, checked with the real parser: its example, and
// elements without content.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELItemDetailView.h"
#include "QELItemList.h"
#include "QELXmlParser.h"
#include "fixtures/PrivateData.h"
#include "fixtures/StoreTest.h"

namespace {

// The fenced blocks of the document: the text after the fence, and the lines of the block.
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

std::string ShownRow(unsigned int index) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a row carries an index in the pointer's value
    void* row = reinterpret_cast<void*>(static_cast<std::uintptr_t>(index));
    const std::unique_ptr<char, decltype(&std::free)> text(
        QELItemList::m_GetItemText(row, nullptr, "elm.text"), std::free);
    return text ? text.get() : "(null)";
}

// Returns the text of a markup that has one leading tag and line breaks.
std::string PlainText(std::string markup) {
    markup.erase(0, markup.find('>') + 1);
    const std::map<std::string, std::string> entities = {{"<br/>", "\n"}, {"&gt;", ">"}};
    for (const auto& [entity, text] : entities) {
        for (auto at = markup.find(entity); at != std::string::npos; at = markup.find(entity)) {
            markup.replace(at, entity.length(), text);
        }
    }
    return markup;
}

// Returns the text without the empty lines that separate the parts of the detail text.
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

    static unsigned int IndexOf(const std::string& name) {
        unsigned int index = 0;
        while (index < Store().GetNumOfResult() && Store().GetResult(index, "name") != name) {
            ++index;
        }
        return index;
    }

    std::map<std::string, std::string> m_Blocks = ReadBlocks();
};

TEST_F(ResultFormatTest, ListsRowsOfTheExample) {
    std::string rows;
    for (unsigned int i = 0; i < Store().GetNumOfResult(); ++i) {
        rows += ShownRow(i) + "\n";
    }
    EXPECT_EQ(rows, m_Blocks.at("text rows"));
}

TEST_F(ResultFormatTest, FillsPanelsOfTheExample) {
    EXPECT_EQ(Store().GetSummary() + Store().GetNetworkInfo(), m_Blocks.at("text left panel"));
    EXPECT_EQ(Store().GetInformation(), m_Blocks.at("text right panel"));
}

TEST_F(ResultFormatTest, ShowsDetailTextsOfTheExample) {
    for (const std::string name : {"Panel pattern", "Tuner lock"}) {
        EXPECT_EQ(Trimmed(PlainText(QELItemDetailView::m_GetMarkupResultText(IndexOf(name)))),
                  m_Blocks.at("text detail of " + name));
    }
}

TEST_F(ResultFormatTest, ListsConflictsOfTheExample) {
    const unsigned int index = IndexOf("Tuner lock");
    ASSERT_TRUE(QELAnalysisData::GetInstance()->IsValid(index));
    EXPECT_EQ(
        Trimmed(Store().GetResult(index, "detailed")) + Trimmed(QELAnalysis::m_Analyze(index)),
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
