// Compares the resource conflict lists of random runs with a model. The model shares no code with
// QELConflicts. The model checks single instants instead of comparing start and end times.

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELConflicts.h"
#include "QELXmlParser.h"
#include "fixtures/StoreTest.h"

namespace {

// An item of the model. A missing field has an empty text.
struct ModelItem {
    std::map<std::string, std::string> fields;
    bool isFailed;

    std::string Text(const std::string& key) const {
        const auto it = fields.find(key);
        return it == fields.end() ? "" : it->second;
    }
};

using ModelRun = std::vector<ModelItem>;

const unsigned int kRunsPerSeed = 50;
// The random runs of one seed must have more than this number of conflicts.
const long kMinConflicts = 100;

// The reason why a text does not convert to an int.
struct ConversionError {
    bool isOutOfRange;
};

const std::string kDigits = "0123456789abcdef";

// Returns the value of the digit at the position; -1 if the text has no digit of the base there.
int GetDigitAt(const std::string& text, size_t position, int base) {
    if (position >= text.size()) {
        return -1;
    }
    const size_t value = kDigits.find(static_cast<char>(std::tolower(text[position])));
    return value < static_cast<size_t>(base) ? static_cast<int>(value) : -1;
}

// Returns whether "0x" and a hexadecimal digit start at the position.
bool HasHexPrefix(const std::string& text, size_t position) {
    return GetDigitAt(text, position, 16) == 0 && position + 1 < text.size() &&
           std::tolower(text[position + 1]) == 'x' && GetDigitAt(text, position + 2, 16) >= 0;
}

// Returns the value of the digits that start at the position, or 2^40 if the value is larger.
long long ParseDigits(const std::string& text, size_t position, int base) {
    long long number = 0;
    for (; GetDigitAt(text, position, base) >= 0; ++position) {
        number = std::min(number * base + GetDigitAt(text, position, base), 1LL << 40);
    }
    return number;
}

// Parses white space, a sign and digits. Throws ConversionError if the number is not an int.
long long ParseNumber(const std::string& text, int base) {
    size_t position = text.find_first_not_of(" \t\n\r\v\f");
    if (position == std::string::npos) {
        throw ConversionError{false};
    }
    const bool isNegative = text[position] == '-';
    if (isNegative || text[position] == '+') {
        ++position;
    }
    if (base == 16 && HasHexPrefix(text, position)) {
        position += 2;
    }
    if (GetDigitAt(text, position, base) < 0) {
        throw ConversionError{false};
    }
    const long long digits = ParseDigits(text, position, base);
    const long long number = isNegative ? -digits : digits;
    if (number > 2147483647LL || number < -2147483648LL) {
        throw ConversionError{true};
    }
    return number;
}

// Returns the remainder from 0 to modulus - 1.
long long Modulo(long long number, long long modulus) {
    return ((number % modulus) + modulus) % modulus;
}

// A time window. The times are unsigned 32-bit numbers.
struct ModelWindow {
    long long start;
    long long end;
};

ModelWindow MakeWindow(const ModelItem& item) {
    const long long range = 1LL << 32;
    const long long start = ParseNumber(item.Text("timeAckAbsolute"), 10);
    const long long length = ParseNumber(item.Text("duration"), 10);
    return {Modulo(start, range), Modulo(start + length, range)};
}

// Returns the start and end times of both windows, and the instants just before and after each
// time. All values are doubled, so that an instant exists between any two times.
std::set<long long> FindInstants(const ModelWindow& a, const ModelWindow& b) {
    std::set<long long> instants;
    for (const long long time : {a.start, a.end, b.start, b.end}) {
        instants.insert({2 * time - 1, 2 * time, 2 * time + 1});
    }
    return instants;
}

bool IsListed(const ModelWindow& own, const ModelWindow& other) {
    bool startsInside = false;
    bool endsInside = false;
    bool startsBefore = false;
    bool endsAfter = false;
    for (const long long instant : FindInstants(own, other)) {
        const bool hasStarted = instant >= 2 * own.start;
        const bool hasEnded = instant >= 2 * own.end;
        startsInside = startsInside || (instant == 2 * other.start && hasStarted && !hasEnded);
        startsBefore = startsBefore || (instant == 2 * other.start && !hasStarted);
        // A time window excludes its end, so the instant before the end decides.
        const bool hadStarted = instant - 1 >= 2 * own.start;
        const bool hadEnded = instant - 1 >= 2 * own.end;
        endsInside = endsInside || (instant == 2 * other.end && hadStarted && !hadEnded);
        endsAfter = endsAfter || (instant == 2 * other.end && hadEnded);
    }
    return startsInside || endsInside || (startsBefore && endsAfter);
}

// Returns the block list. Each code pair has four hexadecimal digits.
const std::set<std::string>& GetBlockedPairs() {
    static const std::set<std::string> kPairs = {
        "2a11", "3202", "5010", "5011", "5012", "5013", "5014", "5015", "5016", "5017", "5018",
        "5019", "501a", "5210", "5211", "5212", "5213", "5215", "5216", "5217", "6011", "7102",
        "7210", "7211", "7310", "7401", "7403", "8726", "8802", "9d10", "a702", "a710", "bb10",
        "bb11", "bb17", "bb18", "bb20", "be04", "be12", "be13", "be14", "be15", "cc04", "cc10",
        "cc12", "cc13", "cc14", "cc15", "cc16", "cc17", "cc21", "cc22", "dd10", "e010"};
    return kPairs;
}

// Returns the two codes as four hexadecimal digits; no value if a code is missing.
std::optional<std::string> FormatCodePair(const ModelItem& item) {
    std::string pair;
    for (const char* key : {"opcode", "msgcode"}) {
        if (item.Text(key).empty()) {
            return std::nullopt;
        }
        const auto code = static_cast<size_t>(Modulo(ParseNumber(item.Text(key), 16), 256));
        pair += kDigits[code / 16];
        pair += kDigits[code % 16];
    }
    return pair;
}

std::string FormatLine(const ModelWindow& window, const std::string& name,
                       const std::string& thread) {
    return std::to_string(window.start) + "\t" + std::to_string(window.end) + "\t" + name + "(" +
           thread + ")\n";
}

std::string ListModelConflicts(const ModelRun& run, const ModelItem& own) {
    const long long thread = ParseNumber(own.Text("threadID"), 10);
    const ModelWindow window = MakeWindow(own);
    std::string text = FormatLine(window, own.Text("name"), std::to_string(thread));
    for (const ModelItem& item : run) {
        const auto pair = FormatCodePair(item);
        if (!pair || GetBlockedPairs().count(*pair) != 0 ||
            ParseNumber(item.Text("threadID"), 10) == thread) {
            continue;
        }
        const ModelWindow other = MakeWindow(item);
        if (IsListed(window, other)) {
            text += FormatLine(other, item.Text("name"), item.Text("threadID"));
        }
    }
    return text;
}

// Returns the text that RunAnalysis must return. Appends the error lines that the analysis must log
// to errors.
std::string PredictAnalysis(const ModelRun& run, const ModelItem& own,
                            std::vector<std::string>& errors) {
    std::optional<std::string> pair;
    try {
        pair = FormatCodePair(own);
    } catch (const ConversionError& failure) {
        return failure.isOutOfRange ? "throws out_of_range" : "throws invalid_argument";
    }
    if (!pair || GetBlockedPairs().count(*pair) != 0) {
        return "";
    }
    try {
        return ListModelConflicts(run, own);
    } catch (const ConversionError& failure) {
        errors.emplace_back(failure.isOutOfRange ? "Exception - out_of_range[stoi]"
                                                 : "Exception - invalid_argument[stoi]");
        return "";
    }
}

// Generates random runs. The share of invalid fields differs between runs: with a high share in all
// runs, nearly every analysis would fail.
class RunGenerator {
public:
    explicit RunGenerator(unsigned int seed) : m_Random(seed) {
        m_InvalidPerMille = m_Pick(std::vector<int>{0, 0, 5, 30});
        m_ExtremePerMille = m_Pick(std::vector<int>{0, 20, 300});
    }

    ModelRun Make() {
        ModelRun run(static_cast<size_t>(m_DrawBetween(1, 30)));
        for (size_t i = 0; i < run.size(); ++i) {
            ModelItem& item = run[i];
            item.isFailed = m_DrawBetween(0, 2) != 0;
            item.fields["name"] = "item" + std::to_string(i);
            item.fields["result"] = item.isFailed ? "fail" : "pass";
            m_AddField(item, "opcode", m_MakeCode({"50", "52", "cc", "11"}));
            m_AddField(item, "msgcode", m_MakeCode({"10", "14", "1A", "22"}));
            m_AddField(item, "threadID",
                       m_Pick(std::vector<std::string>{"1", "2", "3", "01", " 2", "-1"}));
            m_AddField(item, "timeAckAbsolute", m_MakeTime());
            m_AddField(item, "duration", m_MakeTime());
        }
        return run;
    }

private:
    int m_DrawBetween(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(m_Random);
    }

    template <typename Value>
    Value m_Pick(const std::vector<Value>& values) {
        return values[static_cast<size_t>(m_DrawBetween(0, static_cast<int>(values.size()) - 1))];
    }

    // Returns true in perMille of 1000 calls on average.
    bool m_DrawChance(int perMille) { return m_DrawBetween(1, 1000) <= perMille; }

    std::string m_MakeCode(const std::vector<std::string>& codes) {
        const std::string code = m_Pick(codes);
        return m_DrawChance(m_ExtremePerMille)
                   ? m_Pick(std::vector<std::string>{"0x" + code, "1" + code, "-1",
                                                     "  " + code + " x"})
                   : code;
    }

    std::string m_MakeTime() {
        if (m_DrawChance(m_ExtremePerMille)) {
            return m_Pick(std::vector<std::string>{"2147483647", "-2147483648", "-1", "-20",
                                                   "2147483640", "-2147483640", "+7", "12.5"});
        }
        return std::to_string(m_DrawBetween(0, 20));
    }

    // Adds the field with the text. An invalid field is missing, empty, or not an int.
    void m_AddField(ModelItem& item, const std::string& key, const std::string& text) {
        if (!m_DrawChance(m_InvalidPerMille)) {
            item.fields[key] = text;
            return;
        }
        const std::string invalid =
            m_Pick(std::vector<std::string>{"", "", "missing", "xyz", "99999999999"});
        if (invalid != "missing") {
            item.fields[key] = invalid;
        }
    }

    std::mt19937 m_Random;
    int m_InvalidPerMille;  // share of invalid fields
    int m_ExtremePerMille;  // share of unusual codes and times
};

// Returns the conflict list of the failed item, or a text for the exception of the analysis.
std::string RunAnalysis(unsigned int index) {
    try {
        return QELAnalysis::m_AnalyzeResourceConflictList(index);
    } catch (const std::invalid_argument&) {
        return "throws invalid_argument";
    } catch (const std::out_of_range&) {
        return "throws out_of_range";
    }
}

// Returns the error messages about exceptions, without the messages about missing keys.
std::vector<std::string> GetExceptionLines() {
    std::vector<std::string> lines;
    for (const std::string& message : FakeLog::ErrorMessages()) {
        if (message.rfind("Exception", 0) == 0) {
            lines.push_back(message);
        }
    }
    return lines;
}

// Returns a text with every field of the conflict list, or a text for the exception.
template <typename Find>
std::string DescribeList(const Find& find) {
    try {
        const QELConflictList_s list = find();
        std::string text = std::to_string(static_cast<int>(list.state)) + " " +
                           std::to_string(list.opcode) + " " + std::to_string(list.msgcode) + " " +
                           list.problem + "\n";
        for (const QELConflictLine_s& line : list.lines) {
            text += std::to_string(line.item) + " " + std::to_string(line.window.start) + " " +
                    std::to_string(line.window.end) + " " + line.name + " " + line.thread + "\n";
        }
        return text;
    } catch (const std::invalid_argument&) {
        return "throws invalid_argument";
    } catch (const std::out_of_range&) {
        return "throws out_of_range";
    }
}

class QELAnalysisConflictModelTest : public StoreTest,
                                     public testing::WithParamInterface<unsigned int> {
protected:
    static void LoadRun(const ModelRun& run) {
        std::vector<xml::Fields> items;
        for (const ModelItem& item : run) {
            items.emplace_back(item.fields.begin(), item.fields.end());
        }
        LoadItems(items);
    }

    // Compares the conflicts that the index finds with the conflicts of the item-by-item
    // comparison.
    static void CompareIndex() {
        const QELXmlParser& parser = *QELXmlParser::GetInstance();
        QELAnalysisData& analysisData = *QELAnalysisData::GetInstance();
        const QELConflictIndex index(parser, analysisData);
        for (unsigned int id = 0; id < parser.GetNumOfResult(); ++id) {
            EXPECT_EQ(DescribeList([&] { return index.Find(id); }),
                      DescribeList([&] { return QELConflicts::Find(parser, analysisData, id); }))
                << "failed item " << id;
        }
    }

    // Compares every failed item of the run with the model. Returns the number of conflicts.
    static long CompareFailedItems(const ModelRun& run) {
        long conflicts = 0;
        unsigned int index = 0;
        for (const ModelItem& item : run) {
            if (!item.isFailed) {
                continue;
            }
            FakeLog::Clear();
            std::vector<std::string> errors;
            const std::string expected = PredictAnalysis(run, item, errors);
            EXPECT_EQ(RunAnalysis(index), expected) << item.Text("name");
            EXPECT_EQ(GetExceptionLines(), errors) << item.Text("name");
            conflicts += std::max(0L, std::count(expected.begin(), expected.end(), '\n') - 1L);
            ++index;
        }
        return conflicts;
    }
};

TEST_P(QELAnalysisConflictModelTest, MatchesModelOnRandomRuns) {
    long conflicts = 0;
    for (unsigned int i = 0; i < kRunsPerSeed && !HasFailure(); ++i) {
        const unsigned int seed = GetParam() * 1000 + i;
        SCOPED_TRACE("seed " + std::to_string(seed));
        const ModelRun run = RunGenerator(seed).Make();
        LoadRun(run);
        conflicts += CompareFailedItems(run);
    }
    EXPECT_GT(conflicts, kMinConflicts) << "the random runs have too few conflicts";
}

TEST_P(QELAnalysisConflictModelTest, ReturnsSameRecordsFromIndexOnRandomRuns) {
    for (unsigned int i = 0; i < kRunsPerSeed && !HasFailure(); ++i) {
        const unsigned int seed = GetParam() * 1000 + i;
        SCOPED_TRACE("seed " + std::to_string(seed));
        LoadRun(RunGenerator(seed).Make());
        CompareIndex();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, QELAnalysisConflictModelTest, testing::Range(1U, 9U));

}  // namespace
