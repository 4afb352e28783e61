#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The setting configuration that one check compares: a check record without its kind.
struct QELAnalysisInfoSetCfg_s {
    std::uint32_t param;
    std::vector<std::uint32_t> values1;
    std::vector<std::uint32_t> values2;
    std::vector<std::uint32_t> values3;
    std::vector<std::uint32_t> values4;
    std::string text;
};

// The analysis of one failed item. Static operations without state, all on a worker thread; they
// read the stores, which do not change meanwhile, and touch no widget.
class QELAnalysis {
public:
    QELAnalysis() = delete;

    // The worker's body: analyses the failed item id, stores the text, and reports completion to
    // the progress popup. Lets a conversion error of the item's own codes escape, which ends the
    // process.
    static void StartAnalyze(unsigned int id);

private:
    static std::string m_Analyze(unsigned int id);
    static std::string m_AnalyzeSettingConfig(unsigned char opcode, unsigned char msgcode,
                                              const QELAnalysisInfoSetCfg_s& cfg);
    static std::string m_AnalyzeResourceConflictList(unsigned int id);
};
