// The example in docs/result-format.md, read by the real parser: a reader may rely on every line of
// it.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELItemDetailView.h"
#include "QELItemList.h"
#include "QELXmlParser.h"
#include "fixtures/PrivateData.h"
#include "fixtures/StoreTest.h"

namespace {

// The fenced blocks of the document: what stands behind the fence, and the lines in between.
std::map<std::string, std::string> ReadBlocks() {
    std::map<std::string, std::string> blocks;
    std::ifstream document(QUORVEL_RESULT_FORMAT);
    EXPECT_TRUE(document) << QUORVEL_RESULT_FORMAT;
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

std::string RowText(unsigned int index) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): that is what a row carries
    void* row = reinterpret_cast<void*>(static_cast<std::uintptr_t>(index));
    const std::unique_ptr<char, decltype(&std::free)> text(
        QELItemList::m_GetItemText(row, nullptr, "elm.text"), std::free);
    return text ? text.get() : "(none)";
}

// Plain text of markup of which line breaks and one leading tag are all that occurs.
std::string PlainText(std::string markup) {
    markup.erase(0, markup.find('>') + 1);
    const std::map<std::string, std::string> entities = {
        {"<br/>", "\n"}, {"&gt;", ">"}, {"&lt;", "<"}, {"&amp;", "&"}};
    for (const auto& [entity, text] : entities) {
        for (auto at = markup.find(entity); at != std::string::npos; at = markup.find(entity)) {
            markup.replace(at, entity.length(), text);
        }
    }
    return markup;
}

// Without the empty lines that set a part of the detail off from the next one.
std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of('\n');
    const auto last = text.find_last_not_of('\n');
    return first == std::string::npos ? "" : text.substr(first, last - first + 1) + "\n";
}

class ResultFormatTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        m_blocks = ReadBlocks();
        PrivateData::WriteRnsc(Block("xml qelRnscXml.xml"));
        PrivateData::WriteMain(Block("xml qelXml.xml"));
        ASSERT_TRUE(Store().ParseFile());
    }

    std::string Block(const std::string& name) const {
        const auto block = m_blocks.find(name);
        EXPECT_NE(block, m_blocks.end()) << "no block: " << name;
        return block == m_blocks.end() ? "" : block->second;
    }

    // The index of the failed item of that name.
    static unsigned int IndexOf(const std::string& name) {
        unsigned int index = 0;
        while (index < Store().GetNumOfResult() && Store().GetResult(index, "name") != name) {
            ++index;
        }
        return index;
    }

    static std::string DetailOf(const std::string& name) {
        return Trimmed(PlainText(QELItemDetailView::m_GetMarkupResultText(IndexOf(name))));
    }

private:
    std::map<std::string, std::string> m_blocks;
};

TEST_F(ResultFormatTest, ListsTheRows) {
    std::string rows;
    for (unsigned int i = 0; i < Store().GetNumOfResult(); ++i) {
        rows += RowText(i) + "\n";
    }
    EXPECT_EQ(rows, Block("text rows"));
}

TEST_F(ResultFormatTest, FillsThePanels) {
    EXPECT_EQ(Store().GetSummary() + Store().GetNetworkInfo(), Block("text left panel"));
    EXPECT_EQ(Store().GetInformation(), Block("text right panel"));
}

TEST_F(ResultFormatTest, ShowsTheDetail) {
    for (const std::string name : {"Panel pattern", "Tuner lock"}) {
        EXPECT_EQ(DetailOf(name), Block("text detail of " + name));
    }
}

TEST_F(ResultFormatTest, Analyses) {
    const unsigned int index = IndexOf("Tuner lock");
    ASSERT_TRUE(QELAnalysisData::GetInstance()->IsValid(index));
    EXPECT_EQ(
        Trimmed(Store().GetResult(index, "detailed")) + Trimmed(QELAnalysis::m_Analyze(index)),
        Block("text analysis of Tuner lock"));
}

}  // namespace
