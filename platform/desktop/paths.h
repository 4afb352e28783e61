#ifndef QUORVEL_PLATFORM_DESKTOP_PATHS_H_
#define QUORVEL_PLATFORM_DESKTOP_PATHS_H_

#include <string>

// The paths of the port's files. No path ends in a slash, and no function creates a file or folder.
// Any thread, as long as no other thread changes the environment.
namespace quorvel::desktop {

// Returns the value of the environment variable, or the other value if the variable is not set or
// empty.
std::string EnvironmentValue(const char* variable, const std::string& other = {});

// Returns the absolute path in the environment variable, or the other path if the value is not an
// absolute path.
std::string EnvironmentPath(const char* variable, const std::string& other = {});

// Returns the data folder. Its path is fixed.
std::string DataFolder();

// The result files in the data folder.
constexpr const char* kMainResultFile = "qelXml.xml";
constexpr const char* kRnscResultFile = "qelRnscXml.xml";

// Returns whether a file of this name is one of the two result files.
bool IsResultFile(const std::string& name);

// The first characters in the name of a log copy's folder while the log copy is unfinished.
constexpr const char* kUnfinishedPrefix = ".quorvel-unfinished-";

// Returns the identity of the folder at path: its device and inode number. Folders at the same path
// in different mount namespaces have different identities. Returns "none" if the path does not
// exist.
std::string FolderIdentity(const std::string& path);

// Returns the user's folder for logs: $XDG_STATE_HOME/quorvel, or ~/.local/state/quorvel if the
// variable is not an absolute path. The home folder is $HOME, or the home folder of the user's
// account if $HOME is not an absolute path. Empty if the user has no home folder.
std::string StateFolder();

// Returns the log file in StateFolder(); empty if StateFolder() is empty. RotatedLogName gives the
// names of the rotated logs in the same folder.
std::string LogFilePath();

// Returns the file name of a log by its age: quorvel.log for 0, quorvel.1.log for 1 (the youngest
// rotated log), quorvel.2.log for 2.
std::string RotatedLogName(unsigned age);

// The file name of the log that keeps the first lines of a process apart from the rotation.
constexpr const char* kLogStartName = "quorvel.start.log";

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_PATHS_H_
