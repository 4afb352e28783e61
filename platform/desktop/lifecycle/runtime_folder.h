#ifndef QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_RUNTIME_FOLDER_H_
#define QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_RUNTIME_FOLDER_H_

#include <string>

namespace quorvel::desktop {

// Returns the folder for the owner's lock and socket, and creates the folder when it is missing.
// The folder belongs to the user, and other users cannot enter it. First choice:
// $XDG_RUNTIME_DIR/quorvel. Without the variable, as under cron: sessions/<uid>/quorvel. Second
// choice, when the first is not private or its path is too long for a socket: quorvel-<uid> in
// $TMPDIR or /tmp. Returns an empty string when neither is usable, and sets why to the reason in
// one line.
std::string RuntimeFolder(std::string& why, const std::string& sessions = "/run/user");

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_LIFECYCLE_RUNTIME_FOLDER_H_
