#ifndef QUORVEL_TOOLS_RUNS_ARCHIVE_H_
#define QUORVEL_TOOLS_RUNS_ARCHIVE_H_

#include <string>
#include <vector>

#include "runs/runs.h"

namespace quorvel::runs {

// Returns whether the name has the extension of an archive, in upper or lower case.
bool IsArchive(const std::string& name);

// Returns the runs in the archive, checked. Unpacks only the result files and the photos that they
// name, into a temporary folder. Entries outside the archive's own folders ("..", absolute names),
// links and devices are never unpacked.
// Subtracts the entries and bytes that it reads from left.
// Adds a line to problems when the archive cannot be read to its end; a result file that is not
// found in such an archive is unreadable, not missing. Adds a line and returns no run when the
// temporary folder cannot be written.
std::vector<Run> ReadArchive(const std::string& path, Limits& left,
                             std::vector<std::string>& problems);

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_ARCHIVE_H_
