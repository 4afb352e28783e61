#ifndef QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_
#define QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_

// The set's widget styles, as an overlay over the toolkit's theme. Main-loop thread.
namespace quorvel::desktop {

// Adds the theme that the environment variable QUORVEL_THEME names. Logs one line and adds the
// normal theme if the name is unknown. Call after the toolkit's initialisation and before the first
// widget exists. Returns false and logs the file if a theme file is missing or invalid.
bool AddTheme();

// Removes the theme; QUORVEL_THEME must have the value of the last AddTheme. No effect if the theme
// was not added.
void RemoveTheme();

}  // namespace quorvel::desktop

#endif  // QUORVEL_PLATFORM_DESKTOP_TOOLKIT_THEME_H_
