#ifndef QUORVEL_PLATFORM_DESKTOP_PATHS_H_
#define QUORVEL_PLATFORM_DESKTOP_PATHS_H_

#include <string>

// Where the port keeps and finds its files. No path ends in a slash; nothing is created here. Any
// thread, as long as no other one changes the environment.
namespace quorvel::desktop {

// The data folder of the application, the same on every machine: the result files and counters.
std::string DataDir();

// What tells the folder at path from every other one, also from those that lie at the same path in
// other mount namespaces: its device and number; "none" when there is none.
std::string FolderIdentity(const std::string& path);

// The user's folder for logs: $XDG_STATE_HOME/quorvel, or ~/.local/state/quorvel when the variable
// is not an absolute path. Home is $HOME or, when that is no absolute path, the home folder of the
// user's account. Empty when there is neither.
std::string StateDir();

// The log file in StateDir(); empty when that is. Older ones, after rotation, lie beside it under
// the name that RotatedLogName gives.
std::string LogFilePath();

// The file name of the log (age 0) or of a rotated one (age 1 is the youngest): quorvel.log,
// quorvel.1.log, quorvel.2.log ...
std::string RotatedLogName(unsigned age);

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_PATHS_H_
