#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_INPUT_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_INPUT_H_

#include <string_view>

// Limits the input of a PC to the keys of the set's remote control. Main-loop thread.
namespace quorvel::desktop {

// Returns the key that the toolkit gets for a key of the keyboard or of a remote control. Returns
// an arrow key unchanged, "Return" for every OK key, and null for a key without a function.
// keyName: the display system's name of the key.
const char* RemoteKey(std::string_view keyName);

// Starts the filter: the toolkit gets only the keys of RemoteKey, without text and modifiers, and
// no pointer events. While a popup is shown, the toolkit gets a key only if the popup has the
// focus. Call between the toolkit's initialisation and shutdown.
void StartInputFilter();
// Stops the filter. No effect if the filter was not started.
void StopInputFilter();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_INPUT_H_
