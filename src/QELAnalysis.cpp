#include "QELAnalysis.h"

#include <ostream>
#include <sstream>
#include <stdexcept>

#include "QELAnalysisData.h"
#include "QELPopupLoading.h"
#include "QELXmlParser.h"
#include "quorvel.h"

namespace {

// The time window of an item, in the unit of the result files. A negative number is converted to
// unsigned, and the end may wrap around.
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

// Returns whether the item i of all items takes part in the comparison: it has a code pair, and the
// pair is not block-listed.
bool IsCandidate(QELAnalysisData& analysisData, unsigned int i) {
    unsigned char opcode = 0;
    unsigned char msgcode = 0;
    return analysisData.GetCodeFromAll(i, "opcode", &opcode) &&
           analysisData.GetCodeFromAll(i, "msgcode", &msgcode) &&
           !analysisData.IsItInBlockList(opcode, msgcode);
}

// Writes the line of the failed item id, then one line for each conflict. Throws as std::stoi does
// for an invalid number. Intentional: the first line contains the thread as a number, the other
// lines contain the unchanged text of the file ("007" gives 7 and 007).
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

// The fields of a setting configuration are not defined yet; all fields except the type are copied.
QELAnalysisInfoSetCfg_s SettingConfigOf(const QELAnalysisCheckTable_s& record) {
    return {record.param,   record.values1, record.values2,
            record.values3, record.values4, record.text};
}

}  // namespace

void QELAnalysis::StartAnalyze(unsigned int id) {
    QELAnalysisData* analysisData = QELAnalysisData::GetInstance();
    // Intentional: without the store or the popup, the running flag stays set.
    if (analysisData == nullptr) {
        return;
    }
    if (QELPopupLoading::GetInstance() == nullptr) {
        QEL_LOGE("popupLoading is NULL");
        return;
    }
    // The order matters: the main loop reads the text without a lock as soon as it sees the flag
    // cleared.
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

// The text of a setting check is not defined yet, and no check table contains one.
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
    // Intentional: an invalid number of any item that is compared drops all lines written so far.
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
