#ifndef QUORVEL_TOOLS_REPORT_DESCRIBE_H_
#define QUORVEL_TOOLS_REPORT_DESCRIBE_H_

#include <cstdint>
#include <string>

#include "report/loaded_run.h"

namespace quorvel::report {

// Returns the row of the failed item id as the list shows it, with the name if the row omits the
// name.
std::string DescribeRow(const LoadedRun& run, unsigned int id);

// Returns the detailed text that the analysis of the failed item id shows. Returns an empty text
// for an item of type "image", whose value is the path of a photo. Returns an empty text for an
// item of type "rnsc" too, because its result is the detailed text.
std::string FindDetailedText(const LoadedRun& run, unsigned int id);

// Returns the smaller end minus the larger start; negative for time windows that wrap around.
std::int64_t OverlapOf(const QELTimeWindow_s& one, const QELTimeWindow_s& other);

}  // namespace quorvel::report

#endif  // QUORVEL_TOOLS_REPORT_DESCRIBE_H_
