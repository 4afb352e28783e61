#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_REMOTE_KEYS_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_REMOTE_KEYS_H_

#include <string_view>

namespace quorvel::desktop {

// What the toolkit is told instead of a key of the keyboard or of a remote control: the arrows as
// they are, Return for each key that means OK, and nullptr for a key that does nothing inside the
// application. Takes the name of the key as the display system gives it.
const char* RemoteKey(std::string_view keyName);

// From now on the toolkit sees no keys but those of the remote control, without modifiers. Between
// the toolkit's initialisation and its shutdown; main-loop thread.
void StartRemoteKeys();
void StopRemoteKeys();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_REMOTE_KEYS_H_
