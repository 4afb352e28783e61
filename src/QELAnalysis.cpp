#include "QELAnalysis.h"

#include <vector>

#include "QELAnalysisData.h"
#include "QELConflicts.h"
#include "QELPopupLoading.h"
#include "QELXmlParser.h"
#include "quorvel.h"

namespace {

std::string ComposeLines(const std::vector<QELConflictLine_s>& lines) {
    std::string text;
    for (const QELConflictLine_s& line : lines) {
        text.append(std::to_string(line.window.start)).append("\t");
        text.append(std::to_string(line.window.end)).append("\t");
        text.append(line.name).append("(").append(line.thread).append(")\n");
    }
    return text;
}

// The fields of a setting configuration are not defined yet; all fields except the type are copied.
QELAnalysisInfoSetCfg_s SettingConfigOf(const QELAnalysisCheckTable_s& record) {
    return {record.param,   record.values1, record.values2,
            record.values3, record.values4, record.text};
}

}  // namespace

void QELAnalysis::StartAnalyze(unsigned int id) {
    QELAnalysisData* analysisData = QELAnalysisData::GetInstance();
    // Intentional: without the analysis data or the popup, the running flag stays set.
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
    const QELConflictList_s list = QELConflicts::Find(*parser, *analysisData, id);
    switch (list.state) {
        case QELConflictState_e::kNoCode:
            QEL_LOGE("indexOfAnalysisItem=%d, opcode=%x, msgcode=%x", id, list.opcode,
                     list.msgcode);
            break;
        case QELConflictState_e::kInvalidArgument:
            QEL_LOGE("Exception - invalid_argument[%s]", list.problem.c_str());
            break;
        case QELConflictState_e::kOutOfRange:
            QEL_LOGE("Exception - out_of_range[%s]", list.problem.c_str());
            break;
        case QELConflictState_e::kBlocked:
        case QELConflictState_e::kFound:
            break;
    }
    return ComposeLines(list.lines);
}
