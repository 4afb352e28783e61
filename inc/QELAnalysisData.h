#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

// The only check type that the analysis evaluates.
constexpr std::uint32_t CHECK_TYPE_SETTING_CONFIG = 1;

// One check of a check table: the values to compare for an item with the code pair of the table.
struct QELAnalysisCheckTable_s {
    std::uint32_t type;
    std::uint32_t param;
    std::vector<std::uint32_t> values1;
    std::vector<std::uint32_t> values2;
    std::vector<std::uint32_t> values3;
    std::vector<std::uint32_t> values4;
    std::string text;
};

// Why an item is not analysed.
enum class QELRefusal_e {
    kAllowed,  // the item may be analysed
    kUnknownItem,
    kAnalysed,  // the user had the item analysed before
    kNoStore,
    kRnscItem,
    kImageItem,
    kNoCode,        // the opcode or the msgcode is missing
    kNoCheckTable,  // the code pair is block-listed, and its check table is missing or empty
};

// The data of the failure analysis. Stores the analysis text of each failed item and a flag for
// each item that has been analysed. Also stores the check tables and the block list of code pairs.
//
// A singleton that lives until the process ends. Parse the result files before the first use: the
// constructor reads the number of failed items once. There is no lock. The worker writes only
// through SetAnalysisData. The main loop reads the results only after it has seen the popup's
// running flag cleared.
class QELAnalysisData {
public:
    QELAnalysisData();
    virtual ~QELAnalysisData() = default;
    QELAnalysisData(const QELAnalysisData&) = delete;
    QELAnalysisData& operator=(const QELAnalysisData&) = delete;

    // Returns the object, created by the first call; null when it cannot be allocated. The first
    // call comes from the main-loop thread.
    static QELAnalysisData* GetInstance();

    // Stores the analysis text of the failed item id and marks the item as analysed. Ignores an
    // unknown id. Called by the worker.
    void SetAnalysisData(unsigned int id, const std::string& text);
    // Returns the analysis text of the failed item id; empty before the analysis and for an unknown
    // id.
    std::string GetAnalysisData(unsigned int id);
    // Returns whether the failed item id has been analysed. Returns false and logs an error for an
    // unknown id. The spelling of the name is intentional.
    bool GetExcutedByUser(unsigned int id);

    // Reads the value of key of the failed item id as a hexadecimal number and stores its low byte
    // in *code. Returns false and leaves *code unchanged when there is no value. Throws
    // std::invalid_argument when the value does not begin with a hexadecimal number, and
    // std::out_of_range when the number does not fit an int. Any thread.
    bool GetCode(unsigned int id, const std::string& key, unsigned char* code);
    // Does the same for the item id of the list of all items.
    bool GetCodeFromAll(unsigned int id, const std::string& key, unsigned char* code);
    // Does the same for a value that the caller has read. Both functions have one name, because
    // their log lines contain the function name.
    static bool GetCodeFromAll(unsigned int id, const std::string* value, unsigned char* code);

    // Returns whether the failed item id may be analysed, and logs the reason of a rejection.
    // Throws as GetCode does. Main-loop thread.
    bool IsValid(unsigned int id);
    // Does the same and stores the reason in refusal.
    bool IsValid(unsigned int id, QELRefusal_e& refusal);

    // Returns a copy of the check table of a code pair; empty when there is no table. Any thread.
    std::vector<QELAnalysisCheckTable_s> GetCheckTable(unsigned char opcode, unsigned char msgcode);
    // Returns whether the conflict analysis excludes the code pair. Any thread.
    bool IsItInBlockList(unsigned char opcode, unsigned char msgcode);

private:
    // (opcode, msgcode)
    using CodePair = std::pair<std::uint8_t, std::uint8_t>;

    void m_Init();
    void m_InitBlockList();

    static QELAnalysisData* m_QELAnalysisData;

    std::vector<std::string> m_AnalysisData;
    std::vector<bool> m_IsExecutedByUser;
    // Intentionally empty. IsValid therefore rejects a block-listed item that has neither a
    // "detailed" nor a "reason" text.
    std::map<CodePair, std::vector<QELAnalysisCheckTable_s>> m_CheckTableList;
    std::set<CodePair> m_BlockList;
};
