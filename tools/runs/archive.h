#ifndef QUORVEL_TOOLS_RUNS_ARCHIVE_H_
#define QUORVEL_TOOLS_RUNS_ARCHIVE_H_

#include <string>
#include <vector>

#include "runs/runs.h"

namespace quorvel::runs {

// Returns whether the name has the extension of an archive, in upper or lower case.
bool IsArchive(const std::string& name);

// Returns the runs in the archive, checked. Unpacks only the result files and the photos that they
// name, into a temporary folder. Never unpacks links and devices, nor entries whose names are
// absolute or contain "..".
//
// left: the remaining limits. The function subtracts the entries and bytes that it reads.
// problems: gets a line when the archive cannot be read to its end. A result file that is not found
// in such an archive is unreadable, not missing. When the temporary folder cannot be written,
// problems gets a line, and no run is returned.
std::vector<Run> ReadArchive(const std::string& path, Limits& left,
                             std::vector<std::string>& problems);

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_ARCHIVE_H_
