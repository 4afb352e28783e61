#ifndef QUORVEL_TOOLS_REPORT_JOBS_H_
#define QUORVEL_TOOLS_REPORT_JOBS_H_

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "report/format.h"

namespace quorvel::report {

// The sums and problems of one run.
struct RunResult {
    std::vector<std::string> problems;  // one line each
    unsigned int items = 0;
    unsigned int failedItems = 0;
    std::vector<ItemKey> failedKeys;  // without repetitions; empty when the format omits them
};

// Writes the runs in their order. jobs: how many runs are processed at the same time. With one job,
// this process does everything. With more jobs, each job is a child process, because a process has
// only one result store. A child process waits while its pipe is full, so that no output is
// collected in memory.
//
// Calls onResult after each run, in order. Throws std::runtime_error when a child process cannot be
// started or ends early.
void WriteRuns(const Format& format, const std::vector<runs::Run>& runs, unsigned int jobs,
               std::ostream& out, const std::function<void(const RunResult&)>& onResult);

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_JOBS_H_
