#ifndef QUORVEL_TOOLS_VIEW_REPORT_H_
#define QUORVEL_TOOLS_VIEW_REPORT_H_

#include <string>

#include "runs/runs.h"

namespace quorvel::view {

// The messages of quorvel-view on standard error. Control characters are replaced, because paths
// and values can be from any USB storage.

// Writes one line that begins with the name of the program.
void Report(const std::string& message);

// Returns the lines that were written since the last call.
std::string TakeReports();

// Writes a list of several runs below path, one line each.
void ReportSeveral(const std::string& path, const std::vector<runs::Run>& runs);

// Writes one line for each result file that is damaged or unreadable. Returns whether there is such
// a file.
bool ReportDamage(const runs::Run& run);

// Writes that a signal ended quorvel. After SIGABRT, also writes the item whose malformed code is
// the cause. folder: contains the result files. exceptionFile: contains the last log line before an
// exception; missing when quorvel ended for another reason.
void ReportSignal(int number, const std::string& folder, const std::string& exceptionFile);

}  // namespace quorvel::view

#endif  // QUORVEL_TOOLS_VIEW_REPORT_H_
