#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_

namespace quorvel::desktop {

// Lays our theme over the toolkit's: the set's widget styles. After the toolkit was initialised and
// before the first widget. False when a file is missing or not understood; that is logged.
// Main-loop thread.
bool AddTheme();

// Takes it away again. Harmless when it was not added.
void RemoveTheme();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_
