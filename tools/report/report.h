#ifndef QUORVEL_TOOLS_REPORT_REPORT_H_
#define QUORVEL_TOOLS_REPORT_REPORT_H_

#include "report/options.h"

namespace quorvel::report {

// Finds the runs, writes the report and writes each problem to standard error. Returns the exit
// status.
int WriteReport(const Options& options);

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_REPORT_H_
