#include "QELAnalysis.h"

#include <ostream>
#include <sstream>
#include <stdexcept>

#include "QELAnalysisData.h"
#include "QELPopupLoading.h"
#include "QELXmlParser.h"
#include "quorvel.h"

namespace {

// The time during which an item ran, in the unit of the test run. A negative number keeps its
// unsigned image, and the end may wrap.
struct TimeWindow_s {
    std::uint32_t start;
    std::uint32_t end;
};

std::uint32_t ParseTime(const std::string& text) {
    return static_cast<std::uint32_t>(std::stoi(text));
}

bool Conflicts(const TimeWindow_s& own, const TimeWindow_s& other) {
    const bool startsInside = own.start <= other.start && other.start < own.end;
    const bool endsInside = own.start < other.end && other.end <= own.end;
    const bool encloses = other.start < own.start && own.end < other.end;
    return startsInside || endsInside || encloses;
}

template <typename Thread>
void WriteLine(std::ostream& out, const TimeWindow_s& window, const std::string& name,
               const Thread& thread) {
    out << window.start << "\t" << window.end << "\t" << name << "(" << thread << ")" << std::endl;
}

// Whether the item i of all items counts at all: it has a code pair, and not a block-listed one.
bool IsCandidate(QELAnalysisData& analysisData, unsigned int i) {
    unsigned char opcode = 0;
    unsigned char msgcode = 0;
    return analysisData.GetCodeFromAll(i, "opcode", &opcode) &&
           analysisData.GetCodeFromAll(i, "msgcode", &msgcode) &&
           !analysisData.IsItInBlockList(opcode, msgcode);
}

// Writes the line of the failed item id and those of the items that conflict with it. Throws as
// std::stoi does when a number that counts is none. The thread is written as a number in the first
// line and as it stands in the file in the others; that difference is kept on purpose.
void WriteConflicts(std::ostream& out, const QELXmlParser& parser, QELAnalysisData& analysisData,
                    unsigned int id) {
    const int thread = std::stoi(parser.GetResult(id, "threadID"));
    TimeWindow_s own = {ParseTime(parser.GetResult(id, "timeAckAbsolute")), 0};
    own.end = own.start + ParseTime(parser.GetResult(id, "duration"));
    WriteLine(out, own, parser.GetResult(id, "name"), thread);

    const unsigned int count = parser.GetNumOfResultAll();
    for (unsigned int i = 0; i < count; ++i) {
        if (!IsCandidate(analysisData, i) ||
            std::stoi(parser.GetResultFromAll(i, "threadID")) == thread) {
            continue;
        }
        TimeWindow_s other = {ParseTime(parser.GetResultFromAll(i, "timeAckAbsolute")), 0};
        other.end = other.start + ParseTime(parser.GetResultFromAll(i, "duration"));
        if (Conflicts(own, other)) {
            WriteLine(out, other, parser.GetResultFromAll(i, "name"),
                      parser.GetResultFromAll(i, "threadID"));
        }
    }
}

// Which fields make up a setting configuration is open; all but the kind are handed on.
QELAnalysisInfoSetCfg_s SettingConfigOf(const QELAnalysisCheckTable_s& record) {
    return {record.param,   record.values1, record.values2,
            record.values3, record.values4, record.text};
}

}  // namespace

void QELAnalysis::StartAnalyze(unsigned int id) {
    QELAnalysisData* analysisData = QELAnalysisData::GetInstance();
    // Without a store or the popup the running flag stays set; kept on purpose.
    if (analysisData == nullptr) {
        return;
    }
    if (QELPopupLoading::GetInstance() == nullptr) {
        QEL_LOGE("popupLoading is NULL");
        return;
    }
    // This order is the whole hand-over to the main loop: once it sees the flag cleared, it may
    // read the text without a lock.
    analysisData->SetAnalysisData(id, m_Analyze(id));
    QELPopupLoading::SetResultText("Analysis is completed.");
    QELPopupLoading::SetRunningFlag(false);
}

std::string QELAnalysis::m_Analyze(unsigned int id) {
    QELAnalysisData* analysisData = QELAnalysisData::GetInstance();
    if (analysisData == nullptr) {
        return "";
    }
    unsigned char opcode = 0;
    unsigned char msgcode = 0;
    if (!analysisData->GetCode(id, "opcode", &opcode) ||
        !analysisData->GetCode(id, "msgcode", &msgcode)) {
        QEL_LOGE("indexOfAnalysisItem=%d, opcode=%x, msgcode=%x", id, opcode, msgcode);
        return "";
    }
    std::string result;
    for (const QELAnalysisCheckTable_s& record : analysisData->GetCheckTable(opcode, msgcode)) {
        if (record.type == CHECK_TYPE_SETTING_CONFIG) {
            result += m_AnalyzeSettingConfig(opcode, msgcode, SettingConfigOf(record)) + "\n";
        }
    }
    result += m_AnalyzeResourceConflictList(id);
    return "\n" + result + "\n";
}

// What a setting check reports is not defined yet, and no check table asks for one.
std::string QELAnalysis::m_AnalyzeSettingConfig(unsigned char /*opcode*/, unsigned char /*msgcode*/,
                                                const QELAnalysisInfoSetCfg_s& /*cfg*/) {
    return "";
}

std::string QELAnalysis::m_AnalyzeResourceConflictList(unsigned int id) {
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        QEL_LOGE("not able to get instance of xmlParser");
        return "";
    }
    QELAnalysisData* analysisData = QELAnalysisData::GetInstance();
    if (analysisData == nullptr) {
        QEL_LOGE("not able to get instance of analysisData");
        return "";
    }
    unsigned char opcode = 0;
    unsigned char msgcode = 0;
    if (!analysisData->GetCode(id, "opcode", &opcode) ||
        !analysisData->GetCode(id, "msgcode", &msgcode)) {
        QEL_LOGE("indexOfAnalysisItem=%d, opcode=%x, msgcode=%x", id, opcode, msgcode);
        return "";
    }
    if (analysisData->IsItInBlockList(opcode, msgcode)) {
        return "";
    }
    // One bad number anywhere drops every line gathered so far: half a list would be taken for the
    // whole one.
    std::ostringstream text;
    try {
        WriteConflicts(text, *parser, *analysisData, id);
    } catch (const std::invalid_argument& e) {
        QEL_LOGE("Exception - invalid_argument[%s]", e.what());
        return "";
    } catch (const std::out_of_range& e) {
        QEL_LOGE("Exception - out_of_range[%s]", e.what());
        return "";
    }
    return text.str();
}
