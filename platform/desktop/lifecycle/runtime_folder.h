#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_RUNTIME_FOLDER_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_RUNTIME_FOLDER_H_

#include <string>

namespace quorvel::desktop {

// The folder for the lock and the socket of the running program, made when it is missing: one that
// belongs to the user and that nobody else can enter. $XDG_RUNTIME_DIR/quorvel or, without the
// variable (as under cron), quorvel in the user's folder in sessions, where the variable mostly
// points to. Where that is no such folder (or the path is too long for a socket), quorvel-<uid> in
// the folder for temporary files. Empty when neither will do; why then says why in one line.
std::string RuntimeFolder(std::string& why, const std::string& sessions = "/run/user");

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_RUNTIME_FOLDER_H_
