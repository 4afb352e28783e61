#ifndef QUORVEL_TOOLS_RUNS_CHECK_H_
#define QUORVEL_TOOLS_RUNS_CHECK_H_

#include <sys/stat.h>

#include <string>

#include "QELXmlParser.h"
#include "runs/runs.h"

namespace quorvel::runs {

// Returns whether a folder of this name is an unfinished capture, which may lack files.
bool IsUnfinished(const std::string& name);

// Returns a text that changes when another file takes the place of the file, and when the file is
// written: the device, the inode, the size and the modification time.
std::string Identify(const struct stat& status);

// Reads the result files in run.folder and sets the states of the files and the values of the run.
// Sets run.identity if it is empty. Only files in the state kMissing are checked; other files keep
// their states. When the folder cannot be opened, both files get the state kUnreadable.
void CheckRun(Run& run);
// Does the same, and keeps the values of the files in the store.
void CheckRun(Run& run, QELXmlParser& store);

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_CHECK_H_
