#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

// The only kind of check that the analysis engine acts on.
constexpr std::uint32_t CHECK_TYPE_SETTING_CONFIG = 1;

// One check of a check table: what to compare for an item that failed with a certain code pair.
struct QELAnalysisCheckTable_s {
    std::uint32_t type;
    std::uint32_t param;
    std::vector<std::uint32_t> values1;
    std::vector<std::uint32_t> values2;
    std::vector<std::uint32_t> values3;
    std::vector<std::uint32_t> values4;
    std::string text;
};

// What the failure analysis keeps beside the result store: per failed item the analysis text and
// whether the user had it analysed, the check tables, and the block list of code pairs.
//
// A singleton that lives until the process ends; the result files must have been parsed before its
// first use, because it takes the number of failed items once. It has no lock: the worker writes
// through SetAnalysisData alone, and the main loop reads only after it has seen the popup's running
// flag cleared.
class QELAnalysisData {
public:
    QELAnalysisData();
    virtual ~QELAnalysisData() = default;
    QELAnalysisData(const QELAnalysisData&) = delete;
    QELAnalysisData& operator=(const QELAnalysisData&) = delete;

    // The one store, made on first use; null when it cannot be allocated. First called on the
    // main-loop thread.
    static QELAnalysisData* GetInstance();

    // Stores the analysis text of the failed item id and marks it as analysed; an unknown id is
    // ignored. Worker thread.
    void SetAnalysisData(unsigned int id, const std::string& text);
    // The analysis text of the failed item id; empty before its analysis and for an unknown id.
    std::string GetAnalysisData(unsigned int id);
    // Whether the failed item id has been analysed; false, with an error line, for an unknown id.
    // The name is spelled so on purpose and stays.
    bool GetExcutedByUser(unsigned int id);

    // Reads the value of key of the failed item id as hexadecimal and stores its low byte in *code.
    // Returns false, with *code left alone, when there is no value. Throws std::invalid_argument
    // for a text without a hexadecimal number and std::out_of_range beyond an int. Any thread.
    bool GetCode(unsigned int id, const std::string& key, unsigned char* code);
    // The same for the item id of the list of all items.
    bool GetCodeFromAll(unsigned int id, const std::string& key, unsigned char* code);

    // Whether the failed item id may be analysed; a refusal is logged. Throws as GetCode does.
    // Main-loop thread.
    bool IsValid(unsigned int id);

    // A copy of the check table of a code pair; empty when it has none. Any thread.
    std::vector<QELAnalysisCheckTable_s> GetCheckTable(unsigned char opcode, unsigned char msgcode);
    // Whether the code pair takes no part in the resource conflict analysis. Any thread.
    bool IsItInBlockList(unsigned char opcode, unsigned char msgcode);

private:
    // (opcode, msgcode)
    using CodePair = std::pair<std::uint8_t, std::uint8_t>;

    void m_Init();
    void m_InitBlockList();

    static QELAnalysisData* m_QELAnalysisData;

    std::vector<std::string> m_AnalysisData;
    std::vector<bool> m_IsExecutedByUser;
    // Shipped empty: nothing fills it, every search in it finds nothing, and so every block-listed
    // item without a text of its own is refused. Kept so that tables can be added.
    std::map<CodePair, std::vector<QELAnalysisCheckTable_s>> m_CheckTableList;
    std::set<CodePair> m_BlockList;
};
