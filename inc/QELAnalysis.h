#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The setting configuration that one check compares: the fields of a check record except its type.
struct QELAnalysisInfoSetCfg_s {
    std::uint32_t param;
    std::vector<std::uint32_t> values1;
    std::vector<std::uint32_t> values2;
    std::vector<std::uint32_t> values3;
    std::vector<std::uint32_t> values4;
    std::string text;
};

// Analyses one failed item. All operations are static, keep no state, run on a worker and touch
// no widget. They need no lock: the result store does not change after the start, and the modal
// popup prevents a second analysis at the same time.
class QELAnalysis {
public:
    QELAnalysis() = delete;

    // Body of the worker: analyses the failed item id, stores the text and reports completion to
    // the popup. Does not catch the std::stoi exception of an invalid code of the item itself; the
    // exception leaves the thread and ends the process.
    static void StartAnalyze(unsigned int id);

private:
    static std::string m_Analyze(unsigned int id);
    static std::string m_AnalyzeSettingConfig(unsigned char opcode, unsigned char msgcode,
                                              const QELAnalysisInfoSetCfg_s& cfg);
    static std::string m_AnalyzeResourceConflictList(unsigned int id);
};
