// Passes runs with random values to the validity rules and the analysis. Both may throw only the
// two exceptions of an invalid code.

#include <algorithm>
#include <stdexcept>
#include <string>

#include "FuzzTarget.h"
#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELXmlParser.h"

namespace {

// The limit keeps the time for one input short.
const unsigned int kMaxItems = 12;

// Turns the input into texts. One byte selects a common value or the length of the raw bytes that
// follow.
class TextSource {
public:
    TextSource(const std::uint8_t* data, std::size_t size) : m_Next(data), m_End(data + size) {}

    bool IsEmpty() const { return m_Next == m_End; }

    std::uint8_t Byte() { return IsEmpty() ? std::uint8_t{0} : *m_Next++; }

    std::string Text() {
        static const char* const kCommon[] = {
            "0",          "1",           "2",          "10",   "100",   "007",  "-1",
            "2147483647", "-2147483648", "2147483648", "50",   "1A",    "0x52", "14",
            "12.5",       "xyz",         "app",        "rnsc", "image", "fail"};
        const std::size_t count = sizeof(kCommon) / sizeof(kCommon[0]);
        const std::uint8_t choice = Byte();
        // Two of the lowest choices select each common value. All other choices select raw bytes.
        if (choice < 2 * count) {
            return kCommon[choice % count];
        }
        return m_ReadRaw(choice % 16U);
    }

private:
    std::string m_ReadRaw(std::size_t size) {
        const std::size_t taken = std::min(size, static_cast<std::size_t>(m_End - m_Next));
        std::string text(reinterpret_cast<const char*>(m_Next), taken);
        m_Next += taken;
        return text;
    }

    const std::uint8_t* m_Next;
    const std::uint8_t* m_End;
};

// Adds one item. Each set bit of the first byte omits one field. If the highest bit is set, the
// item has passed.
void AddItem(QELXmlParser& store, TextSource& source) {
    static const char* const kKeys[] = {"opcode",   "msgcode", "threadID", "timeAckAbsolute",
                                        "duration", "type",    "detailed"};
    const std::uint8_t omitted = source.Byte();
    ResultItem item = {{"name", "item" + std::to_string(store.m_resultAllData.size())}};
    unsigned int bit = 1;
    for (const char* key : kKeys) {
        if ((omitted & bit) == 0) {
            item[key] = source.Text();
        }
        bit <<= 1U;
    }
    if ((omitted & bit) == 0) {
        store.m_resultFailData.push_back(item);
    }
    store.m_resultAllData.push_back(item);
}

std::string AnalysisOf(unsigned int id) {
    try {
        return QELAnalysis::m_Analyze(id);
    } catch (const std::invalid_argument&) {
        return "";
    } catch (const std::out_of_range&) {
        return "";
    }
}

void QueryValidity(QELAnalysisData& data, unsigned int id) {
    try {
        data.IsValid(id);
    } catch (const std::invalid_argument&) {
        return;
    } catch (const std::out_of_range&) {
        return;
    }
}

void CheckAnalysis(const QELXmlParser& store, unsigned int id) {
    const std::string text = AnalysisOf(id);
    Require(text == AnalysisOf(id), "a second analysis gives the same text");
    if (text.empty()) {
        return;
    }
    Require(text.size() >= 2 && text.front() == '\n' && text.back() == '\n',
            "the text begins and ends with a line feed");
    const std::string own = "\t" + store.GetResult(id, "name") + "(";
    Require(text == "\n\n" || text.find(own) < text.find('\n', 1),
            "the first line names the analysed item");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    delete QELAnalysisData::m_QELAnalysisData;
    QELAnalysisData::m_QELAnalysisData = nullptr;
    QELXmlParser& store = *QELXmlParser::GetInstance();
    store.m_Initialize();
    TextSource source(data, size);
    while (!source.IsEmpty() && store.GetNumOfResultAll() < kMaxItems) {
        AddItem(store, source);
    }
    // The last id of the loop does not exist.
    for (unsigned int id = 0; id <= store.GetNumOfResult(); ++id) {
        QueryValidity(*QELAnalysisData::GetInstance(), id);
        CheckAnalysis(store, id);
    }
    return 0;
}
