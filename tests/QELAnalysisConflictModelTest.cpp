// QELAnalysis: the resource conflict list of random runs against a model that shares no code and no
// way of thinking with it: it enumerates the instants of a window instead of comparing its ends.

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
#include "fixtures/StoreTest.h"

namespace {

// One item as the model sees it: a field that is missing has no text.
struct ModelItem_s {
    std::map<std::string, std::string> fields;
    bool failed;

    std::string Text(const std::string& key) const {
        const auto it = fields.find(key);
        return it == fields.end() ? "" : it->second;
    }
};

using ModelRun = std::vector<ModelItem_s>;

// Why a text is no number.
struct Failure_s {
    bool isTooLarge;
};

// Reads a number digit by digit in 64 bits.
long long Number(const std::string& text, int base) {
    size_t at = text.find_first_not_of(" \t\n\r\v\f");
    if (at == std::string::npos) {
        throw Failure_s{false};
    }
    bool negative = false;
    if (text[at] == '-' || text[at] == '+') {
        negative = text[at] == '-';
        ++at;
    }
    const std::string digits = "0123456789abcdef";
    const auto valueAt = [&](size_t i) {
        const size_t value = i < text.size() ? digits.find(static_cast<char>(std::tolower(text[i])))
                                             : std::string::npos;
        return value < static_cast<size_t>(base) ? static_cast<int>(value) : -1;
    };
    if (base == 16 && valueAt(at) == 0 && at + 1 < text.size() &&
        std::tolower(text[at + 1]) == 'x' && valueAt(at + 2) >= 0) {
        at += 2;
    }
    if (valueAt(at) < 0) {
        throw Failure_s{false};
    }
    long long number = 0;
    for (; valueAt(at) >= 0; ++at) {
        number = std::min(number * base + valueAt(at), 1LL << 40);
    }
    number = negative ? -number : number;
    if (number > 2147483647LL || number < -2147483648LL) {
        throw Failure_s{true};
    }
    return number;
}

long long Modulo(long long number, long long modulus) {
    return ((number % modulus) + modulus) % modulus;
}

// The times on the 32-bit clock face.
struct ModelWindow_s {
    long long start;
    long long end;
};

ModelWindow_s WindowOf(const ModelItem_s& item) {
    const long long clock = 1LL << 32;
    const long long start = Number(item.Text("timeAckAbsolute"), 10);
    const long long length = Number(item.Text("duration"), 10);
    return {Modulo(start, clock), Modulo(start + length, clock)};
}

// The instants that matter for two windows: their ends and one between each two neighbours, the
// outside included. Doubled, so that there is always one between.
std::set<long long> Instants(const ModelWindow_s& a, const ModelWindow_s& b) {
    std::set<long long> instants;
    for (const long long end : {a.start, a.end, b.start, b.end}) {
        instants.insert({2 * end - 1, 2 * end, 2 * end + 1});
    }
    return instants;
}

bool IsListed(const ModelWindow_s& own, const ModelWindow_s& other) {
    bool startsDuring = false;
    bool endsDuring = false;
    bool before = false;
    bool after = false;
    for (const long long instant : Instants(own, other)) {
        const bool begun = instant >= 2 * own.start;
        const bool over = instant >= 2 * own.end;
        startsDuring = startsDuring || (instant == 2 * other.start && begun && !over);
        // The instant of an end belongs to what was just before it.
        const bool wasBegun = instant - 1 >= 2 * own.start;
        const bool wasOver = instant - 1 >= 2 * own.end;
        endsDuring = endsDuring || (instant == 2 * other.end && wasBegun && !wasOver);
        before = before || (instant == 2 * other.start && !begun);
        after = after || (instant == 2 * other.end && wasOver);
    }
    return startsDuring || endsDuring || (before && after);
}

const std::set<std::string>& BlockedPairs() {
    static const std::set<std::string> pairs = {
        "2a11", "3202", "5010", "5011", "5012", "5013", "5014", "5015", "5016", "5017", "5018",
        "5019", "501a", "5210", "5211", "5212", "5213", "5215", "5216", "5217", "6011", "7102",
        "7210", "7211", "7310", "7401", "7403", "8726", "8802", "9d10", "a702", "a710", "bb10",
        "bb11", "bb17", "bb18", "bb20", "be04", "be12", "be13", "be14", "be15", "cc04", "cc10",
        "cc12", "cc13", "cc14", "cc15", "cc16", "cc17", "cc21", "cc22", "dd10", "e010"};
    return pairs;
}

// The two codes as four digits; nothing when one of them is missing.
std::optional<std::string> PairOf(const ModelItem_s& item) {
    std::string pair;
    for (const char* key : {"opcode", "msgcode"}) {
        if (item.Text(key).empty()) {
            return std::nullopt;
        }
        const auto code = static_cast<unsigned int>(Modulo(Number(item.Text(key), 16), 256));
        const char* const digits = "0123456789abcdef";
        pair += {digits[code / 16], digits[code % 16]};
    }
    return pair;
}

std::string Line(const ModelWindow_s& window, const std::string& name, const std::string& thread) {
    return std::to_string(window.start) + "\t" + std::to_string(window.end) + "\t" + name + "(" +
           thread + ")\n";
}

std::string ModelConflicts(const ModelRun& run, const ModelItem_s& own) {
    const long long thread = Number(own.Text("threadID"), 10);
    const ModelWindow_s window = WindowOf(own);
    std::string text = Line(window, own.Text("name"), std::to_string(thread));
    for (const ModelItem_s& item : run) {
        const auto pair = PairOf(item);
        if (!pair || BlockedPairs().count(*pair) != 0 ||
            Number(item.Text("threadID"), 10) == thread) {
            continue;
        }
        const ModelWindow_s other = WindowOf(item);
        if (IsListed(window, other)) {
            text += Line(other, item.Text("name"), item.Text("threadID"));
        }
    }
    return text;
}

// What the analysis of the item has to give: its text, or the word for what it throws. The errors
// that it has to log are added to errors.
std::string ModelAnalysis(const ModelRun& run, const ModelItem_s& own,
                          std::vector<std::string>& errors) {
    std::optional<std::string> pair;
    try {
        pair = PairOf(own);
    } catch (const Failure_s& failure) {
        return failure.isTooLarge ? "throws out_of_range" : "throws invalid_argument";
    }
    if (!pair || BlockedPairs().count(*pair) != 0) {
        return "";
    }
    try {
        return ModelConflicts(run, own);
    } catch (const Failure_s& failure) {
        errors.emplace_back(failure.isTooLarge ? "Exception - out_of_range[stoi]"
                                               : "Exception - invalid_argument[stoi]");
        return "";
    }
}

// Random runs. How often a field is odd differs between runs, or nearly every one would fail.
class RunMaker {
public:
    explicit RunMaker(unsigned int seed) : m_Random(seed) {
        m_Oddity = Pick(std::vector<int>{0, 0, 5, 30});
        m_Extreme = Pick(std::vector<int>{0, 20, 300});
    }

    ModelRun Make() {
        ModelRun run(static_cast<size_t>(Between(1, 30)));
        for (ModelItem_s& item : run) {
            item.failed = Between(0, 2) != 0;
            item.fields["name"] = "item" + std::to_string(&item - run.data());
            item.fields["result"] = item.failed ? "fail" : "pass";
            Add(item, "opcode", Code({"50", "52", "cc", "11"}));
            Add(item, "msgcode", Code({"10", "14", "1A", "22"}));
            Add(item, "threadID", Pick(std::vector<std::string>{"1", "2", "3", "01", " 2", "-1"}));
            Add(item, "timeAckAbsolute", Time());
            Add(item, "duration", Time());
        }
        return run;
    }

private:
    int Between(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(m_Random);
    }

    template <typename Value>
    Value Pick(const std::vector<Value>& values) {
        return values[static_cast<size_t>(Between(0, static_cast<int>(values.size()) - 1))];
    }

    bool OneIn(int perMille) { return Between(1, 1000) <= perMille; }

    std::string Code(const std::vector<std::string>& codes) {
        const std::string code = Pick(codes);
        return OneIn(m_Extreme) ? Pick(std::vector<std::string>{"0x" + code, "1" + code, "-1",
                                                                "  " + code + " x"})
                                : code;
    }

    std::string Time() {
        if (OneIn(m_Extreme)) {
            return Pick(std::vector<std::string>{"2147483647", "-2147483648", "-1", "-20",
                                                 "2147483640", "-2147483640", "+7", "12.5"});
        }
        return std::to_string(Between(0, 20));
    }

    // Sometimes missing, empty, or no number.
    void Add(ModelItem_s& item, const std::string& key, const std::string& text) {
        if (!OneIn(m_Oddity)) {
            item.fields[key] = text;
            return;
        }
        const std::string odd =
            Pick(std::vector<std::string>{"", "", "missing", "xyz", "99999999999"});
        if (odd != "missing") {
            item.fields[key] = odd;
        }
    }

    std::mt19937 m_Random;
    int m_Oddity;
    int m_Extreme;
};

std::string Analysis(unsigned int id) {
    try {
        return QELAnalysis::m_AnalyzeResourceConflictList(id);
    } catch (const std::invalid_argument&) {
        return "throws invalid_argument";
    } catch (const std::out_of_range&) {
        return "throws out_of_range";
    }
}

std::vector<std::string> ExceptionLines() {
    std::vector<std::string> lines;
    for (const std::string& message : FakeLog::ErrorMessages()) {
        if (message.rfind("Exception", 0) == 0) {
            lines.push_back(message);
        }
    }
    return lines;
}

class QELAnalysisConflictModelTest : public StoreTest,
                                     public testing::WithParamInterface<unsigned int> {
protected:
    static void Load(const ModelRun& run) {
        std::vector<xml::Fields> items;
        for (const ModelItem_s& item : run) {
            items.emplace_back(item.fields.begin(), item.fields.end());
        }
        LoadItems(items);
    }

    // Compares every failed item of the run; returns how many conflicts were found.
    static long Compare(const ModelRun& run) {
        long conflicts = 0;
        unsigned int id = 0;
        for (const ModelItem_s& item : run) {
            if (!item.failed) {
                continue;
            }
            FakeLog::Clear();
            std::vector<std::string> errors;
            const std::string expected = ModelAnalysis(run, item, errors);
            EXPECT_EQ(Analysis(id), expected) << item.Text("name");
            EXPECT_EQ(ExceptionLines(), errors) << item.Text("name");
            conflicts += std::max(0L, std::count(expected.begin(), expected.end(), '\n') - 1L);
            ++id;
        }
        return conflicts;
    }
};

TEST_P(QELAnalysisConflictModelTest, AgreesOnRandomRuns) {
    long conflicts = 0;
    for (unsigned int i = 0; i < 50 && !HasFailure(); ++i) {
        const unsigned int seed = GetParam() * 1000 + i;
        SCOPED_TRACE("seed " + std::to_string(seed));
        const ModelRun run = RunMaker(seed).Make();
        Load(run);
        conflicts += Compare(run);
    }
    EXPECT_GT(conflicts, 100) << "the runs are too tame to tell anything";
}

INSTANTIATE_TEST_SUITE_P(Seeds, QELAnalysisConflictModelTest, testing::Range(1U, 9U));

}  // namespace
