#ifndef QUORVEL_TOOLS_REPORT_FORMAT_H_
#define QUORVEL_TOOLS_REPORT_FORMAT_H_

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "report/loaded_run.h"

namespace quorvel::report {

// Identifies a failed item in several runs: type, name, opcode and msgcode.
using ItemKey = std::vector<std::string>;

// The sums over all runs. Filled run by run.
struct Totals {
    unsigned int runs = 0;
    unsigned int runsWithFailures = 0;
    unsigned long items = 0;
    unsigned long failedItems = 0;
    std::map<ItemKey, unsigned int> runsOfItem;  // in how many runs the item failed
};

// One output format. Begin and End run once, in the main process. WriteRun may run in another
// process; the runs are written in their order.
class Format {
public:
    Format() = default;
    virtual ~Format() = default;
    Format(const Format&) = delete;
    Format& operator=(const Format&) = delete;

    // Whether End needs Totals::runsOfItem, which grows with the number of different items.
    virtual bool ListsFrequentItems() const { return false; }
    virtual void Begin(std::ostream& /*out*/) const {}
    // number: the position of the run, from 0.
    virtual void WriteRun(std::ostream& out, LoadedRun& run, unsigned int number) const = 0;
    virtual void End(std::ostream& /*out*/, const Totals& /*totals*/) const {}
};

// The unit of the times in the result files.
enum class TimeUnit { kMicroseconds, kMilliseconds, kSeconds };

std::unique_ptr<Format> MakeTextFormat();
std::unique_ptr<Format> MakeJsonFormat();
std::unique_ptr<Format> MakeCsvFormat();
std::unique_ptr<Format> MakeTraceFormat(TimeUnit unit);
std::unique_ptr<Format> MakeHtmlFormat();

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_FORMAT_H_
