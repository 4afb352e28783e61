#include "QELAnalysisData.h"

#include <charconv>
#include <new>

#include "QELXmlParser.h"
#include "quorvel.h"

namespace {

struct CodeBytes_s {
    std::uint8_t opcode;
    std::uint8_t msgcode;
};

// Pairs of opcode and msgcode. Intentional gaps, not to be filled: (0x52, 0x14) and (0xCC, 0x11).
const CodeBytes_s kBlockList[] = {
    {0x74, 0x03}, {0x60, 0x11}, {0x52, 0x12}, {0x88, 0x02}, {0xBB, 0x17}, {0x52, 0x10},
    {0x52, 0x11}, {0x52, 0x17}, {0x52, 0x15}, {0x9D, 0x10}, {0x52, 0x13}, {0x52, 0x16},
    {0xCC, 0x10}, {0x50, 0x10}, {0x50, 0x11}, {0x50, 0x12}, {0x50, 0x13}, {0x50, 0x14},
    {0x50, 0x15}, {0x50, 0x19}, {0x50, 0x18}, {0x73, 0x10}, {0xBB, 0x10}, {0xBB, 0x11},
    {0x87, 0x26}, {0xBE, 0x12}, {0xBE, 0x13}, {0xBE, 0x14}, {0xBE, 0x15}, {0xA7, 0x10},
    {0xA7, 0x02}, {0xDD, 0x10}, {0xCC, 0x12}, {0xCC, 0x21}, {0xCC, 0x13}, {0xCC, 0x14},
    {0x2A, 0x11}, {0x74, 0x01}, {0xCC, 0x17}, {0xCC, 0x04}, {0x50, 0x16}, {0x50, 0x17},
    {0xBE, 0x04}, {0xCC, 0x15}, {0xCC, 0x16}, {0x32, 0x02}, {0xE0, 0x10}, {0x72, 0x10},
    {0xBB, 0x18}, {0xBB, 0x20}, {0x71, 0x02}, {0xCC, 0x22}, {0x50, 0x1A}, {0x72, 0x11},
};

// Returns the low byte of a hexadecimal number. Intentional: larger and negative numbers are
// truncated to the low byte. Throws as std::stoi does. Short numbers are converted without
// std::stoi, which is slower.
unsigned char ParseCode(const std::string& text) {
    unsigned int number = 0;
    const char* end = text.data() + text.size();
    const bool isShort = text.size() < 2 * sizeof(int);
    if (!isShort || text.empty() || std::from_chars(text.data(), end, number, 16).ptr != end) {
        number = static_cast<unsigned int>(std::stoi(text, nullptr, 16));
    }
    return static_cast<unsigned char>(number & 0xFFU);
}

}  // namespace

QELAnalysisData* QELAnalysisData::m_QELAnalysisData = nullptr;

QELAnalysisData* QELAnalysisData::GetInstance() {
    if (m_QELAnalysisData == nullptr) {
        m_QELAnalysisData = new (std::nothrow) QELAnalysisData();
    }
    return m_QELAnalysisData;
}

QELAnalysisData::QELAnalysisData() {
    m_Init();
}

void QELAnalysisData::m_Init() {
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        QEL_LOGE("not able to get instance of xmlParser");
        return;
    }
    const unsigned int count = parser->GetNumOfResult();
    m_AnalysisData.assign(count, std::string());
    m_IsExecutedByUser.assign(count, false);
    m_InitBlockList();
}

void QELAnalysisData::m_InitBlockList() {
    std::set<CodePair> pairs;
    for (const CodeBytes_s& code : kBlockList) {
        pairs.insert(CodePair(code.opcode, code.msgcode));
    }
    m_BlockList.swap(pairs);
}

void QELAnalysisData::SetAnalysisData(unsigned int id, const std::string& text) {
    if (id >= m_AnalysisData.size()) {
        return;
    }
    m_AnalysisData[id] = text;
    if (id >= m_IsExecutedByUser.size()) {
        return;
    }
    m_IsExecutedByUser[id] = true;
}

std::string QELAnalysisData::GetAnalysisData(unsigned int id) {
    return id < m_AnalysisData.size() ? m_AnalysisData[id] : std::string();
}

bool QELAnalysisData::GetExcutedByUser(unsigned int id) {
    if (id >= m_IsExecutedByUser.size()) {
        QEL_LOGE("index is out of range.");
        return false;
    }
    return m_IsExecutedByUser[id];
}

bool QELAnalysisData::GetCode(unsigned int id, const std::string& key, unsigned char* code) {
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        QEL_LOGE("not able to get instance of xmlParser");
        return false;
    }
    const std::string value = parser->GetResult(id, key);
    QEL_LOGI("id=%d, strCode=%s", id, value.c_str());
    if (value.empty()) {
        return false;
    }
    *code = ParseCode(value);
    QEL_LOGI("id=%d, retCode=%x", id, *code);
    return true;
}

bool QELAnalysisData::GetCodeFromAll(unsigned int id, const std::string& key, unsigned char* code) {
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        QEL_LOGE("not able to get instance of xmlParser");
        return false;
    }
    const std::string value = parser->GetResultFromAll(id, key);
    return GetCodeFromAll(id, &value, code);
}

bool QELAnalysisData::GetCodeFromAll(unsigned int id, const std::string* value,
                                     unsigned char* code) {
    QEL_LOGI("id=%d, strCode=%s", id, value->c_str());
    if (value->empty()) {
        return false;
    }
    *code = ParseCode(*value);
    QEL_LOGI("id=%d, retCode=%x", id, *code);
    return true;
}

bool QELAnalysisData::IsValid(unsigned int id) {
    QELRefusal_e refusal = QELRefusal_e::kAllowed;
    return IsValid(id, refusal);
}

bool QELAnalysisData::IsValid(unsigned int id, QELRefusal_e& refusal) {
    const auto refuse = [&refusal](QELRefusal_e reason) {
        refusal = reason;
        return false;
    };
    refusal = QELRefusal_e::kAllowed;
    if (id >= m_IsExecutedByUser.size()) {
        QEL_LOGE("index is out of range.");
        return refuse(QELRefusal_e::kUnknownItem);
    }
    if (m_IsExecutedByUser[id]) {
        QEL_LOGE("m_IsExecutedByUser have true value");
        return refuse(QELRefusal_e::kAnalysed);
    }
    const QELXmlParser* parser = QELXmlParser::GetInstance();
    if (parser == nullptr) {
        QEL_LOGE("not able to get instance of xmlParser");
        return refuse(QELRefusal_e::kNoStore);
    }
    if (parser->GetResultType(id) == RESULT_TYPE_RNSC) {
        QEL_LOGE("not able to analyze RNSC test item");
        return refuse(QELRefusal_e::kRnscItem);
    }
    if (parser->GetResultType(id) == RESULT_TYPE_IMAGE) {
        // Intentional: the same message as for an item of type "rnsc".
        QEL_LOGE("not able to analyze RNSC test item");
        return refuse(QELRefusal_e::kImageItem);
    }
    // The codes of an item with a "detailed" or "reason" text are not checked.
    if (!parser->GetResult(id, "detailed").empty() || !parser->GetResult(id, "reason").empty()) {
        return true;
    }
    unsigned char opcode = 0;
    unsigned char msgcode = 0;
    if (!GetCode(id, "opcode", &opcode) || !GetCode(id, "msgcode", &msgcode)) {
        QEL_LOGE("id=%d, opcode=%x, msgcode=%x", id, opcode, msgcode);
        return refuse(QELRefusal_e::kNoCode);
    }
    const CodePair pair(opcode, msgcode);
    if (m_BlockList.find(pair) == m_BlockList.end()) {
        return true;
    }
    const auto table = m_CheckTableList.find(pair);
    if (table == m_CheckTableList.end()) {
        QEL_LOGE("not able to find checkTable from list. id=%d, opcode=%x, msgcode=%x", id, opcode,
                 msgcode);
        return refuse(QELRefusal_e::kNoCheckTable);
    }
    return !table->second.empty() || refuse(QELRefusal_e::kNoCheckTable);
}

std::vector<QELAnalysisCheckTable_s> QELAnalysisData::GetCheckTable(unsigned char opcode,
                                                                    unsigned char msgcode) {
    const auto table = m_CheckTableList.find(CodePair(opcode, msgcode));
    return table == m_CheckTableList.end() ? std::vector<QELAnalysisCheckTable_s>() : table->second;
}

bool QELAnalysisData::IsItInBlockList(unsigned char opcode, unsigned char msgcode) {
    return m_BlockList.find(CodePair(opcode, msgcode)) != m_BlockList.end();
}
