// Tests of the result store and the analysis with complete result files. Each folder of
// tests/golden contains the result files of one run. The file expected.txt contains the results of
// all queries and of the analysis. With QUORVEL_UPDATE_GOLDEN=1 in the environment, the test writes
// expected.txt instead of comparing it. Review the difference before the commit.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "fixtures/StoreTest.h"

namespace fs = std::filesystem;

namespace {

const char* const kCases[] = {"both_files",           "conflicts",        "damaged_main_file",
                              "malformed_codes",      "marks_and_markup", "missing_sections",
                              "network_failure",      "no_failures",      "no_files",
                              "odd_results_and_types"};

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Returns text with visible line feeds and tabs. A text of one line stays on the line of its label.
// A text of several lines is indented below the label.
std::string Shown(const std::string& text) {
    if (text.empty()) {
        return "\n";
    }
    const size_t firstLineFeed = text.find('\n');
    const bool isOneLine = firstLineFeed == std::string::npos || firstLineFeed == text.size() - 1;
    const std::string newLine = "\n        ";
    std::string result = isOneLine ? " " : newLine;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') {
            result += i + 1 < text.size() ? "\\n" + newLine : "\\n";
        } else {
            result += text[i] == '\t' ? std::string("\\t") : std::string(1, text[i]);
        }
    }
    return result + "\n";
}

const char* NameOf(app_result_type_e type) {
    switch (type) {
        case RESULT_TYPE_BT:
            return "BT";
        case RESULT_TYPE_WIFI:
            return "WIFI";
        case RESULT_TYPE_APP:
            return "APP";
        case RESULT_TYPE_RNSC:
            return "RNSC";
        case RESULT_TYPE_IMAGE:
            return "IMAGE";
        case RESULT_TYPE_INVALID:
            break;
    }
    return "INVALID";
}

// Returns the result of the operation, or a text for the exception that the operation throws.
template <typename Operation>
std::string ResultOf(const Operation& operation) {
    try {
        return operation();
    } catch (const std::invalid_argument& e) {
        return std::string("throws invalid_argument: ") + e.what();
    } catch (const std::out_of_range& e) {
        return std::string("throws out_of_range: ") + e.what();
    }
}

// Writes the error lines that were logged since the last call.
void DumpErrors(std::ostream& out) {
    for (const LogLine& line : FakeLog::Errors()) {
        out << "    error of " << line.file << ", " << line.function << ":" << Shown(line.message);
    }
    FakeLog::Clear();
}

void DumpPanels(std::ostream& out, const QELXmlParser& store) {
    out << "information:" << Shown(store.GetInformation());
    out << "network:" << Shown(store.GetNetworkInfo());
    out << "summary:" << Shown(store.GetSummary());
}

void DumpFailedItem(std::ostream& out, const QELXmlParser& store, unsigned int id) {
    out << "failed item " << id << ", type " << NameOf(store.GetResultType(id)) << ":\n";
    const ResultItem item = store.GetResultData()[id];
    for (const auto& field : item) {
        out << "    " << field.first << ":" << Shown(store.GetResult(id, field.first));
    }
    out << "    item text:" << Shown(store.GetResult(id));
    out << "    valid: " << ResultOf([id] {
        return QELAnalysisData::GetInstance()->IsValid(id) ? "yes" : "no";
    }) << "\n";
    DumpErrors(out);
    out << "    analysis:" << Shown(ResultOf([id] { return QELAnalysis::m_Analyze(id); }));
    DumpErrors(out);
}

void DumpAllItems(std::ostream& out, const QELXmlParser& store) {
    out << "all items: " << store.GetNumOfResultAll() << "\n";
    for (unsigned int i = 0; i < store.GetNumOfResultAll(); ++i) {
        out << "    " << i << ":" << Shown(store.GetResultFromAll(i, "name"));
    }
}

// Parses the files in the data folder and returns the results of all queries and of the analysis.
std::string Dump() {
    std::ostringstream out;
    QELXmlParser& store = *QELXmlParser::GetInstance();
    out << "parsed: " << (store.ParseFile() ? "yes" : "no") << "\n";
    DumpErrors(out);
    DumpPanels(out, store);
    for (unsigned int id = 0; id < store.GetNumOfResult(); ++id) {
        DumpFailedItem(out, store, id);
    }
    DumpAllItems(out, store);
    return out.str();
}

class GoldenTest : public StoreTest, public testing::WithParamInterface<const char*> {
protected:
    static fs::path Folder() { return fs::path(QUORVEL_GOLDEN_FOLDER) / GetParam(); }

    static void CopyFiles() {
        for (const char* name : {"qelRnscXml.xml", "qelXml.xml"}) {
            if (fs::exists(Folder() / name)) {
                fs::copy_file(Folder() / name, PrivateData::Path(name));
            }
        }
    }
};

TEST_P(GoldenTest, MatchesExpectedText) {
    CopyFiles();
    const std::string dump = Dump();
    const fs::path expected = Folder() / "expected.txt";
    if (std::getenv("QUORVEL_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(expected, std::ios::binary) << dump;
        GTEST_SKIP() << "wrote " << expected;
    }
    ASSERT_TRUE(fs::exists(expected));
    EXPECT_EQ(dump, ReadFile(expected));
}

INSTANTIATE_TEST_SUITE_P(Runs, GoldenTest, testing::ValuesIn(kCases),
                         [](const auto& run) { return std::string(run.param); });

TEST(GoldenFolderTest, MatchesListOfCases) {
    std::vector<std::string> folders;
    for (const auto& entry : fs::directory_iterator(QUORVEL_GOLDEN_FOLDER)) {
        folders.push_back(entry.path().filename().string());
    }
    EXPECT_THAT(folders, testing::UnorderedElementsAreArray(kCases));
}

}  // namespace
