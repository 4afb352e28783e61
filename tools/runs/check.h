#ifndef QUORVEL_TOOLS_RUNS_CHECK_H_
#define QUORVEL_TOOLS_RUNS_CHECK_H_

#include <sys/stat.h>

#include <string>

#include "QELXmlParser.h"
#include "runs/runs.h"

namespace quorvel::runs {

// Returns whether a folder of this name is a capture that is not complete. It may have only one of
// the two result files.
bool IsUnfinished(const std::string& name);

// Returns a text that differs for every other file and for every other state of this file.
std::string Identify(const struct stat& status);

// Reads the result files in run.folder and sets the states of the files and the values of the run.
// Sets run.identity unless it is set. A file that already has the state kUnreadable keeps it.
void CheckRun(Run& run);
// Does the same and leaves what was read in the store.
void CheckRun(Run& run, QELXmlParser& store);

}  // namespace quorvel::runs

#endif  // QUORVEL_TOOLS_RUNS_CHECK_H_
