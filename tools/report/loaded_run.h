#ifndef QUORVEL_TOOLS_REPORT_LOADED_RUN_H_
#define QUORVEL_TOOLS_REPORT_LOADED_RUN_H_

#include <optional>
#include <string>
#include <vector>

#include "QELAnalysisData.h"
#include "QELConflicts.h"
#include "QELXmlParser.h"
#include "runs/runs.h"

namespace quorvel::report {

enum class AnalysisState {
    kDone,
    kRefused,    // OK does not analyse the item
    kMalformed,  // a code of the item is not a hexadecimal number up to 7FFFFFFF
};

// The result of the analysis of a failed item.
struct Analysis {
    AnalysisState state = AnalysisState::kDone;
    // Why the analysis has no lines; an empty text otherwise.
    std::string reason;
    // The item, then its conflicts in the order of all items. Empty without a comparison.
    std::vector<QELConflictLine_s> lines;
};

// The thread and the times of an item.
struct Slot {
    int thread = 0;
    int start = 0;
    int duration = 0;
    QELTimeWindow_s window{};  // the time window that the analysis compares
};

// One run, read into the only result store of this process. Only one object may exist at a time.
// One thread.
class LoadedRun {
public:
    // Reads the files of the run into the store and completes the values of the run.
    explicit LoadedRun(runs::Run run);
    ~LoadedRun();
    LoadedRun(const LoadedRun&) = delete;
    LoadedRun& operator=(const LoadedRun&) = delete;

    const runs::Run& Source() const { return m_Run; }
    const QELXmlParser& Store() const { return m_Store; }

    // Analyses the failed item id.
    Analysis Analyse(unsigned int id);

    // Returns for each failed item its index in the list of all items.
    std::vector<unsigned int> FindFailedPositions() const;
    // i: the index in the list of all items. Returns no value when a time or the thread of the item
    // is missing or invalid.
    std::optional<Slot> FindSlot(unsigned int i) const;

    // Returns the size of a result file in bytes; no value when it cannot be read.
    std::optional<long long> FindSize(const runs::ResultFile& file) const;
    // Returns the file of the photo of a failed item of type "image"; empty when it is missing.
    std::string FindPhoto(unsigned int id) const;

private:
    runs::Run m_Run;
    QELXmlParser& m_Store;
    QELAnalysisData m_AnalysisData;
    std::optional<QELConflictIndex> m_Index;  // built for the first analysis
};

// Returns the value of the key; an empty text when the item has no such value.
const std::string& ValueOf(const ResultItem& item, const char* key);

// Returns the name of the state in a report.
const char* NameOf(runs::FileState state);

// Returns one line for each problem that makes the result incomplete: an unreadable or damaged
// file, and a run without an item. Empty for a complete run.
std::vector<std::string> ListProblems(const LoadedRun& run);

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_LOADED_RUN_H_
