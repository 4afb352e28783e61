#ifndef QUORVEL_TOOLS_VIEW_CHILD_H_
#define QUORVEL_TOOLS_VIEW_CHILD_H_

#include <string>
#include <vector>

namespace quorvel::view {

// Returns the path of a program that quorvel-view runs: next to quorvel-view, as in the build
// folder, or in the folder of the installation. Throws std::runtime_error when the program is
// missing.
std::string FindProgram(const std::string& name);

// Runs a program and waits for its end. words: the path of the program, and its arguments. SIGHUP,
// SIGINT, SIGQUIT and SIGTERM are passed on to the program, except signals that this process
// ignores. The program gets SIGTERM when this process ends. Returns the exit status, 128 plus the
// number of the signal that ended the program, or 127 when the program cannot be started. Call from
// a process with one thread.
int RunProgram(std::vector<std::string> words);

}  // namespace quorvel::view

#endif  // QUORVEL_TOOLS_VIEW_CHILD_H_
